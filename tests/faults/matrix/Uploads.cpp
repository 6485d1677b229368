#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"
#include "tests/support/RawPeer.h"

#include <sstream>

namespace foundation::httpclient_curl::testing {
namespace {

const std::string body = patterned(100000, 6);

enum class Form { Length, Chunked };

std::function<void(HttpRequest&, ClientConfiguration&)> putting(Form form, bool isRetried) {
    return [=](HttpRequest& request, ClientConfiguration& configuration) {
        request.setRequestBody(body);
        if (form == Form::Chunked) {
            request.removeHeader("Content-Length");
            request.setHeaderValue("Transfer-Encoding", "chunked");
        }
        if (isRetried) {
            retries(request, configuration);
        }
    };
}

FaultCase put(const std::string& label,
              Wanted wanted,
              const RawPeer::Handler& handler,
              HttpMethod method,
              Form form,
              bool isRetried = false) {
    const std::string name = method == HttpMethod::PUT    ? " PUT"
                             : method == HttpMethod::POST ? " POST"
                                                          : " PATCH";
    FaultCase fault{.label = label + name + (form == Form::Chunked ? " chunked" : " length"),
                    .wanted = wanted};
    fault.serve = [handler](std::string& url,
                            ClientConfiguration& configuration) -> std::shared_ptr<void> {
        Access::setResponseTimeoutMs(configuration, 300);
        Access::setIdleTimeoutMs(configuration, 300);
        auto peer = std::make_shared<RawPeer>(handler);
        url = peer->url("http");
        return peer;
    };
    fault.arrange = putting(form, isRetried);
    fault.method = method;
    return fault;
}

// As many bytes as asked for, or to the end.
void swallow(RawSocket& socket, std::size_t count) {
    while (count > 0) {
        const std::string bytes = socket.receive(count);
        if (bytes.empty()) {
            return;
        }
        count -= bytes.size();
    }
}

}  // namespace

// The server goes, falls silent or answers before it has the whole body.
Family uploadCuts() {
    Family family{"uploads"};
    family.threads = 16;
    const std::string page = headOf(413, "Connection: close\r\n" + lengthField(4)) + "page";
    for (const HttpMethod method : {HttpMethod::PUT, HttpMethod::POST, HttpMethod::PATCH}) {
        for (const Form form : {Form::Length, Form::Chunked}) {
            for (const std::size_t at : std::initializer_list<std::size_t>{
                     0, 1, 10, 50, 100, 150, 500, 5000, 50000, 90000, 99000}) {
                const std::string place = " after " + std::to_string(at);
                for (const Leaving leaving : {Leaving::Close, Leaving::Reset}) {
                    family.cases.push_back(
                        put((leaving == Leaving::Close ? "fin" : "reset") + place, Wanted::Failure,
                            [at, leaving](RawSocket& socket, int) {
                                swallow(socket, at);
                                leaving == Leaving::Close ? socket.close() : socket.reset();
                            },
                            method, form));
                }
                family.cases.push_back(put(
                    "silence" + place, Wanted::Failure,
                    [at](RawSocket& socket, int) {
                        swallow(socket, at);
                        socket.waitForPeerToClose();
                    },
                    method, form));
                // The connection may break before the answer was read.
                FaultCase early = put(
                    "page" + place, Wanted::Either,
                    [at, page](RawSocket& socket, int) {
                        swallow(socket, at);
                        socket.send(page);
                    },
                    method, form);
                early.right = {{413, "page"}};
                family.cases.push_back(std::move(early));
                // Once, and then it takes everything.
                if (method == HttpMethod::PUT && form == Form::Length) {
                    FaultCase again = put(
                        "retried" + place, Wanted::Exact,
                        [at](RawSocket& socket, int number) {
                            if (number == 0) {
                                swallow(socket, at);
                                socket.reset();
                                return;
                            }
                            const std::string got =
                                socket.receiveUntil(body.substr(body.size() - 100));
                            socket.send(got.ends_with("\r\n\r\n" + body)
                                            ? headOf(200, lengthField(5)) + "whole"
                                            : headOf(400, lengthField(0)));
                        },
                        method, form, true);
                    again.right = {{200, "whole"}};
                    family.cases.push_back(std::move(again));
                }
            }
        }
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
