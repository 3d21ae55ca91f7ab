#include "check_json.h"

#include "escape.h"
#include "lint_places.h"
#include "lint_pointer.h"
#include "pdata_version.h"

namespace
{

/// What every object of a run needs.
struct json_run_t {
    const lint_result_t &result;
    lint_places_t places;
    std::vector<std::string> pointers;
};

json_run_t run_of(const lint_result_t &result)
{
    return {result, lint_places(result.model.files, result.findings),
            lint_pointers(result.model.files, result.findings)};
}

json_document_t byte_document(const json_run_t &run, uint32_t file, uint32_t offset)
{
    const text_place_t place = lint_place_of(run.places, file, offset);
    return {{"line", place.line}, {"column", place.column}, {"byte", offset}};
}

/// Adds where something stands.
void put_place(const json_run_t &run, const finding_place_t &place, json_document_t &document)
{
    document["file"] = json_text(run.result.model.files[place.file].name);
    document["start"] = byte_document(run, place.file, place.begin);
    document["end"] = byte_document(run, place.file, place.end);
}

void put_owner(const finding_t &finding, json_document_t &document)
{
    if (!finding.protocol.empty())
        document["protocol"] = json_text(finding.protocol);
    if (finding.rule != 0)
        document["rule"] = finding.rule;
    if (!finding.attribute.empty())
        document["attribute"] = json_text(finding.attribute);
    if (!finding.value.empty())
        document["value"] = json_text(finding.value);
}

json_document_t edits_document(const finding_t &finding)
{
    json_document_t edits = json_document_t::array();
    for (const finding_edit_t &edit : finding.edits)
        edits.push_back(
            {{"start", edit.place.begin}, {"end", edit.place.end}, {"text", json_text(edit.text)}});
    return edits;
}

json_document_t finding_line(const json_run_t &run, size_t index, finding_level_t level)
{
    const finding_t &finding = run.result.findings[index];
    json_document_t document = json_document("check");
    document["id"] = finding_kind(finding.id).id;
    document["level"] = finding_level_name(level);
    put_place(run, finding.place, document);
    put_owner(finding, document);
    document["path"] = json_text(run.pointers[index]);
    document["text"] = json_text(finding.message);
    if (!finding.hint.empty())
        document["hint"] = json_text(finding.hint);
    document["fingerprint"] = finding_fingerprint(finding);
    if (!finding.sample.empty())
        document["sample"] = json_bytes(finding.sample);
    if (!finding.edits.empty())
        document["fix"] = edits_document(finding);
    if (finding.related) {
        put_place(run, finding.related->place, document["related"]);
        document["related"]["text"] = json_text(finding.related->text);
    }
    return document;
}

} // namespace

check_count_t check_print_json(console_t &console, const check_shown_t &shown)
{
    const json_run_t run = run_of(shown.result);
    const check_count_t counts = check_each(shown, [&](size_t i, finding_level_t level) {
        console_write(console, json_line(finding_line(run, i, level)) + '\n');
    });
    json_document_t document = json_document("check");
    document["summary"] = {{"errors", counts.errors},
                           {"warnings", counts.warnings},
                           {"notes", counts.notes},
                           {"hidden", std::ranges::count(shown.hidden, true)},
                           {"stale", json_texts(shown.stale)}};
    console_record(console, document);
    return counts;
}
