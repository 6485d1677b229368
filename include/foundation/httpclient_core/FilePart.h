#pragma once
#include <foundation/httpclient_core/PartHeader.h>

#include <filesystem>
#include <string>
namespace foundation::httpclient_core {

/// One part of a MultipartBody whose bytes are those of a file.
///
/// It has a PartHeader and a path that is never empty, which is why there is no default constructor. Whether
/// the file exists and can be read is not asked: the transport opens it when the request is sent. Getters
/// return copies. An object that was moved from has unspecified content, the path included.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// A file under a name, and then another one:
/// @code{.cpp}
/// FilePart part(PartHeader("avatar", "image/png"), "pictures/me.png");
/// assert(part.getFilePath() == "pictures/me.png");
/// part.setFilePath("pictures/you.png");
/// assert(part.getHeader().getPartName() == "avatar");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API FilePart {
public:
    /// Makes a part with an empty header.
    /// @throws std::logic_error "Empty file path." if the path is empty. Nothing is logged.
    explicit FilePart(std::filesystem::path filePath);
    /// Makes a part with a header.
    /// @throws std::logic_error "Empty file path." if the path is empty. Nothing is logged.
    FilePart(PartHeader header, std::filesystem::path filePath);

    /// Returns a copy of the header; changes to the copy do not reach the part.
    PartHeader getHeader() const;
    /// Returns the path as it was given, relative or absolute.
    std::filesystem::path getFilePath() const;

    /// Replaces the whole header: name, content type and further headers.
    void setHeader(PartHeader header);
    /// Replaces the path.
    /// @throws std::logic_error "Empty file path." if the path is empty; the old path stays. Nothing is
    /// logged.
    void setFilePath(std::filesystem::path filePath);
    /// Replaces the name in the header.
    void setPartName(std::string partName);
    /// Replaces the content type in the header with a text that is not parsed.
    void setContentType(std::string contentType);
    /// Replaces all further headers in the header.
    void setCustomHeaders(HttpHeaders customHeaders);
    /// Appends a further header; an earlier one of that name stays.
    void addCustomHeaderValue(std::string name, std::string value);

    /// Does what setHeader() does and returns this object.
    FilePart& withHeader(PartHeader header);
    /// Does what setPartName() does and returns this object.
    FilePart& withPartName(std::string partName);
    /// Does what setContentType() does and returns this object.
    FilePart& withContentType(std::string contentType);
    /// Does what addCustomHeaderValue() does and returns this object.
    FilePart& withCustomHeaderValue(std::string name, std::string value);

private:
    friend class MultipartBody;  // looks parts up by name, without a copy of the header

    PartHeader header_;
    std::filesystem::path filePath_;
};
}  // namespace foundation::httpclient_core
