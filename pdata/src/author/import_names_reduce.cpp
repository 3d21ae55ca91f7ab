#include <unordered_set>

#include "import_names.h"

namespace
{

using name_set_t = std::unordered_set<std::string_view>;

/// Tells whether a name, or one that it is below of, is in a set.
bool is_covered(const name_set_t &domains, std::string_view name)
{
    for (size_t dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.')) {
        name.remove_prefix(dot + 1);
        if (domains.contains(name))
            return true;
    }
    return false;
}

} // namespace

void import_names_reduce(std::vector<name_entry_t> &entries)
{
    const std::vector<name_entry_t> all = std::move(entries);
    name_set_t domains;
    name_set_t below;
    for (const name_entry_t &entry : all) {
        if (entry.kind == NAME_DOMAIN)
            domains.insert(entry.text);
        if (entry.kind == NAME_DOMAIN || entry.kind == NAME_BELOW)
            below.insert(entry.text);
    }
    std::unordered_set<std::string> seen;
    entries.clear();
    for (const name_entry_t &entry : all) {
        const bool name = entry.kind <= NAME_FULL;
        const bool again = !seen.insert(std::to_string(entry.kind) + entry.text).second;
        const bool same = entry.kind != NAME_DOMAIN && domains.contains(entry.text);
        if (!again && !(name && (same || is_covered(below, entry.text))))
            entries.push_back(entry);
    }
}
