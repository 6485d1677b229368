#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// What the server does to a request of its path "/KIND/SIZE/NUMBER".
enum class SoakKind {
    Well,
    Chunked,
    Put,       ///< Takes a body and says how long it was.
    Redirect,  ///< To a body that is well.
    Resume,    ///< Breaks off half-way unless a range is asked for.
    Page,      ///< 404
    Busy,      ///< 503, always.
    CutHead,
    CutBody,
    Reset,
    BadChunk,
    TwoLengths,
    Silent,  ///< Never answers.
    Drip,    ///< Comes slowly, but comes.
    Count
};

/// "well", "chunked" and so on.
std::string nameOf(SoakKind kind);

/// Kinds whose answer is no success, or not one at once.
bool isFaulty(SoakKind kind);

/// The body of the URL with these numbers.
std::string soakBody(std::size_t size, std::uint64_t number);

/// Serves on a free port of 127.0.0.1 until its standard input ends; prints the port first. To be run in a
/// process of its own, since it counts neither its threads nor its memory.
int serveSoak();

/// A process that runs serveSoak(), started as "PROGRAM serve"; ended by closing its input.
class SoakServer {
public:
    explicit SoakServer(const std::string& program);
    SoakServer(const SoakServer&) = delete;
    SoakServer& operator=(const SoakServer&) = delete;
    ~SoakServer();

    int port() const noexcept { return port_; }

private:
    int input_ = -1;
    int process_ = -1;
    int port_ = 0;
};

}  // namespace foundation::httpclient_curl::testing
