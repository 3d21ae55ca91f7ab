// The same list of literals through this project's automaton and through public multi-pattern
// compilers, turn by turn, so that all of them see the same machine.
#include <algorithm>
#include <vector>

#include "aho_corasick.h"
#include "bench_run.h"
#include "description_generator.h"
#ifdef PDATA_BENCH_RE2
#include <re2/re2.h>
#include <re2/set.h>
#endif
#ifdef PDATA_BENCH_HYPERSCAN
#include <hs.h>
#endif

namespace
{

constexpr uint32_t nr_patterns = 20000;

using hosts_t = std::vector<std::string>;

/// Into a resolved automaton and its serialized table.
void compile_automaton(const hosts_t &hosts)
{
    ac_build_t build;
    bench_require(aho_corasick_init(build, 0, 0) == 0, "init");
    for (uint32_t i = 0; i < hosts.size(); ++i) {
        pattern_info info;
        info.pattern = hosts[i].data();
        info.pattern_len = static_cast<uint32_t>(hosts[i].size());
        info.item_id = i + 1;
        bench_require(aho_corasick_register(build, info) == 0, "registering a pattern");
    }
    bench_require(aho_corasick_finalize(build) == 0, "finalize");
    std::vector<uint8_t> buf(aho_corasick_get_size(build, 0));
    tlv_sink_t sink = tlv_sink_writing(buf);
    aho_corasick_emit(build, sink, 0);
    bench_require(!sink.failed, "serializing");
}

#ifdef PDATA_BENCH_RE2
/// Into a set; its automata are made later, while it matches.
void compile_re2_set(const hosts_t &hosts)
{
    RE2::Options options;
    options.set_literal(true);
    options.set_max_mem(int64_t{1} << 30);
    RE2::Set set(options, RE2::UNANCHORED);
    for (const std::string &host : hosts)
        bench_require(set.Add(host, nullptr) >= 0, "adding to the set");
    bench_require(set.Compile(), "compiling the set");
}
#endif

#ifdef PDATA_BENCH_HYPERSCAN
/// The list as the library takes it.
struct hs_input_t {
    std::vector<std::string> escaped; ///< as regular expressions
    std::vector<const char *> expressions;
    std::vector<const char *> literals;
    std::vector<size_t> lengths;
    std::vector<unsigned> flags;
    std::vector<unsigned> ids;
};

hs_input_t make_hs_input(const hosts_t &hosts)
{
    hs_input_t input;
    for (const std::string &host : hosts) {
        std::string &text = input.escaped.emplace_back();
        for (const char c : host)
            text += c == '.' ? std::string("\\.") : std::string(1, c);
        input.literals.push_back(host.c_str());
        input.lengths.push_back(host.size());
        input.flags.push_back(HS_FLAG_SINGLEMATCH); // which items match, not how often
        input.ids.push_back(static_cast<unsigned>(input.ids.size() + 1));
    }
    for (const std::string &text : input.escaped)
        input.expressions.push_back(text.c_str());
    return input;
}

void finish_hs(hs_error_t code, hs_database_t *database)
{
    bench_require(code == HS_SUCCESS, "compiling a database");
    bench_require(hs_free_database(database) == HS_SUCCESS, "freeing a database");
}

void compile_hs_multi(const hs_input_t &input)
{
    hs_database_t *database = nullptr;
    hs_compile_error_t *error = nullptr;
    const hs_error_t code =
        hs_compile_multi(input.expressions.data(), input.flags.data(), input.ids.data(),
                         nr_patterns, HS_MODE_BLOCK, nullptr, &database, &error);
    finish_hs(code, database);
}

void compile_hs_literals(const hs_input_t &input)
{
    hs_database_t *database = nullptr;
    hs_compile_error_t *error = nullptr;
    const hs_error_t code = hs_compile_lit_multi(
        input.literals.data(), input.flags.data(), input.ids.data(), input.lengths.data(),
        nr_patterns, HS_MODE_BLOCK, nullptr, &database, &error);
    finish_hs(code, database);
}
#endif

/// The other compilers of this build.
std::vector<std::string> others;

void report()
{
    double to_fastest = 0;
    bench_heading(std::to_string(nr_patterns) + " host names:");
    bench_line("automaton", bench_median("automaton") * 1000, "ms");
    for (const std::string &name : others) {
        const double ratio = bench_median("automaton_to_" + name);
        bench_line(name, bench_median(name) * 1000, "ms");
        bench_line("automaton to " + name, ratio, "times");
        to_fastest = std::max(to_fastest, ratio);
    }
    bench_at_most("automaton to the fastest other", to_fastest, "times", 0.5);
}

/// Adds a compiler and the automaton beside it.
template <typename Compile>
void add_other(const std::string &name, const hosts_t &hosts, const Compile &compile)
{
    others.push_back(name);
    const auto timed = [](const std::string &step, const auto &compile_all) {
        const double seconds = bench_time(compile_all);
        bench_record(step, seconds);
        return seconds;
    };
    bench_add_ratio(
        "automaton_to_" + name,
        [&hosts, timed] { return timed("automaton", [&] { compile_automaton(hosts); }); },
        [name, timed, compile] { return timed(name, compile); });
}

hosts_t make_hosts()
{
    hosts_t hosts;
    for (uint32_t i = 0; i < nr_patterns; ++i)
        hosts.push_back(generate_host(i));
    return hosts;
}

} // namespace

int main(int argc, char **argv)
{
    const hosts_t hosts = make_hosts();
#ifdef PDATA_BENCH_RE2
    add_other("re2_set", hosts, [&] { compile_re2_set(hosts); });
#endif
#ifdef PDATA_BENCH_HYPERSCAN
    const hs_input_t hs_input = make_hs_input(hosts);
    add_other("hyperscan_multi", hosts, [&] { compile_hs_multi(hs_input); });
    add_other("hyperscan_literals", hosts, [&] { compile_hs_literals(hs_input); });
#endif
    return bench_main(argc, argv, report);
}
