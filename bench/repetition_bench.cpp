// Descriptions that repeat what a file can repeat, through the loadable flow: time for twice the
// input and output. Where a description is refused, the message is the output. The attribute of
// most values is one that others are aliases of.
#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "bench_input.h"
#include "bench_run.h"
#include "json_error.h"
#include "pdata_compile.h"
#include "random_words.h"

namespace
{

/// Rules of a protocol; a description may give one 1,199.
constexpr size_t PROTOCOL_RULES = 1000;

std::string number(size_t n)
{
    return std::to_string(n);
}

std::string rule(const std::string &attributes)
{
    return R"({"order": "50:100", "rule": [{)" + attributes + "}]}";
}

std::string server_rule(const std::string &value)
{
    return rule(R"("protocol": "http", "cts-server": ")" + value + '"');
}

std::string port_rule(size_t first, size_t last)
{
    return rule(R"("protocol": "tcp", "port": ")" + number(first) + "-" + number(last) + '"');
}

std::string protocol(size_t i, const std::string &members, const std::string &rules)
{
    return R"({"name": "p)" + number(i) + R"(", "id": )" + number(16777216 + i) + members +
           R"(, "rules": [)" + rules + "]}";
}

/// As many protocols on one line, each of which `make` returns.
template <typename Make>
std::string protocols(size_t count, const Make &make)
{
    std::string text = R"({"protocols": [)";
    for (size_t i = 0; i < count; ++i)
        text.append(i == 0 ? "" : ",").append(make(i));
    return text + "]}";
}

/// As many rules, each of which `make` returns, in as few protocols as may hold them.
template <typename Make>
std::string rules(size_t count, const Make &make)
{
    return protocols((count + PROTOCOL_RULES - 1) / PROTOCOL_RULES, [&](size_t i) {
        std::string list;
        const size_t first = i * PROTOCOL_RULES;
        for (size_t j = first; j < std::min(count, first + PROTOCOL_RULES); ++j)
            list.append(j == first ? "" : ",").append(make(j));
        return protocol(i, "", list);
    });
}

std::string same_value(size_t count)
{
    return rules(count, [](size_t) { return server_rule("a.value.that.is.repeated"); });
}

std::string same_name(size_t count)
{
    return protocols(count, [](size_t i) { return protocol(1, "", server_rule(number(i))); });
}

std::string tags(size_t count)
{
    return protocols(count, [](size_t i) {
        std::string categories;
        for (size_t j = 0; j < 9; ++j)
            categories.append(j == 0 ? "\"" : ", \"").append(number(i * 9 + j)).append("\"");
        return protocol(
            i, R"(, "tags": {"family": "f)" + number(i) + R"(", "category": [)" + categories + "]}",
            server_rule("a"));
    });
}

std::string alternative_names(size_t count)
{
    return protocols(count, [](size_t i) {
        std::string names;
        for (size_t j = 0; j < 9; ++j)
            names.append(j == 0 ? "\"" : ", \"").append(number(i * 9 + j)).append("\"");
        return protocol(i, R"(, "altname": [)" + names + "]", server_rule("a"));
    });
}

std::string long_strings(size_t count)
{
    random_t random = {3};
    return rules(count, [&random](size_t) {
        std::string value(1000, 'a');
        for (char &c : value)
            c = static_cast<char>('a' + random_below(random, 2));
        return server_rule(value);
    });
}

std::string alternatives(size_t count)
{
    return rules(count, [](size_t i) { return server_rule("(a|b)(c|d)" + number(i)); });
}

std::string pieces(size_t count)
{
    return rules(count, [](size_t i) { return server_rule("a.*b.*c.*" + number(i)); });
}

std::string offset_rule(size_t offset, const std::string &pattern)
{
    return rule(R"("protocol": "tcp", "mindata": 65535, "cts-stream_offset": {"offset": )" +
                number(offset) + R"(, "pattern": ")" + pattern + "\"}");
}

/// One word at every offset.
std::string every_offset(size_t count)
{
    return rules(count, [](size_t i) { return offset_rule(i + 1, std::string(100, 'a')); });
}

