// The run-time library beside public matchers: host suffixes, payloads, whole flows, opening. What
// is compared is performed turn by turn, and all of them must find the same.
#include <algorithm>

#include "bench_input.h"
#include "bench_run.h"
#include "bench_threads.h"
#include "match_bench_peers.h"
#include "pdata.hpp"
#include "pdata_compile.h"
#include "random_words.h"

namespace
{

constexpr uint32_t nr_suffix = 20000;
constexpr uint32_t nr_value = 200000;
constexpr uint32_t nr_flow = 100000;
constexpr size_t payload_size = 256;

using texts_t = std::vector<std::string>;

/// A loadable pdb made of a description.
std::vector<uint8_t> make_loadable(const std::string &text)
{
    pdb_list_t list;
    bench_serialize(bench_pdd(text), &list);
    pdb_t out;
    bench_require(pdata_compile(&list, &out, nullptr, {}, 1) == PDATA_SUCCESS, "compiling a pdb");
    const std::span<const uint8_t> bytes = pdb_header_bytes(out);
    return {bytes.begin(), bytes.end()};
}

/// A description whose rules test one attribute of a protocol with one value each.
std::string describe(const std::string &protocol, const std::string &attribute,
                     const std::string &more, const texts_t &values)
{
    constexpr size_t per_protocol = 1000;
    std::string text = "{\n\"protocols\": [";
    for (size_t i = 0; i < values.size(); ++i) {
        const std::string number = std::to_string(i / per_protocol);
        if (i % per_protocol == 0)
            text += (i == 0 ? "" : "]},\n") + std::string("{\"name\": \"p") + number +
                    "\", \"id\": " + std::to_string(16777300 + i / per_protocol) +
                    ", \"version\": {\"major\": 1, \"minor\": 0, \"revision\": 0}, \"tags\": "
                    "{\"category\": [\"x\"], \"family\": \"y\"}, \"rules\": [";
        text += (i % per_protocol == 0 ? "" : ",\n") +
                std::string(
                    "{\"order\": \"50:0\", \"scope\": [\"all\"], \"rule\": [{\"protocol\": \"") +
                protocol + "\", " + more + "\"" + attribute + "\": \"" + values[i] + "\"}]}";
    }
    return text + "]}]}\n";
}

/// Returns a text as an expression for itself, in JSON.
std::string quoted(const std::string &text)
{
    std::string out;
    for (const char c : text)
        out += c == '.' ? std::string("\\\\.") : std::string(1, c);
    return out;
}

/// Host names, half of them below one of the suffixes.
texts_t make_hosts(const texts_t &suffixes, random_t &random)
{
    texts_t hosts;
    for (uint32_t i = 0; i < nr_value; ++i) {
        const std::string &suffix = suffixes[random_below(random, nr_suffix)];
        hosts.push_back(i % 2 == 0 ? random_word(random) + "." + suffix
                                   : random_word(random) + random_word(random) + "." +
                                         random_domain(random));
    }
    return hosts;
}

/// A database, a flow and the attribute that values are handed over for.
struct library_t {
    std::vector<uint8_t> bytes;
    pdata::database db;
    pdata::flow flow;
    pdata_attribute attribute;

