#include <algorithm>
#include <bit>
#include <mutex>
#include <tuple>

#include "match_database.h"
#include "match_guard.h"

namespace
{

pdata_text text_of(std::string_view text)
{
    return {text.empty() ? nullptr : text.data(), text.size()};
}

bool has_rule(const pdata_db &db, pdata_rule rule)
{
    return rule != 0 && rule <= db.rules.size();
}

/// Returns what a slot says of a rule; nothing for a rule without items.
view_slot_t slot_of(const pdata_db &db, pdata_rule rule)
{
    return view_rules_slot(db.view.rules, db.rules[rule - 1].first_item & ~MATCH_RULE_MARK);
}

uint32_t fill_cells(const pdata_db &db, const view_area_t &table, uint32_t width, pdata_rule rule,
                    pdata_protocol *cells)
{
    uint32_t nr = 0;
    for (uint32_t i = 0; i < width; ++i) {
        const uint32_t cell = view_rules_cell(table, width, rule, i);
        if (cell != PDB_PROTOCOL_MAP_EMPTY)
            cells[nr++] = match_protocol_of(db, cell);
    }
    return nr;
}

uint32_t flags_of(const pdata_db &db, pdata_rule rule, const view_slot_t &slot)
{
    uint32_t flags = (slot.flags & RULE_FLAG_FASTPASS) != 0 ? PDATA_RULE_FASTPASS : 0;
    flags |= slot.referer ? PDATA_RULE_REFERER : 0;
    flags |= (db.rules[rule - 1].first_item & MATCH_RULE_MARK) != 0 ? PDATA_RULE_PREEMPT : 0;
    return flags;
}

std::string_view tag_name(const pdb_view_t &view, uint32_t number)
{
    const view_area_t &tags = pdb_view_root(view, TLV_TYPE_ROOT_TAGS);
    const bool swapped = view.load_state == TLV_TYPE_LOAD_LOADED_LE;
    const auto word = [&](size_t i) {
        const uint32_t stored = view_word(tags, i);
        return swapped ? csa_swap32(stored) : stored;
    };
    std::string_view name;
    for (size_t i = 0; i + 1 < view_words(tags); i += 2)
        if (word(i + 1) == number && view_pool_get(pdb_view_main_strings(view), word(i), name))
            return name;
    return {};
}

uint32_t width_of(uint32_t type)
{
    switch (type) {
    case MATCHER_TYPE_NUMBER_8:
        return 8;
    case MATCHER_TYPE_NUMBER_16:
        return 16;
    case MATCHER_TYPE_NUMBER_32:
    case MATCHER_TYPE_IP_4:
        return 32;
    case MATCHER_TYPE_NUMBER_64:
        return 64;
    case MATCHER_TYPE_IP_6:
        return 128;
    default:
        return 0;
    }
}

} // namespace

const char *pdata_result_text(int result)
{
    switch (result) {
    case PDATA_R_OK:
        return "fine";
    case PDATA_R_ARGUMENT:
        return "wrong argument";
    case PDATA_R_MEMORY:
        return "out of memory";
    case PDATA_R_FILE:
        return "file error";
    case PDATA_R_DAMAGED:
        return "damaged pdb";
    case PDATA_R_NOT_LOADABLE:
        return "not a loadable pdb";
    case PDATA_R_UNKNOWN:
        return "no such thing";
    case PDATA_R_KIND:
        return "value of the wrong kind";
    }
    return "unknown result";
}

const char *pdata_version(void)
{
    return PDATA_VERSION;
}

pdata_attribute pdata_db_attribute(const pdata_db *db, const char *protocol, const char *attribute,
                                   pdata_direction direction)
{
    if (db == nullptr || protocol == nullptr || attribute == nullptr)
        return 0;
    const std::tuple<std::string_view, std::string_view, uint32_t> wanted(
        protocol, attribute, static_cast<uint32_t>(direction));
    const auto found = std::lower_bound(db->attributes.begin(), db->attributes.end(), wanted,
                                        [](const match_attribute_t &one, const auto &key) {
                                            return std::tie(one.protocol, one.name, one.way) < key;
                                        });
    if (found == db->attributes.end() ||
        std::tie(found->protocol, found->name, found->way) != wanted)
        return 0;
    return static_cast<pdata_attribute>(found - db->attributes.begin() + 1);
}

pdata_protocol pdata_db_protocol(const pdata_db *db, const char *name)
{
    return db == nullptr || name == nullptr ? 0 : match_find_protocol(*db, name);
}

pdata_result pdata_db_rule(const pdata_db *db, pdata_rule rule, pdata_rule_info *info)
{
    if (db == nullptr || info == nullptr)
        return PDATA_R_ARGUMENT;
    *info = {};
    if (!has_rule(*db, rule))
        return PDATA_R_UNKNOWN;
    const view_rules_t &rules = db->view.rules;
    const view_slot_t slot = slot_of(*db, rule);
    info->nr_path = fill_cells(*db, rules.paths, PDB_PROTOCOL_MAP_PATH, rule, info->path);
    info->nr_bottom = fill_cells(*db, rules.bottoms, PDB_PROTOCOL_MAP_BOTTOMS, rule, info->bottom);
    fill_cells(*db, rules.real_bottoms, PDB_PROTOCOL_MAP_BOTTOMS, rule, info->real_bottom);
    info->nr_item = static_cast<uint32_t>(std::popcount(slot.bitset_full));
    info->nr_tag = static_cast<uint32_t>(view_words(view_rules_tags(rules, rule)));
    info->priority = slot.priority;
    info->scope = slot.scope;
    info->flags = flags_of(*db, rule, slot);
    info->parameters = slot.flags & RULE_PARAMS_MAX;
    info->vid = view_rules_vid(rules, rule);
    return PDATA_R_OK;
}

