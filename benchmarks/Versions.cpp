#include "benchmarks/Subjects.h"

#include <benchmark/benchmark.h>
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
    benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
    benchmark::AddCustomContext("C library", std::string("glibc ") + gnu_get_libc_version());
    benchmark::AddCustomContext("Boost (Beast, URL)",
                                std::to_string(BOOST_VERSION / 100000) + "." +
                                    std::to_string(BOOST_VERSION / 100 % 1000) + "." +
                                    std::to_string(BOOST_VERSION % 100));
    benchmark::AddCustomContext("POCO", pocoPart(24) + "." + pocoPart(16) + "." + pocoPart(8));
    benchmark::AddCustomContext("libcurl", curl_version_info(CURLVERSION_NOW)->version);
    benchmark::AddCustomContext("cpp-httplib", CPPHTTPLIB_VERSION);
}

}  // namespace foundation::httpclient_core::benchmarks
