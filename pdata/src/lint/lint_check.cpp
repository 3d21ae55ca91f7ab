#include "lint_check.h"

#include <algorithm>
#include <tuple>

#include "json_tools.h"
#include "lint_build.h"
#include "lint_proof.h"
#include "lint_resolve.h"
#include "lint_rules.h"
#include "lint_shape.h"
#include "lint_text.h"
#include "lint_values.h"
#include "lint_whole.h"
#include "pdata_memory_watch.h"

namespace
{

/// A check on its way through the files.
struct lint_run_t {
    lint_config_t &config;
    lint_result_t &result;
    lint_matchers_t matchers = {};
};

/// Tells whether any of the findings from `first` on is an error.
bool any_error(const std::vector<finding_t> &findings, size_t first)
{
    return std::any_of(findings.begin() + static_cast<ptrdiff_t>(first), findings.end(),
                       [](const finding_t &finding) {
                           return finding_kind(finding.id).level == FINDING_LEVEL_ERROR;
                       });
}

void look_at(std::span<const lint_row_t> rows, const lint_look_t &look)
{
    for (const lint_row_t &row : rows)
        row.look(look);
}

/// Looks for slips in a value of a known attribute.
void look_at_value(const lint_look_t &look)
{
    if (look.attribute->matched->proper_type != MATCHER_TYPE_STREAM)
        return look_at(lint_number_rows(), look);
    if (lint_at_offset(*look.attribute))
        return look_at(lint_offset_rows(), look);
    look_at(lint_text_rows(), look);
    look_at(lint_choice_rows(), look);
    look_at(lint_host_rows(look), look);
}

/// Judges the values of a rule whose attributes are known, and notes what they take of a matcher.
void judge_values(lint_run_t &run, const lint_look_t &look, lint_rule_t &rule)
{
    for (lint_sub_rule_t &sub_rule : rule.sub_rules)
        for (lint_attribute_t &attribute : sub_rule.attributes) {
            if (attribute.matched == nullptr)
                continue;
            lint_look_t at = look;
            at.sub_rule = &sub_rule;
            at.attribute = &attribute;
            for (lint_text_t &value : attribute.values) {
                at.value = &value;
                value.entries = lint_judge_value(run.matchers, at);
                look_at_value(at);
            }
        }
}

/// Judges a protocol alone: what the compiler refuses, then what is most likely a slip.
void judge_protocol(lint_run_t &run, lint_protocol_t &protocol)
{
    lint_resolve(run.config, protocol);
    const lint_look_t look = {run.result.model, run.config, run.result.findings, &protocol};
    look_at(lint_protocol_rows(), look);
    lint_each_rule(look, [&](const lint_look_t &rule) {
        const size_t first = run.result.findings.size();
        look_at(lint_refusal_rows(), rule);
        judge_values(run, rule, protocol.rules[rule.rule->number - 1]);
        look_at(lint_rule_rows(), rule);
        protocol.rules[rule.rule->number - 1].faultless = !any_error(run.result.findings, first);
    });
}

/// Gives a finding of the shape its protocol, and the rule that it stands in.
void name_owner(const lint_protocol_t &protocol, finding_t &finding)
{
    finding.protocol = lint_protocol_name(protocol);
    const auto behind =
        std::ranges::upper_bound(protocol.rules, finding.place.begin, {},
                                 [](const lint_rule_t &rule) { return rule.place.begin; });
    if (behind != protocol.rules.begin() && finding.place.begin < (behind - 1)->place.end)
        finding.rule = (behind - 1)->number;
}

void take_protocol(lint_run_t &run, uint32_t file, const description_text_t &tokens)
{
    std::vector<finding_t> &findings = run.result.findings;
    const size_t first = findings.size();
    lint_shape_check(*run.config.shape.semantic, tokens, file, findings);
    lint_build_protocol(tokens, file, run.result.model, findings);
    lint_protocol_t &protocol = run.result.model.protocols.back();
    for (finding_t &finding : std::span(findings).subspan(first))
        name_owner(protocol, finding);
    judge_protocol(run, protocol);
    protocol.faultless = !any_error(findings, first);
    string_list_clean();
}

/// Returns where a place within a faultless protocol of a pdb's text is, for who looks it up there:
/// "chess, rule 1, in base.pdb". A pdb has no lines.
std::string shown_base_place(const lint_model_t &model, const finding_place_t &place)
{
    const auto begin_of = [](const lint_protocol_t &protocol) {
        return std::pair(protocol.place.file, protocol.place.begin);
    };
    const auto behind =
        std::ranges::upper_bound(model.protocols, std::pair(place.file, place.begin), {}, begin_of);
    finding_t owner;
    owner.place = place;
    name_owner(*(behind - 1), owner);
    std::string text(owner.protocol);
    if (owner.rule != 0)
        text += ", rule " + std::to_string(owner.rule);
    return text + ", in " + model.files[place.file].name;
}

/// Says nothing of the texts that stand for pdbs: they are nobody's to mend, and have no lines.
void leave_bases_out(const lint_model_t &model, std::vector<finding_t> &findings)
{
    std::erase_if(findings,
                  [&](const finding_t &finding) { return model.files[finding.place.file].base; });
    for (finding_t &finding : findings)
        if (finding.related && model.files[finding.related->place.file].base) {
            finding.message += " (" + shown_base_place(model, finding.related->place) + ")";
            finding.related.reset();
        }
}

/// Sorts by file and place. Findings are large, so each is moved once.
void sort_findings(std::vector<finding_t> &findings)
{
    using order_t = std::tuple<uint32_t, uint32_t, uint32_t, size_t>;
    std::vector<order_t> order;
    order.reserve(findings.size());
    for (const finding_t &finding : findings)
        order.emplace_back(finding.place.file, finding.place.begin, finding.place.end,
                           order.size());
    std::ranges::sort(order);
    std::vector<finding_t> sorted;
    sorted.reserve(findings.size());
    for (const order_t &it : order)
        sorted.push_back(std::move(findings[std::get<3>(it)]));
    findings = std::move(sorted);
}

/// Reads the files and judges their protocols.
void take_files(lint_config_t &config, lint_result_t &result, const lint_progress_t &progress)
{
    lint_run_t run = {config, result};
    size_t all = 0;
    size_t done = 0;
    for (const lint_file_t &file : result.model.files)
        all += file.text.size();
    for (uint32_t i = 0; i < result.model.files.size(); ++i) {
        const auto take = [&](const description_text_t &tokens) {
            take_protocol(run, i, tokens);
            if (progress)
                progress(LINT_STEP_READ, done + tokens.tokens.back().end, all);
        };
        const std::string_view text = result.model.files[i].text;
        lint_read_text(text, i, result.mended[i], take, result.findings);
        done += text.size();
    }
}

} // namespace

lint_result_t lint_check(std::vector<lint_file_t> files, lint_config_t &config,
                         const lint_progress_t &progress)
{
    const pdata_memory_watch_t memory;
    lint_result_t result;
    result.model.files = std::move(files);
    result.model.aliases = config.aliases;
    result.mended.resize(result.model.files.size());
    take_files(config, result, progress);
    lint_look_whole(result.model, config, result.findings);
    lint_prove({result.model, config, result.findings}, progress);
    leave_bases_out(result.model, result.findings);
    sort_findings(result.findings);
    pdata_memory_watch_expect(memory);
    return result;
}
