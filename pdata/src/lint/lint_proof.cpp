#include "lint_proof.h"

#include <utility>

#include "format_loadable.h"
#include "lint_resolve.h"
#include "lint_words.h"
#include "prove_value.h"

namespace
{

/// Values to prove, and where each stands.
struct gathered_t {
    std::vector<prove_value_t> values;
    std::vector<lint_look_t> places;
    std::vector<prove_stored_t> stored;
};

/// Returns the description of all protocols without a fault.
std::string faultless_text(const lint_model_t &model)
{
    std::string text = "{\"protocols\":[";
    for (const lint_protocol_t &protocol : model.protocols) {
        if (!protocol.faultless)
            continue;
        if (text.back() != '[')
            text += ',';
        text += model.files[protocol.place.file].text.substr(
            protocol.place.begin, protocol.place.end - protocol.place.begin);
    }
    return text + "]}";
}

/// Returns the bytes that must have been seen before a value counts in a direction: only preempt
/// rules hand theirs on to the engines.
uint32_t min_size_of(const lint_look_t &value, csa_attr_way_t way)
{
    if (!value.rule->preempt || value.attribute->matched->mindata_status != MINDATA_MANDATORY)
        return 0;
    const uint32_t bytes = lint_mindata(*value.rule, way);
    return bytes == PATTERN_MINDATA_NONE ? 0 : bytes;
}

/// Gathers a value once for each minimum that its directions have.
void gather(const lint_look_t &value, const prove_stored_t &stored, gathered_t &gathered)
{
    const prove_value_t *before = nullptr;
    for (const csa_attr_way_t way : {ATTR_WAY_CTS, ATTR_WAY_STC}) {
        if (!lint_tests_way(*value.attribute, way))
            continue;
        const prove_value_t proved = lint_proved_value(value, way);
        if (before != nullptr && before->min_size == proved.min_size)
            continue;
        gathered.values.push_back(proved);
        gathered.places.push_back(value);
        gathered.stored.push_back(stored);
        before = &gathered.values.back();
    }
}

/// Returns what data of an attribute is handed over for in the pdb of all protocols; 0 for none.
pdata_attribute stored_attribute(const lint_look_t &attribute, lint_compiled_t &whole)
{
    const bool up = lint_stored_way(*attribute.attribute) == ATTR_WAY_STC;
    return prove_catalog_attribute(whole.catalog, lint_bottom(*attribute.sub_rule),
                                   attribute.attribute->name, up ? PDATA_STC : PDATA_CTS);
}

/// Gathers the values of a rule. The pdb of all protocols has them in the same order.
void gather_rule(const lint_look_t &rule, lint_compiled_t &whole, gathered_t &gathered)
{
    uint32_t number = 0;
    if (whole.is_open && rule.protocol->faultless)
        number = prove_catalog_rule(whole.catalog,
                                    {rule.protocol->name->decoded, rule.rule->number - 1});
    const uint32_t nr = number == 0 ? 0 : whole.catalog.rules[number].nr;
    uint32_t index = 0;
    lint_each_attribute(rule, [&](const lint_look_t &attribute) {
        if (attribute.attribute->matched == nullptr)
            return;
        prove_stored_t place;
        place.attribute = nr == 0 ? 0 : stored_attribute(attribute, whole);
        lint_each_value(attribute, [&](const lint_look_t &value) {
            place.value = index < nr ? whole.catalog.rules[number].first + index : VIEW_VALUE_NONE;
            ++index;
            gather(value, place, gathered);
        });
    });
}

gathered_t gather_all(const lint_look_t &look, lint_compiled_t &whole)
{
    gathered_t gathered;
    for (const lint_protocol_t &protocol : look.model.protocols) {
        if (look.model.files[protocol.place.file].base)
            continue;
        lint_look_t at = look;
        at.protocol = &protocol;
        lint_each_rule(at, [&](const lint_look_t &rule) {
            if (rule.rule->faultless)
                gather_rule(rule, whole, gathered);
        });
    }
    return gathered;
}

/// Returns what is lost, as a message shows it.
std::string shown_lost(const lint_look_t &value, const prove_verdict_t &verdict)
{
    const bool is_text = value.attribute->matched->proper_type == MATCHER_TYPE_STREAM;
    return is_text ? lint_quoted(verdict.lost) : verdict.lost;
}

void report_dead(const lint_look_t &value, const prove_value_t &proved,
                 const prove_verdict_t &verdict)
{
    std::string message = "nothing that this describes is found";
    std::string hint = "write what is meant without ranges and optional parts in front of open "
                       "data, or as several values";
    if (!verdict.lost.empty())
        message = lint_joined({message, ", as ", shown_lost(value, verdict), " is not"});
    if (verdict.lost.empty() && proved.min_size != 0) {
        message = lint_joined({"nothing that this describes is as long as the minimum data, ",
                               std::to_string(proved.min_size), " bytes"});
        hint = "write less minimum data, or let any data follow";
    }
    lint_report(value, FINDING_DEAD_VALUE, message, hint).sample = verdict.lost;
}

void report(const lint_look_t &value, const prove_value_t &proved, const prove_verdict_t &verdict)
{
    if (verdict.outcome == PROVE_WHOLE_VALUE && !verdict.is_decided)
        lint_report(value, FINDING_NOT_PROVED,
                    lint_joined({"too large for a proof; ", std::to_string(verdict.nr_sample),
                                 " samples of it are found"}),
                    "");
    else if (verdict.outcome == PROVE_DEAD)
        report_dead(value, proved, verdict);
    else if (verdict.outcome == PROVE_LOSSY)
        lint_report(
            value, FINDING_LOSSY_VALUE,
            lint_joined({"this describes ", shown_lost(value, verdict), ", which is not found"}),
            "write what is lost as a value of its own, or without the part that loses it")
            .sample = verdict.lost;
}

/// Proves all values, says what is lost of them, and keeps the first verdict on each.
lint_proved_t prove_all(const lint_look_t &look, lint_compiled_t &whole,
                        const lint_progress_t &progress)
{
    const gathered_t gathered = gather_all(look, whole);
    std::vector<prove_verdict_t> verdicts =
        prove_values(gathered.values,
                     lint_step_progress(progress, LINT_STEP_PROVE_VALUES, gathered.values.size()),
                     {whole.is_open ? &whole.catalog : nullptr, gathered.stored});
    lint_proved_t proved;
    proved.reserve(verdicts.size());
    for (size_t i = 0; i < verdicts.size(); ++i) {
        report(gathered.places[i], gathered.values[i], verdicts[i]);
        proved.try_emplace(gathered.places[i].value, std::move(verdicts[i]));
    }
    return proved;
}

} // namespace

prove_progress_t lint_step_progress(const lint_progress_t &progress, lint_step_t step, size_t all)
{
    if (!progress)
        return {};
    return [&progress, step, all](size_t done) { progress(step, done, all); };
}

void lint_compile_whole(const lint_look_t &look, lint_compiled_t &whole)
{
    whole.compiled = prove_compile(faultless_text(look.model), *look.config.cfg);
    whole.is_open = whole.compiled.status == PDATA_SUCCESS &&
                    prove_catalog_open(whole.compiled.bytes, whole.catalog);
}

prove_value_t lint_proved_value(const lint_look_t &value, csa_attr_way_t way)
{
    prove_value_t proved;
    proved.protocol = value.attribute->matched_key.protocol;
    proved.attribute = value.attribute->matched_key.attribute;
    proved.text = value.value->decoded;
    proved.offset = value.attribute->offset ? value.attribute->offset->number : 0;
    proved.min_size = min_size_of(value, way);
    return proved;
}

void lint_prove(const lint_look_t &look, const lint_progress_t &progress)
{
    lint_compiled_t whole;
    lint_compile_whole(look, whole);
    const lint_proved_t proved = prove_all(look, whole, progress);
    lint_prove_rules(look, proved, whole, progress);
}
