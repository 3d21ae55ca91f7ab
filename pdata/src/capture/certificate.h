/// The names in a certificate: common name, organization, alternative names of its subject.
///
/// X.509 (RFC 5280) in DER. Certificates come from strangers: what does not fit together yields no
/// names, or those in front of the fault.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct certificate_t {
    std::vector<std::string> common_names;
    std::vector<std::string> organizations;
    std::vector<std::string> alt_names; ///< those that are DNS names
};

/// Reads the DER bytes of a certificate.
certificate_t certificate_read(std::string_view der);

/// Returns the bytes that hexadecimal digits stand for, with or without ":" between; empty for
/// anything else.
std::string hex_bytes(std::string_view digits);
