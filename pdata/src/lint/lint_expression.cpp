#include "lint_expression.h"

#include "csa_char.h"
#include "lint_words.h"
#include "module_error.h"

namespace
{

/// What stands around a byte of an expression.
struct lint_scan_t {
    int groups = 0;
    bool in_class = false;
    bool begins = true;   ///< no element stands in front that could be repeated
    bool postfix = false; ///< what stands in front is repeated already
};

constexpr const char *TWICE = "one of '*', '+' and '?' alone may stand behind a part";

/// Reads one byte, or two behind a backslash. Returns what is wrong with it, or null.
const char *read_byte(lint_scan_t &scan, char c)
{
    if (scan.in_class) {
        scan.in_class = c != ']';
        return nullptr;
    }
    const bool begins = scan.begins;
    const bool postfix = scan.postfix;
    scan.begins = c == '(' || c == '|';
    scan.postfix = false;
    scan.in_class = c == '[';
    scan.groups += c == '(' ? 1 : c == ')' ? -1 : 0;
    if (c == '*' || c == '+' || c == '?') {
        scan.begins = true; // one postfix alone may follow
        scan.postfix = true;
        if (postfix)
            return TWICE;
        return begins ? "nothing in front of '*', '+' or '?' can be repeated" : nullptr;
    }
    if (scan.groups < 0)
        return "a ')' that closes nothing";
    return c == ']' ? "a ']' that closes nothing" : nullptr;
}

/// A form of other expressions that is none here.
struct foreign_t {
    std::string_view form;
    bool in_class;
    const char *message;
    const char *hint;
};

constexpr foreign_t foreign_forms[] = {
    {"(?:", false, "\"(?:\" is no group here", "write \"(\" for it"},
    {"(?i)", false, "\"(?i)\" is none here: the attribute says whether case matters",
     "leave it out"},
    {"(?", false, "\"(?\" is no group here", "write what is meant as several values"},
    {"[:", true, "a set has no classes by name", "write their bytes, [0-9] or [a-zA-Z]"},
};

/// Returns the form of other expressions that a text begins with, or null.
const foreign_t *foreign_at(std::string_view text, const lint_scan_t &scan)
{
    for (const foreign_t &row : foreign_forms)
        if (scan.in_class == row.in_class && text.starts_with(row.form))
            return &row;
    return nullptr;
}

/// Returns a name with a wildcard in front of it, "*.example.com", as an expression; empty where an
/// expression is no such name.
std::string wildcard_name(std::string_view expression)
{
    if (!expression.starts_with("*.") || expression.size() < 3)
        return "";
    std::string name;
    for (const char c : expression.substr(2)) {
        if (c == '\\')
            continue;
        if (!char_is_label(c) && c != '.')
            return "";
        name += c == '.' ? "\\." : std::string(1, c);
    }
    return "(.*\\.)?" + name;
}

/// Tells whether a '^' or '$' stands where it does not read; at the ends it is a byte.
bool is_inner_anchor(std::string_view expression, size_t at)
{
    return (expression[at] == '^' && at != 0) ||
           (expression[at] == '$' && at + 1 != expression.size());
}

lint_expression_fault_t fault_of(std::string_view expression)
{
    if (const std::string name = wildcard_name(expression); !name.empty())
        return {"nothing in front of '*' can be repeated", "write " + lint_json(name)};

    lint_scan_t scan;
    for (size_t at = 0; at < expression.size(); ++at) {
        if (const foreign_t *foreign = foreign_at(expression.substr(at), scan))
            return {foreign->message, foreign->hint};
        if (expression[at] == '\\') {
            if (++at == expression.size())
                return {"a backslash at the end", "write \"\\\\\\\\\" for a backslash"};
            scan.begins = scan.postfix = false;
            continue;
        }
        if (!scan.in_class && is_inner_anchor(expression, at))
            return {"a '^' or '$': a value matches the whole of the data",
                    "leave it out, or write \"\\\\^\" or \"\\\\$\" for the byte"};
        if (const char *wrong = read_byte(scan, expression[at]))
            return {wrong, wrong == TWICE ? "leave one of them"
                                          : "write a \"\\\\\" in front of it for the byte"};
    }
    if (scan.in_class)
        return {"a '[' that is not closed", "write ']' behind the set, or \"\\\\[\" for the byte"};
    if (scan.groups > 0)
        return {"a '(' that is not closed",
                "write ')' behind the group, or \"\\\\(\" for the byte"};
    return {"an escape that does not read",
            "write \"\\\\x\" with two digits, and another \"\\\\x\" behind several bytes"};
}

} // namespace

lint_expression_fault_t lint_expression_fault(std::string_view expression, int code)
{
    if (code == MODULE_ERR_RANGE)
        return {"a range of a set that runs backwards, or has an end of several bytes",
                "write the smaller byte first"};
    if (code == MODULE_ERR_NO_MEMORY)
        return {"an expression that expands to more than 1 GiB", "write it as several values"};
    if (expression.empty())
        return {"an empty expression", "write something into it"};
    return fault_of(expression);
}
