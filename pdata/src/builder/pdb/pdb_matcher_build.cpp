#include "pdb_matcher_build.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "pdata_diag.h"
#include "pdb_attr_properties.h"
#include "pdb_matcher_setup.h"

namespace
{

/// What the name of an attribute begins with to count as a referer. Oddity O127.
constexpr std::string_view REFERER = "referer";

bool is_stream(matcher_type_t type)
{
    return type == MATCHER_TYPE_STREAM;
}

/// Takes the next piece between commas from the front of `rest`; empty when there is none.
std::string_view next_token(std::string_view *rest)
{
    const size_t start = std::min(rest->find_first_not_of(','), rest->size());
    rest->remove_prefix(start);
    const std::string_view token = rest->substr(0, rest->find(','));
    rest->remove_prefix(token.size());
    return token;
}

/// What a token becomes.
pdata_status_t convert_token(const pdb_matcher_run_t &run, const pdb_matcher_elt &elt,
                             std::string_view token, matcher_data_t *data)
{
    if (is_stream(run.matcher_type)) {
        data->pattern = csa_str_view(elt.matcher_elt_val);
        data->pattern_offset = elt.matcher_elt_pattern_offset;
        return PDATA_SUCCESS;
    }
    data->pattern = token;
    const transformer_fct transformer = run.list.matcher_list_info;
    const int ret = transformer(csa_str(token), INEQUATION_NONE, data->left, data->right);
    if (ret == 0)
        return PDATA_SUCCESS;
    pdata_diag_error(PDATA_DIAG_VALUE_TRANSFORM, run.matcher_type, elt.matcher_elt_val.str_len,
                     elt.matcher_elt_val.str_buf);
    return module_err2pdata_status(PDATA_MODULE_NUMBER, ret);
}

/// One line of the log of values.
void pdb_matcher_register_print(const pdb_matcher_run_t &run, const pdb_matcher_elt &elt,
                                uint32_t item_id)
{
    const matcher_key_t &key = run.list.matcher_list_key;
    const auto &protocols = run.pdb_build->pdb_build_facts.protocols;
    const uint32_t proto_idx = elt.matcher_elt_idx.item_proto_idx;
    if (proto_idx >= protocols.size()) {
        pdata_diag_error(PDATA_DIAG_PATTERN_PROTOCOL);
        return;
    }
    const protodesc_t &protocol = protocols[proto_idx].protocol;
    std::fprintf(run.pdb_build->pdb_build_pattern_fd,
                 "%s-%.*s-%-20.*s\t%-7u\t%-5u\t%-8u\t%-8u\t%.*s\n", attr_way2str(key.key_way),
                 key.key_proto.str_len, key.key_proto.str_buf, key.key_attr.str_len,
                 key.key_attr.str_buf, item_id, protodesc_get_ns(protocol),
                 protodesc_get_id(protocol), elt.matcher_elt_idx.item_rule_idx,
                 elt.matcher_elt_val.str_len, elt.matcher_elt_val.str_buf);
}

/// Makes a value an item of its rule.
pdata_status_t add_rule_item(pdb_matcher_run_t *run, const pdb_matcher_elt &elt, uint32_t item_id)
{
    pdb_build_t *pdb_build = run->pdb_build;
    const std::string_view attr = csa_str_view(run->list.matcher_list_key.key_attr);
    const pdb_rule_key_t key = {elt.matcher_elt_idx.item_proto_idx,
                                elt.matcher_elt_idx.item_rule_idx};
    const pdb_rule_item_t item = {item_id, attr.substr(0, REFERER.size()) == REFERER ? 1U : 0U,
                                  elt.srule_id,
                                  is_stream(run->matcher_type) ? elt.matcher_elt_val.str_len : 0U};
    PDATA_TRY(pdata_diag_failed(pdb_rule_tab_add(&pdb_build->pdb_build_rule_tab, key, item,
                                                 &pdb_build->pdb_build_nr_rule,
                                                 pdb_build->pdb_build_config->rule_max_attr),
                                PDATA_DIAG_VALUE_RULE));
    pdb_build->pdb_build_item_id = item_id + 1;
    if (pdb_build->pdb_build_pattern_fd != nullptr)
        pdb_matcher_register_print(*run, elt, item_id);
    return PDATA_SUCCESS;
}

/// A value while its tokens are registered. What is known of it is the same for all of them.
struct value_run_t {
    const pdb_matcher_elt &elt;
    std::optional<pattern_info> info; ///< from the first token on
    uint32_t item_id = 0;
    bool forced = false; ///< the next token is registered under `item_id`
};

/// Hands one token to the matcher.
pdata_status_t register_token(pdb_matcher_run_t *run, value_run_t *value, std::string_view token)
{
    const pdb_matcher_elt &elt = value->elt;
    const item_idx_t idx = elt.matcher_elt_idx;
    matcher_data_t data;
    PDATA_TRY(convert_token(*run, elt, token, &data));
    if (!value->info.has_value())
        PDATA_TRY(pdb_matcher_get_pattern_info(
            run->pdb_build->pdb_build_facts, elt, run->list.matcher_list_key.key_way,
            run->matcher.mindata_status, &value->info.emplace()));
    pdata_sig_export_set_context(run->sig_export, idx.item_proto_idx, idx.item_rule_idx);
    return pdata_diag_failed(matcher_register(&run->matcher, data, &value->item_id, value->forced,
                                              *value->info, run->sig_export),
                             PDATA_DIAG_VALUE_REGISTER, run->matcher_type,
                             elt.matcher_elt_val.str_len, elt.matcher_elt_val.str_buf);
}

/// Brings a matcher into the form that is written, and tells the export that it is complete.
pdata_status_t pdb_matcher_build_finalize(pdb_matcher_run_t *run)
{
    PDATA_TRY(matcher_finalize(&run->matcher));
    if (pdata_sig_export_matcher_finalize(run->sig_export) != PDATA_SUCCESS)
        return PDATA_ERR_SIG_EXPORT;
    return PDATA_SUCCESS;
}

/// Builds the matcher of a list and serializes it.
pdata_status_t build_list(pdb_matcher_run_t *run, const csa_dump_t &dump)
{
    pdb_matcher_list_t &list = run->list;
    const matcher_key_t &key = list.matcher_list_key;
    PDATA_TRY(pdb_matcher_build_init(*run->pdb_build, &run->matcher, &run->matcher_type, &list));
    if (pdata_sig_export_matcher_prepare(run->sig_export, &key.key_proto, &key.key_attr,
                                         key.key_way) != PDATA_SUCCESS)
        return PDATA_ERR_SIG_EXPORT;
    for (auto elt = list.matcher_elts.rbegin(); elt != list.matcher_elts.rend(); ++elt)
        PDATA_TRY(pdb_matcher_build_register(run, &*elt));
    PDATA_TRY(pdb_matcher_build_finalize(run));
    return pdb_matcher_build_serialize(run->pdb_build, run->matcher, key, dump);
}

/// Releases what the matcher of a list was built from.
void pdb_matcher_build_clean(pdb_matcher_run_t *run)
{
    matcher_build_clean(&run->matcher);
}

} // namespace

