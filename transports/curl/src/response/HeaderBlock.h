#pragma once
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <string>
#include <string_view>
#include <utility>

namespace foundation::httpclient_curl {

/// One header block of an answer: a status line and fields, gathered line by line. Lines that are no fields
/// are dropped, unless another reader of the answer might take them for fields: those are a flaw.
class HeaderBlock {
public:
    /// Whether this line begins a block, unless it stands inside one: there it is no field.
    static bool isStatusLine(std::string_view line);

    explicit HeaderBlock(int maxFields) : maxFields_(maxFields) {}

    /// Begins with a status line; what was gathered before is forgotten.
    void begin(std::string_view line);
    /// Takes one further line with its end. True when it is the empty line that ends the block.
    /// Throws HttpRequestFailedException for a block of too many fields.
    bool addLine(std::string_view line);

    httpclient_core::HttpResponseCode code() const noexcept { return code_; }
    const std::string& reason() const noexcept { return reason_; }
    const httpclient_core::HttpHeaders& headers() const noexcept { return headers_; }
    /// What makes the fields doubtful, for a message; empty for nothing.
    const std::string& flaw() const noexcept { return flaw_; }
    /// The value of the first field of that name; empty where there is none.
    const std::string& header(const std::string& name) const;
    /// Adds a field that did not come over the wire.
    void addField(const std::string& name, std::string value) {
        headers_.add(name, std::move(value));
    }
    /// Moves the fields out; none are left.
    httpclient_core::HttpHeaders takeHeaders() noexcept { return std::move(headers_); }

private:
    void keepField();
    void noteControls(std::string_view text);

    httpclient_core::HttpResponseCode code_ =
        httpclient_core::HttpResponseCode::ResponseNotReceived;
    std::string reason_;
    httpclient_core::HttpHeaders headers_;
    std::string name_;  ///< The field that a folded line may continue.
    std::string value_;
    int fields_ = 0;
    int maxFields_;
    std::string flaw_;
};

}  // namespace foundation::httpclient_curl