    library_t(std::vector<uint8_t> from, const char *protocol, const char *name)
        : bytes(std::move(from)), db(pdata::database::open_memory(bytes.data(), bytes.size())),
          flow(db), attribute(db.attribute(protocol, name, PDATA_CTS))
    {
        bench_require(attribute != 0, "looking the attribute up");
    }
    /// Returns how many items all values have.
    size_t match(const texts_t &values)
    {
        size_t nr = 0;
        for (const std::string &value : values) {
            (void)pdata_flow_add_bytes(flow.get(), attribute, value.data(), value.size(), 0);
            nr += pdata_flow_items(flow.get(), nullptr, 0);
            pdata_flow_reset(flow.get());
        }
        return nr;
    }
    /// Returns how many values have a best rule.
    size_t classify(const texts_t &values)
    {
        size_t nr = 0;
        for (const std::string &value : values) {
            (void)pdata_flow_add_bytes(flow.get(), attribute, value.data(), value.size(), 0);
            nr += pdata_flow_best(flow.get()) != 0 ? 1 : 0;
            pdata_flow_reset(flow.get());
        }
        return nr;
    }
};

/// A comparison with peers over one set of values.
struct contest_t {
    std::string name;
    library_t library;
    texts_t values;
    std::vector<std::unique_ptr<bench_peer_t>> peers;
};

std::vector<std::unique_ptr<contest_t>> contests;

void add_contest(std::unique_ptr<contest_t> made)
{
    contest_t &contest = *contests.emplace_back(std::move(made));
    const size_t expected = contest.library.match(contest.values);
    for (const auto &peer : contest.peers) {
        bench_require(peer->match(contest.values) == expected, "finding what the others find");
        const std::string base = contest.name + "_" + peer->name;
        bench_add_ratio(
            contest.name + "_to_" + peer->name,
            [&contest, &peer = *peer, base] {
                const double seconds = bench_time([&] { (void)peer.match(contest.values); });
                bench_record(base, seconds);
                return seconds;
            },
            [&contest] {
                const double seconds =
                    bench_time([&] { (void)contest.library.match(contest.values); });
                bench_record(contest.name, seconds);
                return seconds;
            });
    }
    if (contest.peers.empty())
        bench_add(contest.name, {0, contest.values.size()}, [&contest] {
            return bench_time([&] { (void)contest.library.match(contest.values); });
        });
}

void add_hosts()
{
    random_t random{1};
    texts_t suffixes;
    texts_t expressions;
    for (uint32_t i = 0; i < nr_suffix; ++i) {
        suffixes.push_back(generate_host(i));
        expressions.push_back(".*" + quoted(suffixes.back()));
    }
    auto contest = std::make_unique<contest_t>(contest_t{
        "suffixes",
        library_t(make_loadable(describe("http", "cts-server", "", expressions)), "http", "server"),
        make_hosts(suffixes, random), bench_suffix_peers(suffixes)});
    contest_t &hosts = *contest;
    add_contest(std::move(contest));
    bench_add("suffixes_best", {0, nr_value},
              [&hosts] { return bench_time([&] { (void)hosts.library.classify(hosts.values); }); });
}

/// Signatures of the first bytes of streams, as the example has them: beginnings, and words
/// anywhere.
texts_t payload_signatures()
{
    return {"SSH-(1\\\\.99|2\\\\.0)-.*",
            "(GET|POST|HEAD|PUT) /.*",
            "HTTP/1\\\\.[01] .*",
            "220.*FTP.*",
            "EHLO .*",
            "\\\\x16\\\\x03[\\\\x00-\\\\x04].*",
            "\\\\x13\\\\xBitTorrent protocol.*",
            "RFB 003\\\\..*",
            "PRI \\\\* HTTP/2\\\\.0.*",
            ".*mining\\\\.subscribe.*",
            ".*<stream:stream.*",
            "\\\\x00\\\\x00\\\\x00.\\\\xffSMB.*",
            "REGISTER sip:.*",
            "<34>.*",
            "CONNECT .*HTTP/1.*"};
}

texts_t make_payloads(random_t &random)
{
    const texts_t starts = {"SSH-2.0-OpenSSH_9.2p1\r\n",
                            "GET /index.html HTTP/1.1\r\nHost: a\r\n",
                            "220 files FTP ready\r\n",
                            "EHLO mail.example\r\n",
                            "{\"method\": \"mining.subscribe\"}",
                            "<?xml?><stream:stream to='a'"};
    texts_t payloads;
    for (uint32_t i = 0; i < nr_flow; ++i) {
        std::string payload = i % 2 == 0 ? starts[random_below(random, 6)] : std::string();
        while (payload.size() < payload_size)
            payload += static_cast<char>(random_below(random, i % 4 == 1 ? 256 : 96) + 32);
        payload.resize(payload_size);
        payloads.push_back(payload);
    }
    return payloads;
}

void add_payloads()
{
    random_t random{2};
    const texts_t signatures = payload_signatures();
    add_contest(std::make_unique<contest_t>(contest_t{
        "payloads",
        library_t(
            make_loadable(describe("tcp", "cts-stream", "\"cts-mindata\": 65536, ", signatures)),
            "tcp", "stream"),
        make_payloads(random), bench_expression_peers(signatures)}));
}

/// Flows of five values against the example.
struct flows_t {
    std::vector<uint8_t> bytes;
    pdata::database db;
    pdata_attribute name, port, address, agent, stream;
    texts_t names;
    texts_t payloads;

