// Lists and descriptions as input. What is imported is a description in canonical layout; a layout
// keeps every token, and stays as it is. A dependency file and a schema come of any names and
// rules.
#include <cstdint>
#include <cstdlib>

#include "depfile.h"
#include "description_layout.h"
#include "import_protocol.h"
#include "schema.h"

namespace
{

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void check_layout(std::string_view text)
{
    description_text_t before;
    text_fault_t fault;
    if (!description_text_read(text, before, fault)) {
        require(fault.offset <= text.size());
        return;
    }
    const std::string laid_out = description_layout(before);
    description_text_t after;
    require(description_text_read(laid_out, after, fault));
    require(before.tokens.size() == after.tokens.size());
    for (size_t i = 0; i < before.tokens.size(); ++i)
        require(text_token_bytes(before, i) == text_token_bytes(after, i));
    require(description_layout(after) == laid_out);
}

void check_rules(const std::vector<import_rule_t> &rules, bool split)
{
    std::vector<import_part_t> parts;
    std::vector<import_finding_t> findings;
    const std::string text =
        import_description({"fuzz", 0x1000000, {"web"}, split}, rules, parts, findings);
    description_text_t description;
    text_fault_t fault;
    require(rules.empty() || (description_text_read(text, description, fault) &&
                              description_layout(description) == text));
    require(rules.empty() || !import_clash(description, parts).empty());
}

void check_names(name_list_t kind, std::string_view text, bool compact)
{
    name_import_t names;
    size_t nr_open = 0;
    const import_open_t open = [&](const std::string &, std::string &included) {
        included = text.substr(text.size() / 2);
        return ++nr_open < 4;
    };
    import_names_read(kind, "list", text, open, names);
    import_names_reduce(names.entries);
    const auto values = import_name_values(names.entries, compact, names.findings);
    std::vector<import_rule_t> rules;
    import_name_rules(values, rules, names.findings);
    check_rules(rules, compact);
}

void check_numbers(bool ports, std::string_view text, bool compact)
{
    number_import_t numbers;
    import_numbers_read(ports, "list", text, numbers);
    for (uint32_t kind = 0; kind < NUMBER_KINDS; ++kind) {
        import_numbers_merge(numbers.ranges[kind]);
        const auto values =
            import_number_values(static_cast<number_kind_t>(kind), numbers.ranges[kind], compact);
        std::vector<import_rule_t> rules;
        import_number_rules(static_cast<number_kind_t>(kind), values, rules);
        check_rules(rules, compact);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    check_layout(text);
    for (const bool compact : {false, true}) {
        for (const name_list_t kind : {NAME_LIST_DOMAINS, NAME_LIST_HOSTS, NAME_LIST_V2RAY})
            check_names(kind, text, compact);
        check_numbers(false, text, compact);
        check_numbers(true, text, compact);
    }
    const std::string name(text);
    require(depfile_text(name, {&name, 1}).size() > 2 * size || name.find('\n') != name.npos);
    std::string schema;
    if (!schema_text(*schema_kind("tags"), text, schema))
        require(!schema.empty() || text.empty());
    return 0;
}
