#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <locale>
#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>

namespace foundation::httpclient_core {
namespace {

using ::testing::IsEmpty;
using testing::LogCapture;

TEST(HttpResponseCodeTest, TellsNumberReasonAndClass) {
    const auto code = HttpResponseCode::NotFound;
    EXPECT_EQ(to_string(code), "404");
    EXPECT_EQ(getReasonStringForCode(code), "Not Found");
    EXPECT_TRUE(isClientError(code));
    EXPECT_FALSE(isSuccess(code));
}

struct Reason {
    std::int32_t number;
    HttpResponseCode code;
    const char* phrase;
};

constexpr Reason reasons[] = {
    {-1, HttpResponseCode::RequestNotMade, "Request Not Made"},
    {0, HttpResponseCode::ResponseNotReceived, "Response Not Received"},
    {100, HttpResponseCode::Continue, "Continue"},
    {101, HttpResponseCode::SwitchingProtocols, "Switching Protocols"},
    {102, HttpResponseCode::Processing, "Processing"},
    {200, HttpResponseCode::OK, "OK"},
    {201, HttpResponseCode::Created, "Created"},
    {202, HttpResponseCode::Accepted, "Accepted"},
    {203, HttpResponseCode::NonAuthoritativeInformation, "Non-Authoritative Information"},
    {204, HttpResponseCode::NoContent, "No Content"},
    {205, HttpResponseCode::ResetContent, "Reset Content"},
    {206, HttpResponseCode::PartialContent, "Partial Content"},
    {207, HttpResponseCode::MultiStatus, "Multi-Status"},
    {208, HttpResponseCode::AlreadyReported, "Already Reported"},
    {209, HttpResponseCode::IMUsed, "IM Used"},
    {300, HttpResponseCode::MultipleChoices, "Multiple Choices"},
    {301, HttpResponseCode::MovedPermanently, "Moved Permanently"},
    {302, HttpResponseCode::Found, "Found"},
    {303, HttpResponseCode::SeeOther, "See Other"},
    {304, HttpResponseCode::NotModified, "Not Modified"},
    {305, HttpResponseCode::UseProxy, "Use Proxy"},
    {306, HttpResponseCode::SwitchProxy, "Switch Proxy"},
    {307, HttpResponseCode::TemporaryRedirect, "Temporary Redirect"},
    {308, HttpResponseCode::PermanentRedirect, "Permanent Redirect"},
    {400, HttpResponseCode::BadRequest, "Bad Request"},
    {401, HttpResponseCode::Unauthorized, "Unauthorized"},
    {402, HttpResponseCode::PaymentRequired, "Payment Required"},
    {403, HttpResponseCode::Forbidden, "Forbidden"},
    {404, HttpResponseCode::NotFound, "Not Found"},
    {405, HttpResponseCode::MethodNotAllowed, "Method Not Allowed"},
    {406, HttpResponseCode::NotAcceptable, "Not Acceptable"},
    {407, HttpResponseCode::ProxyAuthenticationRequired, "Proxy Authentication Required"},
    {408, HttpResponseCode::RequestTimeout, "Request Timeout"},
    {409, HttpResponseCode::Conflict, "Conflict"},
    {410, HttpResponseCode::Gone, "Gone"},
    {411, HttpResponseCode::LengthRequired, "Length Required"},
    {412, HttpResponseCode::PreconditionFailed, "Precondition Failed"},
    {413, HttpResponseCode::PayloadTooLarge, "Payload Too Large"},
    {414, HttpResponseCode::URITooLong, "URI Too Long"},
    {415, HttpResponseCode::UnsupportedMediaType, "Unsupported Media Type"},
    {416, HttpResponseCode::RangeNotSatisfiable, "Range Not Satisfiable"},
    {417, HttpResponseCode::ExpectationFailed, "Expectation Failed"},
    {418, HttpResponseCode::ImATeapot, "I'm a Teapot"},
    {421, HttpResponseCode::MisdirectedRequest, "Misdirected Request"},
    {422, HttpResponseCode::UnprocessableEntity, "Unprocessable Entity"},
    {423, HttpResponseCode::Locked, "Locked"},
    {424, HttpResponseCode::FailedDependency, "Failed Dependency"},
    {426, HttpResponseCode::UpgradeRequired, "Upgrade Required"},
    {428, HttpResponseCode::PreconditionRequired, "Precondition Required"},
    {429, HttpResponseCode::TooManyRequests, "Too Many Requests"},
    {431, HttpResponseCode::RequestHeaderFieldsTooLarge, "Request Header Fields Too Large"},
    {451, HttpResponseCode::UnavailableForLegalReasons, "Unavailable For Legal Reasons"},
    {500, HttpResponseCode::InternalServerError, "Internal Server Error"},
    {501, HttpResponseCode::NotImplemented, "Not Implemented"},
    {502, HttpResponseCode::BadGateway, "Bad Gateway"},
    {503, HttpResponseCode::ServiceUnavailable, "Service Unavailable"},
    {504, HttpResponseCode::GatewayTimeout, "Gateway Timeout"},
    {505, HttpResponseCode::HTTPVersionNotSupported, "HTTP Version Not Supported"},
    {506, HttpResponseCode::VariantAlsoNegotiates, "Variant Also Negotiates"},
    {507, HttpResponseCode::InsufficientStorage, "Insufficient Storage"},
    {508, HttpResponseCode::LoopDetected, "Loop Detected"},
    {510, HttpResponseCode::NotExtended, "Not Extended"},
    {511, HttpResponseCode::NetworkAuthenticationRequired, "Network Authentication Required"},
};

TEST(HttpResponseCodeTest, ThereAreSixtyThreeReasonsWithAscendingCodes) {
    EXPECT_EQ(std::size(reasons), 63U);
    for (std::size_t i = 1; i < std::size(reasons); ++i) {
        EXPECT_LT(reasons[i - 1].number, reasons[i].number);
    }
}

TEST(HttpResponseCodeTest, EveryEnumeratorHasItsNumberAndItsReason) {
    const LogCapture log;
    for (const Reason& reason : reasons) {
        EXPECT_EQ(static_cast<std::int32_t>(reason.code), reason.number) << reason.phrase;
        EXPECT_EQ(getReasonStringForCode(reason.code), reason.phrase) << reason.number;
        EXPECT_EQ(getReasonStringForCode(HttpResponseCode{reason.number}), reason.phrase);
    }
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(HttpResponseCodeTest, EveryOtherCodeHasNoReason) {
    std::map<std::int32_t, std::string> phrases;
    for (const Reason& reason : reasons) {
        phrases[reason.number] = reason.phrase;
    }
    int without = 0;
    for (std::int32_t number = -5; number <= 1000; ++number) {
        if (phrases.count(number) == 0) {
            EXPECT_EQ(getReasonStringForCode(HttpResponseCode{number}), "") << number;
            ++without;
        }
    }
    EXPECT_EQ(without, 1006 - 63);
    for (const std::int32_t number : {INT32_MIN, INT32_MAX, -404, 65536 + 404}) {
        EXPECT_EQ(getReasonStringForCode(HttpResponseCode{number}), "") << number;
    }
}

TEST(HttpResponseCodeTest, PseudoCodesHaveReasons) {
    EXPECT_EQ(getReasonStringForCode(HttpResponseCode{-1}), "Request Not Made");
    EXPECT_EQ(getReasonStringForCode(HttpResponseCode{0}), "Response Not Received");
}

TEST(HttpResponseCodeTest, DiffersFromTheRegistryAtTwoCodes) {
    EXPECT_EQ(getReasonStringForCode(HttpResponseCode{209}), "IM Used");
    EXPECT_EQ(getReasonStringForCode(HttpResponseCode{226}), "");
    EXPECT_EQ(getReasonStringForCode(HttpResponseCode{306}), "Switch Proxy");
}

TEST(HttpResponseCodeTest, UnlistedCodesHaveNoReason) {
    for (const std::int32_t number : {103, 226, 419, 420, 425, 427, 430, 509, 999}) {
        EXPECT_EQ(getReasonStringForCode(HttpResponseCode{number}), "") << number;
    }
}

TEST(HttpResponseCodeTest, IsThirtyTwoBitsWide) {
    static_assert(std::is_same_v<std::underlying_type_t<HttpResponseCode>, std::int32_t>);
}

TEST(HttpResponseCodeTest, ToStringIsTheDecimalNumber) {
    EXPECT_EQ(to_string(HttpResponseCode::RequestNotMade), "-1");
    EXPECT_EQ(to_string(HttpResponseCode::ResponseNotReceived), "0");
    EXPECT_EQ(to_string(HttpResponseCode::NotFound), "404");
    EXPECT_EQ(to_string(HttpResponseCode{INT32_MIN}), "-2147483648");
    EXPECT_EQ(to_string(HttpResponseCode{INT32_MAX}), "2147483647");
}

TEST(HttpResponseCodeTest, InsertionWritesThePlainNumberWhateverTheStreamIsSetTo) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::ostringstream os;
    os.imbue(std::locale(std::locale::classic(), new Grouping));
    os << std::hex << std::showbase << std::showpos;
    EXPECT_EQ(&(os << HttpResponseCode{2147483647}), &os);
    os << ' ' << HttpResponseCode{-1} << ' ' << HttpResponseCode::OK;
    EXPECT_EQ(os.str(), "2147483647 -1 200");
}

HttpResponse responseWith(HttpResponseCode code) {
    HttpResponse response;
    response.setResponseCode(code);
    return response;
}

struct Class {
    const char* label;
    std::int32_t first;
    bool (*ofCode)(HttpResponseCode) noexcept;
    bool (*ofResponse)(const HttpResponse&);
    friend std::ostream& operator<<(std::ostream& os, const Class& row) { return os << row.label; }
};

class HttpResponseCodeClassTest : public ::testing::TestWithParam<Class> {};

TEST_P(HttpResponseCodeClassTest, HoldsForTheHundredCodesOfTheClassOnly) {
    const std::int32_t first = GetParam().first;
    for (std::int32_t number = -1000; number <= 1000; ++number) {
        EXPECT_EQ(GetParam().ofCode(HttpResponseCode{number}),
                  number >= first && number <= first + 99)
            << number;
    }
}

TEST_P(HttpResponseCodeClassTest, IsFalseForPseudoCodesAndExtremes) {
    for (const std::int32_t number : {-1, 0, INT32_MIN, INT32_MAX, INT32_MIN + GetParam().first}) {
        EXPECT_FALSE(GetParam().ofCode(HttpResponseCode{number})) << number;
    }
}

TEST_P(HttpResponseCodeClassTest, IsTheSameForAResponse) {
    const std::int32_t first = GetParam().first;
    for (const std::int32_t number : {-1, 0, first - 1, first, first + 99, first + 100}) {
        EXPECT_EQ(GetParam().ofResponse(responseWith(HttpResponseCode{number})),
                  GetParam().ofCode(HttpResponseCode{number}))
            << number;
    }
}

INSTANTIATE_TEST_SUITE_P(Classes,
                         HttpResponseCodeClassTest,
                         ::testing::Values(Class{"Informational", 100, isInformational,
                                                 isInformational},
                                           Class{"Success", 200, isSuccess, isSuccess},
                                           Class{"Redirection", 300, isRedirection, isRedirection},
                                           Class{"ClientError", 400, isClientError, isClientError},
                                           Class{"ServerError", 500, isServerError, isServerError}),
                         [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_core
