#include "lint_expression.h"

#include "module_error.h"

namespace
{

/// What stands around a byte of an expression.
struct lint_scan_t {
    int groups = 0;
    bool in_class = false;
    bool begins = true; ///< no element stands in front that could be repeated
};

/// Reads one byte, or two behind a backslash. Returns what is wrong with it, or null.
const char *read_byte(lint_scan_t &scan, char c)
{
    if (scan.in_class) {
        scan.in_class = c != ']';
        return nullptr;
    }
    const bool begins = scan.begins;
    scan.begins = c == '(' || c == '|';
    scan.in_class = c == '[';
    scan.groups += c == '(' ? 1 : c == ')' ? -1 : 0;
    if (c == '*' || c == '+' || c == '?') {
        scan.begins = true; // one postfix alone may follow
        return begins ? "nothing in front of '*', '+' or '?' can be repeated" : nullptr;
    }
    if (scan.groups < 0)
        return "a ')' that closes nothing";
    return c == ']' ? "a ']' that closes nothing" : nullptr;
}

lint_expression_fault_t fault_of(std::string_view expression)
{
    lint_scan_t scan;
    for (size_t at = 0; at < expression.size(); ++at) {
        if (expression[at] == '\\') {
            if (++at == expression.size())
                return {"a backslash at the end", "write \"\\\\\\\\\" for a backslash"};
            scan.begins = false;
            continue;
        }
        const bool anchor = !scan.in_class && (expression[at] == '^' || expression[at] == '$');
        if (anchor)
            return {"a '^' or '$': a value matches the whole of the data",
                    "leave it out, or write \"\\\\^\" or \"\\\\$\" for the byte"};
        if (const char *wrong = read_byte(scan, expression[at]))
            return {wrong, "write a \"\\\\\" in front of it for the byte"};
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