/// Words of two letters at eleven offsets.
std::string few_offsets(size_t count)
{
    random_t random = {4};
    return rules(count, [&random](size_t i) {
        std::string word(20, 'a');
        for (char &c : word)
            c = static_cast<char>('a' + random_below(random, 2));
        return offset_rule(1 + i % 11, word);
    });
}

std::string nested_ports(size_t count)
{
    return rules(count, [](size_t i) { return port_rule(i, 60000 - i); });
}

std::string adjacent_ports(size_t count)
{
    return rules(count, [](size_t i) { return port_rule(3 * i, 3 * i + 2); });
}

/// Many protocols on one line, and another one.
std::string followed_by(size_t count, const char *last)
{
    std::string text = same_value(count);
    text.resize(text.size() - 2);
    return text + ", " + last + "]}";
}

std::string error_at_end(size_t count)
{
    return followed_by(count, "?");
}

std::string bad_key_at_end(size_t count)
{
    return followed_by(count, R"({"nme": "a"})");
}

struct shape_t {
    const char *name;
    size_t few; ///< the number of the smaller of two runs; the larger has twice as many
    std::string (*text)(size_t count);
    bool is_refused = false;
};

constexpr shape_t shapes[] = {
    {"a repeated value", 5000, same_value},
    {"a repeated id and name", 5000, same_name},
    {"tags", 3000, tags},
    {"alternative names", 3000, alternative_names},
    {"long strings", 300, long_strings},
    {"alternatives", 2000, alternatives},
    {"values of several pieces", 3000, pieces},
    {"a word at every offset", 2000, every_offset},
    {"words at eleven offsets", 3000, few_offsets},
    {"nested ports", 700, nested_ports},
    {"adjacent ports", 10000, adjacent_ports},
    {"an error behind one long line", 10000, error_at_end, true},
    {"a key that is refused behind one long line", 10000, bad_key_at_end, true},
};

/// Performs the flow. Returns the bytes of what comes out.
size_t run(const shape_t &shape, const std::string &text)
{
    pragmar_err_clear();
    const pdd_t pdd = bench_pdd(text);
    pdb_list_t pdb;
    const pdata_status_t status =
        pdata_serialize(&pdd, &pdb, bench_cfg(), nullptr, PDATA_TYPE_PROTOCOL);
    bench_require((status != PDATA_SUCCESS) == shape.is_refused, pdata_status_msg_get());
    if (shape.is_refused)
        return std::string(pdata_status_msg_get()).size();
    pdb_t loadable;
    bench_require(pdata_compile(&pdb, &loadable, nullptr, {}, 1) == PDATA_SUCCESS,
                  pdata_status_msg_get());
    return loadable.pdb_tlv_len;
}

/// A description, and the bytes of it and of what comes out.
struct input_t {
    std::string text;
    size_t bytes = 0;
};

const input_t &input_of(const shape_t &shape, bool twice)
{
    static std::map<std::pair<const shape_t *, bool>, input_t> inputs;
    const auto [found, is_new] = inputs.try_emplace({&shape, twice});
    input_t &input = found->second;
    if (is_new) {
        input.text = shape.text(shape.few * (twice ? 2 : 1));
        input.bytes = input.text.size() + run(shape, input.text);
    }
    return input;
}

double time_of(const shape_t &shape, bool twice)
{
    const input_t &input = input_of(shape, twice);
    return bench_time([&] { (void)run(shape, input.text); });
}

void report()
{
    bench_heading("loadable flow, time for twice the input and output:");
    for (const shape_t &shape : shapes) {
        const auto few = static_cast<double>(input_of(shape, false).bytes);
        const auto many = static_cast<double>(input_of(shape, true).bytes);
        bench_at_most(shape.name, bench_median(shape.name) * 2 * few / many, "times", 2.2);
    }
}

} // namespace

int main(int argc, char **argv)
{
    for (const shape_t &shape : shapes)
        bench_add_ratio(
            shape.name, [&] { return time_of(shape, true); },
            [&] { return time_of(shape, false); });
    return bench_main(argc, argv, report);
}
