/// Counted strings: a length and a pointer, without terminator and without ownership.
///
/// A csa_str_t is what every record, container and matcher entry holds in place of a copy of a
/// text. The 16-bit length is part of the serialized formats: a longer text keeps its length
/// modulo 65536, as a 16-bit store does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// A counted string. `str_buf` points at `str_len` bytes that somebody else owns and that must
/// outlive the string; a null `str_buf` is the absent text.
struct csa_str_t {
    uint16_t str_len = 0;
    const char *str_buf = nullptr;
};

/// Returns a counted string over `len` bytes at `buf`; the length is kept modulo 65536.
constexpr csa_str_t csa_str(const char *buf, size_t len)
{
    return {static_cast<uint16_t>(len), buf};
}

/// Returns a counted string over the bytes of `text`.
constexpr csa_str_t csa_str(std::string_view text)
{
    return csa_str(text.data(), text.size());
}

/// Returns the bytes of `str` as a view; an absent text is an empty view.
constexpr std::string_view csa_str_view(const csa_str_t &str)
{
    return str.str_buf == nullptr ? std::string_view() : std::string_view(str.str_buf, str.str_len);
}

/// Returns the bytes of `str` in front of its first zero byte.
constexpr std::string_view csa_str_up_to_zero(const csa_str_t &str)
{
    const std::string_view text = csa_str_view(str);
    return text.substr(0, text.find('\0'));
}

/// Tells whether two texts have the same length and the same bytes.
constexpr bool csa_str_equal(const csa_str_t &a, const csa_str_t &b)
{
    return csa_str_view(a) == csa_str_view(b);
}
