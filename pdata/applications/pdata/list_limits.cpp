#include "list_limits.h"

#include "escape.h"
#include "format_limits.h"
#include "open_file.h"
#include "open_pdb.h"
#include "pdb_limits.h"
#include "pdb_verify.h"

namespace
{

/// A share in the colour that it deserves: none where there is room.
std::string coloured_share(const console_t &console, const view_limit_t &limit,
                           const std::string &share)
{
    const bool passed = view_limit_passed(limit);
    const bool coloured = passed || format_nearly_full(limit.used, limit.limit);
    return colour_text(console.out_colour && coloured, passed ? COLOUR_ERROR : COLOUR_WARNING,
                       fmt::format("{:>8}", share));
}

void print_limit(console_t &console, const view_limit_t &limit)
{
    std::string share = "passed";
    std::string used = std::to_string(limit.used);
    if (limit.limit != 0) {
        share = fmt::format("{:.1f} %", 100.0 * static_cast<double>(limit.used) /
                                            static_cast<double>(limit.limit));
        used += " of " + std::to_string(limit.limit);
    }
    console_print(console, "{}  {:<24} {}: {}\n", coloured_share(console, limit, share),
                  escape_terminal(limit.subject), limit.name, used);
    if (view_limit_passed(limit))
        console_print(console, "          passed, lost: {}{}{}\n", limit.lost,
                      limit.first.empty() ? "" : ", first ", escape_terminal(limit.first));
}

json_document_t limit_document(const view_limit_t &limit)
{
    json_document_t document = {{"subject", json_text(limit.subject)},
                                {"name", limit.name},
                                {"used", limit.used},
                                {"limit", limit.limit},
                                {"passed", view_limit_passed(limit)},
                                {"lost", view_limit_passed(limit) ? limit.lost : ""}};
    if (!limit.first.empty())
        document["first"] = json_text(limit.first);
    return document;
}

/// Names the tables that an unsafe file may have become so by: the faults that are not unsafe.
void print_overfull(console_t &console, const input_file_t &file)
{
    struct shown_t {
        console_t &console;
        const std::string &name;
    } shown = {console, file.name};
    const auto put = [](void *context, const view_error_t &fault) {
        const auto &[to, name] = *static_cast<const shown_t *>(context);
        if (fault.grade == VIEW_UNSOUND)
            print_fault(to, name, fault);
    };
    (void)pdb_verify(input_file_bytes(file), {put, &shown});
}

} // namespace

exit_status_t list_limits(console_t &console, const input_file_t &file)
{
    pdb_view_t pdb;
    if (!open_pdb(console, file, pdb)) {
        print_overfull(console, file);
        return EXIT_STATUS_FILE;
    }
    exit_status_t status = EXIT_STATUS_FINE;
    json_document_t document = json_document("list");
    document["file"] = json_text(file.name);
    document["limits"] = json_document_t::array();
    for (const view_limit_t &limit : pdb_limits_take(pdb)) {
        status = view_limit_passed(limit) ? EXIT_STATUS_FINDINGS : status;
        if (console.format == OUTPUT_JSON)
            document["limits"].push_back(limit_document(limit));
        else
            print_limit(console, limit);
    }
    if (console.format == OUTPUT_JSON)
        console_document(console, document);
    return status;
}
