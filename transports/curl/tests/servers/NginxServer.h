#pragma once
#include "ChildProcess.h"
#include "ScratchFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// nginx in the foreground on free ports of 127.0.0.1, with its files in a folder of its own; ended by
/// process id.
class NginxServer {
public:
    /// `site` is what stands in the "http" part of its configuration; in it "@FOLDER@" is the folder and
    /// "@PORT0@" to "@PORT3@" are free ports. Files for "root @FOLDER@/www;" are written before.
    /// Throws std::runtime_error with the log if it does not start.
    explicit NginxServer(std::string site,
                         const std::vector<std::pair<std::string, std::string>>& files = {});

    int port(int index = 0) const { return ports_.at(static_cast<std::size_t>(index)); }
    /// "http://127.0.0.1:PORT" and the path.
    std::string url(const std::string& path = "/") const;
    const ScratchFolder& folder() const noexcept { return folder_; }
    /// Kills every worker process; the master starts others.
    void killWorkers() const;

private:
    ScratchFolder folder_;
    std::vector<int> ports_;
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace foundation::httpclient_curl::testing