pdata_result pdata_db_rule_tag(const pdata_db *db, pdata_rule rule, uint32_t index,
                               uint32_t *number, pdata_text *name)
{
    if (db == nullptr || number == nullptr || name == nullptr)
        return PDATA_R_ARGUMENT;
    if (!has_rule(*db, rule))
        return PDATA_R_UNKNOWN;
    const view_area_t tags = view_rules_tags(db->view.rules, rule);
    if (index >= view_words(tags))
        return PDATA_R_UNKNOWN;
    *number = view_word(tags, index);
    *name = text_of(tag_name(db->view, *number));
    return PDATA_R_OK;
}

pdata_result pdata_db_precedence(const pdata_db *db, pdata_rule better, pdata_rule worse,
                                 pdata_precedence *precedence)
{
    if (db == nullptr || precedence == nullptr)
        return PDATA_R_ARGUMENT;
    if (!has_rule(*db, better) || !has_rule(*db, worse))
        return PDATA_R_UNKNOWN;
    const uint32_t first = slot_of(*db, better).priority;
    const uint32_t second = slot_of(*db, worse).priority;
    if (first > second || (first == second && better >= worse))
        return PDATA_R_UNKNOWN;
    constexpr uint32_t range_shift = 24;
    *precedence = first >> range_shift != second >> range_shift ? PDATA_BY_RANGE
                  : first != second                             ? PDATA_BY_ORDER
                                                                : PDATA_BY_NUMBER;
    return PDATA_R_OK;
}

void pdata_db_describe(const pdata_db *db, pdata_db_info *info)
{
    if (info == nullptr)
        return;
    *info = {};
    if (db == nullptr)
        return;
    info->file_bytes = db->bytes.bytes.size();
    info->index_bytes = match_index_bytes(*db);
    info->check_bytes = match_check_bytes(*db);
    info->nr_attribute = static_cast<uint32_t>(db->attributes.size());
    info->nr_protocol = static_cast<uint32_t>(db->protocols.size());
    info->nr_rule = static_cast<uint32_t>(db->rules.size());
    info->nr_item = db->view.rules.nr_slot == 0 ? 0 : db->view.rules.nr_slot - 1;
    info->nr_matcher = static_cast<uint32_t>(db->matchers.size());
    for (const match_matcher_t &matcher : db->matchers)
        for (const match_check_t &check : matcher.checks) {
            ++info->nr_check;
            info->nr_check_refused += check.expression == MATCH_NO_EXPRESSION ? 1 : 0;
        }
    info->version_major = db->view.version.major;
    info->version_minor = db->view.version.minor;
    info->version_text = text_of(db->view.version.text);
}

pdata_result pdata_db_attribute_info(const pdata_db *db, pdata_attribute number,
                                     pdata_attribute_info *info)
{
    if (db == nullptr || info == nullptr)
        return PDATA_R_ARGUMENT;
    *info = {};
    if (number == 0 || number > db->attributes.size())
        return PDATA_R_UNKNOWN;
    const match_attribute_t &attribute = db->attributes[number - 1];
    info->protocol = text_of(attribute.protocol);
    info->name = text_of(attribute.name);
    info->direction = static_cast<pdata_direction>(attribute.way);
    info->kind = attribute.kind;
    info->number = attribute.number;
    info->nr_matcher = attribute.nr;
    for (uint32_t i = 0; i < std::min<size_t>(attribute.nr, std::size(info->matcher)); ++i)
        info->matcher[i] = match_number_of(*db, *db->leads[attribute.first + i]) + 1;
    return PDATA_R_OK;
}

pdata_text pdata_db_protocol_name(const pdata_db *db, pdata_protocol protocol)
{
    if (db == nullptr || protocol == 0 || protocol > db->protocols.size())
        return {nullptr, 0};
    return text_of(db->protocols[protocol - 1]);
}

pdata_result pdata_db_matcher(const pdata_db *db, pdata_matcher number, pdata_matcher_info *info)
{
    if (db == nullptr || info == nullptr)
        return PDATA_R_ARGUMENT;
    *info = {};
    if (number == 0 || number > db->matchers.size())
        return PDATA_R_UNKNOWN;
    const match_matcher_t &matcher = db->matchers[number - 1];
    info->protocol = text_of(matcher.view.protocol);
    info->name = text_of(matcher.view.attribute);
    info->direction = static_cast<pdata_direction>(matcher.view.way);
    info->kind = matcher.kind;
    info->width = width_of(matcher.view.type);
    info->min_data = matcher.view.min_data;
    info->nr_entry = view_matcher_nr_private(matcher.view);
    info->nr_check = static_cast<uint32_t>(matcher.checks.size());
    info->ignores_case = (matcher.view.pattern.algo & PATTERN_ALGO_ICASE) != 0 ? 1 : 0;
    return PDATA_R_OK;
}

pdata_result pdata_db_item(pdata_db *db, pdata_item item, pdata_item_info *info)
{
    if (db == nullptr || info == nullptr)
        return PDATA_R_ARGUMENT;
    *info = {};
    if (item == 0 || item >= db->view.rules.nr_slot)
        return PDATA_R_UNKNOWN;
    return match_guarded([&] {
        std::call_once(db->owners_made, [&] { db->owners = match_item_owners(*db); });
        const view_slot_t slot = view_rules_slot(db->view.rules, item);
        info->rule = slot.rule_id;
        info->bit = slot.bitset_pos;
        info->matcher = db->owners[item] + 1; // UINT32_MAX, for none, becomes 0
        return PDATA_R_OK;
    });
}
