#include "retry/HttpDate.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>

namespace foundation::httpclient_curl {
namespace {

using namespace std::string_view_literals;

constexpr std::array days{"Sun"sv, "Mon"sv, "Tue"sv, "Wed"sv, "Thu"sv, "Fri"sv, "Sat"sv};
constexpr std::array longDays{"Sunday"sv,   "Monday"sv, "Tuesday"sv, "Wednesday"sv,
                              "Thursday"sv, "Friday"sv, "Saturday"sv};
constexpr std::array months{"Jan"sv, "Feb"sv, "Mar"sv, "Apr"sv, "May"sv, "Jun"sv,
                            "Jul"sv, "Aug"sv, "Sep"sv, "Oct"sv, "Nov"sv, "Dec"sv};

/// Takes a date apart from the front; remembers whether everything was found.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    void text(std::string_view expected) {
        found_ = found_ && rest_.starts_with(expected);
        rest_.remove_prefix(std::min(expected.size(), rest_.size()));
    }

    int number(std::size_t digits) {
        int value = 0;
        const std::string_view part = rest_.substr(0, digits);
        // Whatever is no digit, a sign too, leaves less than all of it read.
        const bool isDigits =
            std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; });
        found_ = found_ && part.size() == digits && isDigits;
        // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the end is given as well
        std::from_chars(part.data(), part.data() + part.size(), value);
        rest_.remove_prefix(part.size());
        return value;
    }

    /// The index of the name that comes next.
    template <std::size_t count>
    unsigned int oneOf(const std::array<std::string_view, count>& names) {
        const auto name = std::find_if(names.begin(), names.end(), [this](std::string_view each) {
            return rest_.starts_with(each);
        });
        if (name == names.end()) {
            found_ = false;
            return 0;
        }
        rest_.remove_prefix(name->size());
        return static_cast<unsigned int>(name - names.begin());
    }

    bool startsWith(std::string_view expected) const { return rest_.starts_with(expected); }
    bool isComplete() const { return found_ && rest_.empty(); }

private:
    std::string_view rest_;
    bool found_ = true;
};

struct Parts {
    int year = 0;
    unsigned int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

void takeTime(Scanner& scanner, Parts& parts) {
    parts.hour = scanner.number(2);
    scanner.text(":");
    parts.minute = scanner.number(2);
    scanner.text(":");
    parts.second = scanner.number(2);
}

std::optional<std::chrono::sys_seconds> momentOf(const Scanner& scanner, const Parts& parts) {
    const std::chrono::year_month_day date{std::chrono::year(parts.year),
                                           std::chrono::month(parts.month + 1),
                                           std::chrono::day(static_cast<unsigned int>(parts.day))};
    // 60 is a leap second.
    if (!scanner.isComplete() || !date.ok() || parts.hour > 23 || parts.minute > 59 ||
        parts.second > 60) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date) + std::chrono::hours(parts.hour) +
           std::chrono::minutes(parts.minute) + std::chrono::seconds(parts.second);
}

std::optional<std::chrono::sys_seconds> parseUsual(std::string_view text) {
    Scanner scanner(text);
    Parts parts;
    scanner.oneOf(days);
    scanner.text(", ");
    parts.day = scanner.number(2);
    scanner.text(" ");
    parts.month = scanner.oneOf(months);
    scanner.text(" ");
    parts.year = scanner.number(4);
    scanner.text(" ");
    takeTime(scanner, parts);
    scanner.text(" GMT");
    return momentOf(scanner, parts);
}

std::optional<std::chrono::sys_seconds> parseTwoDigitYear(
    std::string_view text,
    std::chrono::system_clock::time_point now) {
    Scanner scanner(text);
    Parts parts;
    scanner.oneOf(longDays);
    scanner.text(", ");
    parts.day = scanner.number(2);
    scanner.text("-");
    parts.month = scanner.oneOf(months);
    scanner.text("-");
    const int shortYear = scanner.number(2);
    scanner.text(" ");
    takeTime(scanner, parts);
    scanner.text(" GMT");
    const std::chrono::year_month_day today{std::chrono::floor<std::chrono::days>(now)};
    const int thisYear = static_cast<int>(today.year());
    parts.year = thisYear - thisYear % 100 + 100 + shortYear;
    while (parts.year > thisYear + 50) {
        parts.year -= 100;
    }
    return momentOf(scanner, parts);
}

std::optional<std::chrono::sys_seconds> parseAsctime(std::string_view text) {
    Scanner scanner(text);
    Parts parts;
    scanner.oneOf(days);
    scanner.text(" ");
    parts.month = scanner.oneOf(months);
    scanner.text(" ");
    if (scanner.startsWith(" ")) {
        scanner.text(" ");
        parts.day = scanner.number(1);
    } else {
        parts.day = scanner.number(2);
    }
    scanner.text(" ");
    takeTime(scanner, parts);
    scanner.text(" ");
    parts.year = scanner.number(4);
    return momentOf(scanner, parts);
}

}  // namespace

std::optional<std::chrono::sys_seconds> parseHttpDate(std::string_view text,
                                                      std::chrono::system_clock::time_point now) {
    auto moment = parseUsual(text);
    if (!moment.has_value()) {
        moment = parseTwoDigitYear(text, now);
    }
    return moment.has_value() ? moment : parseAsctime(text);
}

}  // namespace foundation::httpclient_curl
