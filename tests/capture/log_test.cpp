#include <gtest/gtest.h>

#include <random>

#include "log_reader.h"

namespace
{

using namespace std::string_literals;

// What is beyond the room of a record is counted; what it has already is not.
TEST(FlowRecord, KeepsAsManyValuesAsThereIsRoomFor)
{
    flow_record_t record;
    const auto add = [&](size_t number, size_t size = 1) {
        flow_seen_t seen;
        seen.value.kind = FLOW_BYTES;
        seen.value.number = number;
        seen.value.bytes.assign(size, 'x');
        flow_record_add(record, seen);
    };
    for (size_t number = 0; number < FLOW_RECORD_VALUES; ++number)
        add(number);
    EXPECT_EQ(record.seen.size(), FLOW_RECORD_VALUES);
    add(7);
    EXPECT_EQ(record.dropped, 0u);
    add(FLOW_RECORD_VALUES);
    EXPECT_EQ(record.seen.size(), FLOW_RECORD_VALUES);
    EXPECT_EQ(record.dropped, 1u);
    record = {};
    add(0, FLOW_RECORD_VALUE_BYTES);
    add(1, FLOW_RECORD_VALUE_BYTES + 1);
    EXPECT_FALSE(record.seen[0].value.incomplete);
    EXPECT_TRUE(record.seen[1].value.incomplete);
    EXPECT_EQ(record.seen[1].value.bytes.size(), FLOW_RECORD_VALUE_BYTES);
}

TEST(FlowRecord, KeepsProtocolsThatAreNames)
{
    flow_record_t record;
    const std::string longest(64, 'a');
    for (const std::string &name : {""s, longest, longest + 'a', "a b"s, "_-.Z"s, "_-.Z"s})
        flow_record_add_protocol(record, name);
    EXPECT_EQ(record.protocols, (std::vector<std::string>{longest, "_-.Z"}));
    for (size_t number = 0; number < 2 * FLOW_RECORD_VALUES; ++number)
        flow_record_add_protocol(record, std::to_string(number));
    EXPECT_EQ(record.protocols.size(), FLOW_RECORD_VALUES);
}

TEST(FlowRecord, NumbersOfProtocolsAreNamesOrNumbers)
{
    const std::pair<const char *, int> rows[] = {
        {"tcp", 6}, {"IPv6-ICMP", 58}, {"0", 0}, {"253", 253}, {"256", -1}, {"6x", -1}, {"", -1}};
    for (const auto &[name, number] : rows)
        EXPECT_EQ(ip_protocol_number(name), number) << name;
    EXPECT_EQ(ip_protocol_name(58), "icmp6");
    EXPECT_EQ(ip_protocol_name(253), "253");
}

TEST(FlowRecord, EndsAreInOrder)
{
    const flow_end_t end = {FLOW_IP4, {10}, 5};
    EXPECT_LT(end, (flow_end_t{FLOW_IP6, {10}, 5}));
    EXPECT_LT(end, (flow_end_t{FLOW_IP4, {10, 1}, 0}));
    EXPECT_LT(end, (flow_end_t{FLOW_IP4, {10}, 6}));
    EXPECT_GT(end, (flow_end_t{FLOW_IP4, {9}, 6}));
    EXPECT_EQ(end, (flow_end_t{FLOW_IP4, {10}, 5}));
}

/// Flows that the lines of one input lead to.
struct run_t {
    std::vector<flow_record_t> flows;
    std::vector<std::string> faults;
    uint64_t evicted = 0;
};

run_t run_lines(const std::vector<std::string> &lines, size_t window = 100)
{
    run_t run;
    log_reader_t reader;
    log_reader_open(
        reader, [&run](flow_record_t &record) { run.flows.push_back(record); }, window);
    log_header_t header = log_reader_begin("x.log");
    for (const std::string &line : lines) {
        const std::string fault = log_reader_line(reader, header, line);
        if (!fault.empty())
            run.faults.push_back(fault);
    }
    log_reader_end(reader);
    run.evicted = reader.evicted;
    return run;
}

std::string event(const std::string &type, int flow, const std::string &members,
                  bool turned = false)
{
    const std::string from = R"("src_ip":"10.0.0.1","src_port":4000)";
    const std::string to = R"("dest_ip":"10.0.0.2","dest_port":443)";
    const std::string back =
        R"("src_ip":"10.0.0.2","src_port":443,"dest_ip":"10.0.0.1","dest_port":4000)";
    return R"({"event_type":")" + type + R"(","flow_id":)" + std::to_string(flow) + ',' +
           (turned ? back : from + ',' + to) + R"(,"proto":"TCP")" + members + '}';
}

TEST(log_test, events_of_a_flow_are_joined_and_turned)
{
    const run_t run = run_lines({
        event("alert", 5, R"(,"direction":"to_client")", true),
        event("tls", 5, R"(,"tls":{"sni":"a.example"})"),
        event("flow", 5, R"(,"flow":{"pkts_toserver":3,"pkts_toclient":4})"),
    });
    ASSERT_EQ(run.flows.size(), 1u);
    const flow_record_t &flow = run.flows[0];
    EXPECT_EQ(flow.ends[flow.client].port, 4000);
    EXPECT_EQ(flow.packets[flow.client], 3u);
    EXPECT_EQ(flow_write(flow_record_values(flow, false)),
              "ip:protoid cts 6; ip:protoid stc 6; ip:address cts 10.0.0.2; "
              "ip:address stc 10.0.0.2; tcp:port cts 443; tcp:port stc 443; "
              "ssl:common_name cts \"a.example\"");
}

TEST(log_test, an_alert_without_direction_is_turned_by_what_follows)
{
    const run_t run = run_lines({
        event("alert", 5, "", true),
        event("http", 5, R"(,"http":{"hostname":"h.example:8080","url":"/p%2Fq?a=%41"})"),
    });
    ASSERT_EQ(run.flows.size(), 1u);
    const std::string line = flow_write(flow_record_values(run.flows[0], false));
    EXPECT_NE(line.find("tcp:port cts 443"), line.npos) << line;
    EXPECT_NE(line.find("http:server cts \"h.example\""), line.npos) << line;
    EXPECT_NE(line.find("http:uri cts \"/p%2Fq?a=%41\""), line.npos) << line;
    EXPECT_NE(line.find("http:uri_path_decoded cts \"/p/q\""), line.npos) << line;
    EXPECT_NE(line.find("http:uri_get_decoded cts \"a=A\""), line.npos) << line;
    EXPECT_EQ(line.find("uri_post_decoded"), line.npos) << line;
}

TEST(log_test, a_name_from_outside_is_no_further_value_of_the_line)
{
    const run_t run = run_lines({
        event("flow", 1, R"(,"app_proto":"tls; ip:address cts 192.0.2.1")"),
        event("flow", 2, R"(,"app_proto":"ftp-data")"),
    });
    ASSERT_EQ(run.flows.size(), 2u);
    EXPECT_EQ(flow_write(flow_record_values(run.flows[0], false)).find("192.0.2.1"),
              std::string::npos);
    EXPECT_EQ(run.flows[1].protocols, (std::vector<std::string>{"tcp", "ftp_data"}));
}

std::string line_of(const flow_record_t &flow)
{
    return flow_write(flow_record_values(flow, false));
}

TEST(log_test, events_say_what_they_know)
{
    const std::string odd = R"({"event_type":"tls","src_ip":"10.0.0.1","src_port":70000,)"
                            R"("dest_ip":"10.0.0.2","dest_port":443,"proto":)";
    const run_t run = run_lines({
        event("flow", 1, R"(,"app_proto":"failed")"),
        event("flow", 2, R"(,"app_proto":"unknown")"),
        event("tls", 3, ""),
        event("alert", 3, ""), // from the client, as the event before said
        event("alert", 4, R"(,"direction":"to_server")"),
        odd + R"("SCTP"})",
        odd + R"("ICMP","icmp_type":300,"icmp_code":7})",
        R"({"event_type":"stats"})",
        R"({"event_type":"alert","src_ip":"10.0.0.1"})",
    });
    ASSERT_EQ(run.flows.size(), 6u);
    EXPECT_TRUE(run.flows[0].protocols.empty());
    EXPECT_TRUE(run.flows[1].protocols.empty());
    EXPECT_TRUE(run.flows[2].has_ports) << "of SCTP";
    EXPECT_EQ(run.flows[2].ends[0].port, 0) << "70000 is none";
    EXPECT_FALSE(run.flows[3].has_ports);
    EXPECT_EQ(run.flows[3].icmp_type, -1) << "300 is none";
    EXPECT_EQ(run.flows[3].icmp_code, 7);
    EXPECT_EQ(run.flows[4].trust, FLOW_TRUST_OPENING);
    EXPECT_EQ(run.flows[4].ends[run.flows[4].client].port, 4000);
    EXPECT_EQ(run.flows[5].trust, FLOW_TRUST_OPENING);
    EXPECT_EQ(run.faults, std::vector<std::string>{"an event without addresses"});
}

TEST(log_test, zeek_logs_say_what_they_know)
{
    const std::string ends = R"(,"id.orig_h":"10.0.0.1","id.orig_p":300,"id.resp_h":"10.0.0.2")"
                             R"(,"id.resp_p":400)";
    const run_t run = run_lines({
        "",
        R"({"_path":"quic","server_name":"q.example")" + ends + "}",
        R"({"_path":"conn","proto":"tcp","service":"ssl,,-http,dns")" + ends + "}",
        R"({"_path":"conn","proto":"icmp")" + ends + "}",
        R"({"_path":"conn","proto":"icmp6")" + ends + "}",
    });
    EXPECT_TRUE(run.faults.empty());
    ASSERT_EQ(run.flows.size(), 4u);
    EXPECT_EQ(run.flows[0].protocol, 17) << "of a log that does not say it";
    EXPECT_EQ(run.flows[1].protocols, (std::vector<std::string>{"tcp", "ssl", "dns"}));
    for (const size_t icmp : {2U, 3U}) {
        EXPECT_EQ(run.flows[icmp].protocol, 1) << "by the addresses";
        EXPECT_EQ(run.flows[icmp].icmp_type, -1) << "300 is none";
        EXPECT_EQ(run.flows[icmp].icmp_code, -1);
        EXPECT_EQ(run.flows[icmp].ends[0].port, 0);
    }
}

TEST(log_test, a_zeek_log_whose_header_is_odd)
{
    const run_t run = run_lines({
        "#separator ", // none: a line is one column
        "#fields\tuid",
        "#separator \\x09",
        "#empty_field\t(empty)",
        "#unset_field\t-",
        "#path\thttp",
        "#fields\tuid\tid.orig_h\tid.orig_p\tid.resp_h\tid.resp_p\thost\turi",
        "(empty)\t10.0.0.1\t1\t10.0.0.2\t80\ta.example\t(empty)",
    });
    EXPECT_TRUE(run.faults.empty());
    ASSERT_EQ(run.flows.size(), 1u);
    EXPECT_NE(line_of(run.flows[0]).find("http:server cts \"a.example\""), std::string::npos);
    EXPECT_EQ(line_of(run.flows[0]).find("http:uri"), std::string::npos);
}

TEST(log_test, the_window_is_bounded)
{
    std::vector<std::string> lines;
    for (int i = 0; i < 10; ++i)
        lines.push_back(event("tls", i, R"(,"tls":{"sni":"a.example"})"));
    const run_t run = run_lines(lines, 4);
    EXPECT_EQ(run.flows.size(), 10u);
    EXPECT_EQ(run.evicted, 6u);
}

TEST(log_test, a_zeek_log_with_its_header)
{
    const run_t run = run_lines({
        "#separator \\x09",
        "#unset_field\t-",
        "#path\tssl",
        "#fields\tuid\tid.orig_h\tid.orig_p\tid.resp_h\tid.resp_p\tversion\tserver_name\tsubject",
        "C1\t10.0.0.1\t1\t10.0.0.2\t443\tTLSv12\ta.example\tCN=b.example,O=Example\\\\, Inc.,C=US",
        "C2\t10.0.0.1\t1\t10.0.0.2\t443\tDTLSv12\ta.example\t-",
        "C3\t10.0.0.1\t1",
    });
    ASSERT_EQ(run.flows.size(), 2u);
    EXPECT_EQ(run.faults.size(), 1u);
    const std::string first = flow_write(flow_record_values(run.flows[0], false));
    EXPECT_NE(first.find("ssl:common_name stc \"b.example\""), first.npos) << first;
    const std::string second = flow_write(flow_record_values(run.flows[1], false));
    EXPECT_NE(second.find("dtls:common_name cts \"a.example\""), second.npos) << second;
    EXPECT_EQ(second.find("ssl:common"), second.npos) << second;
}

TEST(log_test, lines_of_any_bytes_are_faults_at_most)
{
    const std::vector<std::string> seeds = {
        event("http", 1, R"(,"http":{"hostname":"a:1","url":"http://x/?%4","n":[[{"a":1}]]})"),
        event("tls", 2,
              R"(,"tls":{"subject":"C=US, O=Ex\\, Inc., CN=*.b","subjectaltname":["a"]})"),
        R"({"uid":"C","id.orig_h":"::1","id.orig_p":8,"id.resp_h":"::2","proto":"icmp","_path":"conn"})",
        "#separator \\x09",
        "#fields\tuid\tid.orig_h\tid.resp_h\thost\tresp_mime_types",
        "C9\t1.2.3.4\t1.2.3.5\tz\\x4\ta,b,,",
        std::string(2000, '[') + std::string(100, '{'),
        R"({"a":)" + std::string(3000, '[') + "1" + std::string(3000, ']') + "}",
    };
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::vector<std::string> lines = seeds;
        for (std::string &line : lines)
            for (uint32_t edit = random() % 4; edit > 0; --edit)
                line[random() % line.size()] = static_cast<char>(random() % 256);
        std::shuffle(lines.begin(), lines.end(), random);
        (void)run_lines(lines, 1 + random() % 3);
    }
}

} // namespace
