#include "transfer/RequestBuilder.h"

#include "report/SystemFailure.h"
#include "transfer/FileStream.h"

#include <foundation/httpclient_core/Version.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

using namespace httpclient_core;

[[noreturn]] void throwCannotRead(const std::string& name, int error) {
    throw systemFailure("cannot read " + name, error);
}

std::filesystem::path temporaryFolder() {
    std::error_code error;
    std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) {
        throw systemFailure("cannot use the folder for temporary files that TMPDIR names",
                            error.value());
    }
    return folder;
}

[[noreturn]] void misuse(const std::string& text) {
    throw Failure(ExitCode::Usage, text);
}

// What would end a line of the part's head, or forge one.
bool hasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
}

std::shared_ptr<BodyFile> copyOf(int descriptor, const std::string& name) {
    auto copy = BodyFile::createUnnamed(temporaryFolder());
    std::array<char, 65536> chunk{};
    for (;;) {
        const ssize_t got = ::read(descriptor, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throwCannotRead(name, errno);
        }
        if (got == 0) {
            return copy;
        }
        if (!copy->write(copy->size(), {chunk.data(), static_cast<std::size_t>(got)})) {
            throw systemFailure("cannot write a temporary file", copy->error());
        }
    }
}

// "name=value", or "name=@file" with an optional ";type=media/type".
void addField(MultipartBody& form, const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        misuse("-F takes NAME=VALUE or NAME=@FILE");
    }
    if (hasControlCharacter(std::string_view(text).substr(0, equals))) {
        misuse("the name of a form field has a control character");
    }
    PartHeader header(text.substr(0, equals));
    std::string value = text.substr(equals + 1);
    if (!value.starts_with('@')) {
        form.addPart(DataPart(std::move(header), std::move(value)));
        return;
    }
    const std::string marker = ";type=";
    const std::size_t type = value.rfind(marker);
    if (type != std::string::npos) {
        std::string mediaType = value.substr(type + marker.size());
        if (hasControlCharacter(mediaType)) {
            misuse("the type of a form field has a control character");
        }
        header.setContentType(std::move(mediaType));
        value.resize(type);
    }
    const std::string path = value.substr(1);
    if (path.empty()) {
        misuse("-F takes NAME=VALUE or NAME=@FILE");
    }
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0 || ::access(path.c_str(), R_OK) != 0) {
        throwCannotRead(path, errno);
    }
    if (S_ISDIR(status.st_mode)) {
        throwCannotRead(path, EISDIR);
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(ExitCode::Failed, "cannot send " + path +
                                            " in a form: it is no regular file; copy it into one");
    }
    form.addPart(FilePart(std::move(header), path));
}

}  // namespace

RequestBuilder::RequestBuilder(const RequestOptions& options,
                               int standardInput,
                               Interrupts& interrupts)
    : options_(options) {
    if (options.data.has_value()) {
        readData(*options.data, standardInput, interrupts);
    }
    if (!options.form.empty()) {
        form_.emplace();
        for (const std::string& field : options.form) {
            addField(*form_, field);
        }
    }
}

void RequestBuilder::readData(const std::string& data, int standardInput, Interrupts& interrupts) {
    if (!data.starts_with('@')) {
        text_ = data;
        length_ = static_cast<std::int64_t>(data.size());
        return;
    }
    // Nothing can wake a read of a pipe or terminal, and nothing is left to be cleaned up.
    const Interrupts::Scope scope(interrupts,
                                  [] { std::_Exit(static_cast<int>(ExitCode::Interrupted)); });
    const std::string path = data.substr(1);
    if (path.empty()) {
        misuse("-d takes a text, @FILE, or @- for standard input");
    }
    if (path == "-") {
        copy_ = copyOf(standardInput, "standard input");
        length_ = copy_->size();
        return;
    }
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status{};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0) {
        throwCannotRead(path, errno);
    }
    const BodyFile closesIt(descriptor);
    if (S_ISREG(status.st_mode)) {
        file_ = path;
        length_ = status.st_size;
    } else {
        copy_ = copyOf(descriptor, path);
        length_ = copy_->size();
    }
}

std::unique_ptr<std::istream> RequestBuilder::openBody() const {
    if (copy_ != nullptr) {
        return std::make_unique<FileStream>(copy_);
    }
    if (file_.empty()) {
        return std::make_unique<std::istringstream>(text_);
    }
    auto stream = std::make_unique<std::ifstream>(file_, std::ios::binary);
    if (!stream->is_open()) {
        throwCannotRead(file_.string(), errno);
    }
    return stream;
}

HttpHeaders RequestBuilder::headers() const {
    HttpHeaders headers;
    const auto addDefault = [&](const char* name, std::string value) {
        if (!options_.hasHeader(name)) {
            headers.addHeaderValue(name, std::move(value));
        }
    };
    addDefault("Accept", "*/*");
    addDefault("User-Agent", "httpclient/" FOUNDATION_HTTPCLIENT_VERSION);
    if (length_.has_value()) {
        addDefault("Content-Type", "application/octet-stream");
        if (!options_.hasHeader("Transfer-Encoding")) {
            addDefault("Content-Length", std::to_string(*length_));
        }
    }
    for (const auto& [name, value] : options_.headers) {
        headers.addHeaderValue(name, value);
    }
    return headers;
}

HttpRequest RequestBuilder::request(const URL& url) const {
    HttpRequest request(options_.method, url, headers());
    if (length_.has_value()) {
        request.setRequestBody(openBody());
    }
    if (form_.has_value()) {
        request.setMultipartBody(*form_);
    }
    return request;
}

ClientConfiguration RequestBuilder::configuration() const {
    using Access = detail::ClientConfigurationAccess;
    ClientConfiguration configuration;
    configuration.setCertificateFile(options_.certificateFile);
    configuration.setDomainSocketPath(options_.unixSocket);
    configuration.setResumeOnRetry(true);
    configuration.setFollowRedirects(options_.maxRedirects > 0);
    configuration.setMaxRedirects(options_.maxRedirects);
    // A thread for each: a reader of standard output that is slow holds up its own URL only.
    configuration.setMaxThreads(options_.parallel);
    configuration.setMaxRequestsPerThread(1);
    if (options_.connectTimeout.has_value()) {
        Access::setConnectTimeoutMs(configuration, options_.connectTimeout->count());
    }
    if (options_.idleTimeout.has_value()) {
        Access::setIdleTimeoutMs(configuration, options_.idleTimeout->count());
        Access::setResponseTimeoutMs(configuration, options_.idleTimeout->count());
    }
    if (!options_.proxy.empty()) {
        Access::setProxyUrl(configuration, options_.proxy);
    }
    return configuration;
}

}  // namespace foundation::httpclient_tool
