#pragma once
#include "support/TestClient.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// How a case has to end. In no case may it end with another body than a right one.
enum class Wanted {
    Exact,    ///< With one of the right answers.
    Failure,  ///< With an exception of ours.
    Either
};

/// A response without an error that is no lie.
struct RightAnswer {
    int code = 200;  ///< 0: any success.
    std::string body;
    bool isAnyBody = false;  ///< The body is not the server's, and `body` says nothing.
};

/// Answers the request of the given number, 0 for the first one of the run.
using Answering =
    std::function<void(const ReceivedRequest& request, Connection& connection, int number)>;

/// One thing that goes wrong.
struct FaultCase {
    std::string label;
    Wanted wanted = Wanted::Either;
    std::vector<RightAnswer> right = {};
    Answering answer = {};
    /// Changes the request and its configuration, which makes one attempt with short timeouts.
    std::function<void(HttpRequest& request, ClientConfiguration& configuration)> arrange = {};
    /// Makes a server of the case's own, or whatever has to live during a run, and names the URL to get,
    /// which otherwise is that of a server that answers with `answer`.
    std::function<std::shared_ptr<void>(std::string& url, ClientConfiguration& configuration)>
        serve = {};
    HttpMethod method = HttpMethod::GET;
};

/// Where a body goes.
enum class Sink { Memory, File };

/// Cases of one kind. Each is run with every road and every sink.
struct Family {
    std::string name;
    std::vector<FaultCase> cases = {};
    std::vector<Sink> sinks = {Sink::Memory};
    std::vector<Road> roads = {Road::Synchronous, Road::Asynchronous};
    int threads = 8;  ///< How many runs at once.
};

/// What came of a family.
struct FamilyTally {
    std::string name;
    std::size_t cases = 0;
    std::size_t runs = 0;
    std::size_t exact = 0;
    std::size_t failures = 0;
    std::chrono::milliseconds longest{0};
    std::string longestRun;
    std::vector<std::string> defects;  ///< Each with all that one needs to repeat it.
};

/// Runs every case of the family.
FamilyTally runFamily(const Family& family);

/// One line.
std::ostream& operator<<(std::ostream& os, const FamilyTally& tally);

}  // namespace foundation::httpclient_curl::testing
