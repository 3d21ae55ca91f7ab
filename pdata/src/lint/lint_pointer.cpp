#include "lint_pointer.h"

#include <algorithm>

#include "description_text.h"

namespace
{

/// Deepest nesting that has pointers; descriptions have ten levels.
constexpr size_t DEPTH_MAX = 32;

/// An object or an array that is open.
struct pointer_level_t {
    bool object;
    bool expects_key;
    std::string_view key; ///< of the member at hand
    size_t index = 0;     ///< of the element at hand
};

/// A text while its brackets and keys are followed.
struct pointer_walk_t {
    std::string_view text;
    size_t at = 0;
    std::vector<pointer_level_t> levels = {};
};

void pass_string(pointer_walk_t &walk)
{
    const size_t begin = walk.at + 1;
    walk.at = text_closing_quote(walk.text, walk.at);
    if (!walk.levels.empty() && walk.levels.back().expects_key) {
        walk.levels.back().key = walk.text.substr(begin, walk.at - begin);
        walk.levels.back().expects_key = false;
    }
    ++walk.at;
}

/// Goes over one byte, or over a string.
void step(pointer_walk_t &walk)
{
    const char c = walk.text[walk.at];
    if (c == '"')
        return pass_string(walk);
    ++walk.at;
    if (c == '{' || c == '[') {
        walk.levels.push_back({c == '{', c == '{', {}});
    } else if ((c == '}' || c == ']') && !walk.levels.empty()) {
        walk.levels.pop_back();
    } else if (c == ',' && !walk.levels.empty()) {
        walk.levels.back().expects_key = walk.levels.back().object;
        ++walk.levels.back().index;
    }
}

std::string pointer_of(const pointer_walk_t &walk)
{
    std::string pointer;
    for (const pointer_level_t &level : walk.levels) {
        if (level.object && level.expects_key)
            break; // at a key that is not read yet
        if (pointer.size() + level.key.size() > LINT_POINTER_MAX)
            return "";
        pointer += '/';
        if (!level.object)
            pointer += std::to_string(level.index);
        for (const char c : level.key)
            pointer += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return pointer.size() > LINT_POINTER_MAX ? "" : pointer;
}

} // namespace

std::vector<std::string> lint_pointers(std::span<const lint_file_t> files,
                                       std::span<const finding_t> findings)
{
    std::vector<std::string> pointers;
    pointer_walk_t walk;
    uint32_t file = 0;
    for (const finding_t &finding : findings) {
        if (pointers.empty() || finding.place.file != file) {
            file = finding.place.file;
            walk = {files[file].text};
        }
        while (walk.at < std::min<size_t>(finding.place.begin, walk.text.size()))
            step(walk);
        // A finding at a key means its value.
        pointer_walk_t key = {walk.text, walk.at,
                              walk.levels.size() > DEPTH_MAX ? std::vector<pointer_level_t>()
                                                             : walk.levels};
        const bool at_key = !key.levels.empty() && key.levels.back().expects_key &&
                            key.at < key.text.size() && key.text[key.at] == '"';
        if (at_key)
            step(key);
        pointers.push_back(pointer_of(key));
    }
    return pointers;
}
