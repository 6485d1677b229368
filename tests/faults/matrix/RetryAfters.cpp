#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

namespace foundation::httpclient_curl::testing {
namespace {

const std::string well = "well";

/// Whose retries they are.
enum class Patience { Resuming, Default };

// Both wait at most for nothing at all, whatever the server asks for.
void bePatient(Patience patience, ClientConfiguration& configuration) {
    if (patience == Patience::Resuming) {
        configuration.setRetryStrategy(immediateRetries(3));
    } else {
        RetryBackoffOptions options;
        options.backoffBase = 0;
        options.maxBackoff = 0;
        options.useRetryAfter = true;
        configuration.setRetryStrategy(defaultRetryStrategy(4, defaultIsRetriable(), 4, options));
    }
}

std::string page(int code, const std::string& fields) {
    return headOf(code, fields + lengthField(4)) + "page";
}

FaultCase made(const std::string& label,
               int code,
               const std::string& fields,
               Patience patience,
               int times) {
    FaultCase fault{.label = label + (patience == Patience::Default ? ", default" : ", resuming"),
                    .wanted = Wanted::Exact,
                    .right = {{200, well}}};
    if (times > 3) {
        fault.right = {{code, "page"}};
    }
    fault.answer = [code, fields, times](const auto&, auto& peer, int number) {
        peer.send(number < times ? page(code, fields)
                                 : headOf(200, fields + lengthField(well.size())) + well);
    };
    fault.arrange = [patience](HttpRequest&, ClientConfiguration& configuration) {
        bePatient(patience, configuration);
    };
    return fault;
}

}  // namespace

Family retryAfters() {
    Family family{"Retry-After"};
    const std::vector<std::string> values{
        "0",
        "1",
        "120",
        "3600",
        "86400",
        "2147483",
        "2147483647",
        "2147483648",
        "4294967296",
        "4294967297",
        "9223372036854775807",
        "9223372036854775808",
        "18446744073709551616",
        "99999999999999999999999999",
        "-1",
        "-0",
        "-2147483648",
        "-9223372036854775808",
        "+5",
        "1.5",
        "1e9",
        "0x10",
        "1;2",
        "1, 2",
        "1 s",
        "",
        " ",
        "soon",
        "NaN",
        "Infinity",
        "\"5\"",
        "Fri, 31 Dec 1999 23:59:59 GMT",
        "Fri, 31 Dec 9999 23:59:59 GMT",
        "Fri, 31 Dec 99999 23:59:59 GMT",
        "Thu, 01 Jan 1970 00:00:00 GMT",
        "Thu, 01 Jan 1601 00:00:00 GMT",
        "Mon, 01 Jan 0001 00:00:00 GMT",
        "Friday, 31-Dec-99 23:59:59 GMT",
        "Fri Dec 31 23:59:59 1999",
        "Fri, 31 Dec 1999 23:59:60 GMT",
        "Fri, 31 Dec 1999 24:00:00 GMT",
        "Fri, 32 Dec 1999 23:59:59 GMT",
        "Fri, 30 Feb 2099 23:59:59 GMT",
        "Xxx, 31 Dec 2099 23:59:59 GMT",
        "Fri, 31 Dec 2099 23:59:59",
        "Fri, 31 Dec 2099",
        "31 Dec 2099 23:59:59 GMT",
        "Fri, 31 Dec 2099 23:59:59 +0100",
        "2099-12-31T23:59:59Z",
        "Fri, 31 Dec 2099 23:59:59 GMT, Fri, 31 Dec 2099 23:59:59 GMT",
    };
    for (const std::string& value : values) {
        for (const int code : {429, 503}) {
            for (const Patience patience : {Patience::Resuming, Patience::Default}) {
                family.cases.push_back(made(std::to_string(code) + " \"" + value + "\"", code,
                                            "Retry-After: " + value + "\r\n", patience, 2));
            }
        }
    }
    for (const Patience patience : {Patience::Resuming, Patience::Default}) {
        for (const std::size_t length : std::initializer_list<std::size_t>{100, 10000, 90000}) {
            family.cases.push_back(made("digits x " + std::to_string(length), 503,
                                        "Retry-After: " + std::string(length, '9') + "\r\n",
                                        patience, 1));
        }
        for (const int count : {2, 100, 900}) {
            std::string fields;
            for (int i = 0; i < count; ++i) {
                fields += "Retry-After: " + std::to_string(i) + "\r\n";
            }
            family.cases.push_back(
                made("fields x " + std::to_string(count), 503, fields, patience, 1));
        }
        for (const int times : {0, 1, 3, 4, 10}) {
            family.cases.push_back(made("pages x " + std::to_string(times), 429,
                                        "Retry-After: 7\r\n", patience, times));
        }
        for (const std::string date : {"Date: Fri, 31 Dec 9999 23:59:59 GMT", "Date: x",
                                       "Date:", "Date: Thu, 01 Jan 1970 00:00:00 GMT"}) {
            family.cases.push_back(made(date, 503,
                                        date + "\r\nRetry-After: Fri, 31 Dec 2099 23:59:59 GMT\r\n",
                                        patience, 2));
        }
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
