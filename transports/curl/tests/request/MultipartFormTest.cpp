#include "connection/CurlTypes.h"
#include "request/MultipartForm.h"
#include "support/TestClient.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace foundation::httpclient_curl::testing {
namespace {

// The transfer waits for no byte that the file does not have any more.
TEST(MultipartFormTest, FileThatShrinksIsAFailure) {
    LoopbackServer server(
        [](const ReceivedRequest&, Connection& connection) { connection.sendResponse(200, "OK"); });
    const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                       ("httpclient_curl_shrinks." + std::to_string(::getpid()));
    std::ofstream(path) << std::string(200000, 'x');
    const EasyHandle easy(requireMemory(curl_easy_init()));
    MultipartForm form(easy.get(), MultipartBody().withPart(FilePart(PartHeader("n"), path)));
    std::filesystem::resize_file(path, 70000);
    setOption(easy.get(), CURLOPT_URL, server.url().c_str());
    setOption(easy.get(), CURLOPT_PROXY, "");
    setOption(easy.get(), CURLOPT_MIMEPOST, form.get());
    EXPECT_EQ(curl_easy_perform(easy.get()), CURLE_ABORTED_BY_CALLBACK);
    std::filesystem::remove(path);
    EXPECT_EQ(messageOf(form.takeError()),
              "The file part " + path.string() + " ended after 70000 of 200000 bytes");
    EXPECT_EQ(form.takeError(), nullptr);
}

// Its size is fixed, so that the length that was declared stays true.
TEST(MultipartFormTest, FileThatGrowsIsCut) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(200, "OK", {}, request.body);
    });
    const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                       ("httpclient_curl_grows." + std::to_string(::getpid()));
    std::ofstream(path) << "short";
    const EasyHandle easy(requireMemory(curl_easy_init()));
    MultipartForm form(easy.get(), MultipartBody().withPart(FilePart(PartHeader("n"), path)));
    std::ofstream(path, std::ios::app) << " and more";
    setOption(easy.get(), CURLOPT_URL, server.url().c_str());
    setOption(easy.get(), CURLOPT_PROXY, "");
    setOption(easy.get(), CURLOPT_MIMEPOST, form.get());
    setOption(
        easy.get(), CURLOPT_WRITEFUNCTION,
        +[](char*, std::size_t size, std::size_t count, void*) { return size * count; });
    EXPECT_EQ(curl_easy_perform(easy.get()), CURLE_OK);
    std::filesystem::remove(path);
    const std::string body = server.requests().at(0).body;
    EXPECT_NE(body.find("\r\n\r\nshort\r\n"), std::string::npos) << body;
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
