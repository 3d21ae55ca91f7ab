#include "depfile.h"

namespace
{

std::string make_name(std::string_view name)
{
    std::string text;
    size_t slashes = 0; // directly in front: they escape what make would take specially
    for (const char c : name) {
        if (c == ' ' || c == '\t' || c == '#')
            text.append(slashes + 1, '\\');
        else if (c == '$')
            text += '$';
        text += c;
        slashes = c == '\\' ? slashes + 1 : 0;
    }
    return text;
}

} // namespace

std::string depfile_text(std::string_view target, std::span<const std::string> inputs)
{
    std::string text = make_name(target) + ':';
    for (const std::string &input : inputs)
        if (input.find('\n') == std::string::npos)
            text += " \\\n  " + make_name(input);
    return text + '\n';
}
