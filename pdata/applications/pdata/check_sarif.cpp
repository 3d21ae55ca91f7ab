#include "check_json.h"

#include <algorithm>

#include "csa_char.h"
#include "escape.h"
#include "lint_places.h"
#include "pdata_version.h"

namespace
{

/// What every result of a log needs.
struct sarif_run_t {
    const lint_result_t &result;
    lint_places_t places;
};

/// Returns the name of a file as a reference (RFC 3986).
std::string reference_of(std::string_view name)
{
    constexpr std::string_view plain = ".~/";
    std::string reference;
    for (const char c : name) {
        const bool kept = char_is_label(c) || plain.find(c) != plain.npos;
        reference += kept ? std::string(1, c) : fmt::format("%{}", escape_hex({&c, 1}));
    }
    return reference;
}

/// Untrusted text, which in a log is always text.
json_document_t message_of(std::string_view text)
{
    return {{"text", escape_line(text)}};
}

json_document_t artifact_of(const sarif_run_t &run, uint32_t file)
{
    return {{"uri", reference_of(run.result.model.files[file].name)}};
}

json_document_t region_of(const sarif_run_t &run, const finding_place_t &place)
{
    const text_place_t begin = lint_place_of(run.places, place.file, place.begin);
    const text_place_t end = lint_place_of(run.places, place.file, place.end);
    return {{"startLine", begin.line},   {"startColumn", begin.column},
            {"endLine", end.line},       {"endColumn", end.column},
            {"byteOffset", place.begin}, {"byteLength", place.end - place.begin}};
}

json_document_t location_of(const sarif_run_t &run, const finding_place_t &place)
{
    return {
        {"physicalLocation",
         {{"artifactLocation", artifact_of(run, place.file)}, {"region", region_of(run, place)}}}};
}

/// The protocol and the rule of a finding.
json_document_t owner_of(const finding_t &finding)
{
    std::string name = escape_line(finding.protocol);
    if (finding.rule != 0)
        name += fmt::format("/rule {}", finding.rule);
    return {{"fullyQualifiedName", name}};
}

json_document_t fix_of(const sarif_run_t &run, const finding_t &finding)
{
    json_document_t replacements = json_document_t::array();
    for (const finding_edit_t &edit : finding.edits)
        replacements.push_back({{"deletedRegion",
                                 {{"byteOffset", edit.place.begin},
                                  {"byteLength", edit.place.end - edit.place.begin}}},
                                {"insertedContent", message_of(edit.text)}});
    return {{"description", message_of(finding.hint)},
            {"artifactChanges",
             json_document_t::array({{{"artifactLocation", artifact_of(run, finding.place.file)},
                                      {"replacements", std::move(replacements)}}})}};
}

/// Tells whether the edits of a finding are texts, which alone a log can hold.
bool has_fix(const finding_t &finding)
{
    return !finding.edits.empty() && std::ranges::all_of(finding.edits, [](const auto &edit) {
        return escape_line(edit.text) == edit.text;
    });
}

json_document_t result_of(const sarif_run_t &run, const finding_t &finding, finding_level_t level)
{
    const std::string hint = finding.hint.empty() ? "" : " (" + finding.hint + ")";
    json_document_t location = location_of(run, finding.place);
    if (!finding.protocol.empty())
        location["logicalLocations"] = json_document_t::array({owner_of(finding)});
    json_document_t result = {{"ruleId", finding_kind(finding.id).id},
                              {"ruleIndex", static_cast<uint32_t>(finding.id)},
                              {"level", finding_level_name(level)},
                              {"message", message_of(finding.message + hint)},
                              {"locations", json_document_t::array({std::move(location)})},
                              {"partialFingerprints", {{"pdata/1", finding_fingerprint(finding)}}}};
    if (finding.related) {
        json_document_t related = location_of(run, finding.related->place);
        related["message"] = message_of(finding.related->text);
        result["relatedLocations"] = json_document_t::array({std::move(related)});
    }
    if (has_fix(finding))
        result["fixes"] = json_document_t::array({fix_of(run, finding)});
    return result;
}

json_document_t rules_document()
{
    json_document_t rules = json_document_t::array();
    for (const finding_kind_t &kind : finding_kinds)
        rules.push_back({{"id", kind.id},
                         {"shortDescription", {{"text", kind.text}}},
                         {"defaultConfiguration",
                          {{"enabled", kind.level != FINDING_LEVEL_NOTE},
                           {"level", finding_level_name(kind.level)}}}});
    return rules;
}

} // namespace

check_count_t check_print_sarif(console_t &console, const check_shown_t &shown)
{
    const sarif_run_t run = {shown.result,
                             lint_places(shown.result.model.files, shown.result.findings)};
    json_document_t results = json_document_t::array();
    const check_count_t counts = check_each(shown, [&](size_t i, finding_level_t level) {
        results.push_back(result_of(run, shown.result.findings[i], level));
    });
    json_document_t log = {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                           {"version", "2.1.0"}};
    log["runs"] = json_document_t::array(
        {{{"tool",
           {{"driver",
             {{"name", "pdata check"}, {"version", PDATA_VERSION}, {"rules", rules_document()}}}}},
          {"columnKind", "unicodeCodePoints"},
          {"results", std::move(results)}}});
    console_document(console, log);
    return counts;
}
