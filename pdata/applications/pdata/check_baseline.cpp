#include "check_baseline.h"

#include <map>

#include "csa_cut.h"
#include "open_file.h"

namespace
{

/// A finding of a baseline: how often it is there, and how people know it.
struct known_t {
    size_t nr = 0;
    std::string name;
};

std::string text_of(const json_document_t &document, const char *key)
{
    const auto found = document.find(key);
    return found != document.end() && found->is_string() ? found->get<std::string>() : "";
}

std::string finding_name(const json_document_t &document, const std::string &fingerprint)
{
    std::string name = fmt::format("{} [{}]", fingerprint, text_of(document, "id"));
    if (const std::string protocol = text_of(document, "protocol"); !protocol.empty())
        name += ", protocol " + protocol;
    if (const auto rule = document.find("rule"); rule != document.end())
        name += ", rule " + rule->dump();
    return name;
}

/// Takes a line of a baseline. Returns false for one that is no finding and no summary.
bool take_line(std::string_view line, std::map<std::string, known_t> &known)
{
    const auto document = json_document_t::parse(line, nullptr, false);
    if (!document.is_object() || text_of(document, "schema") != "pdata.check/1")
        return false;
    const std::string fingerprint = text_of(document, "fingerprint");
    if (fingerprint.empty())
        return document.contains("summary");
    known_t &it = known[fingerprint];
    ++it.nr;
    it.name = finding_name(document, fingerprint);
    return true;
}

bool read_baseline(std::string_view text, std::map<std::string, known_t> &known)
{
    while (!text.empty()) {
        const std::string_view line = csa_cut(text, '\n');
        if (!line.empty() && !take_line(line, known))
            return false;
    }
    return true;
}

} // namespace

bool check_baseline(console_t &console, const std::string &path, check_shown_t &shown)
{
    input_file_t file;
    if (!open_file(console, path, file))
        return false;
    std::map<std::string, known_t> known;
    if (!read_baseline(input_file_text(file), known)) {
        console_error(console, "{}: no output of pdata check --json", file.name);
        return false;
    }
    shown.hidden.assign(shown.result.findings.size(), false);
    for (size_t i = 0; i < shown.hidden.size(); ++i) {
        const auto found = known.find(finding_fingerprint(shown.result.findings[i]));
        if (found == known.end() || found->second.nr == 0)
            continue;
        --found->second.nr;
        shown.hidden[i] = true;
    }
    for (const auto &[fingerprint, it] : known)
        if (it.nr != 0)
            shown.stale.push_back(it.name);
    return true;
}
