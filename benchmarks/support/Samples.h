#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The texts that the benchmarks work on. The library, its peers and the plain model get the same ones.
namespace foundation::httpclient_core::benchmarks::samples {

using Fields = std::vector<std::pair<std::string, std::string>>;

/// Header fields as they are met. 14: the request of a browser; 18: a response with four Set-Cookie
/// fields; up to 60: the same response with what proxies, applications and browsers' rules add; more:
/// many fields of an application's own besides.
Fields headers(std::size_t count);

/// A status line, the fields headers(count) as lines, and the empty line that ends them.
std::string headerBlock(std::size_t count);

/// 16 names of headers(count), spread over all of them and in no order, every other one in lower case.
std::vector<std::string> presentNames(std::size_t count);

/// 16 names of usual header fields that headers(count) has not, every other one in lower case.
std::vector<std::string> absentNames();

/// A URL of exactly `length` characters: 19 (host and path), 85 (port, path, two parameters and a
/// fragment) or 480 (query() and a fragment).
std::string url(std::size_t length);

/// 20 parameters of a search, decoded, and the query that they make.
Fields parameters();
std::string query();

/// A query of `count` parameters with short keys and values, some of them percent-encoded.
std::string query(std::size_t count);

/// Texts of 4096 bytes: letters and digits only, English prose, and accented and other letters in
/// UTF-8. Short: 20 bytes of prose.
std::string plainText();
std::string proseText();
std::string utf8Text();
std::string shortText();

/// A media type with one parameter or three.
std::string contentType(int parameters);
/// Six media types.
std::string accept();
/// Six cookies, and one cookie with six attributes.
std::string cookie();
std::string setCookie();

/// Whether std::string holds such a text in memory of its own, which costs one allocation. Texts of up
/// to 15 characters it keeps inside.
bool isLong(const std::string& text);

/// How many names and values of `fields` are long.
std::uint64_t longStrings(const Fields& fields);

/// How many of the values under `name` are long.
std::uint64_t longValues(const Fields& fields, const std::string& name);

/// How many of the pieces of a header's text are long, cut at ",", ";", "=" and spaces.
std::uint64_t longPieces(const std::string& text);

/// How many of host and path of url(length) are long.
std::uint64_t longParts(std::size_t length);

}  // namespace foundation::httpclient_core::benchmarks::samples
