#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

#include <csignal>
#include <fstream>
#include <sstream>
#include <sys/resource.h>

namespace foundation::httpclient_curl::testing {
namespace {

/// Takes so many bytes and no more.
class SmallBuffer : public std::stringbuf {
public:
    explicit SmallBuffer(std::size_t room) : room_(room) {}

protected:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        const std::streamsize taken = std::min(count, static_cast<std::streamsize>(room_));
        room_ -= static_cast<std::size_t>(taken);
        // Which may ask for room by overflow().
        grows_ = true;
        const std::streamsize put = std::stringbuf::xsputn(bytes, taken);
        grows_ = false;
        return put;
    }
    int_type overflow(int_type c) override {
        if (!grows_) {
            if (room_ == 0) {
                return traits_type::eof();
            }
            --room_;
        }
        return std::stringbuf::overflow(c);
    }

private:
    std::size_t room_;
    bool grows_ = false;
};

class SmallStream : public std::iostream {
public:
    explicit SmallStream(std::size_t room) : std::iostream(nullptr), buffer_(room) {
        rdbuf(&buffer_);
    }

private:
    SmallBuffer buffer_;
};

using MakeStream = std::function<std::unique_ptr<std::iostream>()>;

MakeStream fileAt(const std::string& path, std::ios::openmode mode) {
    return [path, mode] { return std::make_unique<std::fstream>(path, mode); };
}

struct Body {
    std::string label;
    std::string bytes;
    std::string data;
};

std::vector<Body> bodies() {
    std::vector<Body> all;
    for (const std::size_t size : std::initializer_list<std::size_t>{1, 100, 70000}) {
        const std::string data = patterned(size, 7);
        all.push_back(
            {"length " + std::to_string(size),
             headOf(200, "Accept-Ranges: bytes\r\nETag: \"v\"\r\n" + lengthField(size)) + data,
             data});
        all.push_back({"chunks " + std::to_string(size),
                       headOf(200, "Transfer-Encoding: chunked\r\n") + inChunks(data, 5000), data});
    }
    return all;
}

FaultCase into(const std::string& label,
               Wanted wanted,
               const Body& body,
               const MakeStream& make,
               bool isRetried) {
    FaultCase fault{.label = body.label + " into " + label + (isRetried ? ", retried" : ""),
                    .wanted = wanted,
                    .right = {{0, body.data}}};
    fault.answer = [bytes = body.bytes](const auto&, auto& peer, int) { peer.send(bytes); };
    fault.arrange = [make, isRetried](HttpRequest& request, ClientConfiguration& configuration) {
        request.setResponseStreamFactory([make](auto, const auto&, const auto&) { return make(); });
        if (isRetried) {
            resumes(request, configuration);
        }
    };
    return fault;
}

/// The limit for the size of files, as long as it lives; writing beyond it is an error.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes)
        // NOLINTNEXTLINE(concurrency-mt-unsafe): one at a time
        : formerHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &former_);
        rlimit limit = former_;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &former_);
        std::signal(SIGXFSZ, formerHandler_);  // NOLINT(concurrency-mt-unsafe): one at a time
    }

private:
    rlimit former_{};
    void (*formerHandler_)(int);
};

}  // namespace

Family refusingSinks() {
    Family family{"streams that refuse"};
    for (const Body& body : bodies()) {
        for (const bool isRetried : {false, true}) {
            for (const std::size_t room : std::initializer_list<std::size_t>{
                     0, 1, 50, 99, 100, 4096, 65536, 69999, 70000, 100000}) {
                family.cases.push_back(into(
                    "a stream of " + std::to_string(room),
                    room < body.data.size() ? Wanted::Failure : Wanted::Exact, body,
                    [room] { return std::make_unique<SmallStream>(room); }, isRetried));
            }
            const auto out = std::ios::in | std::ios::out | std::ios::binary;
            for (const std::string path : {"/dev/full", "/nowhere/file", "/dev/null/file", "/",
                                           "/proc/version", "/proc/self/nothing"}) {
                family.cases.push_back(
                    into(path, Wanted::Failure, body, fileAt(path, out), isRetried));
            }
            family.cases.push_back(into("/dev/null, read only", Wanted::Failure, body,
                                        fileAt("/dev/null", std::ios::in), isRetried));
            family.cases.push_back(into(
                "a file that is not open", Wanted::Failure, body,
                [] { return std::make_unique<std::fstream>(); }, isRetried));
            family.cases.push_back(into(
                "a stream without a buffer", Wanted::Failure, body,
                [] { return std::make_unique<std::iostream>(nullptr); }, isRetried));
        }
    }
    return family;
}

Family fullDisks() {
    Family family{"full disks", {}, {Sink::File}};
    family.threads = 1;
    for (const Body& body : bodies()) {
        for (const std::size_t limit : std::initializer_list<std::size_t>{
                 0, 1, 50, 99, 100, 4096, 8191, 65536, 69999, 70000}) {
            FaultCase fault{
                .label = body.label + " with room for " + std::to_string(limit),
                .wanted = limit < body.data.size() ? Wanted::Failure : Wanted::Exact,
                .right = {{0, body.data}},
                .answer = [bytes = body.bytes](const auto&, auto& peer, int) { peer.send(bytes); },
                .serve = [limit](std::string&, ClientConfiguration&) -> std::shared_ptr<void> {
                    return std::make_shared<FileSizeLimit>(limit);
                }};
            family.cases.push_back(fault);
            fault.label += ", retried";
            fault.arrange = resumes;
            family.cases.push_back(std::move(fault));
        }
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