    size_t classify(pdata_flow *flow, size_t first, size_t last) const
    {
        size_t known = 0;
        for (size_t i = first; i < last; ++i) {
            const uint8_t ip[4] = {157, 240, static_cast<uint8_t>(i), 1};
            pdata_flow_reset(flow);
            (void)pdata_flow_add_bytes(flow, name, names[i].data(), names[i].size(), 0);
            (void)pdata_flow_add_number(flow, port, i % 2 == 0 ? 443 : i % 65536);
            (void)pdata_flow_add_ipv4(flow, address, ip);
            (void)pdata_flow_add_bytes(flow, agent, "Mozilla/5.0 (X11; Linux)", 24, 0);
            (void)pdata_flow_add_bytes(flow, stream, payloads[i].data(), payloads[i].size(), 0);
            known += pdata_flow_best(flow) != 0 ? 1 : 0;
        }
        return known;
    }
};

/// Classifies flows again and again, with a flow object of its own. All threads have the same ones,
/// from other places on: as many as a cache that all share keeps, for one thread and for four.
bench_step_t classify_again(const flows_t &flows, unsigned thread)
{
    constexpr size_t nr_step = 500; // flows
    constexpr size_t nr = 20000;
    static_assert(nr % (nr_step * BENCH_NR_THREAD) == 0);
    const auto flow = std::make_shared<pdata::flow>(flows.db);
    return [&flows, flow, at = nr / BENCH_NR_THREAD * thread]() mutable {
        (void)flows.classify(flow->get(), at, at + nr_step);
        at = (at + nr_step) % nr;
        return nr_step;
    };
}

std::unique_ptr<flows_t> make_flows()
{
    random_t random{3};
    std::vector<uint8_t> bytes = make_loadable(bench_example());
    const pdata::database db =
        pdata::database::open_memory(bytes.data(), bytes.size(), PDATA_OPEN_COPY);
    const auto find = [&](const char *protocol, const char *name) {
        const pdata_attribute attribute = db.attribute(protocol, name, PDATA_CTS);
        bench_require(attribute != 0, "looking an attribute up");
        return attribute;
    };
    texts_t names;
    const texts_t known = {"www.youtube.com", "a.netflix.com", "en.wikipedia.org", "facebook.com"};
    for (uint32_t i = 0; i < nr_flow; ++i)
        names.push_back(i % 2 == 0 ? known[random_below(random, 4)] : generate_host(i));
    return std::make_unique<flows_t>(
        flows_t{bytes, db, find("ssl", "common_name"), find("tcp", "port"), find("ip", "address"),
                find("http", "user_agent"), find("tcp", "stream"), names, make_payloads(random)});
}

/// Counts in registers: what threads do that share nothing, not even memory.
bench_step_t count_in_registers(unsigned thread)
{
    constexpr size_t nr_number = 100000;
    return [random = random_t{thread}]() mutable {
        uint64_t sum = 0;
        for (size_t left = nr_number; left != 0; --left)
            sum += random_next(random);
        random.state += sum; // so that it is not left out
        return nr_number;
    };
}

void report()
{
    for (const auto &contest : contests) {
        bench_heading(contest->name + ", " + std::to_string(contest->values.size()) + " values:");
        double to_fastest = 1e9;
        bench_line("libpdata",
                   bench_median(contest->name) / static_cast<double>(contest->values.size()) * 1e9,
                   "ns");
        for (const auto &peer : contest->peers) {
            const std::string ratio = contest->name + "_to_" + peer->name;
            bench_line(peer->name,
                       bench_median(contest->name + "_" + peer->name) /
                           static_cast<double>(contest->values.size()) * 1e9,
                       "ns");
            to_fastest = std::min(to_fastest, bench_median(ratio));
        }
        if (!contest->peers.empty())
            bench_at_least(contest->name + ", values a second to the fastest other", to_fastest,
                           "times", contest->name == "suffixes" ? 4 : 0.5);
    }
    bench_line("suffixes by libpdata, asked for the best rule of each value",
               bench_median("suffixes_best") / nr_value * 1e9, "ns");
    bench_heading("flows of five values:");
    bench_at_least("flows a second on one core",
                   static_cast<double>(nr_flow) / bench_fastest("flows"), "", 500000);
    bench_report_threads("threads", "four threads to one", 3.5);
    bench_report_threads("threads_own", "the same, each with a database and values of its own", 0);
    bench_report_threads("threads_count", "four threads to one that count in registers", 0);
    bench_heading("opening:");
    bench_at_least("verified bytes a second", bench_median("open_rate") / 1e6, "MB", 200);
}

} // namespace

int main(int argc, char **argv)
{
    add_hosts();
    add_payloads();
    const std::unique_ptr<flows_t> flows = make_flows();
    const pdata::flow flow(flows->db);
    bench_add("flows", {0, nr_flow},
              [&] { return bench_time([&] { (void)flows->classify(flow.get(), 0, nr_flow); }); });
    std::vector<std::unique_ptr<flows_t>> own;
    for (unsigned i = 0; i < BENCH_NR_THREAD; ++i)
        own.push_back(make_flows());
    bench_add_threads("threads", [&](unsigned i) { return classify_again(*flows, i); });
    bench_add_threads("threads_own", [&](unsigned i) { return classify_again(*own[i], i); });
    bench_add_threads("threads_count", count_in_registers);
    const std::vector<uint8_t> &large = contests[0]->library.bytes;
    bench_add("open", {large.size(), 0}, [&] {
        const double seconds =
            bench_time([&] { (void)pdata::database::open_memory(large.data(), large.size()); });
        bench_record("open_rate", static_cast<double>(large.size()) / seconds);
        return seconds;
    });
    return bench_main(argc, argv, report);
}
