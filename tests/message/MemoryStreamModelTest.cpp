#include "message/MemoryStream.h"
#include "support/Streams.h"
#include "tests/headers/RandomRun.h"
#include "tests/support/RandomRuns.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ios>
#include <iostream>
#include <istream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::RandomRun;
using testing::randomRuns;

const std::string alphabet = "abc \n\xFF";

/// What an operation let its caller see: results, and the state of the stream after it.
struct Outcome {
    std::string seen;
    std::ios::iostate state;
    std::streamsize count;

    bool operator==(const Outcome&) const = default;
};

::testing::AssertionResult alike(const Outcome& actual, const Outcome& expected) {
    if (actual == expected) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "saw \"" << actual.seen << "\", state " << actual.state << ", count " << actual.count
           << " instead of \"" << expected.seen << "\", state " << expected.state << ", count "
           << expected.count;
}

/// One operation with its arguments drawn, so that it can be carried out on both streams.
struct Operation {
    std::size_t kind;
    std::string text;
    std::streamoff offset;
    std::ios::seekdir from;
    std::ios::openmode which;
};

std::string shown(std::streampos position) {
    return std::to_string(std::streamoff(position));
}

std::string shown(int character) {
    return std::to_string(character);
}

void write(std::iostream& stream, const Operation& operation) {
    const auto length = static_cast<std::streamsize>(operation.text.size());
    switch (operation.kind % 4) {
        case 0:
            stream.write(operation.text.data(), length);
            break;
        case 1:
            stream << operation.text;
            break;
        case 2:
            stream.put(operation.text.empty() ? 'p' : operation.text[0]);
            break;
        default:
            stream << std::istringstream(operation.text).rdbuf();
    }
}

std::string read(std::iostream& stream, const Operation& operation) {
    std::string text(operation.text.size() + 1, '.');
    const auto length = static_cast<std::streamsize>(operation.text.size());
    switch (operation.kind % 8) {
        case 0:
            stream.read(text.data(), length);
            return text;
        case 1:
            return shown(stream.get());
        case 2:
            std::getline(stream, text, operation.text.empty() ? '\n' : operation.text[0]);
            return text;
        case 3:
            stream >> text;
            return text;
        case 4:
            stream.ignore(length);
            return "";
        case 5:
            return shown(stream.peek());
        case 6:
            return shown(stream.rdbuf()->snextc());
        default:
            stream.get(text.data(), length + 1);
            return text;
    }
}

std::string putBack(std::iostream& stream, const Operation& operation) {
    std::streambuf& buffer = *stream.rdbuf();
    const char character = operation.text.empty() ? 'q' : operation.text[0];
    switch (operation.kind % 4) {
        case 0:
            stream.unget();
            return "";
        case 1:
            stream.putback(character);
            return "";
        case 2: {
            std::string results;
            for (std::size_t count = 0; count < operation.text.size(); ++count) {
                results += shown(buffer.sungetc());
            }
            return results;
        }
        default:
            return shown(buffer.sputbackc(character));
    }
}

std::string seek(std::iostream& stream, const Operation& operation) {
    std::streambuf& buffer = *stream.rdbuf();
    switch (operation.kind % 6) {
        case 0:
            stream.seekg(operation.offset);
            return "";
        case 1:
            stream.seekp(operation.offset);
            return "";
        case 2:
            stream.seekg(operation.offset, operation.from);
            return "";
        case 3:
            stream.seekp(operation.offset, operation.from);
            return "";
        case 4:
            return shown(buffer.pubseekoff(operation.offset, operation.from, operation.which));
        default:
            return shown(buffer.pubseekpos(operation.offset, operation.which));
    }
}

// Something to read shows in both or in neither; how much of it a buffer announces is its own affair.
std::string available(std::iostream& stream) {
    return stream.rdbuf()->in_avail() > 0 ? "some" : "none";
}

