#include "import_values.h"

#include <array>

#include "csa_char.h"

namespace
{

/// What stands in front of and behind the names of a value, by name_kind_t, and pieces a name.
struct form_t {
    const char *before;
    const char *behind;
    uint32_t nr_piece;
};

constexpr std::array<form_t, 4> forms = {{
    {"(.*\\.)?", "", 2},
    {".*\\.", "", 1},
    {"", "", 1},
    {".*", ".*", 1},
}};

std::string escaped(std::string_view name)
{
    std::string text;
    for (const char c : name) {
        if (c == '.')
            text += '\\';
        text += c;
    }
    return text;
}

/// Returns the value of some names of one kind.
import_value_t value_of(const std::vector<const name_entry_t *> &names)
{
    const form_t &form = forms[names.front()->kind];
    const bool choice = names.size() > 1;
    import_value_t value;
    value.text += form.before;
    value.text += choice ? "(" : "";
    for (const name_entry_t *name : names) {
        value.text += name != names.front() ? "|" : "";
        value.text += escaped(name->text);
        value.places.push_back(name->place);
        value.nr_piece += form.nr_piece;
    }
    value.text += choice ? ")" : "";
    value.text += form.behind;
    return value;
}

bool is_repetition(char c)
{
    return c == '*' || c == '+' || c == '?';
}

/// Takes the first part of an expression into a value. Returns its bytes, or 0 for one that no
/// value can say.
size_t take_part(std::string_view rest, std::string &text, bool &literal)
{
    const char c = rest[0];
    const char next = rest.size() > 1 ? rest[1] : '\0';
    size_t taken = 2;
    if (c == '\\' && next == '.') {
        text += "\\.";
    } else if (c == '.' && (next == '+' || next == '*')) {
        text += next == '+' ? ".*." : ".*"; // ".+" and "..*" also fire on nothing there
    } else if (char_is_label(c)) {
        text += c;
        literal = true;
        taken = 1;
    } else {
        return 0;
    }
    return rest.size() > taken && is_repetition(rest[taken]) ? 0 : taken;
}

} // namespace

std::optional<std::string> import_expression(std::string_view expression)
{
    constexpr std::string_view at_label = "(^|\\.)";
    const bool label = expression.starts_with(at_label);
    const bool open = !label && !expression.starts_with('^');
    expression.remove_prefix(label ? at_label.size() : open ? 0 : 1);
    const bool closed = expression.ends_with('$');
    if (closed)
        expression.remove_suffix(1);
    std::string text = label ? "(.*\\.)?" : open ? ".*" : "";
    bool literal = false;
    while (!expression.empty()) {
        const size_t taken = take_part(expression, text, literal);
        if (taken == 0)
            return std::nullopt;
        expression.remove_prefix(taken);
    }
    if (!literal)
        return std::nullopt;
    text += closed ? "" : ".*";
    return text;
}

std::vector<import_value_t> import_name_values(const std::vector<name_entry_t> &entries,
                                               bool compact,
                                               std::vector<import_finding_t> &findings)
{
    std::vector<import_value_t> values;
    std::array<std::vector<const name_entry_t *>, 4> open;
    const size_t most = compact ? IMPORT_CHOICES : 1;
    for (const name_entry_t &entry : entries) {
        if (entry.kind != NAME_EXPRESSION) {
            std::vector<const name_entry_t *> &names = open[entry.kind];
            names.push_back(&entry);
            if (names.size() == most) {
                values.push_back(value_of(names));
                names.clear();
            }
        } else if (const auto text = import_expression(entry.text)) {
            values.push_back({*text, {entry.place}, 4});
        } else {
            findings.push_back({entry.place, "no value says \"" + entry.text + '"', "cannot-say"});
        }
    }
    for (const auto &names : open)
        if (!names.empty())
            values.push_back(value_of(names));
    return values;
}

std::string import_json(std::string_view text)
{
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            json += '\\';
        json += c;
    }
    return json + '"';
}
