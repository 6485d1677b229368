#include "request/MultipartForm.h"

#include "exchange/TransferError.h"
#include "request/RequestHeaders.h"

#include <algorithm>
#include <variant>

namespace foundation::httpclient_curl {
namespace {

void require(CURLcode code) {
    if (code != CURLE_OK) {
        throw std::bad_alloc();
    }
}

// libcurl takes these as text that ends at a NUL, and has its own ways with line breaks.
const char* text(const std::string& what, const std::string& value) {
    requireOneLine(what + " of a part of the multipart body", value);
    return value.c_str();
}

}  // namespace

MultipartForm::MultipartForm(CURL* handle, const core::MultipartBody& body)
    : form_(requireMemory(curl_mime_init(handle))) {
    for (const auto& part : body.getContent()) {
        std::visit([this](const auto& held) { add(held); }, part);
    }
}

curl_mimepart* MultipartForm::addPart(const core::PartHeader& header) {
    curl_mimepart* part = requireMemory(curl_mime_addpart(form_.get()));
    const std::string type = header.getContentType();
    requireSafeField("Content-Type", type);
    require(curl_mime_name(part, text("The name", header.getPartName())));
    if (!type.empty()) {
        require(curl_mime_type(part, type.c_str()));
    }
    HeaderLines lines;
    for (const auto& [name, value] : header.getCustomHeaders()) {
        requireSafeField(name, value);
        appendField(lines, name, value);
    }
    if (lines != nullptr) {
        require(curl_mime_headers(part, lines.release(), 1));
    }
    return part;
}

void MultipartForm::add(const core::DataPart& part) {
    const std::string data = part.getData();
    require(curl_mime_data(addPart(part.getHeader()), data.data(), data.size()));
}

void MultipartForm::add(const core::FilePart& part) {
    auto file = std::make_unique<File>();
    const std::filesystem::path path = part.getFilePath();
    file->path = path.string();
    file->stream.open(path, std::ios::binary);
    file->stream.seekg(0, std::ios::end);
    file->size = file->stream.tellg();
    file->stream.seekg(0);
    file->error = &error_;
    if (!file->stream || file->size < 0 || std::filesystem::is_directory(path)) {
        throw core::HttpRequestFailedException("Cannot read the file part " +
                                               printable(file->path));
    }
    curl_mimepart* target = addPart(part.getHeader());
    require(curl_mime_filename(target, text("The file name", path.filename().string())));
    require(curl_mime_data_cb(target, file->size, readFile, seekFile, nullptr, file.get()));
    files_.push_back(std::move(file));
}

std::size_t MultipartForm::readFile(char* buffer,
                                    std::size_t size,
                                    std::size_t count,
                                    void* context) {
    auto* file = static_cast<File*>(context);
    try {
        const auto wanted = std::min<std::int64_t>(static_cast<std::int64_t>(size * count),
                                                   file->size - file->taken);
        const std::streamsize got = file->stream.rdbuf()->sgetn(buffer, wanted);
        file->taken += got;
        if (got < wanted && got == 0) {
            throw core::HttpRequestFailedException("The file part " + printable(file->path) +
                                                   " ended after " + std::to_string(file->taken) +
                                                   " of " + std::to_string(file->size) + " bytes");
        }
        return static_cast<std::size_t>(got);
    } catch (...) {
        *file->error = std::current_exception();
        return CURL_READFUNC_ABORT;
    }
}

int MultipartForm::seekFile(void* context, curl_off_t offset, int origin) {
    auto* file = static_cast<File*>(context);
    if (origin != SEEK_SET) {
        return CURL_SEEKFUNC_CANTSEEK;
    }
    file->stream.clear();
    file->stream.seekg(offset);
    file->taken = offset;
    return file->stream ? CURL_SEEKFUNC_OK : CURL_SEEKFUNC_FAIL;
}

}  // namespace foundation::httpclient_curl
