/// JSON Schemas (draft 2020-12) of the documents that authors write, for editors.
///
/// Those of descriptions, tags and aliases are made from rule files, with the words of the papers.
/// The pattern tables and the IPv4 table have no rule file; theirs are written here, after what
/// their readers accept. What validates and is refused nevertheless is listed in each schema's
/// "description", each reason by a name.
#pragma once

#include <span>
#include <string>
#include <string_view>

/// A kind of document.
struct schema_kind_t {
    const char *name;      ///< "pdd", "tags", "aliases", "psa", "ipbt"
    const char *rule_file; ///< name of its rule file in a configuration directory, or null
};

/// The kinds, in the order of the help.
std::span<const schema_kind_t> schema_kinds();

/// Returns the kind of a name, or null.
const schema_kind_t *schema_kind(std::string_view name);

/// Writes the schema of a kind; `rules` is the text of its rule file, where it has one. Returns
/// false, with why in `text`, for rules that cannot be read.
[[nodiscard]] bool schema_text(const schema_kind_t &kind, std::string_view rules,
                               std::string &text);
