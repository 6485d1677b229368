#pragma once
#include <filesystem>
#include <string>

namespace foundation::httpclient_curl::testing {

/// An empty folder that goes with everything in it. Every user may read it: servers give up the rights
/// of the super-user.
class ScratchFolder {
public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    std::string path() const { return path_.string(); }
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    /// Replaces the file.
    void write(const std::string& name, const std::string& content) const;
    /// Empty where there is no such file.
    std::string read(const std::string& name) const;

private:
    std::filesystem::path path_;
};

}  // namespace foundation::httpclient_curl::testing
