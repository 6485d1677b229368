// Runs a fuzz target over files and folders of files, without a fuzzer: the seeds as a test, and one input
// that is looked into with a debugger.
#include "fuzz/support/Target.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputsOf(int argc, char** argv) {
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (fs::is_directory(argv[i])) {
            for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argv[i])) {
                if (entry.is_regular_file()) {
                    inputs.push_back(entry.path());
                }
            }
        } else {
            inputs.emplace_back(argv[i]);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

bool replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    // A copy of the exact size, so that a sanitizer sees a read behind it.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    // Printed first: a violation ends the program.
    std::printf("%s\n", path.filename().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        LLVMFuzzerInitialize(&argc, &argv);
        const std::vector<fs::path> inputs = inputsOf(argc, argv);
        const bool allRead = std::all_of(inputs.begin(), inputs.end(), replay);
        std::printf("%zu inputs\n", inputs.size());
        return allRead && !inputs.empty() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
