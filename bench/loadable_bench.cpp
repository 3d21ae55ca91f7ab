// From a description in memory to a loadable pdb in memory, whole and by phase, and beside it the
// compiler of YARA on the same values.
#include <sys/resource.h>

#include <cstdlib>
#include <fstream>

#include "allocation_peak.h"
#include "bench_input.h"
#include "bench_run.h"
#include "pdata_compile.h"
#include "pdb_build.h"
#include "pdb_matcher_build.h"
#include "pdb_rule_build.h"
#include "pdb_version.h"
#include "protodesc_tlv.h"
#include "tlv_description.h"
#include "yara_rules.h"

namespace
{

/// One size of input.
struct input_t {
    std::string name; ///< prefix of its steps
    std::string text;
    std::vector<generated_value_t> values;
};

input_t make_input(const std::string &name, const description_shape_t &shape)
{
    input_t input = {name, {}, {}};
    input.text = generate_description(shape, &input.values);
    return input;
}

const input_t &input_of(bool doubled)
{
    static const input_t single = make_input("once", bench_shape);
    static const input_t twice = make_input("twice", bench_double_shape);
    return doubled ? twice : single;
}

void require(pdata_status_t status)
{
    bench_require(status == PDATA_SUCCESS, pdata_status_msg_get());
}

void compile_whole(const pdd_t &pdd, pdb_t *loadable)
{
    pdb_list_t pdb;
    bench_serialize(pdd, &pdb);
    require(pdata_compile(&pdb, loadable, nullptr, {}, 1));
}

double whole(const input_t &input)
{
    const pdd_t pdd = bench_pdd(input.text);
    return bench_time([&] {
        pdb_t loadable;
        compile_whole(pdd, &loadable);
    });
}

/// Seconds of each phase behind the serialization of the description.
struct phases_t {
    double filing = 0;
    double matchers = 0;
    double rules = 0;
    double write = 0;
};

/// Finds the protocol group and the tags, as the build does.
void load_parts(pdb_context_t *context, pdb_protodesc *protodesc)
{
    std::span<const uint8_t> root;
    std::span<const uint8_t> group;
    std::span<const uint8_t> strings;
    require(pdb_builder_load_type(PDB_TYPE_PROTOCOL_DESCRIPTION, TLV_TYPE_ROOT_PROTODESCS, *context,
                                  nullptr, &root));
    require(tlv_value_search(TLV_TYPE_PROTOGROUP, root, &group));
    require(pdb_builder_get_protocol_offsets(group, &protodesc->pg));
    require(pdb_builder_load_type(PDB_TYPE_TAGS, TLV_TYPE_ROOT_TAGS, *context, nullptr,
                                  &protodesc->tags.tag_table.entries));
    require(pdb_builder_load_type(PDB_TYPE_MAIN_HSTRING, TLV_TYPE_ROOT_STRING, *context, nullptr,
                                  &strings));
    bench_require(hstring_deserialize(&protodesc->tags.hstring, strings.data(),
                                      static_cast<uint32_t>(strings.size())) == 0,
                  "reading the main strings");
}

/// The steps of pdata_compile one by one. `pdb` is a serialized description.
phases_t compile_by_phase(const pdb_list_t &pdb)
{
    constexpr pdb_params_t limits = {32, 32768, 16, 2, 4}; // those of pdata_compile
    pdb_context_t context;
    require(pdb_builder_init(&context, &limits));
    context.pdb = pdb;
    pdb_build_t *build = &context.pdb_build;
    require(
        pdb_version_serialize(&build->pdb_build_tlv.protodesc_tlv, pdata_pdb_version_get(), false));
    pdb_protodesc protodesc;
    phases_t phases;
    phases.filing = bench_time([&] {
        load_parts(&context, &protodesc);
        require(pdb_builder_matcher_register(build, protodesc.pg));
    });
    phases.matchers = bench_time([&] { require(pdb_matcher_build(build, {}, nullptr)); });
    phases.rules = bench_time([&] {
        require(pdb_rule_build(build, protodesc));
        require(pdb_rule_serialize(build, 1));
        pdb_clean(build);
    });
    phases.write = bench_time([&] {
        pdb_t loadable;
        require(pdata_compile_write_pdb(build, pdb, &loadable, 1));
    });
    pdb_builder_clean(&context);
    return phases;
}

/// Adds the phases as one step, whose parts are recorded beside it.
void add_phases(const input_t &input, bench_work_t work)
{
    pdb_list_t pdb;
    bench_serialize(bench_pdd(input.text), &pdb);
    bench_add(input.name + "/compile", work, [pdb, name = input.name] {
        const phases_t phases = compile_by_phase(pdb);
        bench_record(name + "/filing", phases.filing);
        bench_record(name + "/matchers", phases.matchers);
        bench_record(name + "/rules", phases.rules);
        bench_record(name + "/loadable_write", phases.write);
        return phases.filing + phases.matchers + phases.rules + phases.write;
    });
}

double serialize(const input_t &input)
{
    const pdd_t pdd = bench_pdd(input.text);
    return bench_time([&] {
        pdb_list_t pdb;
        bench_serialize(pdd, &pdb);
    });
}

/// Processor time of all children so far, in seconds.
double children_cpu_seconds()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

bool has_yarac()
{
    return std::system("command -v yarac >/dev/null 2>&1") == 0;
}

/// yarac on the values of an input, and the flow beside it.
void add_yarac(const input_t &input)
{
    const std::string rules = bench_file("values.yar");
    std::ofstream(rules) << yara_rules(input.values);
    const std::string command =
        "yarac -w '" + rules + "' '" + bench_file("values.yarc") + "' >/dev/null 2>&1";
    const auto run_yarac = [command] {
        const double start = children_cpu_seconds();
        bench_require(std::system(command.c_str()) == 0, "running yarac");
        const double seconds = children_cpu_seconds() - start;
        bench_record("yarac", seconds);
        return seconds;
    };
    bench_add_ratio(
        "flow_to_yarac", [&input] { return whole(input); }, run_yarac);
}

void report_phases(const input_t &input)
{
    const auto line = [&](const char *what, const char *step) {
        bench_line(what, bench_median(input.name + step) * 1000, "ms");
    };
    bench_heading("loadable flow, input " + input.name + ":");
    bench_line("text", static_cast<double>(input.text.size()) / 1e6, "MB");
    bench_line("values", static_cast<double>(input.values.size()), "");
    line("serialize the description", "/serialize");
    line("file the values", "/filing");
    line("build and serialize the matchers", "/matchers");
    line("build and serialize the rules", "/rules");
    line("put the parts together", "/loadable_write");
    line("whole", "/whole");
    const double seconds = bench_median(input.name + "/whole");
    bench_line("time per value", seconds * 1e6 / static_cast<double>(input.values.size()), "us");
    pdb_t loadable;
    allocation_peak_start();
    const pdd_t pdd = bench_pdd(input.text);
    compile_whole(pdd, &loadable);
    const size_t peak = allocation_peak_bytes();
    bench_line("loadable pdb", static_cast<double>(loadable.pdb_tlv_len) / 1e6, "MB");
    bench_peak("peak memory", peak,
               3 * input.text.size() + loadable.pdb_tlv_len + (size_t{48} << 20));
}

void report()
{
    report_phases(input_of(false));
    report_phases(input_of(true));
    bench_heading("growth:");
    bench_at_most("time for twice the input", bench_median("growth"), "times", 2.2);
    if (!has_yarac())
        return;
    bench_heading("beside yarac, the same number of values:");
    bench_line("yarac", bench_median("yarac") * 1000, "ms");
    bench_at_most("loadable flow to yarac", bench_median("flow_to_yarac"), "times", 0.5);
}

} // namespace

int main(int argc, char **argv)
{
    for (const bool doubled : {false, true}) {
        const input_t &input = input_of(doubled);
        const bench_work_t work = {input.text.size(), input.values.size()};
        bench_add(input.name + "/whole", work, [&] { return whole(input); });
        bench_add(input.name + "/serialize", work, [&] { return serialize(input); });
        add_phases(input, work);
    }
    bench_add_ratio(
        "growth", [] { return whole(input_of(true)); }, [] { return whole(input_of(false)); });
    if (has_yarac())
        add_yarac(input_of(false));
    return bench_main(argc, argv, report);
}
