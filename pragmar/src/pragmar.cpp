#include "pragmar.h"

#include "json_error.h"
#include "visitor_pragmar.h"
#include "visitor_semantic.h"

namespace
{

/// Parses a whole text; on failure the tree is freed.
int parse_text(json_t *json, std::string_view text)
{
    if (pragmar_create(json, text.data(), static_cast<uint32_t>(text.size())) != 0)
        return -1;
    if (json_parse(json) == 0)
        return 0;
    pragmar_destroy(json);
    return -1;
}

/// Reads a parsed rule file into a machine; on failure everything is freed.
int read_rules(pragmar_rules_t *loaded)
{
    loaded->semantic = std::make_unique<semantic_t>();
    visitor_semantic_t visitor;
    visitor_semantic_init(&visitor, loaded->semantic.get());
    const int ret = json_visit(loaded->json, &visitor.visitor);
    visitor_semantic_cleanup(&visitor);
    if (ret != 0)
        pragmar_rules_clean(loaded);
    return ret;
}

} // namespace

int pragmar_rules_load(pragmar_rules_t *loaded, std::string_view rules)
{
    if (parse_text(&loaded->json, rules) != 0)
        return -1;
    return read_rules(loaded);
}

void pragmar_rules_clean(pragmar_rules_t *loaded)
{
    loaded->semantic.reset();
    pragmar_destroy(&loaded->json);
}

int pragmar_check(const json_t &json, pragmar_rules_t *rules)
{
    semantic_rewind(rules->semantic.get());
    visitor_pragmar_t visitor;
    visitor_pragmar_init(&visitor, rules->semantic.get());
    const int ret = json_visit(json, &visitor.visitor);
    visitor_pragmar_cleanup(&visitor);
    return ret;
}

int pragmar_load(std::string_view text, std::string_view rules, json_t *json, bool ignore_sem)
{
    const bool check = !ignore_sem && rules.data() != nullptr;
    pragmar_rules_t loaded;
    if (check && parse_text(&loaded.json, rules) != 0)
        return -1;
    if (text.data() == nullptr)
        return -1;
    if (parse_text(json, text) != 0)
        return -1;
    if (!check)
        return 0;
    if (read_rules(&loaded) == 0 && pragmar_check(*json, &loaded) == 0)
        return 0;
    pragmar_destroy(json);
    return -1;
}
