#include "plugins/web/HttpErrors.h"

#include <winhttp.h>

namespace Terrascope::Plugins {
namespace {

constexpr char kBadCertificate[] = "the server's certificate is not valid";

/// What is wrong with the certificate; null: the error is about something else. Empty: the system
/// does not state it.
const char* CertificateFault(DWORD error) {
    switch (error) {
        case ERROR_WINHTTP_SECURE_FAILURE:
        case ERROR_WINHTTP_SECURE_INVALID_CERT:
            return "";
        // Wine has this one for every certificate that it refuses.
        case ERROR_WINHTTP_SECURE_CHANNEL_ERROR:
            return ", or there is no encryption that both have";
        case ERROR_WINHTTP_SECURE_CERT_DATE_INVALID:
            return ": it has expired, or begins later";
        case ERROR_WINHTTP_SECURE_CERT_CN_INVALID:
            return ": it is for another name";
        case ERROR_WINHTTP_SECURE_INVALID_CA:
            return ": nobody who is trusted has issued it";
        case ERROR_WINHTTP_SECURE_CERT_REVOKED:
            return ": it has been revoked";
        case ERROR_WINHTTP_SECURE_CERT_REV_FAILED:
            return ": whether it has been revoked cannot be found out";
        case ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE:
            return ": it is not one of a server";
        default:
            return nullptr;
    }
}

}  // namespace

std::string WordsOf(DWORD error) {
    if (const char* fault = CertificateFault(error); fault != nullptr) {
        return std::string(kBadCertificate) + fault;
    }
    switch (error) {
        case ERROR_WINHTTP_NAME_NOT_RESOLVED:
            return "the server's name leads nowhere";
        case ERROR_WINHTTP_CANNOT_CONNECT:
            return "the server cannot be reached";
        case ERROR_WINHTTP_TIMEOUT:
        case WSAETIMEDOUT:  // Wine's, for the same
            return "it takes too long";
        case ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED:
            return "the server asks for a certificate of ours";
        default:
            return "";
    }
}

bool IsOfEncryption(DWORD error) {
    return CertificateFault(error) != nullptr || error == ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED;
}

}  // namespace Terrascope::Plugins
