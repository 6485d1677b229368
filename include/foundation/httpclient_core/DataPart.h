#pragma once
#include <foundation/httpclient_core/PartHeader.h>

#include <string>
namespace foundation::httpclient_core {

/// One part of a MultipartBody whose bytes are held in memory.
///
/// It has a PartHeader and data; any bytes will do, zero bytes included, and none is validated. Getters
/// return copies. An object that was moved from has unspecified content.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Bytes under a name:
/// @code{.cpp}
/// DataPart part("hello");
/// part.withPartName("greeting").withContentType("text/plain");
/// assert(part.getHeader().getPartName() == "greeting" && part.getData() == "hello");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API DataPart {
public:
    /// Makes a part with an empty header and no data.
    DataPart();
    /// Makes a part with an empty header.
    explicit DataPart(std::string data);
    /// Makes a part without data.
    explicit DataPart(PartHeader header);
    /// Makes a part with both.
    DataPart(PartHeader header, std::string data);

    /// Returns a copy of the header; changes to the copy do not reach the part.
    PartHeader getHeader() const;
    /// Returns a copy of the data.
    std::string getData() const;

    /// Replaces the whole header: name, content type and further headers.
    void setHeader(PartHeader header);
    /// Replaces the data.
    void setData(std::string data);
    /// Replaces the name in the header.
    void setPartName(std::string partName);
    /// Replaces the content type in the header with a text that is not parsed.
    void setContentType(std::string contentType);
    /// Replaces all further headers in the header.
    void setCustomHeaders(HttpHeaders customHeaders);
    /// Appends a further header; an earlier one of that name stays.
    void addCustomHeaderValue(std::string name, std::string value);

    /// Does what setHeader() does and returns this object.
    DataPart& withHeader(PartHeader header);
    /// Does what setData() does and returns this object.
    DataPart& withData(std::string data);
    /// Does what setPartName() does and returns this object.
    DataPart& withPartName(std::string partName);
    /// Does what setContentType() does and returns this object.
    DataPart& withContentType(std::string contentType);
    /// Does what addCustomHeaderValue() does and returns this object.
    DataPart& withCustomHeaderValue(std::string name, std::string value);

private:
    friend class MultipartBody;  // looks parts up by name, without a copy of the header

    PartHeader header_;
    std::string data_;
};
}  // namespace foundation::httpclient_core
