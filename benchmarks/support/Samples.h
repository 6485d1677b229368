#pragma once
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// The texts that the benchmarks work on. The library and the references get the same ones.
namespace foundation::httpclient_core::benchmarks::samples {

using Fields = std::vector<std::pair<std::string, std::string>>;

/// The header fields of a usual response. 14: one of each name; 18: four Set-Cookie fields besides;
/// 60: many fields of an application's own besides.
Fields headers(std::size_t count);

/// The same fields as header lines, "Name: value".
std::vector<std::string> headerLines(std::size_t count);

/// A URL of exactly `length` characters: 19 (host and path), 85 (port, path, two parameters and a
/// fragment) or 480 (20 parameters).
std::string url(std::size_t length);

/// A query of 20 parameters, a third of them with percent-encoded bytes.
std::string query();

/// Texts of 4096 bytes: letters and digits only, English prose, and accented and other letters in
/// UTF-8. Short: 20 bytes of prose.
std::string plainText();
std::string proseText();
std::string utf8Text();
std::string shortText();

std::string contentType();
std::string accept();
std::string cookie();
std::string setCookie();

}  // namespace foundation::httpclient_core::benchmarks::samples
