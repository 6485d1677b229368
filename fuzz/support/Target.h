#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

/// What each fuzz target defines: the first is called once, the second with each input. The names and the
/// signatures are libFuzzer's; the program that replays the seeds calls the same two.
/// @{
// NOLINTNEXTLINE(readability-identifier-naming): see above
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
// NOLINTNEXTLINE(readability-identifier-naming): see above
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
/// @}

namespace foundation::fuzz {

/// Before the first input: no log record is made, and a GoogleTest expectation that fails inside a model
/// of the tests ends the program.
void prepare(int* argc, char** argv);

inline std::string textOf(const std::uint8_t* data, std::size_t size) {
    return {data, data + size};
}

/// Cuts off the first line of `text` and returns it, without its end.
inline std::string takeLine(std::string& text) {
    const std::size_t end = text.find('\n');
    std::string line = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

}  // namespace foundation::fuzz
