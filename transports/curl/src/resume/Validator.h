#pragma once
#include "response/HeaderBlock.h"

#include <string>

namespace foundation::httpclient_curl {

/// What an answer says of the version of the resource that it is from (RFC 9110, 8.8).
struct Validator {
    /// How sure it is that two answers of the same validator are the same to the byte.
    enum class Strength {
        None,    ///< Not at all: a weak entity tag, a date of the same second, or nothing.
        Likely,  ///< A date that is strong if the server has one clock for its files and its answers.
        Sure     ///< A strong entity tag, or a date so old that no two clocks differ as much.
    };

    std::string etag;          ///< As it came, weak or strong; empty for none.
    std::string lastModified;  ///< As it came; empty for none.
    Strength strength = Strength::None;

    Validator() = default;
    explicit Validator(const HeaderBlock& block);

    /// The value of If-Range that asks for this version only; empty where there is none.
    std::string ifRange() const;
    /// Whether an answer to ifRange(), or without one, that says `other` may be of the same version.
    bool matches(const Validator& other) const;
    /// For reports: the entity tag, else the date.
    const std::string& text() const noexcept { return etag.empty() ? lastModified : etag; }
};

}  // namespace foundation::httpclient_curl