pdata_status_t pdb_matcher_build_register(pdb_matcher_run_t *run, pdb_matcher_elt *elt)
{
    std::string_view rest = csa_str_view(elt->matcher_elt_val);
    const pdb_matcher_elt *twin = elt->matcher_elt_force;
    value_run_t value = {*elt, {}, twin == nullptr ? 0 : twin->matcher_elt_force_id, false};
    value.forced = value.item_id != 0;
    PDATA_TRY(matcher_budget_take(&run->matcher.budget, elt->matcher_elt_val.str_len));
    for (std::string_view token = next_token(&rest); !token.empty(); token = next_token(&rest)) {
        PDATA_TRY(register_token(run, &value, token));
        if (value.forced) {
            if (is_stream(run->matcher_type))
                break;
            continue;
        }
        if (twin != nullptr && elt->matcher_elt_force_id == 0)
            elt->matcher_elt_force_id = value.item_id;
        PDATA_TRY(add_rule_item(run, *elt, value.item_id));
        value.forced = !is_stream(run->matcher_type);
    }
    return PDATA_SUCCESS;
}

pdata_status_t pdb_matcher_build(pdb_build_t *pdb_build, const csa_dump_t &dump,
                                 pdata_sig_export_t *sig_export)
{
    auto &lists = pdb_build->pdb_build_matcher_tab.matcher_lists;
    for (auto list = lists.rbegin(); list != lists.rend(); ++list) {
        pdb_matcher_run_t run = {pdb_build, sig_export, *list, {}, MATCHER_TYPE_UNKNOWN};
        const pdata_status_t status = build_list(&run, dump);
        pdb_matcher_build_clean(&run);
        PDATA_TRY(status);
    }
    pdata_status_t status = pdb_matcher_build_serialize_hstring(pdb_build);
    if (status == PDATA_SUCCESS)
        status = pdb_matcher_build_serialize_header(pdb_build);
    return pdata_diag_failed(status, PDATA_DIAG_MATCHER_LIST);
}
