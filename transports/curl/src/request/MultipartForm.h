#pragma once
#include "connection/CurlTypes.h"

#include <foundation/httpclient_core/MultipartBody.h>

#include <exception>
#include <fstream>
#include <memory>
#include <utility>
#include <vector>

namespace foundation::httpclient_curl {

/// A multipart body in libcurl's form, with the open files that it reads. Must outlive the transfer,
/// and the handle that it was made for must outlive it.
class MultipartForm {
public:
    /// Opens every file and fixes its size. Throws HttpRequestFailedException for a file that cannot be
    /// read and for a part header that cannot travel as one line.
    MultipartForm(CURL* handle, const core::MultipartBody& body);

    curl_mime* get() const noexcept { return form_.get(); }
    /// Why reading a part ended the transfer, or null.
    std::exception_ptr takeError() noexcept { return std::exchange(error_, nullptr); }

private:
    struct File {
        std::ifstream stream;
        std::string path;
        std::int64_t size = 0;
        std::int64_t taken = 0;
        std::exception_ptr* error = nullptr;
    };

    void add(const core::DataPart& part);
    void add(const core::FilePart& part);
    curl_mimepart* addPart(const core::PartHeader& header);
    static std::size_t readFile(char* buffer, std::size_t size, std::size_t count, void* context);
    static int seekFile(void* context, curl_off_t offset, int origin);

    std::vector<std::unique_ptr<File>> files_;
    std::exception_ptr error_;
    FormHandle form_;  // before the files go
};

}  // namespace foundation::httpclient_curl
