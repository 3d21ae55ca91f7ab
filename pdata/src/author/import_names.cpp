#include "import_names.h"

#include <algorithm>
#include <set>
#include <unordered_set>

#include "csa_char.h"
#include "import_numbers.h"
#include "import_words.h"

namespace
{

constexpr size_t NAME_BYTES_MAX = 253; // RFC 1035 without the last dot
constexpr size_t LABEL_MAX = 63;
constexpr size_t INCLUDES_MAX = 10000; // of all lists together
constexpr size_t DEPTH_MAX = 100;      // of lists within lists; reading recurses

struct list_reader_t {
    name_list_t kind;
    const import_open_t &open;
    name_import_t &names;
    std::unordered_set<std::string> included; ///< lists with the attributes asked of them
};

/// A list that is read, and what its entries must and must not have.
struct list_t {
    std::string file;
    std::set<std::string> wanted;
    std::set<std::string> unwanted;
    const list_t *holder = nullptr; ///< the list that includes it
    size_t depth = 0;               ///< holders above it
};

void report(list_reader_t &reader, const import_place_t &place, std::string text, const char *id)
{
    reader.names.findings.push_back({place, std::move(text), id});
}

std::string lower(std::string_view text)
{
    std::string low(text);
    std::ranges::transform(low, low.begin(), char_small);
    return low;
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
        if (c != '.' && !char_is_label(c))
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
    if (kind != NAME_KEYWORD && name.ends_with('.'))
        name.pop_back();
    std::string_view part = name;
    if (kind == NAME_KEYWORD) { // a part of a name may begin or end between two labels
        part.remove_prefix(part.starts_with('.') ? 1 : 0);
        part.remove_suffix(part.ends_with('.') ? 1 : 0);
    }
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
    if (words.size() > 1)
        return report(reader, place, "expected one name", "not-a-name");
    add_domain(reader, words.front(), place);
}

/// Names that hosts files give the machine itself and its network.
constexpr std::string_view own_names[] = {
    "localhost",     "localhost.localdomain",
    "localhost4",    "localhost4.localdomain4",
    "localhost6",    "localhost6.localdomain6",
    "local",         "broadcasthost",
    "ip6-localhost", "ip6-loopback",
    "ip6-localnet",  "ip6-mcastprefix",
    "ip6-allnodes",  "ip6-allrouters",
    "ip6-allhosts",
};

bool is_own_name(std::string_view name)
{
    return std::ranges::find(own_names, lower(name)) != std::end(own_names);
}

/// Tells whether a word is an address; one of IPv6 may have a zone behind it, "fe80::1%lo0".
bool is_address(std::string_view word)
{
    const bool wide = word.find(':') != std::string_view::npos;
    import_number_t number = 0;
    return import_address(wide ? word.substr(0, word.find('%')) : word, wide, number);
}

void take_hosts(list_reader_t &reader, const std::vector<std::string_view> &words,
                const import_place_t &place)
{
    if (words.size() < 2 || !is_address(words.front()))
        return report(reader, place, "expected an address and names", "not-a-host");
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

/// Tells whether a list is being read already: what is asked of the entries of a list grows with
/// every inclusion, so that within itself it adds nothing.
bool is_open(const list_t *list, const std::string &file)
{
    for (; list != nullptr; list = list->holder)
        if (list->file == file)
            return true;
    return false;
}

/// Returns the list that is included, and adds what is asked of its entries.
list_t included_list(const list_t &list, std::string_view name,
                     std::span<const std::string> attributes)
{
    const std::string folder = list.file.substr(0, list.file.rfind('/') + 1);
    list_t next = {folder + std::string(name), list.wanted, list.unwanted, &list, list.depth + 1};
    for (const std::string &attribute : attributes) {
        const bool unwanted = attribute.starts_with("@-");
        (unwanted ? next.unwanted : next.wanted).insert(attribute.substr(unwanted ? 2 : 1));
    }
    return next;
}

void take_include(list_reader_t &reader, const list_t &list, std::string_view name,
                  std::span<const std::string> attributes, const import_place_t &place)
{
    if (name.find('/') != std::string_view::npos)
        return report(reader, place, "a list to include stands beside this one", "no-list");
    list_t next = included_list(list, name, attributes);
    if (is_open(&list, next.file) || is_open(&list, next.file + ".txt") ||
        reader.included.contains(include_key(next)))
        return;
    if (next.depth > DEPTH_MAX || reader.included.size() == INCLUDES_MAX)
        return report(reader, place, "too many lists within lists", "beyond-limit");
    reader.included.insert(include_key(next));
    std::string text;
    if (!reader.open(next.file, text) && !reader.open(next.file += ".txt", text))
        return report(reader, place, "no list \"" + std::string(name) + "\" beside this one",
                      "no-list");
    read_list(reader, next, text);
}

bool chosen(const list_t &list, std::span<const std::string> attributes)
{
    const auto there = [attributes](const std::string &word) {
        return std::ranges::find(attributes, '@' + word) != attributes.end();
    };
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

/// Tells whether a word in small letters may stand behind an entry: "@word" or "&list", or behind
/// an include: "@word" or "@-word".
bool is_attribute(std::string_view word, bool include)
{
    if (!word.starts_with('@') && (include || !word.starts_with('&')))
        return false;
    word.remove_prefix(include && word.starts_with("@-") ? 2 : 1);
    return !word.empty() &&
           std::ranges::all_of(word, [](char c) { return char_is_label(c) || c == '!'; });
}

void take_v2ray(list_reader_t &reader, const list_t &list,
                const std::vector<std::string_view> &words, const import_place_t &place)
{
    const size_t colon = words.front().find(':');
    const bool typed = colon != std::string_view::npos;
    const std::string_view type = words.front().substr(0, typed ? colon : 0);
    const std::string_view rest = words.front().substr(typed ? colon + 1 : 0);
    std::vector<std::string> attributes;
    for (const std::string_view word : std::span(words).subspan(1))
        if (!is_attribute(attributes.emplace_back(lower(word)), type == "include"))
            return report(reader, place, "expected \"@\" and an attribute", "not-an-entry");
    if (type == "include")
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

} // namespace

void import_names_read(name_list_t kind, const std::string &file, std::string_view text,
                       const import_open_t &open, name_import_t &names)
{
    list_reader_t reader = {kind, open, names, {}};
    read_list(reader, {file, {}, {}, nullptr, 0}, text);
}
