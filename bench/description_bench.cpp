// The description flow, whole and by phase.
//
// The flow parses, checks and builds every protocol once, and the phases are nested in the program.
// They are measured from the innermost out; the report takes the differences.
#include <memory>
#include <vector>

#include "allocation_peak.h"
#include "bench_input.h"
#include "bench_run.h"
#include "json_lexer.h"
#include "json_tools.h"
#include "pdata_compiler_files.h"
#include "protodesc_group.h"

namespace
{

/// One size of input.
struct input_t {
    std::string name; ///< prefix of its steps
    std::string text;
    std::vector<std::string_view> protocols; ///< from the start of each protocol to the text's end
};

void skip_token(std::string_view *rest)
{
    json_token_t token;
    bench_require(
        json_lexer_token_fill(rest->data(), static_cast<uint32_t>(rest->size()), &token) == 0,
        "splitting the text");
    rest->remove_prefix(token.offset_end);
}

/// Parses the protocol that `text` begins with and returns the bytes it took.
uint32_t parse_protocol(std::string_view text, json_t *json)
{
    uint32_t consumed = 0;
    bench_require(pragmar_create(json, text.data(), static_cast<uint32_t>(text.size())) == 0 &&
                      json_parse_sub(json, &consumed) == 0,
                  "parsing a protocol");
    return consumed;
}

std::vector<std::string_view> split_protocols(std::string_view rest)
{
    std::vector<std::string_view> protocols;
    for (int i = 0; i < 4; ++i) // { "protocols" : [
        skip_token(&rest);
    for (char separator = ','; separator == ',';) {
        protocols.push_back(rest);
        json_t json;
        rest.remove_prefix(parse_protocol(rest, &json));
        separator = rest.front();
        skip_token(&rest);
    }
    return protocols;
}

input_t make_input(const std::string &name, const description_shape_t &shape)
{
    input_t input = {name, generate_description(shape), {}};
    input.protocols = split_protocols(input.text);
    return input;
}

/// Everything that was measured, by size; made once, never copied.
const input_t &input_of(bool doubled)
{
    static const input_t single = make_input("once", bench_shape);
    static const input_t twice = make_input("twice", bench_double_shape);
    return doubled ? twice : single;
}

double parse(const input_t &input)
{
    return bench_time([&] {
        for (const std::string_view text : input.protocols) {
            json_t json;
            parse_protocol(text, &json);
            pragmar_destroy(&json);
        }
    });
}

double check(const input_t &input)
{
    pragmar_rules_t rules;
    const std::string_view text =
        pdata_cfg_meta_text(pdata_cfg_meta_find(bench_cfg(), PDATA_META_SEM, PDATA_TYPE_PROTOCOL));
    bench_require(pragmar_rules_load(&rules, text) == 0, "loading the rules");
    std::vector<json_t> trees(input.protocols.size());
    for (size_t i = 0; i < trees.size(); ++i)
        parse_protocol(input.protocols[i], &trees[i]);
    return bench_time([&] {
        for (const json_t &tree : trees)
            bench_require(pragmar_check(tree, &rules) == 0, "checking a protocol");
    });
}

/// Parses, checks and builds.
double build(const input_t &input)
{
    hstring_build_t strings;
    hstring_build_t main_strings;
    protodesc_bounds_t bounds;
    protodesc_populate_bounds(&bounds);
    protodesc_build_t record;
    bench_require(hstring_init(&strings, 0) == 0 && hstring_init(&main_strings, 0) == 0 &&
                      protodesc_init(&record, bounds, &strings, &main_strings),
                  "making a record");
    const auto json = std::make_unique<protodesc_json_t>();
    json->cfg = bench_cfg();
    json->proto_sem_type = PDATA_TYPE_PROTOCOL;
    const double seconds = bench_time([&] {
        for (const std::string_view text : input.protocols) {
            uint32_t consumed;
            bench_require(json_to_protodesc(json.get(), text, &consumed, &record) == PDATA_SUCCESS,
                          pdata_status_msg_get());
        }
    });
    string_list_clean();
    return seconds;
}

/// The group, sized and written.
double passes(const input_t &input)
{
    hstring_build_t main_strings;
    matcher_alias_build_t aliases;
    const auto alias_text = [](pdata_meta_t meta) {
        return pdata_cfg_meta_text(
            pdata_cfg_meta_find(bench_cfg(), meta, PDATA_TYPE_MATCHER_ALIAS));
    };
    bench_require(hstring_init(&main_strings, 0) == 0 &&
                      json_to_matcher_alias(alias_text(PDATA_META_PDM), alias_text(PDATA_META_SEM),
                                            &main_strings, &aliases, false) == PDATA_SUCCESS,
                  "reading the aliases");
    protodesc_group_t group;
    group.json_text = input.text;
    group.main_hstring = &main_strings;
    bench_require(matcher_alias_make_alias_keys(
                      &group.aliases, std::span(aliases.aliases).first(aliases.alias_idx)) ==
                      PDATA_SUCCESS,
                  "sorting the aliases");
    group.json.cfg = bench_cfg();
    group.json.proto_sem_type = PDATA_TYPE_PROTOCOL;
    const double seconds = bench_time([&] {
        size_t size = 0;
        size_t written = 0;
        bench_require(protodesc_json_get_tlv_size(&group, &size) == PDATA_SUCCESS,
                      pdata_status_msg_get());
        csa_buf_t buf(size);
        bench_require(protodesc_json_serialize(&group, buf, &written) == PDATA_SUCCESS &&
                          written == size,
                      pdata_status_msg_get());
    });
    string_list_clean();
    return seconds;
}

void write_file(const pdb_list_t &pdb)
{
    bench_require(pdata_compiler_write_pdb(pdb, bench_file("description.pdb").c_str()) ==
                      PDATA_SUCCESS,
                  pdata_status_msg_get());
}

/// From the text in memory to the file.
double whole(const input_t &input)
{
    const pdd_t pdd = bench_pdd(input.text);
    return bench_time([&] {
        pdb_list_t pdb;
        bench_serialize(pdd, &pdb);
        write_file(pdb);
    });
}

/// Peak of the flow, the text and the configuration with it.
size_t peak_of(const input_t &input)
{
    allocation_peak_start();
    const pdd_t pdd = bench_pdd(input.text);
    pdb_list_t pdb;
    bench_serialize(pdd, &pdb);
    write_file(pdb);
    return allocation_peak_bytes();
}

void add_steps(const input_t &input)
{
    const bench_work_t work = {input.text.size(), input.protocols.size()};
    bench_add(input.name + "/parse", work, [&] { return parse(input); });
    bench_add(input.name + "/check", work, [&] { return check(input); });
    bench_add(input.name + "/parse_check_build", work, [&] { return build(input); });
    bench_add(input.name + "/group", work, [&] { return passes(input); });
    pdb_list_t pdb;
    bench_serialize(bench_pdd(input.text), &pdb);
    bench_add(input.name + "/write", work, [pdb] { return bench_time([&] { write_file(pdb); }); });
    bench_add(input.name + "/whole", work, [&] { return whole(input); });
}

void report_phases(const input_t &input)
{
    const auto ms = [&](const char *step) { return bench_median(input.name + step) * 1000; };
    const double built = ms("/parse_check_build");
    bench_heading("description flow, input " + input.name + ":");
    bench_line("text", static_cast<double>(input.text.size()) / 1e6, "MB");
    bench_line("parse", ms("/parse"), "ms");
    bench_line("check", ms("/check"), "ms");
    bench_line("build", built - ms("/parse") - ms("/check"), "ms");
    bench_line("serialize", ms("/group") - built, "ms");
    bench_line("write the file", ms("/write"), "ms");
    bench_line("whole", ms("/whole"), "ms");
    bench_at_least("text per second, fastest",
                   static_cast<double>(input.text.size()) / 1e6 /
                       bench_fastest(input.name + "/whole"),
                   "MB/s", 25);
    const size_t peak = peak_of(input);
    bench_line("peak memory, times the text",
               static_cast<double>(peak) / static_cast<double>(input.text.size()), "");
    bench_peak("peak memory", peak, 8 * input.text.size() + (size_t{32} << 20));
}

void report()
{
    report_phases(input_of(false));
    report_phases(input_of(true));
    bench_heading("growth:");
    bench_at_most("time for twice the input", bench_median("growth"), "times", 2.2);
}

} // namespace

int main(int argc, char **argv)
{
    add_steps(input_of(false));
    add_steps(input_of(true));
    // The whole flow is a rate with a target: what the comparison performs counts for it as well.
    const auto recorded = [](const input_t &input) {
        return [&input] {
            const double seconds = whole(input);
            bench_record(input.name + "/whole", seconds);
            return seconds;
        };
    };
    bench_add_ratio("growth", recorded(input_of(true)), recorded(input_of(false)));
    return bench_main(argc, argv, report);
}
