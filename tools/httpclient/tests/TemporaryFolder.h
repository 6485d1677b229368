#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace foundation::httpclient_tool::testing {

/// Everything from the stream's read position on.
inline std::string readAll(std::istream& stream) {
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

/// An empty folder that goes with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "tool-test-XXXXXX").string();
        EXPECT_NE(::mkdtemp(name.data()), nullptr);
        path_ = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const noexcept { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

    /// The names of all entries, in order.
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    void write(const std::string& name, const std::string& content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
    }

    std::string read(const std::string& name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        EXPECT_TRUE(file.is_open()) << name;
        return readAll(file);
    }

private:
    std::filesystem::path path_;
};

}  // namespace foundation::httpclient_tool::testing
