#pragma once
#include "tests/faults/matrix/FaultCase.h"

#include <vector>

/// The families of the matrix, each a table that is made when it is asked for.
namespace foundation::httpclient_curl::testing {

// Connections that end or fall silent, HeadCuts.cpp and BodyCuts.cpp.
Family headCuts();
Family headCutsThenRetry();
Family headSplits();
Family headStalls();
Family bodyCuts();
Family bodyCutsThenResume();
Family largeBodyCutsThenResume();
Family repeatedCuts();
Family bodyDrips();

// Answers that contradict HTTP, Framing.cpp, HeaderLines.cpp and Floods.cpp.
Family contentLengths();
Family chunkSizes();
Family transferCodings();
Family statusLines();
Family headerLines();
Family interimAnswers();
Family headerFloods();

// What a server may do between two attempts, ResumeAnswers.cpp, Redirects.cpp and RetryAfters.cpp.
Family resumeAnswers();
Family redirectChains();
Family redirectPlaces();
Family upgradeChains();
Family retryAfters();

// What lies below HTTP, TlsFaults.cpp, NameFaults.cpp, UnixSockets.cpp and Uploads.cpp.
Family tlsCuts();
Family tlsFlips();
Family tlsPeers();
Family nameFaults();
Family unixSockets();
Family uploadCuts();

// Proxies, ProxyFaults.cpp and SquidFaults.cpp.
Family proxyFaults();
Family tunnelCuts();
Family squidChains();

// Where bodies go, Sinks.cpp.
Family refusingSinks();
/// One run at a time: the limit for the size of files is one of the process.
Family fullDisks();

}  // namespace foundation::httpclient_curl::testing
