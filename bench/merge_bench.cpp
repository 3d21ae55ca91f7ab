// Merging two large pdbs, removing a protocol, and the duplicate search within one protocol.
#include <string>

#include "allocation_peak.h"
#include "bench_input.h"
#include "bench_run.h"
#include "pdata_merge.h"
#include "pdata_remove.h"

namespace
{

using step_t = std::function<double()>;

/// The parts that a merge and a removal look at, in the order of an input pdb.
pdb_list_t make_pdb(const std::string &text)
{
    pdb_list_t serialized;
    bench_serialize(bench_pdd(text), &serialized);
    pdb_list_t pdb;
    pdb_header_memcpy(&pdb[0], *pdata_pdb_type_find(serialized, PDB_TYPE_PROTOCOL_DESCRIPTION));
    pdb_header_memcpy(&pdb[1], *pdata_pdb_type_find(serialized, PDB_TYPE_MAIN_HSTRING));
    pdb_header_end(&pdb[2]);
    return pdb;
}

/// A pair to merge.
struct pair_t {
    pdb_list_t base;
    pdb_list_t incoming;
};

size_t size_of(const pair_t &pair)
{
    return size_t{pair.base[0].pdb_tlv_len} + pair.incoming[0].pdb_tlv_len;
}

void merge(const pair_t &pair, pdb_t *merged)
{
    const pdb_list_t *const pdbs[] = {&pair.base, &pair.incoming};
    bench_require(pdata_merge(pdbs, merged) == PDATA_SUCCESS, pdata_status_msg_get());
}

step_t merge_step(const pair_t &pair)
{
    return [pair] {
        pdb_t merged;
        return bench_time([&] { merge(pair, &merged); });
    };
}

/// Removes a protocol from the middle.
step_t removal_step(const pdb_list_t &pdb, uint32_t protocols)
{
    return [pdb, protocols] {
        pdb_t removed;
        const double seconds = bench_time([&] {
            bench_require(pdata_remove(pdb, 0x1000000 + protocols / 2, &removed) == PDATA_SUCCESS,
                          pdata_status_msg_get());
        });
        bench_require(removed.pdb_tlv != nullptr, "removing a protocol");
        return seconds;
    };
}

step_t description_step(const std::string &text)
{
    return [text] {
        const pdd_t pdd = bench_pdd(text);
        return bench_time([&] {
            pdb_list_t pdb;
            bench_serialize(pdd, &pdb);
        });
    };
}

/// What is measured at one size of input: two pdbs of `factor` times 3,700 protocols and 20,000
/// rules each.
struct size_steps_t {
    pair_t pair; ///< without a protocol in common
    step_t description;
    step_t disjoint;
    step_t overlapping; ///< half of the protocols in common, other rules
    step_t itself;
    step_t removal;
};

size_steps_t make_steps(uint32_t factor)
{
    const uint32_t protocols = bench_shape.protocols * factor;
    const uint32_t rules = bench_shape.rules * factor;
    const std::string text = generate_description({protocols, rules, 0, 1});
    const pdb_list_t base = make_pdb(text);
    const pdb_list_t disjoint = make_pdb(generate_description({protocols, rules, protocols, 2}));
    const pdb_list_t overlapping =
        make_pdb(generate_description({protocols, rules, protocols / 2, 2}));
    return {{base, disjoint},
            description_step(text),
            merge_step({base, disjoint}),
            merge_step({base, overlapping}),
            merge_step({base, base}),
            removal_step(base, protocols)};
}

/// The steps that merge or remove.
struct named_step_t {
    const char *name;
    step_t size_steps_t::*step;
};

constexpr named_step_t named_steps[] = {
    {"disjoint", &size_steps_t::disjoint},
    {"overlapping", &size_steps_t::overlapping},
    {"itself", &size_steps_t::itself},
    {"removal", &size_steps_t::removal},
};

void add_large_merges(const size_steps_t &once, const size_steps_t &twice)
{
    bench_add("description", {}, once.description);
    for (const auto &[name, step] : named_steps) {
        const std::string text = name;
        bench_add(text, {size_of(once.pair), bench_shape.protocols}, once.*step);
        bench_add_ratio(text + "_to_description", once.*step, once.description);
        bench_add_ratio(text + "_growth", twice.*step, once.*step);
    }
}

/// A list of protocols of one id, each with the rules that `rules` gives for its number.
std::string repeated_protocols(uint32_t protocols, std::string (*rules)(uint32_t protocol))
{
    std::string text = "{\"protocols\": [\n";
    for (uint32_t i = 0; i < protocols; ++i)
        text += R"({"name": "again", "id": 16777217, "rules": [)" + rules(i) +
                (i + 1 < protocols ? "]},\n" : "]}\n");
    return text + "]}\n";
}

std::string no_rule(uint32_t)
{
    return {};
}

std::string host_rule(uint32_t host)
{
    return R"({"order": "50:100", "rule": [{"protocol": "ssl", "common_name": "host)" +
           std::to_string(host) + "\\\\.net\"}]}";
}

std::string same_rule(uint32_t)
{
    return host_rule(0);
}

std::string one_of_twenty(uint32_t protocol)
{
    return host_rule(protocol % 20);
}

