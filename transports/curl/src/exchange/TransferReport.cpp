#include "exchange/TransferReport.h"

#include <chrono>
#include <string>

namespace foundation::httpclient_curl {
namespace {

std::string peerOf(CURL* easy) {
    const auto* address = info<char*>(easy, CURLINFO_PRIMARY_IP);
    const auto port = info<long>(easy, CURLINFO_PRIMARY_PORT);
    if (address == nullptr || *address == '\0' || port <= 0) {
        return {};
    }
    const std::string text = address;
    return (text.find(':') != std::string::npos ? '[' + text + ']' : text) + ':' +
           std::to_string(port);
}

}  // namespace

void describeTransfer(CURL* easy, AttemptReport& report) {
    const auto time = [easy](CURLINFO which) {
        return std::chrono::microseconds(info<curl_off_t>(easy, which));
    };
    report.nameLookup = time(CURLINFO_NAMELOOKUP_TIME_T);
    report.connect = time(CURLINFO_CONNECT_TIME_T);
    report.tls = time(CURLINFO_APPCONNECT_TIME_T);
    report.firstByte = time(CURLINFO_STARTTRANSFER_TIME_T);
    report.total = time(CURLINFO_TOTAL_TIME_T);
    report.connectionReused = time(CURLINFO_PRETRANSFER_TIME_T).count() > 0 &&
                              info<long>(easy, CURLINFO_NUM_CONNECTS) == 0;
    report.remoteAddress = peerOf(easy);
}

}  // namespace foundation::httpclient_curl
