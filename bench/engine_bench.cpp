// Every engine at three sizes: build, finalize and serialize, per state and per byte written.
//
// "--once engine patterns" performs one run and nothing else, for a counter of instructions; with
// the engine "none" it makes the input only. With the name of a shape of input that repeats itself
// it prints the bytes of input and output as well.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "allocation_peak.h"
#include "bench_run.h"
#include "description_generator.h"
#include "number_build.h"
#include "pattern_build.h"
#include "random_words.h"

namespace
{

constexpr uint32_t sizes[] = {1000, 5000, 20000};

/// What an engine is given. Host names for the string engines, intervals for the number engines.
struct input_t {
    std::vector<std::string> hosts;
    std::vector<uint16_t> offsets; ///< per host name
    std::vector<number_info> ports;
    std::vector<number_info> ip4;
    std::vector<number_info> ip6;
    size_t host_bytes = 0;
};

/// What came out of one run.
struct output_t {
    size_t states = 0; ///< states, nodes or endpoints
    size_t bytes = 0;
};

number_info make_ip6(uint32_t id, uint32_t high, uint32_t low)
{
    number_info info;
    info.min.address = {0x20010000U | (high & 0xFFFF), low, 0, 0};
    info.max.address = {0x20010000U | (high & 0xFFFF), low, 0xFFFFFFFF, 0xFFFFFFFF};
    info.item_id = id;
    return info;
}

number_info make_number(uint32_t id, uint64_t min, uint64_t max)
{
    number_info info;
    info.min.number = min;
    info.max.number = max;
    info.item_id = id;
    return info;
}

input_t make_input(uint32_t patterns)
{
    input_t input;
    random_t random = {1};
    for (uint32_t i = 0; i < patterns; ++i) {
        input.hosts.push_back(generate_host(i));
        input.host_bytes += input.hosts.back().size();
        input.offsets.push_back(static_cast<uint16_t>(random_below(random, 16)));
        const uint64_t port = random_below(random, 65536);
        const uint64_t last = port + random_below(random, 2) * random_below(random, 4);
        input.ports.push_back(make_number(i + 1, port, last > 65535 ? 65535 : last));
        const uint64_t address = random_next(random) & 0xFFFFFFFF;
        const uint64_t mask = 0xFFU >> random_below(random, 9);
        input.ip4.push_back(make_number(i + 1, address & ~mask, address | mask));
        input.ip6.push_back(make_ip6(i + 1, random_below(random, 65536),
                                     static_cast<uint32_t>(random_next(random))));
    }
    return input;
}

const input_t &input_of(uint32_t patterns)
{
    static const input_t inputs[] = {make_input(sizes[0]), make_input(sizes[1]),
                                     make_input(sizes[2])};
    return inputs[patterns == sizes[0] ? 0 : patterns == sizes[1] ? 1 : 2];
}

pattern_info host_info(const input_t &input, uint32_t i, pattern_type_t type)
{
    pattern_info info;
    info.pattern = input.hosts[i].data();
    info.pattern_len = static_cast<uint32_t>(input.hosts[i].size());
    info.item_id = i + 1;
    info.type = type;
    info.offset = input.offsets[i];
    return info;
}

/// Hands every host name to an engine.
template <typename Register>
void register_hosts(const input_t &input, pattern_type_t type, const Register &engine_register)
{
    for (uint32_t i = 0; i < input.hosts.size(); ++i)
        bench_require(engine_register(host_info(input, i, type)) == 0, "registering a pattern");
}

/// Serializes into a buffer of the size that the engine gives.
template <typename Emit>
size_t serialize(size_t size, const Emit &emit)
{
    std::vector<uint8_t> buf(size);
    tlv_sink_t sink = tlv_sink_writing(buf);
    emit(sink);
    bench_require(!sink.failed && sink.offset == size, "serializing");
    return size;
}

output_t run_aho_corasick(const input_t &input, uint8_t ahoff)
{
    ac_build_t build;
    bench_require(aho_corasick_init(build, ahoff, 0) == 0, "init");
    const pattern_type_t type = ahoff != 0 ? PATTERN_OFFSET : PATTERN_REGULAR;
    register_hosts(input, type,
                   [&](const pattern_info &info) { return aho_corasick_register(build, info); });
    bench_require(aho_corasick_finalize(build) == 0, "finalize");
    const size_t size = aho_corasick_get_size(build, ahoff);
    return {build.ac_l_state.size(),
            serialize(size, [&](tlv_sink_t &sink) { aho_corasick_emit(build, sink, ahoff); })};
}

output_t run_radix_tree(const input_t &input, pattern_type_t type)
{
    rt_build_t build;
    bench_require(radix_tree_init(build, 0) == 0, "init");
    register_hosts(input, type,
                   [&](const pattern_info &info) { return radix_tree_register(build, info); });
    bench_require(radix_tree_finalize(build) == 0, "finalize");
    const size_t size = radix_tree_get_size(build);
    return {build.rt_l_state.size(),
            serialize(size, [&](tlv_sink_t &sink) { radix_tree_emit(build, sink); })};
}

output_t run_dot_prefix(const input_t &input)
{
    dp_build_t build;
    bench_require(dot_prefix_init(build) == 0, "init");
    register_hosts(input, PATTERN_OFFSET,
                   [&](const pattern_info &info) { return dot_prefix_register(build, info); });
    bench_require(dot_prefix_finalize(build) == 0, "finalize");
    const size_t size = dot_prefix_get_size(build);
    return {build.dp_l_node.size(),
            serialize(size, [&](tlv_sink_t &sink) { dot_prefix_emit(build, sink); })};
}

output_t run_number(const std::vector<number_info> &values, matcher_type_t type)
{
    number_build build;
    bench_require(number_init(build, type) == 0, "init");
    for (const number_info &value : values)
        bench_require(number_register(build, value) == 0, "registering a number");
    bench_require(number_finalize(build) == 0, "finalize");
    std::vector<uint8_t> buf(number_get_size(build));
    bench_require(number_serialize(build, buf) != nullptr, "serializing");
    return {build.mapper.mp_endpoints.size() + build.interval.it_endpoints.size(), buf.size()};
}

/// One engine.
struct engine_t {
    const char *name;
    output_t (*run)(const input_t &input);
};

constexpr engine_t engines[] = {
    {"aho_corasick", [](const input_t &in) { return run_aho_corasick(in, 0); }},
    {"aho_corasick_offset", [](const input_t &in) { return run_aho_corasick(in, 1); }},
    {"radix_prefix", [](const input_t &in) { return run_radix_tree(in, PATTERN_PREFIX); }},
    {"radix_suffix", [](const input_t &in) { return run_radix_tree(in, PATTERN_SUFFIX); }},
    {"dot_prefix", [](const input_t &in) { return run_dot_prefix(in); }},
    {"mapper_16", [](const input_t &in) { return run_number(in.ports, MATCHER_TYPE_NUMBER_16); }},
    {"interval_ip4", [](const input_t &in) { return run_number(in.ip4, MATCHER_TYPE_IP_4); }},
    {"interval_ip6", [](const input_t &in) { return run_number(in.ip6, MATCHER_TYPE_IP_6); }},
};

/// Input that an engine has to compare, or that multiplies in its output, by number of patterns.
struct shape_t {
    const char *name;
    size_t
        few; ///< patterns, or their length, of the smaller of two runs; the larger has twice that
    size_t (*input)(size_t patterns, input_t &input); ///< fills the input, returns its bytes
    output_t (*run)(const input_t &input);
};

void add_host(input_t &input, std::string text, uint64_t offset)
{
    input.host_bytes += text.size();
    input.hosts.push_back(std::move(text));
    input.offsets.push_back(static_cast<uint16_t>(offset));
}

/// Words of two letters at the first eleven offsets.
size_t dense_words(size_t patterns, input_t &input)
{
    random_t random = {2};
    for (size_t i = 0; i < patterns; ++i) {
        std::string word(1 + random_below(random, 20), 'a');
        for (char &c : word)
            c = static_cast<char>('a' + random_below(random, 2));
        add_host(input, std::move(word), random_below(random, 11));
    }
    return input.host_bytes;
}

/// One word at every offset.
size_t dense_repeats(size_t patterns, input_t &input)
{
    for (size_t i = 0; i < patterns; ++i)
        add_host(input, std::string(100, 'a'), i);
    return input.host_bytes;
}

/// Words at the first eleven offsets, nearly the same, that become longer.
size_t long_words(size_t length, input_t &input)
{
    for (uint32_t i = 0; i < 11; ++i) {
        std::string word(length, 'a');
        word[length - 1 - length * i / 11] = 'b';
        add_host(input, std::move(word), i);
    }
    return input.host_bytes;
}

/// One string over and over.
size_t same_string(size_t patterns, input_t &input)
{
    for (size_t i = 0; i < patterns; ++i)
        add_host(input, "a string that is repeated", 0);
    return input.host_bytes;
}

/// Intervals of addresses, each within the one before.
size_t nested_intervals(size_t patterns, input_t &input)
{
    for (uint32_t i = 0; i < patterns; ++i)
        input.ip4.push_back(make_number(i + 1, i * 2, 0x10000000 - i * 2));
    return patterns * sizeof(number_info);
}

/// Intervals of addresses, each behind the one before.
size_t adjacent_intervals(size_t patterns, input_t &input)
{
    for (uint32_t i = 0; i < patterns; ++i)
        input.ip4.push_back(make_number(i + 1, i * 16, i * 16 + 15));
    return patterns * sizeof(number_info);
}

output_t run_ip4(const input_t &input)
{
    return run_number(input.ip4, MATCHER_TYPE_IP_4);
}

constexpr shape_t shapes[] = {
    {"dot_prefix, words at 11 offsets", 4000, dense_words, run_dot_prefix},
    {"dot_prefix, a word at every offset", 400, dense_repeats, run_dot_prefix},
    {"aho_corasick, a repeated string", 20000, same_string,
     [](const input_t &in) { return run_aho_corasick(in, 0); }},
    {"dot_prefix, long words at 11 offsets", 4000, long_words, run_dot_prefix},
    {"aho_corasick_offset, a word at every offset", 400, dense_repeats,
     [](const input_t &in) { return run_aho_corasick(in, 1); }},
    {"aho_corasick_offset, words at 11 offsets", 4000, dense_words,
     [](const input_t &in) { return run_aho_corasick(in, 1); }},
    {"radix_prefix, long words", 4000, long_words,
     [](const input_t &in) { return run_radix_tree(in, PATTERN_PREFIX); }},
    {"interval_ip4, nested", 2000, nested_intervals, run_ip4},
    {"interval_ip4, adjacent", 20000, adjacent_intervals, run_ip4},
};

/// A run of a shape, and the bytes that it reads and writes.
struct shape_run_t {
    input_t input;
    size_t bytes = 0;
};

shape_run_t make_shape_run(const shape_t &shape, size_t patterns)
{
    shape_run_t run;
    run.bytes = shape.input(patterns, run.input);
    run.bytes += shape.run(run.input).bytes;
    return run;
}

const shape_run_t &shape_run(const shape_t &shape, bool twice)
{
    static std::map<std::pair<const shape_t *, bool>, shape_run_t> runs;
    const auto [found, is_new] = runs.try_emplace({&shape, twice});
    if (is_new)
        found->second = make_shape_run(shape, shape.few * (twice ? 2 : 1));
    return found->second;
}

double time_of(const shape_t &shape, bool twice)
{
    const shape_run_t &run = shape_run(shape, twice);
    return bench_time([&] { (void)shape.run(run.input); });
}

/// Twice the patterns may give more than twice the output: the time is held against the sum.
void report_shapes()
{
    bench_heading("time for twice the input and output:");
    for (const shape_t &shape : shapes) {
        const auto few = static_cast<double>(shape_run(shape, false).bytes);
        const auto many = static_cast<double>(shape_run(shape, true).bytes);
        bench_at_most(shape.name, bench_median(shape.name) * 2 * few / many, "times", 2.2);
    }
}

std::string step_name(const engine_t &engine, uint32_t patterns)
{
    return std::string(engine.name) + "/" + std::to_string(patterns);
}

void report_engine(const engine_t &engine)
{
    bench_heading(std::string(engine.name) + ":");
    double per_pattern[3] = {};
    for (size_t i = 0; i < 3; ++i) {
        const input_t &input = input_of(sizes[i]);
        const double ns = bench_median(step_name(engine, sizes[i])) * 1e9;
        allocation_peak_start();
        const output_t output = engine.run(input);
        const size_t peak = allocation_peak_bytes();
        const std::string prefix = std::to_string(sizes[i]) + " patterns: ";
        per_pattern[i] = ns / sizes[i];
        bench_line(prefix + "states", static_cast<double>(output.states), "");
        bench_line(prefix + "bytes written", static_cast<double>(output.bytes), "");
        bench_line(prefix + "time per state", ns / static_cast<double>(output.states), "ns");
        bench_line(prefix + "time per byte written", ns / static_cast<double>(output.bytes), "ns");
        bench_line(prefix + "time per pattern", per_pattern[i], "ns");
        bench_peak(prefix + "peak memory", peak, 3 * output.bytes + (size_t{16} << 20));
    }
    bench_line("time per pattern, 20000 to 5000", per_pattern[2] / per_pattern[1], "times");
}

void report()
{
    for (const engine_t &engine : engines)
        report_engine(engine);
    report_shapes();
}

void run_once(std::string_view name, uint32_t patterns)
{
    for (const shape_t &shape : shapes)
        if (shape.name == name) {
            input_t input;
            const size_t bytes = shape.input(patterns, input);
            std::printf("%zu\n", bytes + shape.run(input).bytes);
            return;
        }
    const input_t input = make_input(patterns);
    for (const engine_t &engine : engines)
        if (engine.name == name)
            (void)engine.run(input);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && argv[1] == std::string_view("--once")) {
        run_once(argv[2], static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10)));
        return 0;
    }
    for (const engine_t &engine : engines)
        for (const uint32_t patterns : sizes) {
            const input_t &input = input_of(patterns);
            bench_add(step_name(engine, patterns), {input.host_bytes, patterns},
                      [&] { return bench_time([&] { (void)engine.run(input); }); });
        }
    for (const shape_t &shape : shapes)
        bench_add_ratio(
            shape.name, [&] { return time_of(shape, true); },
            [&] { return time_of(shape, false); });
    return bench_main(argc, argv, report);
}
