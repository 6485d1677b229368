#include "CertificateAuthority.h"

#include "ChildProcess.h"

#include <array>
#include <ctime>

namespace foundation::httpclient_curl::testing {
namespace {

constexpr std::time_t day = 24 * 60 * 60;

std::string openSslTime(std::time_t time) {
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y%m%d%H%M%SZ", &parts);
    return text.data();
}

}  // namespace

CertificateAuthority::CertificateAuthority(const std::string& name) {
    runProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj", "/CN=" + name,
                "-keyout", folder_ / "authority.key", "-out", file()});
    folder_.write("index.txt", "");
    folder_.write("serial", "1000\n");
}

Certificate CertificateAuthority::issue(const std::string& names, bool isExpired) {
    const std::string base = folder_ / ("server" + std::to_string(++issued_));
    Certificate certificate{base + ".pem", base + ".key"};
    runProgram({"openssl", "req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                "-nodes", "-subj", "/CN=server", "-keyout", certificate.keyFile, "-out",
                base + ".csr"});
    folder_.write("ca.cnf", "[ca]\ndefault_ca=own\n[own]\ndatabase=" + (folder_ / "index.txt") +
                                "\nserial=" + (folder_ / "serial") +
                                "\nnew_certs_dir=" + folder_.path() +
                                "\ndefault_md=sha256\npolicy=any\nunique_subject=no\n"
                                "x509_extensions=server\n[any]\ncommonName=supplied\n"
                                "[server]\nsubjectAltName=" +
                                names + "\n");
    const std::time_t now = std::time(nullptr);
    runProgram({"openssl", "ca", "-batch", "-notext", "-config", folder_ / "ca.cnf", "-cert",
                file(), "-keyfile", folder_ / "authority.key", "-in", base + ".csr", "-out",
                certificate.file, "-startdate", openSslTime(now - 2 * day), "-enddate",
                openSslTime(isExpired ? now - day : now + day)});
    return certificate;
}

}  // namespace foundation::httpclient_curl::testing
