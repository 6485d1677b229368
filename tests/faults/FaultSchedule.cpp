#include "tests/faults/FaultSchedule.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <ostream>
#include <random>

namespace foundation::httpclient_curl::testing {
namespace {

constexpr std::array faultNames{
    "None",           "NoAnswer",         "CutHead",         "ErrorPage",
    "Redirect",       "WholeAgain",       "OtherOffset",     "OtherTotal",
    "UnknownTotal",   "NoContentRange",   "BadContentRange", "ShorterPart",
    "LongerPart",     "UnaskedPart",      "SeveralParts",    "BodyBelowRange",
    "BodyAboveRange", "TwoRanges",        "LengthTooLong",   "TwoLengths",
    "OddCoding",      "LengthAndChunked", "BadChunk",        "BytesBehind",
    "Informational",  "HeaderFlood"};
static_assert(faultNames.size() == static_cast<std::size_t>(Fault::Count));

class Dice {
public:
    explicit Dice(std::uint64_t seed) : engine_(seed) {}

    std::size_t below(std::size_t limit) { return engine_() % limit; }
    bool percent(std::size_t chance) { return below(100) < chance; }
    std::string bytes(std::size_t count) {
        std::string result(count, '\0');
        for (std::size_t i = 0; i < count; i += 8) {
            std::uint64_t word = engine_();
            for (std::size_t j = i; j < std::min(i + 8, count); ++j, word >>= 8U) {
                result[j] = static_cast<char>(word & 0xFFU);
            }
        }
        return result;
    }

private:
    std::mt19937_64 engine_;
};

std::size_t anySize(Dice& dice) {
    const std::size_t kind = dice.below(100);
    if (kind < 4) {
        return dice.below(3);
    }
    if (kind < 45) {
        return 1 + dice.below(2000);
    }
    // Around and beyond the 64 KiB that are compared where no strong validator exists.
    return kind < 75 ? 2000 + dice.below(68000) : 70000 + dice.below(130000);
}

bool tellsVersionsApart(Validators validators) {
    return validators == Validators::StrongEtag || validators == Validators::WeakEtag ||
           validators == Validators::Date;
}

void label(Version& version, Validators validators, std::size_t number) {
    const std::string tag = "\"v" + std::to_string(number) + "\"";
    switch (validators) {
        case Validators::None:
            break;
        case Validators::StrongEtag:
            version.etag = tag;
            break;
        case Validators::WeakEtag:
            version.etag = "W/" + tag;
            break;
        case Validators::ConstantWeakEtag:
            version.etag = "W/\"constant\"";
            break;
        case Validators::Date:
            version.modified = httpDate(-1000000 + static_cast<std::int64_t>(number) * 1000);
            break;
        case Validators::ConstantDate:
            version.modified = httpDate(0);
            break;
    }
}

// A change of one byte, or of the length, that only a validator tells.
std::string edited(std::string data, Dice& dice) {
    if (!data.empty()) {
        char& changed = data[dice.below(data.size())];
        changed = static_cast<char>(changed ^ 1);
    }
    return data;
}

std::vector<Version> someVersions(Dice& dice, Validators validators, bool smallEdits) {
    std::vector<Version> versions(1 + (dice.percent(55) ? 1 + dice.below(2) : 0));
    const std::size_t size = anySize(dice);
    const bool coded = dice.percent(6);
    for (std::size_t i = 0; i < versions.size(); ++i) {
        if (i > 0 && smallEdits) {
            versions[i].data = edited(versions[i - 1].data, dice);
        } else {
            versions[i].data = dice.bytes(i == 0 || dice.percent(60) ? size : anySize(dice));
        }
        label(versions[i], validators, i);
        versions[i].isCoded = coded;
    }
    // One representation with, one without a coding.
    if (versions.size() > 1 && !smallEdits && dice.percent(5)) {
        versions.back().isCoded = !coded;
    }
    return versions;
}

std::string someRetryAfter(Dice& dice) {
    constexpr std::array texts{"0", "1", "2", "-5", "soon", "99999999999999999999"};
    if (dice.percent(60)) {
        return "";
    }
    return dice.percent(40) ? httpDate(static_cast<std::int64_t>(dice.below(4)) - 1)
                            : texts[dice.below(texts.size())];
}

Step someStep(Dice& dice, std::size_t version, bool smallEdits) {
    constexpr std::array statuses{500, 502, 503, 504, 429, 416, 404, 403, 408, 425, 426, 304};
    Step step;
    step.version = version;
    if (dice.percent(70)) {
        step.fault = static_cast<Fault>(dice.below(static_cast<std::size_t>(Fault::Count)));
    }
    step.framing = static_cast<Framing>(dice.percent(60) ? 0 : dice.below(3));
    // The first five come again mostly, so that most schedules come to an end.
    step.status = statuses[dice.below(dice.percent(80) ? 6 : statuses.size())];
    step.retryAfter = someRetryAfter(dice);
    if (dice.percent(75)) {
        step.cutAfter = dice.percent(10) ? 0 : dice.below(200000);
    }
    step.resets = dice.percent(25);
    step.stalls = dice.percent(1);
    step.ignoresIfRange = dice.percent(20);
    // A small edit can be seen by its validator alone.
    step.omitsValidators = !smallEdits && dice.percent(15);
    step.omitsDate = dice.percent(10);
    step.omitsAcceptRanges = dice.percent(10);
    step.isOldProtocol = dice.percent(5);
    step.closes = step.isOldProtocol || dice.percent(30);
    step.delayMs = dice.percent(10) ? static_cast<int>(dice.below(3)) : 0;
    step.number = dice.below(100000);
    return step;
}

std::string someRange(Dice& dice, std::size_t size) {
    const std::size_t first = dice.below(size + 1);
    switch (dice.below(3)) {
        case 0:
            return "bytes=" + std::to_string(first) + "-";
        case 1:
            return "bytes=-" + std::to_string(1 + dice.below(size + 1));
        default:
            return "bytes=" + std::to_string(first) + "-" +
                   std::to_string(first + dice.below(size + 1));
    }
}

}  // namespace

bool Schedule::stalls() const {
    return std::any_of(steps.begin(), steps.end(), [](const Step& step) { return step.stalls; });
}

std::optional<Slice> sliceOf(std::string_view range, std::size_t size) {
    constexpr std::string_view unit = "bytes=";
    const std::size_t dash = range.find('-');
    if (!range.starts_with(unit) || dash == std::string_view::npos) {
        return std::nullopt;
    }
    const auto number = [](std::string_view text) -> std::optional<std::size_t> {
        std::size_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        return error == std::errc() && end == text.data() + text.size() ? std::optional(value)
                                                                        : std::nullopt;
    };
    const std::optional<std::size_t> first = number(range.substr(unit.size(), dash - unit.size()));
    const std::optional<std::size_t> last = number(range.substr(dash + 1));
    if (first.has_value()) {
        return Slice{*first, last.has_value() ? std::min(*last + 1, size) : size};
    }
    return last.has_value() ? std::optional(Slice{size - std::min(*last, size), size})
                            : std::nullopt;
}

std::string httpDate(std::int64_t secondsFromNow) {
    const std::time_t time = std::time(nullptr) + secondsFromNow;
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    // The C locale is in force: no test sets another.
    const std::size_t length =
        std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts);
    return {text.data(), length};
}

