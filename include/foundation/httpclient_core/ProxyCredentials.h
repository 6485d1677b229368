#pragma once
#include <foundation/httpclient_core/Export.h>

#include <string>

namespace foundation::httpclient_core {

/// A user name and a password for a proxy, as a prompt answers them.
///
/// Both are any text, also empty; nothing is validated, encoded or erased from memory. The client
/// joins them as "user:password" for the credential store without escaping, so a user name with a
/// colon cannot be told from the start of the password there.
///
/// The accessors are virtual, but a prompt answers by value: a derived class is cut down to its
/// base.
///
/// @par Thread safety
/// Thread-compatible.
///
/// @par Example
/// Two texts, given back as they are:
/// @code{.cpp}
/// const ProxyCredentials credentials("ann", "secret");
/// assert(credentials.username() == "ann");
/// assert(credentials.password() == "secret");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API ProxyCredentials {
public:
    /// Holds the two texts as they are.
    ProxyCredentials(std::string username, std::string password);

    /// @{
    /// Copies both texts. Assignment to itself changes nothing.
    ProxyCredentials(const ProxyCredentials&);
    ProxyCredentials& operator=(const ProxyCredentials&);
    /// @}

    /// Returns the user name.
    virtual std::string username() const;

    /// Returns the password, in clear text.
    virtual std::string password() const;

    /// Destroys the texts; the memory is not overwritten.
    virtual ~ProxyCredentials();

private:
    std::string username_;
    std::string password_;
};

}  // namespace foundation::httpclient_core
