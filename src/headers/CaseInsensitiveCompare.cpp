#include <foundation/httpclient_core/NameValueCollection.h>

// NOLINTNEXTLINE(modernize-deprecated-headers): newlocale is of POSIX, clocale does not have it
#include <locale.h>
#include <new>
#include <strings.h>

namespace foundation::httpclient_core {

// The fixed "C" locale folds the 26 ASCII letters and nothing else, whatever locale the host program
// chose for itself.
struct NameValueCollection::CaseInsensitiveCompare::Impl {
    Impl() : locale(::newlocale(LC_CTYPE_MASK, "C", static_cast<locale_t>(nullptr))) {
        if (locale == static_cast<locale_t>(nullptr)) {
            throw std::bad_alloc();
        }
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl() { ::freelocale(locale); }

    locale_t locale;
};

NameValueCollection::CaseInsensitiveCompare::CaseInsensitiveCompare()
    : impl_(std::make_shared<Impl>()) {}

bool NameValueCollection::CaseInsensitiveCompare::operator()(const std::string& a,
                                                             const std::string& b) const noexcept {
    return ::strcasecmp_l(a.c_str(), b.c_str(), impl_->locale) < 0;
}

}  // namespace foundation::httpclient_core
