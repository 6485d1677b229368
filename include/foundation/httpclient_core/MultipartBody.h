#pragma once
#include <foundation/httpclient_core/DataPart.h>
#include <foundation/httpclient_core/FilePart.h>

#include <string>
#include <variant>
#include <vector>
namespace foundation::httpclient_core {

/// The parts of a multipart request body, as data, in the order in which they were added.
///
/// The library does not choose a boundary, write part headers or read files: the transport does, when it
/// sends the request. Names need not be unique, may be empty, and a DataPart and a FilePart may share one.
///
/// Deliberately unlike headers and queries, names are matched exactly: `"F"` does not find `"f"`. Each
/// look-up sees the parts of its own kind only, and the part added first answers.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// A text and a picture:
/// @code{.cpp}
/// MultipartBody body;
/// body.withPart(DataPart(PartHeader("title"), "My cat"))
///     .withPart(FilePart(PartHeader("picture", "image/png"), "cat.png"));
/// assert(body.getDataPart("title").getData() == "My cat");
/// assert(body.hasFilePart("picture") && !body.hasFilePart("title"));
/// body.removePart("picture");
/// assert(body.getContent().size() == 1);
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API MultipartBody {
public:
    /// Makes a body without parts.
    MultipartBody();

    /// Returns true if there are no parts.
    bool empty() const noexcept;
    /// Returns a copy of all parts, in order: alternative 0 is a DataPart, alternative 1 a FilePart.
    std::vector<std::variant<DataPart, FilePart>> getContent() const;
    /// Returns true if a data part has exactly this name. Linear in the parts.
    bool hasDataPart(const std::string& name) const;
    /// Returns true if a file part has exactly this name. Linear in the parts.
    bool hasFilePart(const std::string& name) const;
    /// Returns a copy of the first data part with exactly this name. Linear in the parts.
    /// @throws std::out_of_range "Data part with name="NAME" not found.", with `name` as passed, if there is
    /// none, even if a file part has that name. Nothing is logged.
    DataPart getDataPart(const std::string& name) const;
    /// Returns a copy of the first file part with exactly this name. Linear in the parts.
    /// @throws std::out_of_range "File part with name="NAME" not found.", with `name` as passed, if there is
    /// none, even if a data part has that name. Nothing is logged.
    FilePart getFilePart(const std::string& name) const;

    /// Appends a part at the end; its name is not checked. If it throws, the body is unchanged.
    /// @{
    void addPart(DataPart part);
    void addPart(FilePart part);
    /// @}
    /// Removes every part, of either kind, with exactly this name; the others keep their order. Without such
    /// a part nothing happens.
    void removePart(const std::string& name);

    /// Does what addPart() does and returns this object.
    /// @{
    MultipartBody& withPart(DataPart part);
    MultipartBody& withPart(FilePart part);
    /// @}

private:
    template <class Part>
    static const std::string& nameOf(const Part& part) noexcept {
        return part.header_.partName_;
    }
    template <class Part>
    const Part* findPart(const std::string& name) const noexcept;

    std::vector<std::variant<DataPart, FilePart>> content_;
};
}  // namespace foundation::httpclient_core
