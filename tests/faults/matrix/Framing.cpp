#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

#include <map>

namespace foundation::httpclient_curl::testing {
namespace {

const std::string body = "Hello";
const std::string hugeNumber = "99999999999999999999";

/// The peer sends the bytes, whatever is asked, and goes.
Answering sending(const std::string& bytes) {
    return [bytes](const auto&, auto& peer, int) { sendAndLeave(peer, bytes, Leaving::Close); };
}

// A wanted end of nothing but failure has no right answer; the others have the one that is given.
FaultCase sent(const std::string& label, const std::string& bytes, const std::string& right) {
    return {
        .label = label, .wanted = Wanted::Exact, .right = {{200, right}}, .answer = sending(bytes)};
}

FaultCase refused(const std::string& label, const std::string& bytes) {
    return {.label = label, .wanted = Wanted::Failure, .answer = sending(bytes)};
}

}  // namespace

// Bodies of five bytes under lengths that say so, that say something else, and that say nothing.
Family contentLengths() {
    Family family{"Content-Length"};
    const std::map<std::string, std::string> good{
        {"5", body},     {"05", body},   {"0000000000000000000000005", body},
        {" 5", body},    {"5 ", body},   {"\t5", body},
        {"5\t ", body},  {"5, 5", body}, {"5,5,5", body},
        {"4", "Hell"},   {"1", "H"},     {"0", ""},
        {"5 , 5", body},
    };
    for (const auto& [value, right] : good) {
        family.cases.push_back(sent("good \"" + printable(value) + "\"",
                                    headOf(200, "Content-Length:" + value + "\r\n") + body, right));
    }
    const std::vector<std::string> bad{
        "-5",
        "-0",
        "-",
        "6",
        "7",
        "100000",
        "5x",
        "x5",
        "five",
        "0x5",
        "5.0",
        "5e0",
        "5 5",
        "5,4",
        "4,5",
        "5, 6",
        "5;5",
        "5;",
        "(5)",
        "\"5\"",
        "'5'",
        "5'",
        "5-",
        "1-5",
        "5/5",
        "*",
        "5\v",
        "5\f",
        "\v5",
        "5\xc2\xa0",
        "\xd9\xa5",
        "",
        " ",
        ",",
        "2147483648",
        "4294967301",
        "9223372036854775807",
        "9223372036854775808",
        "18446744073709551615",
        "18446744073709551616",
        "18446744073709551621",
        hugeNumber,
        hugeNumber + hugeNumber + hugeNumber,
        "NaN",
        "inf",
    };
    for (const std::string& value : bad) {
        for (const bool isFirst : {true, false}) {
            const std::string field = "Content-Length: " + value + "\r\n";
            const std::string other = "X-Other: 5\r\n";
            family.cases.push_back(
                refused((isFirst ? "bad first \"" : "bad last \"") + printable(value) + "\"",
                        headOf(200, isFirst ? field + other : other + field) + body));
        }
    }
    // What one may read as a length, or as none at all.
    for (const std::string value : {"+5", "+", ",5", "5,", ",5,", "5,,5"}) {
        family.cases.push_back(
            {.label = "doubtful \"" + value + "\"",
             .right = {{200, body}},
             .answer = sending(headOf(200, "Content-Length: " + value + "\r\n") + body)});
    }
    const std::vector<std::string> numbers{"5", "4", "6", "0", "05", "-5", "x", hugeNumber};
    for (const std::string& first : numbers) {
        for (const std::string& second : numbers) {
            const std::string bytes =
                headOf(200, "Content-Length: " + first + "\r\ncontent-length: " + second + "\r\n") +
                body;
            FaultCase fault = refused("twice " + first + " and " + second, bytes);
            if (first == second &&
                (first == "5" || first == "05" || first == "4" || first == "0")) {
                fault.wanted = Wanted::Exact;
                fault.right = {{200, body.substr(0, static_cast<std::size_t>(std::stoi(first)))}};
            } else if (first + second == "505" || first + second == "055") {
                // The same number, written in two ways.
                fault.wanted = Wanted::Either;
                fault.right = {{200, body}};
            }
            family.cases.push_back(std::move(fault));
        }
    }
    return family;
}

Family chunkSizes() {
    Family family{"chunks"};
    const std::string head = headOf(200, "Transfer-Encoding: chunked\r\n");
    const std::string tail = "\r\n0\r\n\r\n";
    for (const std::string size : {"5", "05", "000000000000005", "5;", "5;a", "5;a=b",
                                   "5;a=\"b;c\"", "5 ;a", "5; a=b;c", "5;a=\"\\\"\""}) {
        family.cases.push_back(
            sent("size " + printable(size), head + size + "\r\n" + body + tail, body));
    }
    for (const std::string size : {"",
                                   " ",
                                   " 5",
                                   "\t5",
                                   "-5",
                                   "+5",
                                   "0x5",
                                   "x5",
                                   "5x",
                                   "5h",
                                   "five",
                                   "5.0",
                                   "5,5",
                                   "5 5",
                                   "5:",
                                   "5=",
                                   "5\"",
                                   "(5)",
                                   "g",
                                   "-0",
                                   "6",
                                   "7",
                                   "4",
                                   "3",
                                   "1",
                                   "ffff",
                                   "7fffffff",
                                   "80000000",
                                   "ffffffff",
                                   "7fffffffffffffff",
                                   "8000000000000000",
                                   "ffffffffffffffff",
                                   "10000000000000005",
                                   "ffffffffffffffffffffffff",
                                   "5\v",
                                   "5\r",
                                   "5\xa0"}) {
        family.cases.push_back(
            refused("size " + printable(size), head + size + "\r\n" + body + tail));
        // The same behind a good chunk.
        family.cases.push_back(refused("second size " + printable(size),
                                       head + "2\r\nab\r\n" + size + "\r\n" + body + tail));
    }
    for (const std::string between :
         {"", "\n", "\r", "\n\r", "\r\r\n", " \r\n", "x\r\n", "xx", "\r\n\r\n", "0\r\n"}) {
        family.cases.push_back(refused("behind data " + printable(between),
                                       head + "5\r\n" + body + between + "0\r\n\r\n"));
    }
    for (const std::string last :
         {"", "0", "0\r", "0\r\n", "0\r\n\r", "00", "-0\r\n\r\n", "0x0\r\n\r\n", " 0\r\n\r\n",
          "0\r\nTrailer: x\r\n", "0\r\nTrailer: x\r\n\r", "0\r\nTrailer", "\r\n", "z\r\n\r\n"}) {
        family.cases.push_back(
            refused("last " + printable(last), head + "5\r\n" + body + "\r\n" + last));
    }
    for (const std::string last :
         {"0\r\n\r\n", "000\r\n\r\n", "0;x=y\r\n\r\n", "0\r\nA: b\r\n\r\n",
          "0\r\nA: b\r\nC: d\r\n\r\n", "0\r\nContent-Length: 3\r\n\r\n",
          "0\r\nTransfer-Encoding: chunked\r\n\r\n", "0\r\nContent-Range: bytes 0-1/2\r\n\r\n",
          "0\r\n\r\nHTTP/1.1 200 OK\r\n\r\nmore"}) {
        family.cases.push_back(
            sent("end " + printable(last), head + "5\r\n" + body + "\r\n" + last, body));
    }
    for (const std::string& line : {std::string("\n"), std::string(1, '\0'), std::string("\r")}) {
        family.cases.push_back(
            refused("size line ends with " + printable(line), head + "5" + line + body + tail));
    }
    for (const int length : {100, 1000, 5000, 20000, 100000, 1000000}) {
        FaultCase fault = sent(
            "extension of " + std::to_string(length),
            head + "5;" + std::string(static_cast<std::size_t>(length), 'x') + "\r\n" + body + tail,
            body);
        fault.wanted = Wanted::Either;
        family.cases.push_back(std::move(fault));
    }
    // An end that never comes. The peer stops when the client has gone.
    family.cases.push_back({.label = "extension without an end",
                            .wanted = Wanted::Failure,
                            .answer = [head](const auto&, auto& peer, int) {
                                peer.send(head + "5;");
                                while (peer.send(std::string(10000, 'x'))) {
                                }
                            }});
    for (const std::size_t size : std::initializer_list<std::size_t>{1, 2, 3, 4}) {
        family.cases.push_back(
            sent("chunks of " + std::to_string(size), head + inChunks(body, size), body));
    }
    return family;
}

Family transferCodings() {
    Family family{"Transfer-Encoding"};
    const std::string chunks = inChunks(body, 3);
    for (const std::string value : {"chunked", "Chunked", "CHUNKED", " chunked ", "\tchunked"}) {
        family.cases.push_back(sent("\"" + printable(value) + "\"",
                                    headOf(200, "Transfer-Encoding:" + value + "\r\n") + chunks,
                                    body));
    }
    for (const std::string value : {"gzip",
                                    "deflate",
                                    "compress",
                                    "br",
                                    "gzip, chunked",
                                    "chunked, gzip",
                                    "chunked, chunked",
                                    "chunked,",
                                    "chunkedx",
                                    "xchunked",
                                    "chunke",
                                    "chun ked",
                                    "chunked;q=1",
                                    "chunked; a=b",
                                    "\"chunked\"",
                                    "identity, chunked",
                                    "chunked, identity",
                                    "x",
                                    "\vchunked",
                                    "chunked\v",
                                    "cow"}) {
        family.cases.push_back(
            {.label = "doubtful \"" + printable(value) + "\"",
             .right = {{200, body}},
             .answer = sending(headOf(200, "Transfer-Encoding: " + value + "\r\n") + chunks)});
    }
    // Nothing but a length or the end of the connection says where these end.
    for (const std::string value : {"", "identity"}) {
        family.cases.push_back(
            {.label = "plain \"" + value + "\"",
             .right = {{200, body}},
             .answer = sending(headOf(200, "Transfer-Encoding: " + value + "\r\n") + body)});
    }
    for (const std::string length : {"0", "1", "5", "14", "15", "100", "x", "-1", ""}) {
        for (const bool isLengthFirst : {true, false}) {
            const std::string lengths = "Content-Length: " + length + "\r\n";
            const std::string coding = "Transfer-Encoding: chunked\r\n";
            family.cases.push_back(
                refused("beside length " + length + (isLengthFirst ? " first" : " last"),
                        headOf(200, isLengthFirst ? lengths + coding : coding + lengths) + chunks));
        }
    }
    for (const std::string second : {"chunked", "gzip", "identity", ""}) {
        family.cases.push_back(
            {.label = "twice, then \"" + second + "\"",
             .right = {{200, body}},
             .answer = sending(headOf(200, "Transfer-Encoding: chunked\r\nTransfer-Encoding: " +
                                               second + "\r\n") +
                               chunks)});
    }
    // Of an HTTP/1.0 server chunks are to be doubted.
    family.cases.push_back({.label = "HTTP/1.0",
                            .right = {{200, body}},
                            .answer = sending("HTTP/1.0 200 OK\r\nTransfer-Encoding: "
                                              "chunked\r\n\r\n" +
                                              chunks)});
    for (const int status : {204, 304}) {
        family.cases.push_back(
            {.label = "of a " + std::to_string(status),
             .right = {{status, ""}},
             .answer = sending(headOf(status, "Transfer-Encoding: chunked\r\n") + chunks)});
    }
    for (const std::string coding : {"gzip", "br", "deflate", "identity", "x, y"}) {
        family.cases.push_back(sent(
            "Content-Encoding " + coding,
            headOf(200, "Content-Encoding: " + coding + "\r\n" + lengthField(body.size())) + body,
            body));
        family.cases.push_back(refused(
            "Content-Encoding " + coding + ", truncated",
            headOf(200, "Content-Encoding: " + coding + "\r\n" + lengthField(body.size() + 1)) +
                body));
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
