#include "prove_text.h"

#include "format_values.h"
#include "pdb_attr_properties.h"

namespace
{

/// Bytes that a backslash stands in front of, and what stands for them then.
constexpr std::string_view GUARDED = "\"\\\b\f\n\r\t";
constexpr std::string_view GUARDED_AS = "\"\\bfnrt";

/// Appends a string. Every byte without an escape stands for itself.
void put_string(std::string &text, std::string_view bytes)
{
    text += '"';
    for (const char c : bytes) {
        const bool is_plain = c != '"' && c != '\\' && static_cast<uint8_t>(c) >= ' ';
        const size_t guarded = is_plain ? GUARDED.npos : GUARDED.find(c);
        if (guarded != GUARDED.npos)
            text += '\\';
        text += guarded != GUARDED.npos ? GUARDED_AS[guarded] : c;
    }
    text += '"';
}

void put_value(std::string &text, const prove_value_t &value)
{
    if (value.offset == 0) {
        put_string(text, value.text);
        return;
    }
    text += "{\"offset\":" + std::to_string(value.offset) + ",\"pattern\":";
    put_string(text, value.text);
    text += '}';
}

/// Rules of a protocol: the compiler has room of fixed size for each rule of the protocol at hand,
/// which stays in the nearest caches so.
constexpr size_t RULES_OF_A_PROTOCOL = 16;

/// Ends the protocol in front, and begins the next one.
void put_protocol(std::string &text, size_t number)
{
    const std::string name = std::to_string(number + 1);
    text += number == 0 ? "" : "]},";
    text += "{\"name\":\"batch" + name + "\",\"id\":" + name + ",\"rules\":[";
}

/// Appends a rule that tests one value. Its minimum data is none: it was thought of already.
void put_rule(std::string &text, const prove_value_t &value, size_t order)
{
    text += "{\"order\":\"0:" + std::to_string(order) + "\",\"rule\":[{\"protocol\":";
    put_string(text, value.protocol);
    text += ",\"mindata\":" + std::to_string(PATTERN_MINDATA_NONE) + ',';
    std::string key = attr_way2prefix(prove_text_way(value));
    key += value.attribute;
    if (value.offset != 0)
        key += "_offset";
    put_string(text, key);
    text += ':';
    put_value(text, value);
    text += "}]}";
}

} // namespace

csa_attr_way_t prove_text_way(const prove_value_t &value)
{
    const csa_attr_way_t allowed =
        pdb_matcher_get_allowed_way(csa_str(value.protocol), csa_str(value.attribute));
    return allowed == ATTR_WAY_STC ? ATTR_WAY_STC : ATTR_WAY_CTS;
}

std::string prove_text(std::span<const prove_value_t *const> values)
{
    std::string text = "{\"protocols\":[";
    for (size_t i = 0; i < values.size(); ++i) {
        if (i % RULES_OF_A_PROTOCOL == 0)
            put_protocol(text, i / RULES_OF_A_PROTOCOL);
        else
            text += ',';
        put_rule(text, *values[i], i + 1);
    }
    text += "]}]}";
    return text;
}
