// Values of fields that the transport reads itself: dates, byte ranges, the challenges of a proxy. The whole
// input is each of them.
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Target.h"
#include "proxy/AuthChallenge.h"
#include "resume/ResumeMark.h"
#include "retry/HttpDate.h"
#include "tests/properties/PlainRange.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace foundation::fuzz {
namespace {

using httpclient_core::testing::plainContentRange;
using httpclient_core::testing::plainNumber;
using httpclient_core::testing::PlainRange;
using httpclient_curl::AuthChallenge;
using httpclient_curl::ByteRange;

std::string twoDigits(unsigned int number) {
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

// The three forms of a moment, without the name of the day, which says nothing.
std::vector<std::string> formsOf(std::chrono::sys_seconds moment, bool isLeapSecond) {
    static const std::array<const char*, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    if (isLeapSecond) {
        moment -= std::chrono::seconds(1);
    }
    const auto days = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date(days);
    const std::chrono::hh_mm_ss time(moment - days);
    const auto day = static_cast<unsigned int>(date.day());
    const std::string month = months.at(static_cast<unsigned int>(date.month()) - 1);
    std::array<char, 16> year{};
    std::snprintf(year.data(), year.size(), "%04d", static_cast<int>(date.year()));
    const std::string yearText = year.data();
    const std::string clock =
        twoDigits(static_cast<unsigned int>(time.hours().count())) + ":" +
        twoDigits(static_cast<unsigned int>(time.minutes().count())) + ":" +
        (isLeapSecond ? "60" : twoDigits(static_cast<unsigned int>(time.seconds().count())));
    const std::string blankDay = (day < 10 ? " " : "") + std::to_string(day);
    return {
        ", " + twoDigits(day) + " " + month + " " + yearText + " " + clock + " GMT",
        ", " + twoDigits(day) + "-" + month + "-" + yearText.substr(2) + " " + clock + " GMT",
        " " + month + " " + blankDay + " " + clock + " " + yearText,
        " " + month + " " + twoDigits(day) + " " + clock + " " + yearText,
    };
}

void date(const std::string& text) {
    const auto now = std::chrono::system_clock::from_time_t(1800000000);
    const auto moment = httpclient_curl::parseHttpDate(text, now);
    if (!moment.has_value()) {
        return;
    }
    const std::string behindTheDay = text.substr(std::min(text.find_first_of(" ,"), text.size()));
    const std::vector<std::string> forms = formsOf(*moment, text.find(":60") != std::string::npos);
    require(std::find(forms.begin(), forms.end(), behindTheDay) != forms.end(),
            "a date is one of the forms of its moment", shown(text) + shown(forms));
    const bool hasTwoDigits = behindTheDay == forms[1];
    require(!hasTwoDigits ||
                (*moment < now + std::chrono::years(51) && *moment > now - std::chrono::years(51)),
            "two digits name a year that is near", shown(text));
}

void range(const std::string& text) {
    const std::optional<ByteRange> read = ByteRange::fromContentRange(text);
    const std::optional<PlainRange> expected = plainContentRange(text);
    require(read.has_value() == expected.has_value(), "Content-Range is one", shown(text));
    if (expected.has_value()) {
        requireSame(read->first, expected->first, "first byte of " + shown(text));
        requireSame(read->last, expected->last, "last byte of " + shown(text));
        requireSame(read->total, expected->total, "total of " + shown(text));
    }
    const std::optional<ByteRange> asked = ByteRange::fromRange(text);
    const std::size_t dash = text.find('-');
    const bool isRange =
        text.starts_with("bytes=") && dash != std::string::npos &&
        plainNumber(text.substr(6, dash - 6)).has_value() &&
        (dash + 1 == text.size() || plainNumber(text.substr(dash + 1)).has_value());
    require(asked.has_value() == isRange, "Range is one", shown(text));
    if (isRange) {
        requireSame(asked->first, *plainNumber(text.substr(6, dash - 6)), "first byte asked for");
        requireSame(asked->last, plainNumber(text.substr(dash + 1)).value_or(-1),
                    "last byte asked for");
    }
}

std::string printed(const std::vector<AuthChallenge>& challenges) {
    std::string text;
    for (const AuthChallenge& challenge : challenges) {
        text += (text.empty() ? "" : ", ") + challenge.scheme;
        const char* before = " ";
        for (const auto& [name, value] : challenge.parameters) {
            text += before + name + "=\"";
            for (const char c : value) {
                text += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
            }
            text += '"';
            before = ", ";
        }
    }
    return text;
}

void challenges(const std::string& text) {
    const std::vector<AuthChallenge> read = httpclient_curl::parseChallenges(text);
    const std::string canonical = printed(read);
    const std::vector<AuthChallenge> again = httpclient_curl::parseChallenges(canonical);
    requireSame(printed(again), canonical, "printed challenges print the same again");
    requireSame(again.size(), read.size(), "printed challenges are as many");
    for (std::size_t i = 0; i < read.size(); ++i) {
        requireSame(again[i].scheme, read[i].scheme, "scheme");
        requireSame(again[i].parameters, read[i].parameters, "parameters");
        require(again[i].isOf(read[i].scheme), "a challenge is of its scheme");
        if (!read[i].parameters.empty()) {
            const auto& [name, value] = read[i].parameters.front();
            requireSame(read[i].parameter(name), value, "the first parameter by its name");
        }
    }
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    const std::string text = textOf(data, size);
    date(text);
    range(text);
    challenges(text);
    return 0;
}
