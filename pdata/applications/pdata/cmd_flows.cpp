#include "commands.h"
#include "flow_input.h"

namespace
{

void print_flow(console_t &console, const flow_record_t &record, bool initiator)
{
    const std::string line = flow_write(flow_record_values(record, initiator));
    if (console.format != OUTPUT_JSON) {
        console_print(console, "{}\n", line);
        return;
    }
    json_document_t document = json_document("flows");
    flow_fill(document, record);
    document["flow"] = line;
    console_record(console, document);
}

exit_status_t flows_run(const flow_input_options_t &options, console_t &console)
{
    flow_totals_t totals;
    const exit_status_t status =
        flow_input_run(options, console, totals, [&](flow_record_t &record) {
            print_flow(console, record, options.initiator);
        });
    if (console.format == OUTPUT_JSON) {
        json_document_t document = json_document("flows");
        document["summary"] = flow_totals_document(totals);
        console_record(console, document);
    }
    return status;
}

} // namespace

command_run_t flows_declare(CLI::App &app)
{
    auto options = std::make_shared<flow_input_options_t>();
    flow_input_declare(app, *options);
    app.add_option("--payload", options->payload, "Bytes of payload of each direction of a capture")
        ->check(CLI::Range(size_t{0}, size_t{65535}))
        ->capture_default_str();
    return [options](console_t &console) { return flows_run(*options, console); };
}
