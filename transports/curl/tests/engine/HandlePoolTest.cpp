#include "engine/HandlePool.h"
#include "tests/support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

using httpclient_core::testing::Connection;
using httpclient_core::testing::LoopbackServer;
using httpclient_core::testing::ReceivedRequest;
using ShareHandle = std::unique_ptr<CURLSH, Release<curl_share_cleanup>>;

std::size_t drop(char* /*data*/, std::size_t size, std::size_t count, void* /*unused*/) {
    return size * count;
}

class HandlePoolTest : public ::testing::Test {
protected:
    HandlePoolTest()
        : server_([](const ReceivedRequest&, Connection& connection) {
              connection.sendResponse(200, "OK", {}, "well");
          }) {}

    static CURLcode transfer(CURL* handle, const std::string& url) {
        curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
        curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &drop);
        curl_easy_setopt(handle, CURLOPT_PROXY, "");
        return curl_easy_perform(handle);
    }

    LoopbackServer server_;
    HandlePool pool_;
};

TEST_F(HandlePoolTest, KeepsAHandleThatDidPlainHttp) {
    EasyHandle handle = pool_.take();
    CURL* const first = handle.get();
    const CURLcode code = transfer(first, server_.url());
    ASSERT_EQ(code, CURLE_OK);
    pool_.giveBack(std::move(handle), code);
    handle = pool_.take();
    EXPECT_EQ(handle.get(), first);
    EXPECT_EQ(transfer(handle.get(), server_.url()), CURLE_OK);
    EXPECT_EQ(server_.connectionCount(), 1);
}

TEST_F(HandlePoolTest, KeepsNoneThatFailed) {
    EasyHandle handle = pool_.take();
    ASSERT_EQ(transfer(handle.get(), server_.url()), CURLE_OK);
    pool_.giveBack(std::move(handle), CURLE_RECV_ERROR);
    // The address may be the same again, but its connection is gone.
    handle = pool_.take();
    ASSERT_EQ(transfer(handle.get(), server_.url()), CURLE_OK);
    EXPECT_EQ(server_.connectionCount(), 2);
}

TEST_F(HandlePoolTest, OptionsOfTheFormerTransferAreGone) {
    EasyHandle handle = pool_.take();
    HeaderLines lines;
    appendLine(lines, "X-Former: 1");
    setOption(handle.get(), CURLOPT_HTTPHEADER, lines.get());
    setOption(handle.get(), CURLOPT_CUSTOMREQUEST, "DELETE");
    ASSERT_EQ(transfer(handle.get(), server_.url("/first")), CURLE_OK);
    pool_.giveBack(std::move(handle), CURLE_OK);
    handle = pool_.take();
    // What the transport sets first; a handle after HTTP/2 would refuse it.
    setOption(handle.get(), CURLOPT_BUFFERSIZE, 131072L);
    ASSERT_EQ(transfer(handle.get(), server_.url("/second")), CURLE_OK);
    const auto requests = server_.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].method, "DELETE");
    EXPECT_EQ(requests[1].method, "GET");
    EXPECT_FALSE(requests[1].hasHeader("X-Former"));
}

// Tells libcurl of one host that demands https.
CURLSTScode nameLocalhostOnce(CURL* /*handle*/, curl_hstsentry* entry, void* isListed) {
    if (std::exchange(*static_cast<bool*>(isListed), true)) {
        return CURLSTS_DONE;
    }
    const std::string_view host = "localhost";
    const std::string_view end = "20991231 00:00:00";
    host.copy(entry->name, host.size());
    entry->name[host.size()] = '\0';
    end.copy(entry->expire, end.size());
    entry->expire[end.size()] = '\0';
    entry->includeSubDomains = 0;
    return CURLSTS_OK;
}

TEST_F(HandlePoolTest, WhatAShareKnowsOfHostsStaysInTheShare) {
    const ShareHandle share(curl_share_init());
    curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_HSTS);
    EasyHandle handle = pool_.take();
    setOption(handle.get(), CURLOPT_SHARE, share.get());
    setOption(handle.get(), CURLOPT_HSTS_CTRL, CURLHSTS_ENABLE);
    bool isListed = false;
    setOption(handle.get(), CURLOPT_HSTSREADFUNCTION, &nameLocalhostOnce);
    setOption(handle.get(), CURLOPT_HSTSREADDATA, &isListed);
    const std::string byName = "http://localhost:" + std::to_string(server_.port()) + "/";
    // The server does not answer the handshake.
    setOption(handle.get(), CURLOPT_TIMEOUT_MS, 300L);
    EXPECT_NE(transfer(handle.get(), byName), CURLE_OK) << "not upgraded to https";
    setOption(handle.get(), CURLOPT_TIMEOUT_MS, 0L);
    ASSERT_EQ(transfer(handle.get(), server_.url()), CURLE_OK);
    CURL* const first = handle.get();
    pool_.giveBack(std::move(handle), CURLE_OK);
    handle = pool_.take();
    ASSERT_EQ(handle.get(), first);
    EXPECT_EQ(transfer(handle.get(), byName), CURLE_OK);
}

}  // namespace
}  // namespace foundation::httpclient_curl
