#pragma once
#include <foundation/httpclient_core/HttpHeaders.h>

#include <string>
namespace foundation::httpclient_core {

/// What stands before the content of one part of a MultipartBody: name, content type and further headers.
///
/// All is free text that nothing parses or validates; what is empty at first stays empty until it is set.
/// The transport turns it into header lines (RFC 7578, section 4), so content that would break a line
/// does not belong here.
///
/// Getters return copies. An object that was moved from has unspecified content.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// A name and a content type:
/// @code{.cpp}
/// const PartHeader header = PartHeader("avatar").withContentType("image/png");
/// assert(header.getPartName() == "avatar" && header.getContentType() == "image/png");
/// assert(header.getCustomHeaders().empty());
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API PartHeader {
public:
    /// Makes a header whose name, content type and further headers are empty.
    PartHeader();
    /// Makes a header with a name; the content type is empty.
    explicit PartHeader(std::string partName);
    /// Makes a header with a name and a content type.
    PartHeader(std::string partName, std::string contentType);

    /// Returns the name of the part, which is the name of the form field; may be empty.
    std::string getPartName() const;
    /// Returns the content type as it was given; empty if there is none.
    std::string getContentType() const;
    /// Returns a copy of the further headers, in the order in which they were added.
    HttpHeaders getCustomHeaders() const;

    /// Replaces the name.
    void setPartName(std::string partName);
    /// Replaces the content type with a text that is not parsed.
    void setContentType(std::string contentType);
    /// Replaces all further headers.
    void setCustomHeaders(HttpHeaders customHeaders);
    /// Appends a further header, as HttpHeaders::addHeaderValue(): an earlier one of that name stays.
    void addCustomHeaderValue(std::string name, std::string value);

    /// Does what setPartName() does and returns this object.
    PartHeader& withPartName(std::string partName);
    /// Does what setContentType() does and returns this object.
    PartHeader& withContentType(std::string contentType);
    /// Does what addCustomHeaderValue() does and returns this object.
    PartHeader& withCustomHeaderValue(std::string name, std::string value);

private:
    friend class MultipartBody;  // looks parts up by name, without a copy of the header

    std::string partName_;
    std::string contentType_;
    HttpHeaders customHeaders_;
};
}  // namespace foundation::httpclient_core
