#include <map>

#include "random_description.h"

std::string json_quoted(const std::string &text, uint32_t choice)
{
    static const std::map<char, char> controls = {
        {'\b', 'b'}, {'\f', 'f'}, {'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}};
    std::string out = "\"";
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool chosen = (choice >> i % 32 & 1) != 0;
        const auto control = controls.find(c);
        const bool letter = std::string_view("bfnrt").find(c) != std::string_view::npos;
        if (control != controls.end() && chosen)
            out.append(1, '\\').append(1, control->second);
        else if (c == '"' || c == '\\' || (chosen && !letter))
            out.append(1, '\\').append(1, c);
        else
            out += c;
    }
    return out += '"';
}

const std::vector<alias_model> random_aliases = {
    {{"http", "user_agent", ATTR_WAY_CTS}, {"quic", "user_agent", ATTR_WAY_BOTH}},
    {{"tcp", "stream", ATTR_WAY_CTS}, {"udp", "stream", ATTR_WAY_STC}},
    {{"ssl", "common_name", ATTR_WAY_BOTH}, {"ssl", "subject_alt_name", ATTR_WAY_STC}},
    {{"http", "content", ATTR_WAY_STC}, {"quic", "content", ATTR_WAY_STC}},
};

const char *const random_aliases_json = R"({"aliases": [
    {"alias": {"protocol": "http", "attr": "user_agent", "way": "cts"},
     "reference": {"protocol": "quic", "attr": "user_agent", "way": "both"}},
    {"alias": {"protocol": "tcp", "attr": "stream", "way": "cts"},
     "reference": {"protocol": "udp", "attr": "stream", "way": "stc"}},
    {"alias": {"protocol": "ssl", "attr": "common_name", "way": "both"},
     "reference": {"protocol": "ssl", "attr": "subject_alt_name", "way": "stc"}},
    {"alias": {"protocol": "http", "attr": "content", "way": "stc"},
     "reference": {"protocol": "quic", "attr": "content", "way": "stc"}}]})";
