/// Lists of host names, as operators and filter projects keep them, read into entries.
///
/// Three kinds of lists. In each "#" begins a comment, and blanks around an entry do not count.
///
///     domains  a name a line, or ".name": the name and all below it; "*.name": only what is below
///     hosts    an address, then names a line: each name alone
///     v2ray    "domain:name" or a name: it and all below; "full:name": it alone; "keyword:text":
///              every name that holds it; "regexp:expression"; "include:list", a list beside this
///              one, with or without ".txt"; "@word" behind an entry is an attribute, and behind an
///              include the one that its entries must have ("@-word": must not have); "&list"
///              behind an entry names another list that it stands in as well, and says nothing of
///              this one
///
/// Capitals of names and of attributes are small letters, and a dot behind a name does not count.
/// What cannot be read is a finding, never an omission.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What an entry describes.
enum name_kind_t : uint32_t {
    NAME_DOMAIN,     ///< a name and all below it
    NAME_BELOW,      ///< all below a name
    NAME_FULL,       ///< a name alone
    NAME_KEYWORD,    ///< all names that hold a text
    NAME_EXPRESSION, ///< all names that a regular expression is found in
};

/// Where something stands in a list.
struct import_place_t {
    std::string file;
    size_t line = 0; ///< from 1
};

/// What a list holds.
struct name_entry_t {
    name_kind_t kind = NAME_DOMAIN;
    std::string text; ///< in lower-case letters
    import_place_t place;
};

/// What could not be taken over, and why.
struct import_finding_t {
    import_place_t place;
    std::string text;
    const char *id = "";
};

/// The kinds of lists.
enum name_list_t {
    NAME_LIST_DOMAINS,
    NAME_LIST_HOSTS,
    NAME_LIST_V2RAY,
};

/// Gives the text of a list to include. Returns false when there is none.
using import_open_t = std::function<bool(const std::string &path, std::string &text)>;

/// Entries and findings of lists, in their order.
struct name_import_t {
    std::vector<name_entry_t> entries;
    std::vector<import_finding_t> findings;
    std::vector<std::string> own_names; ///< of hosts files: names of the machine itself, left out
};

/// Reads a list of `kind` called `file` and adds what it holds.
void import_names_read(name_list_t kind, const std::string &file, std::string_view text,
                       const import_open_t &open, name_import_t &names);

/// Removes entries that another entry covers: the same again, and names below a name that is
/// there with all below it. The order of what stays is kept.
void import_names_reduce(std::vector<name_entry_t> &entries);
