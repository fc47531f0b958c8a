#include "platform/axevent/certificate_problem.h"

#include <array>
#include <ctime>

namespace host_events {
namespace {

std::string day_of(const ASN1_TIME* time) {
    std::tm parts = {};
    std::array<char, 16> text{};
    ASN1_TIME_to_tm(time, &parts);
    std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
    return text.data();
}

} // namespace

std::string certificate_problem(X509_STORE_CTX* store, const MqttSettings& settings) {
    const int error = X509_STORE_CTX_get_error(store);
    const X509* certificate = X509_STORE_CTX_get_current_cert(store);
    const std::string whose =
        X509_STORE_CTX_get_error_depth(store) == 0 ? "its certificate" : "a certificate that vouches for it";
    switch (error) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return whose + " expired on " + day_of(X509_get0_notAfter(certificate));
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return whose + " is valid from " + day_of(X509_get0_notBefore(certificate)) +
               " on; is the clock of this machine right?";
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        return whose + " is for another name than " + settings.host;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_CERT_SIGNATURE_FAILURE:
        return "no certificate in " + settings.ca_file + " vouches for it";
    default:
        return whose + " is refused: " + X509_verify_cert_error_string(error);
    }
}

} // namespace host_events
