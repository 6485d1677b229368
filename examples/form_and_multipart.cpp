// Request bodies: a form in one text, and a body of several parts with a file.
#include "InMemoryTransport.h"
#include "Require.h"

#include <foundation/httpclient_core.h>

#include <filesystem>
#include <iostream>
#include <variant>

using namespace foundation::httpclient_core;
using examples::InMemoryTransport;
using examples::Reply;
using examples::require;

namespace {

// Says what it received. A real transport writes the parts in the multipart format; this one hands the
// request over as it is.
Reply describe(const HttpRequest& request) {
    std::string text;
    if (request.hasRequestBody()) {
        text = request.getHeaderValue("Content-Type") + ", " +
               std::to_string(request.getContentLength()) +
               " bytes: " + request.getRequestBodyString();
    } else if (request.hasMultipartBody()) {
        text = "parts:";
        for (const std::variant<DataPart, FilePart>& part :
             request.getMultipartBody().getContent()) {
            if (const auto* data = std::get_if<DataPart>(&part)) {
                text += " " + data->getHeader().getPartName() + "=" + data->getData();
            } else {
                const auto& file = std::get<FilePart>(part);
                text += " " + file.getHeader().getPartName() + "=" +
                        file.getFilePath().filename().string() + " (" +
                        file.getHeader().getContentType() + ")";
            }
        }
    }
    return {HttpResponseCode::OK, "OK", {}, text};
}

// The form builds the three things that a body needs: its type, its length and a stream.
void sendForm(InMemoryTransport& client) {
    const FormUrlEncoded form({{"name", "John Smith"}, {"q", "a+b&c=d"}});
    HttpRequest request(HttpMethod::POST, "http://server.test/search", HttpHeaders());
    request.setContentType(form.contentType());
    request.setContentLength(std::to_string(form.contentLength()));
    request.setRequestBody(form.stream());

    const std::string received = client.makeRequest(std::move(request)).getResponseBodyString();
    std::cout << received << "\n";
    require(
        received == "application/x-www-form-urlencoded, 31 bytes: name=John+Smith&q=a%2Bb%26c%3Dd",
        "the form");
}

// A multipart body needs no length and no type of its own: the transport writes both.
void sendParts(InMemoryTransport& client, const std::filesystem::path& file) {
    HttpRequest request(HttpMethod::POST, "http://server.test/upload", HttpHeaders());
    request.setMultipartBody(MultipartBody()
                                 .withPart(DataPart("A summer day").withPartName("title"))
                                 .withPart(FilePart(PartHeader("photo", "image/png"), file)));

    const std::string received = client.makeRequest(std::move(request)).getResponseBodyString();
    std::cout << received << "\n";
    require(received == "parts: title=A summer day photo=day.png (image/png)", "the parts");
}

}  // namespace

int main() {
    coreChannel().set_filter_mask(0);  // This program shows results, not log records.
    try {
        InMemoryTransport client(describe);
        sendForm(client);
        sendParts(client, "pictures/day.png");
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
