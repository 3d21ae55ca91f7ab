#include "test_report.h"

#include "escape.h"

namespace
{

std::string list_text(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text.append(text.empty() ? "" : " ").append(word);
    if (text.empty())
        text.append("-");
    return text;
}

std::string got_text(const test_outcome_t &outcome)
{
    return outcome.failure.empty() ? list_text(outcome.got) : outcome.failure;
}

/// The flow that a failure is about; of a capture there may be none.
std::string flow_text(const test_outcome_t &outcome)
{
    return outcome.one->capture.empty() ? flow_write(outcome.one->values) : outcome.flow;
}

/// Returns printable text as it may stand between the tags and in the attributes of XML.
std::string escape_xml(std::string_view text)
{
    std::string out;
    for (const char c : text)
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    return out;
}

void print_failure(test_report_t &report, const test_outcome_t &outcome)
{
    console_t &console = report.console;
    console_print(console, "{}: {}\n", colour_text(console.out_colour, COLOUR_ERROR, "failed"),
                  escape_terminal(outcome.one->name));
    const std::string flow = flow_text(outcome);
    if (!outcome.one->capture.empty())
        console_print(console, "  capture   {}\n", escape_terminal(outcome.one->capture));
    if (!flow.empty())
        console_print(console, "  flow      {}\n", flow);
    console_print(console, "  expected  {}\n", escape_terminal(suite_expectation(*outcome.one)));
    console_print(console, "  got       {}\n", escape_terminal(got_text(outcome)));
    if (!outcome.nearest.empty())
        console_print(console, "  nearest   {}\n", outcome.nearest);
}

/// Returns printable text as it may stand in a description of TAP, where "#" begins a directive.
std::string escape_tap(std::string_view text)
{
    std::string out;
    for (const char c : text)
        out.append(c == '#' ? "\\" : "").append(1, c);
    return out;
}

void print_tap(test_report_t &report, const test_outcome_t &outcome)
{
    console_t &console = report.console;
    console_print(console, "{}ok {} - {}\n", outcome.passed ? "" : "not ",
                  report.passed + report.failed, escape_tap(escape_terminal(outcome.one->name)));
    if (outcome.passed)
        return;
    const auto quoted = [](const std::string &text) { return json_line(json_text(text)); };
    console_print(console, "  ---\n  expected: {}\n  got: {}\n",
                  quoted(suite_expectation(*outcome.one)), quoted(got_text(outcome)));
    if (!outcome.flow.empty())
        console_print(console, "  flow: {}\n", quoted(outcome.flow));
    if (!outcome.nearest.empty())
        console_print(console, "  nearest: {}\n", quoted(outcome.nearest));
    console_print(console, "  ...\n");
}

void print_junit(test_report_t &report, const test_outcome_t &outcome)
{
    console_t &console = report.console;
    console_print(console, "  <testcase classname=\"{}\" name=\"{}\"",
                  escape_xml(escape_terminal(outcome.file)),
                  escape_xml(escape_terminal(outcome.one->name)));
    if (outcome.passed) {
        console_print(console, "/>\n");
        return;
    }
    console_print(console, ">\n    <failure message=\"expected {}, got {}\">{}</failure>\n",
                  escape_xml(escape_terminal(suite_expectation(*outcome.one))),
                  escape_xml(escape_terminal(got_text(outcome))), escape_xml(outcome.nearest));
    console_print(console, "  </testcase>\n");
}

void print_json(test_report_t &report, const test_outcome_t &outcome)
{
    json_document_t document = json_document("test");
    document["case"] = json_text(outcome.one->name);
    document["file"] = json_text(outcome.file);
    document["line"] = outcome.one->line;
    document["passed"] = outcome.passed;
    document["expected"] = json_text(suite_expectation(*outcome.one));
    if (!outcome.one->capture.empty())
        document["capture"] = json_text(outcome.one->capture);
    document["got"] = json_texts(outcome.got);
    if (!outcome.failure.empty())
        document["error"] = json_text(outcome.failure);
    if (!outcome.flow.empty())
        document["flow"] = outcome.flow;
    if (!outcome.nearest.empty())
        document["nearest"] = json_text(outcome.nearest);
    console_record(report.console, document);
}

double percent_of(const test_coverage_t &coverage)
{
    return coverage.rules == 0
               ? 100.0
               : 100.0 * static_cast<double>(coverage.fired) / static_cast<double>(coverage.rules);
}

void print_summary_json(test_report_t &report, const test_coverage_t *coverage)
{
    json_document_t document = json_document("test");
    document["summary"] = {{"passed", report.passed}, {"failed", report.failed}};
    if (coverage != nullptr) {
        document["summary"]["rules"] = coverage->rules;
        document["summary"]["fired"] = coverage->fired;
        document["summary"]["missed"] = json_texts(coverage->missed);
    }
    console_record(report.console, document);
}

/// Prints the summary behind `mark`, which makes it a comment of TAP.
void print_test_summary(test_report_t &report, const test_coverage_t *coverage, const char *mark)
{
    console_t &console = report.console;
    if (coverage != nullptr) {
        for (const std::string &rule : coverage->missed)
            console_print(console, "{}not fired: {}\n", mark, escape_terminal(rule));
        console_print(console, "{}coverage: {} of {} rules, {:.1f} %\n", mark, coverage->fired,
                      coverage->rules, percent_of(*coverage));
    }
    console_print(console, "{}{} passed, {} failed\n", mark, report.passed, report.failed);
}

} // namespace

void test_report_begin(test_report_t &report)
{
    if (report.console.format == OUTPUT_TAP)
        console_print(report.console, "TAP version 13\n1..{}\n", report.total);
    else if (report.console.format == OUTPUT_JUNIT)
        console_print(report.console,
                      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<testsuite name=\"pdata test\" tests=\"{}\">\n",
                      report.total);
}

void test_report_case(test_report_t &report, const test_outcome_t &outcome)
{
    ++(outcome.passed ? report.passed : report.failed);
    switch (report.console.format) {
    case OUTPUT_TAP:
        print_tap(report, outcome);
        break;
    case OUTPUT_JUNIT:
        print_junit(report, outcome);
        break;
    case OUTPUT_JSON:
        print_json(report, outcome);
        break;
    default:
        if (!outcome.passed)
            print_failure(report, outcome);
    }
}

void test_report_end(test_report_t &report, const test_coverage_t *coverage)
{
    switch (report.console.format) {
    case OUTPUT_JSON:
        print_summary_json(report, coverage);
        break;
    case OUTPUT_JUNIT:
        console_print(report.console, "</testsuite>\n");
        break;
    case OUTPUT_TAP:
        print_test_summary(report, coverage, "# ");
        break;
    default:
        print_test_summary(report, coverage, "");
    }
}
