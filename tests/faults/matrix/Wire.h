#pragma once
#include "support/TestClient.h"

#include <cstddef>
#include <string>
#include <string_view>

/// What the answers of the cases are made of.
namespace foundation::httpclient_curl::testing {

/// How a peer goes.
enum class Leaving { Close, Reset };

/// Bytes of which no two runs of a few are alike; those of another number differ nearly everywhere.
std::string patterned(std::size_t size, unsigned int number = 0);

/// A head of "HTTP/1.1", the status, the fields, each with its line end, and the empty line.
std::string headOf(int status, const std::string& fields);
std::string lengthField(std::size_t length);

/// The body in chunks of so many bytes.
std::string inChunks(std::string_view body, std::size_t size);

void leave(Connection& connection, Leaving leaving);
/// Sends the first bytes, waits a little where the peer is to read before a reset comes, and goes.
void sendAndLeave(Connection& connection, std::string_view bytes, Leaving leaving);

/// A resource as a server has it.
struct Entity {
    std::string data;
    std::string validators;  ///< Fields, each with its line end.
};

/// The first byte of the range that the request asks for; nothing for none.
std::size_t rangeStart(const ReceivedRequest& request);

/// The head and body with which an honest server that knows ranges answers the request. Its If-Range holds
/// for a text that is in the entity's fields as a strong validator.
struct WireAnswer {
    std::string head;
    std::string body;
};
WireAnswer honestAnswer(const ReceivedRequest& request, const Entity& entity);

/// Sends the honest answer as a whole.
void answerHonestly(const ReceivedRequest& request, Connection& connection, const Entity& entity);

/// Ten retries at once, each going on with what is held.
void resumes(HttpRequest& request, ClientConfiguration& configuration);
/// Ten retries at once, each from the beginning.
void retries(HttpRequest& request, ClientConfiguration& configuration);
/// Timeouts that are over soon.
void hurries(HttpRequest& request, ClientConfiguration& configuration);

/// Text for a label: what is not printable is escaped.
std::string printable(std::string_view text);

}  // namespace foundation::httpclient_curl::testing