std::string take(std::iostream& stream, const Operation& operation) {
    switch (operation.kind % 6) {
        case 0:
            return std::string(std::istreambuf_iterator<char>(stream), {});
        case 1: {
            std::ostringstream copy;
            copy << stream.rdbuf();
            return copy.str();
        }
        case 2:
            return shown(stream.tellg());
        case 3:
            return shown(stream.tellp());
        case 4:
            return available(stream);
        default:
            stream.flush();
            return shown(stream.sync());
    }
}

Outcome carryOut(std::iostream& stream, const Operation& operation, std::size_t dice) {
    std::string seen;
    if (dice < 35) {
        write(stream, operation);
    } else if (dice < 60) {
        seen = read(stream, operation);
    } else if (dice < 70) {
        seen = putBack(stream, operation);
    } else if (dice < 85) {
        seen = seek(stream, operation);
    } else {
        seen = take(stream, operation);
    }
    return {seen, stream.rdstate(), stream.gcount()};
}

std::string positions(std::iostream& stream) {
    return shown(stream.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in)) + " " +
           shown(stream.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::out));
}

class ModelRun {
public:
    explicit ModelRun(RandomRun& random) : random_(random) { begin(); }

    ::testing::AssertionResult step() {
        const std::size_t dice = random_.below(100);
        const Operation operation = draw();
        const Outcome actual = carryOut(*actual_, operation, dice);
        const Outcome expected = carryOut(model_, operation, dice);
        if (auto result = alike(actual, expected); !result) {
            return result << ", dice " << dice << ", kind " << operation.kind << ", text \""
                          << operation.text << "\", offset " << operation.offset;
        }
        // Not each time: a failed stream answers nothing, and asking moves the areas of the buffers.
        if (!actual_->good() && random_.below(2) == 0) {
            actual_->clear();
            model_.clear();
        }
        return random_.below(4) == 0 ? check() : ::testing::AssertionSuccess();
    }

    ::testing::AssertionResult check() {
        if (positions(*actual_) != positions(model_)) {
            return ::testing::AssertionFailure()
                   << "positions " << positions(*actual_) << " instead of " << positions(model_);
        }
        if (support::readWhole(*actual_) != support::readWhole(model_)) {
            return ::testing::AssertionFailure() << "another text";
        }
        if (model_.view().size() > 400) {
            begin();
        }
        return ::testing::AssertionSuccess();
    }

private:
    void begin() {
        const std::vector<ChunkLayout> layouts{{1, 1},  {1, 1 << 20}, {2, 8},
                                               {4, 16}, {16, 16},     {512, 1 << 20}};
        actual_ = std::make_unique<MemoryStream>(random_.oneOf(layouts));
        model_ = std::stringstream();
    }

    Operation draw() {
        const auto size = static_cast<std::streamoff>(model_.view().size());
        const auto range = static_cast<std::size_t>(size) + 4;
        std::streamoff offset = static_cast<std::streamoff>(random_.below(range)) - 1;
        const std::ios::seekdir from =
            random_.oneOf<std::ios::seekdir>({std::ios::beg, std::ios::cur, std::ios::end});
        if (from == std::ios::end || (from == std::ios::cur && random_.below(2) == 0)) {
            offset = -offset;
        }
        return {
            random_.below(24), random_.text(alphabet, random_.below(20) == 0 ? 60 : 6), offset,
            from,
            random_.oneOf<std::ios::openmode>(
                {std::ios::in, std::ios::out, std::ios::in | std::ios::out, std::ios::openmode{}})};
    }

    RandomRun& random_;
    std::unique_ptr<MemoryStream> actual_;
    std::stringstream model_;
};

TEST(MemoryStreamModelTest, RandomOperationsGiveTheResultsOfAStringStream) {
    RandomRun random(randomRuns(1'000'000));
    std::cout << random << "\n";
    ModelRun run(random);
    for (std::uint64_t operation = 0; operation < random.operations(); ++operation) {
        ASSERT_TRUE(run.step()) << "operation " << operation;
    }
    ASSERT_TRUE(run.check());
}

}  // namespace
}  // namespace foundation::httpclient_core
