#include "benchmarks/Subjects.h"

#include <benchmark/benchmark.h>
#include <boost/config.hpp>
#include <boost/version.hpp>
#include <curl/curl.h>

#include <Poco/Version.h>
#include <gnu/libc-version.h>
#include <httplib.h>
#include <string>

namespace foundation::httpclient_core::benchmarks {

void addVersions() {
    constexpr unsigned pocoVersion = POCO_VERSION;
    const auto pocoPart = [](unsigned shift) {
        return std::to_string((pocoVersion >> shift) & 0xFFU);
    };
    benchmark::AddCustomContext("version of the compiler", BOOST_COMPILER);
    benchmark::AddCustomContext("version of the C library",
                                std::string("glibc ") + gnu_get_libc_version());
    benchmark::AddCustomContext("version of Boost (Beast, URL)",
                                std::to_string(BOOST_VERSION / 100000) + "." +
                                    std::to_string(BOOST_VERSION / 100 % 1000) + "." +
                                    std::to_string(BOOST_VERSION % 100));
    benchmark::AddCustomContext("version of POCO",
                                pocoPart(24) + "." + pocoPart(16) + "." + pocoPart(8));
    benchmark::AddCustomContext("version of libcurl", curl_version_info(CURLVERSION_NOW)->version);
    benchmark::AddCustomContext("version of cpp-httplib", CPPHTTPLIB_VERSION);
}

}  // namespace foundation::httpclient_core::benchmarks