/// One of three servers, and a value of another attribute. A rule counts as there where one with
/// the same server is and its other attribute has another name.
std::string server_rule(uint32_t protocol, const std::string &attribute)
{
    return R"({"order": "50:100", "rule": [{"protocol": "http", "cts-server": "server)" +
           std::to_string(protocol % 3) + R"(", ")" + attribute + R"(": "value)" +
           std::to_string(protocol) + "\"}]}";
}

std::string server_and_uri(uint32_t protocol)
{
    return server_rule(protocol, "cts-uri");
}

std::string server_and_agent(uint32_t protocol)
{
    return server_rule(protocol, "cts-user_agent");
}

/// Three rules of the base that every update's rule equals in part.
std::string all_servers(uint32_t)
{
    return server_and_uri(0) + ", " + server_and_uri(1) + ", " + server_and_uri(2);
}

/// Protocols of one id on both sides, each of which gets every update.
struct repetition_t {
    const char *name;
    std::string (*base)(uint32_t protocol);
    std::string (*incoming)(uint32_t protocol);
};

constexpr repetition_t repetitions[] = {
    {"repeated_ids", no_rule, no_rule},
    {"repeated_rule", same_rule, same_rule},
    {"repeated_rules", one_of_twenty, one_of_twenty},
    {"partly_equal_rules", all_servers, server_and_agent},
};
constexpr uint32_t REPEATED_PROTOCOLS = 8000;

pair_t repeated_pair(const repetition_t &row, uint32_t protocols)
{
    return {make_pdb(repeated_protocols(protocols, row.base)),
            make_pdb(repeated_protocols(protocols, row.incoming))};
}

void add_repetitions()
{
    for (const repetition_t &row : repetitions) {
        const pair_t once = repeated_pair(row, REPEATED_PROTOCOLS);
        const pair_t twice = repeated_pair(row, 2 * REPEATED_PROTOCOLS);
        const std::string text = row.name;
        bench_add(text, {size_of(once), REPEATED_PROTOCOLS}, merge_step(once));
        bench_add_ratio(text + "_growth", merge_step(twice), merge_step(once));
    }
}

void report_repetitions()
{
    bench_heading("8,000 protocols of one id in both pdbs:");
    for (const repetition_t &row : repetitions) {
        const std::string text = row.name;
        bench_line(text, bench_median(text) * 1000, "ms");
        bench_at_most(text + ", time for twice as many", bench_median(text + "_growth"), "times",
                      2.2);
    }
}

/// Rules of one protocol, each with one value that no other has. 1,199 are the most that a
/// description may give a protocol; both sides of a merge together may not have more either,
/// unless they are the same.
constexpr uint32_t same_sizes[] = {300, 600, 1199};
constexpr uint32_t new_sizes[] = {150, 300, 599};

void add_protocol_merge(const std::string &name, uint32_t rules, uint32_t first_value)
{
    const pair_t pair = {make_pdb(generate_large_protocol(rules, 0)),
                         make_pdb(generate_large_protocol(rules, first_value))};
    bench_add(name + std::to_string(rules), {0, rules}, merge_step(pair));
}

void add_protocol_merges()
{
    for (const uint32_t rules : same_sizes)
        add_protocol_merge("same_rules/", rules, 0);
    for (const uint32_t rules : new_sizes)
        add_protocol_merge("new_rules/", rules, rules);
}

void report_large_merges()
{
    bench_heading("two pdbs of 3,700 protocols and 20,000 rules each:");
    bench_line("description flow of one of them", bench_median("description") * 1000, "ms");
    for (const auto &[name, step] : named_steps) {
        const std::string text = name;
        bench_line(text, bench_median(text) * 1000, "ms");
        bench_at_most(text + " to the description flow", bench_median(text + "_to_description"),
                      "times", 2);
        bench_at_most(text + ", time for twice the input", bench_median(text + "_growth"), "times",
                      2.2);
    }
}

/// Time per incoming rule, which stays the same as long as the search is linear.
void report_protocol(const std::string &what, const uint32_t (&sizes)[3])
{
    bench_heading("one protocol, as many incoming rules as it has, " + what + ":");
    for (const uint32_t rules : sizes)
        bench_line("time per rule, " + std::to_string(rules) + " rules",
                   bench_median(what + "/" + std::to_string(rules)) * 1e6 / rules, "us");
}

/// Peak of a merge beside its input, measured once.
double peak_per_output = 0;

void measure_peak(const pair_t &pair)
{
    pdb_t merged;
    allocation_peak_start();
    merge(pair, &merged);
    peak_per_output = static_cast<double>(allocation_peak_bytes()) / merged.pdb_tlv_len;
}

void report()
{
    report_large_merges();
    report_repetitions();
    bench_line("peak memory beside the input, times the output", peak_per_output, "");
    report_protocol("same_rules", same_sizes);
    report_protocol("new_rules", new_sizes);
}

} // namespace

int main(int argc, char **argv)
{
    const size_steps_t once = make_steps(1);
    const size_steps_t twice = make_steps(2);
    add_large_merges(once, twice);
    add_repetitions();
    add_protocol_merges();
    measure_peak(once.pair);
    return bench_main(argc, argv, report);
}
