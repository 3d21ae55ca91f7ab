#include "import_names.h"

#include <algorithm>
#include <unordered_set>

#include "import_words.h"

namespace
{

constexpr size_t NAME_BYTES_MAX = 253; // RFC 1035 without the last dot
constexpr size_t LABEL_MAX = 63;

struct list_reader_t {
    name_list_t kind;
    const import_open_t &open;
    name_import_t &names;
    std::unordered_set<std::string> included; ///< lists with the attributes asked of them
};

/// A list that is read, and what its entries must and must not have.
struct list_t {
    std::string file;
    std::vector<std::string> wanted;
    std::vector<std::string> unwanted;
};

void report(list_reader_t &reader, const import_place_t &place, std::string text, const char *id)
{
    reader.names.findings.push_back({place, std::move(text), id});
}

std::string lower(std::string_view text)
{
    std::string low(text);
    std::ranges::transform(low, low.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return low;
}

bool is_name_byte(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

/// Returns why a text is no host name, or null.
const char *name_fault(std::string_view name)
{
    if (name.empty() || name.size() > NAME_BYTES_MAX)
        return "is no host name: its length";
    size_t label = 0;
    for (const char c : name) {
        if ((c & '\x80') != 0)
            return "is not ASCII: write its xn-- form";
        if (c == '.' && label == 0)
            return "is no host name: an empty label";
        if (c != '.' && !is_name_byte(c))
            return "is no host name";
        label = c == '.' ? 0 : label + 1;
        if (label > LABEL_MAX)
            return "is no host name: a label of more than 63 characters";
    }
    return label == 0 ? "is no host name: an empty label" : nullptr;
}

void add_name(list_reader_t &reader, name_kind_t kind, std::string_view text,
              const import_place_t &place)
{
    std::string name = lower(text);
    if (name.size() > 1 && name.ends_with('.') && kind != NAME_KEYWORD)
        name.pop_back();
    const std::string_view part =
        kind == NAME_KEYWORD && name.size() > 1
            ? std::string_view(name).substr(name.starts_with('.') ? 1 : 0,
                                            name.size() - (name.starts_with('.') ? 1 : 0) -
                                                (name.ends_with('.') ? 1 : 0))
            : std::string_view(name);
    if (const char *fault = name_fault(part); fault != nullptr)
        report(reader, place, '"' + std::string(text) + "\" " + fault, "not-a-name");
    else
        reader.names.entries.push_back({kind, std::move(name), place});
}

void add_domain(list_reader_t &reader, std::string_view text, const import_place_t &place)
{
    if (text.starts_with("*."))
        add_name(reader, NAME_BELOW, text.substr(2), place);
    else
        add_name(reader, NAME_DOMAIN, text.substr(text.starts_with('.') ? 1 : 0), place);
}

void take_domains(list_reader_t &reader, const std::vector<std::string_view> &words,
                  const import_place_t &place)
{
    for (const std::string_view word : words)
        add_domain(reader, word, place);
}

/// Tells whether a name of a hosts file is one of the machine or of its network.
bool is_own_name(std::string_view name)
{
    return name == "localhost" || name.starts_with("localhost.") || name == "local" ||
           name == "broadcasthost" || name.starts_with("ip6-");
}

void take_hosts(list_reader_t &reader, const std::vector<std::string_view> &words,
                const import_place_t &place)
{
    if (words.size() < 2 || words.front().find_first_of(".:") == std::string_view::npos)
        report(reader, place, "expected an address and names", "not-a-host");
    for (const std::string_view word : std::span(words).subspan(1)) {
        if (is_own_name(word) || word == words.front())
            reader.names.own_names.emplace_back(word);
        else
            add_name(reader, NAME_FULL, word, place);
    }
}

void read_list(list_reader_t &reader, const list_t &list, std::string_view text);

/// Returns what makes an inclusion the same as an earlier one: the list and what is asked of it.
std::string include_key(const list_t &list)
{
    std::string key = list.file;
    for (const std::string &word : list.wanted)
        key += " @" + word;
    for (const std::string &word : list.unwanted)
        key += " @-" + word;
    return key;
}

void take_include(list_reader_t &reader, const list_t &list, std::string_view name,
                  std::span<const std::string_view> attributes, const import_place_t &place)
{
    const size_t slash = list.file.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : list.file.substr(0, slash + 1);
    list_t next = {folder + std::string(name), list.wanted, list.unwanted};
    for (const std::string_view attribute : attributes)
        (attribute.starts_with("@-") ? next.unwanted : next.wanted)
            .emplace_back(attribute.substr(attribute.starts_with("@-") ? 2 : 1));
    if (!reader.included.insert(include_key(next)).second)
        return;
    if (name.find('/') != std::string_view::npos)
        return report(reader, place, "a list to include stands beside this one", "no-list");
    std::string text;
    if (!reader.open(next.file, text) && !reader.open(next.file += ".txt", text))
        return report(reader, place, "no list \"" + std::string(name) + "\" beside this one",
                      "no-list");
    read_list(reader, next, text);
}

bool has(std::span<const std::string_view> attributes, std::string_view word)
{
    return std::ranges::any_of(
        attributes, [word](std::string_view attribute) { return attribute.substr(1) == word; });
}

bool chosen(const list_t &list, std::span<const std::string_view> attributes)
{
    const auto there = [attributes](const std::string &word) { return has(attributes, word); };
    return std::ranges::all_of(list.wanted, there) && std::ranges::none_of(list.unwanted, there);
}

/// Takes what the word in front of a colon says.
void take_typed(list_reader_t &reader, std::string_view type, std::string_view text,
                const import_place_t &place)
{
    if (type == "domain")
        add_name(reader, NAME_DOMAIN, text, place);
    else if (type == "full")
        add_name(reader, NAME_FULL, text, place);
    else if (type == "keyword")
        add_name(reader, NAME_KEYWORD, text, place);
    else if (type == "regexp")
        reader.names.entries.push_back({NAME_EXPRESSION, std::string(text), place});
    else
        report(reader, place, "no kind of entry: \"" + std::string(type) + '"', "not-an-entry");
}

void take_v2ray(list_reader_t &reader, const list_t &list,
                const std::vector<std::string_view> &words, const import_place_t &place)
{
    const std::span attributes = std::span(words).subspan(1);
    for (const std::string_view attribute : attributes)
        if (!attribute.starts_with('@') && !attribute.starts_with('&'))
            return report(reader, place, "expected \"@\" and an attribute", "not-an-entry");
    const size_t colon = words.front().find(':');
    const bool typed = colon != std::string_view::npos;
    const std::string_view type = words.front().substr(0, colon);
    const std::string_view rest = words.front().substr(typed ? colon + 1 : 0);
    if (typed && type == "include")
        take_include(reader, list, rest, attributes, place);
    else if (typed && chosen(list, attributes))
        take_typed(reader, type, rest, place);
    else if (chosen(list, attributes))
        add_domain(reader, rest, place);
}

void read_list(list_reader_t &reader, const list_t &list, std::string_view text)
{
    for (size_t line = 1; !text.empty(); ++line) {
        const std::vector<std::string_view> words = import_words(text);
        if (words.empty())
            continue;
        const import_place_t place = {list.file, line};
        if (reader.kind == NAME_LIST_DOMAINS)
            take_domains(reader, words, place);
        else if (reader.kind == NAME_LIST_HOSTS)
            take_hosts(reader, words, place);
        else
            take_v2ray(reader, list, words, place);
    }
}

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

void import_names_read(name_list_t kind, const std::string &file, std::string_view text,
                       const import_open_t &open, name_import_t &names)
{
    list_reader_t reader = {kind, open, names, {file}};
    read_list(reader, {file, {}, {}}, text);
}

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
