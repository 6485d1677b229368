#pragma once
#include <locale>
#include <string>

namespace foundation::httpclient_core::testing {

/// Makes the global locale write "1,234,567" while it lives, as a host program may do.
class GroupingLocale {
public:
    GroupingLocale() : former_(std::locale::global(std::locale(std::locale(), new Punctuation))) {}
    GroupingLocale(const GroupingLocale&) = delete;
    GroupingLocale& operator=(const GroupingLocale&) = delete;
    ~GroupingLocale() { std::locale::global(former_); }

private:
    struct Punctuation : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale former_;
};

}  // namespace foundation::httpclient_core::testing
