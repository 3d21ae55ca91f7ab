#include "field_transform.h"

#include <algorithm>

namespace
{

/// Where the part at the front of a name ends: at a comma or semicolon that no backslash precedes
/// and behind which, blanks aside, another "KEY=" or nothing stands.
bool begins_part(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const size_t equals =
        text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.");
    return text.empty() || (equals != 0 && equals != std::string_view::npos && text[equals] == '=');
}

size_t part_end(std::string_view name)
{
    for (size_t i = 0; i < name.size(); ++i) {
        if (name[i] == '\\')
            ++i;
        else if ((name[i] == ',' || name[i] == ';') && begins_part(name.substr(i + 1)))
            return i;
    }
    return name.size();
}

std::string without_backslashes(std::string_view text)
{
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size())
            ++i;
        plain += text[i];
    }
    return plain;
}

} // namespace

std::string name_part(std::string_view name, std::string_view key)
{
    name = name.substr(0, FLOW_TEXT_MAX);
    while (!name.empty()) {
        name.remove_prefix(std::min(name.find_first_not_of(' '), name.size()));
        const size_t end = part_end(name);
        const std::string_view part = name.substr(0, end);
        if (part.starts_with(key) && part.substr(key.size()).starts_with('='))
            return without_backslashes(part.substr(key.size() + 1));
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return {};
}
