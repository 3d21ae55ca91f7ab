#include "certificate.h"

#include <array>
#include <cstdint>

#include "csa_char.h"

namespace
{

// Tags of DER.
constexpr uint8_t tag_integer = 0x02;
constexpr uint8_t tag_octets = 0x04;
constexpr uint8_t tag_oid = 0x06;
constexpr uint8_t tag_boolean = 0x01;
constexpr uint8_t tag_sequence = 0x30;
constexpr uint8_t tag_set = 0x31;
constexpr uint8_t tag_version = 0xA0;
constexpr uint8_t tag_extensions = 0xA3;
constexpr uint8_t tag_dns_name = 0x82;
constexpr uint8_t tag_bmp_string = 0x1E;

constexpr std::string_view oid_common_name("\x55\x04\x03", 3);
constexpr std::string_view oid_organization("\x55\x04\x0A", 3);
constexpr std::string_view oid_alt_name("\x55\x1D\x11", 3);

struct element_t {
    uint8_t tag = 0;
    std::string_view content;
};

/// Takes one element off the front. Returns false at the end, or where none fits.
bool take(std::string_view &der, element_t &element)
{
    if (der.size() < 2)
        return false;
    const auto byte = [&der](size_t i) { return static_cast<uint8_t>(der[i]); };
    size_t length = byte(1);
    size_t header = 2;
    if (length >= 0x80) {
        const size_t count = length & 0x7F;
        if (count == 0 || count > 4 || der.size() < 2 + count)
            return false;
        length = 0;
        for (size_t i = 0; i < count; ++i)
            length = length << 8 | byte(2 + i);
        header += count;
    }
    if (length > der.size() - header)
        return false;
    element = {byte(0), der.substr(header, length)};
    der.remove_prefix(header + length);
    return true;
}

/// Takes one element with a certain tag off the front.
bool take_tagged(std::string_view &der, uint8_t tag, std::string_view &content)
{
    element_t element;
    std::string_view rest = der;
    if (!take(rest, element) || element.tag != tag)
        return false;
    der = rest;
    content = element.content;
    return true;
}

/// The text of a name; of two bytes a character where the tag says so, those of one byte alone.
std::string name_text(const element_t &element)
{
    if (element.tag != tag_bmp_string)
        return std::string(element.content);
    std::string text;
    for (size_t i = 0; i + 1 < element.content.size(); i += 2) {
        if (element.content[i] != '\0')
            return {};
        text += element.content[i + 1];
    }
    return text;
}

void read_subject(std::string_view subject, certificate_t &certificate)
{
    std::string_view set;
    while (take_tagged(subject, tag_set, set)) {
        std::string_view pair;
        while (take_tagged(set, tag_sequence, pair)) {
            std::string_view oid;
            element_t value;
            if (!take_tagged(pair, tag_oid, oid) || !take(pair, value))
                return;
            if (oid == oid_common_name)
                certificate.common_names.push_back(name_text(value));
            else if (oid == oid_organization)
                certificate.organizations.push_back(name_text(value));
        }
    }
}

void read_alt_names(std::string_view octets, certificate_t &certificate)
{
    std::string_view names;
    element_t name;
    if (!take_tagged(octets, tag_sequence, names))
        return;
    while (take(names, name))
        if (name.tag == tag_dns_name)
            certificate.alt_names.emplace_back(name.content);
}

void read_extensions(std::string_view extensions, certificate_t &certificate)
{
    std::string_view list;
    std::string_view extension;
    if (!take_tagged(extensions, tag_sequence, list))
        return;
    while (take_tagged(list, tag_sequence, extension)) {
        std::string_view oid;
        std::string_view critical;
        std::string_view octets;
        if (!take_tagged(extension, tag_oid, oid))
            return;
        (void)take_tagged(extension, tag_boolean, critical);
        if (oid == oid_alt_name && take_tagged(extension, tag_octets, octets))
            read_alt_names(octets, certificate);
    }
}

/// Values of hexadecimal digits by their characters; -1 for no digit.
constexpr std::array<int8_t, 256> digit_values = [] {
    std::array<int8_t, 256> values = {};
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<int8_t>(char_hex_value(static_cast<char>(i)));
    return values;
}();

int digit_value(char digit)
{
    return digit_values[static_cast<uint8_t>(digit)];
}

} // namespace

certificate_t certificate_read(std::string_view der)
{
    certificate_t certificate;
    std::string_view outer;
    std::string_view body;
    std::string_view skipped;
    std::string_view subject;
    if (!take_tagged(der, tag_sequence, outer) || !take_tagged(outer, tag_sequence, body))
        return certificate;
    (void)take_tagged(body, tag_version, skipped);
    const bool fits = take_tagged(body, tag_integer, skipped) &&  // serial number
                      take_tagged(body, tag_sequence, skipped) && // algorithm
                      take_tagged(body, tag_sequence, skipped) && // issuer
                      take_tagged(body, tag_sequence, skipped) && // validity
                      take_tagged(body, tag_sequence, subject);
    if (!fits)
        return certificate;
    read_subject(subject, certificate);
    element_t element;
    while (take(body, element))
        if (element.tag == tag_extensions)
            read_extensions(element.content, certificate);
    return certificate;
}

std::string hex_bytes(std::string_view digits)
{
    std::string bytes(digits.size() / 2, '\0');
    size_t filled = 0;
    for (size_t i = 0; i < digits.size(); i += 2) {
        if (digits[i] == ':' && filled > 0)
            ++i;
        if (i + 1 >= digits.size())
            return {};
        const int high = digit_value(digits[i]);
        const int low = digit_value(digits[i + 1]);
        if ((high | low) < 0)
            return {};
        bytes[filled++] = static_cast<char>(high << 4 | low);
    }
    bytes.resize(filled);
    return bytes;
}