Schedule makeSchedule(std::uint64_t seed) {
    Dice dice(seed);
    Schedule schedule;
    schedule.seed = seed;
    schedule.validators = static_cast<Validators>(dice.below(6));
    const bool smallEdits = tellsVersionsApart(schedule.validators) && dice.percent(50);
    schedule.versions = someVersions(dice, schedule.validators, smallEdits);
    std::size_t version = 0;
    const std::size_t count = 1 + dice.below(8);
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0 && dice.percent(35)) {
            version = dice.below(schedule.versions.size());
        }
        schedule.steps.push_back(someStep(dice, version, smallEdits));
        Step& step = schedule.steps.back();
        if (i == 0 && dice.percent(60)) {
            step.fault = Fault::None;
        }
        if (step.cutAfter.has_value()) {
            // Mostly inside the body.
            step.cutAfter = dice.percent(90) ? dice.below(schedule.versions[0].data.size() + 1)
                                             : *step.cutAfter;
        }
    }
    if (dice.percent(8)) {
        schedule.callersRange = someRange(dice, schedule.versions[0].data.size());
    }
    schedule.stream = static_cast<BodyStream>(dice.percent(40) ? 0 : dice.below(5));
    schedule.isAsynchronous = dice.percent(50);
    schedule.hasProgress = dice.percent(30);
    schedule.usesResumingStrategy = dice.percent(60);
    return schedule;
}

std::ostream& operator<<(std::ostream& os, const Schedule& schedule) {
    constexpr std::array validators{"None", "StrongEtag",  "WeakEtag", "ConstantWeakEtag",
                                    "Date", "ConstantDate"};
    constexpr std::array framings{"Length", "Chunked", "UntilClose"};
    constexpr std::array streams{"Default", "Readable", "WriteOnly", "Prefixed", "File"};
    os << "schedule " << schedule.seed << ": "
       << validators[static_cast<std::size_t>(schedule.validators)] << ", "
       << streams[static_cast<std::size_t>(schedule.stream)] << " stream, "
       << (schedule.isAsynchronous ? "asynchronous" : "synchronous") << ", "
       << (schedule.usesResumingStrategy ? "resuming strategy" : "stubborn strategy") << ", range '"
       << schedule.callersRange << "'\n";
    for (const Version& version : schedule.versions) {
        os << "  version of " << version.data.size() << " bytes " << version.etag << ' '
           << version.modified << (version.isCoded ? " coded" : "") << '\n';
    }
    for (const Step& step : schedule.steps) {
        os << "  " << faultNames[static_cast<std::size_t>(step.fault)] << " version "
           << step.version << ' ' << framings[static_cast<std::size_t>(step.framing)];
        if (step.fault == Fault::ErrorPage) {
            os << " status " << step.status << " Retry-After '" << step.retryAfter << "'";
        }
        if (step.cutAfter.has_value()) {
            os << " cut after " << *step.cutAfter;
        }
        os << (step.resets ? " resets" : "") << (step.stalls ? " stalls" : "")
           << (step.ignoresIfRange ? " ignores If-Range" : "")
           << (step.omitsValidators ? " omits validators" : "") << (step.closes ? " closes" : "")
           << (step.omitsDate ? " omits Date" : "")
           << (step.omitsAcceptRanges ? " omits Accept-Ranges" : "")
           << (step.isOldProtocol ? " HTTP/1.0" : "") << " number " << step.number << '\n';
    }
    return os;
}

}  // namespace foundation::httpclient_curl::testing
