#include <gtest/gtest.h>

#include <map>

#include "import_numbers.h"
#include "import_protocol.h"
#include "import_values.h"

namespace
{

using texts = std::vector<std::string>;

/// A list, and what it holds as one line: entries, then findings as "LINE:id", then own names.
struct list_case_t {
    const char *text;
    const char *shown;
};

std::string shown(const name_import_t &names)
{
    constexpr const char *kinds[] = {"domain", "below", "full", "keyword", "regexp"};
    std::string line;
    for (const name_entry_t &entry : names.entries)
        line += std::string(line.empty() ? "" : " ") + kinds[entry.kind] + ':' + entry.text;
    for (const import_finding_t &finding : names.findings)
        line += " !" + std::to_string(finding.place.line) + ':' + finding.id;
    for (const std::string &name : names.own_names)
        line += " -" + name;
    return line;
}

/// Reads a list that stands beside others.
name_import_t read_names(name_list_t kind, const std::string &file, std::string_view text,
                         const std::map<std::string, std::string> &others = {})
{
    name_import_t names;
    import_names_read(
        kind, file, text,
        [&others](const std::string &path, std::string &found) {
            const auto other = others.find(path);
            if (other != others.end())
                found = other->second;
            return other != others.end();
        },
        names);
    return names;
}

void expect_lists(name_list_t kind, std::span<const list_case_t> cases)
{
    for (const list_case_t &it : cases)
        EXPECT_EQ(shown(read_names(kind, "list", it.text)), it.shown) << it.text;
}

TEST(ImportNamesTest, domains_are_one_name_a_line)
{
    const std::string label(63, 'a');
    const std::string name = label + '.' + label + '.' + label + '.' + std::string(61, 'b');
    const std::string whole = "domain:" + name;
    const list_case_t cases[] = {
        {"\ta.example \r\n\n b.example\t# of us\n#c.example\nd.example#e", // no "\n" at the end
         "domain:a.example domain:b.example domain:d.example"},
        {"A.eXAMPLe.\nZ-9_z.example", "domain:a.example domain:z-9_z.example"},
        {".a.example\n*.b.example\n*.C.example.",
         "domain:a.example below:b.example below:c.example"},
        {"a.example b.example", " !1:not-a-name"},
        {"0.0.0.0 ads.example\nc.example", "domain:c.example !1:not-a-name"},
        {"! a comment\n; another\n// one", " !1:not-a-name !2:not-a-name !3:not-a-name"},
        {"||a.example^\nhttp://a.example/"
         "\na.example:80\na.example,b.example\n*a.example\na.*.example",
         " !1:not-a-name !2:not-a-name !3:not-a-name !4:not-a-name !5:not-a-name !6:not-a-name"},
        {"a..b\n..a\na..\n.\n*.\n*\n*.*.a\n*..a",
         " !1:not-a-name !2:not-a-name !3:not-a-name !4:not-a-name !5:not-a-name !6:not-a-name"
         " !7:not-a-name !8:not-a-name"},
        {"b\xc3\xbc"
         "cher.example\n\xef\xbb\xbf"
         "a.example\na{b\na`b\na/b\na:b",
         " !1:not-a-name !2:not-a-name !3:not-a-name !4:not-a-name !5:not-a-name !6:not-a-name"},
        {name.c_str(), whole.c_str()},
    };
    expect_lists(NAME_LIST_DOMAINS, cases);
    EXPECT_EQ(name.size(), 253U);
    EXPECT_EQ(shown(read_names(NAME_LIST_DOMAINS, "list", name + 'b')), " !1:not-a-name");
    EXPECT_EQ(shown(read_names(NAME_LIST_DOMAINS, "list", 'a' + label)), " !1:not-a-name");
    EXPECT_EQ(shown(read_names(NAME_LIST_DOMAINS, "list", std::string_view("a\0b", 3))),
              " !1:not-a-name");
}

TEST(ImportNamesTest, hosts_files_have_an_address_and_names)
{
    constexpr list_case_t cases[] = {
        {"0.0.0.0 a.example\tB.example. # c\n::1 d.example\nfe80::1%lo0\te.example",
         "full:a.example full:b.example full:d.example full:e.example"},
        {"a.example b.example\nc\n0.0.0.0\n1.2.3.4:80 d.example\n[::1] e.example\n1.2.3 f.example",
         " !1:not-a-host !2:not-a-host !3:not-a-host !4:not-a-host !5:not-a-host !6:not-a-host"},
        {"1.2.3.4%lo0 a.example\n0x7f.0.0.1 b.example\n127.0.0.1/8 c.example",
         " !1:not-a-host !2:not-a-host !3:not-a-host"},
        {"127.0.0.1 localhost LocalHost.localdomain local a.example\n::1 ip6-localhost\n"
         "255.255.255.255 broadcasthost\n0.0.0.0 0.0.0.0",
         "full:a.example -localhost -LocalHost.localdomain -local -ip6-localhost -broadcasthost"
         " -0.0.0.0"},
        {"0.0.0.0 localhost.ads.example ip6-ads.example", "full:localhost.ads.example"
                                                          " full:ip6-ads.example"},
        {"0.0.0.0 *.a.example b.example:80 ::1", " !1:not-a-name !1:not-a-name !1:not-a-name"},
    };
    expect_lists(NAME_LIST_HOSTS, cases);
    EXPECT_EQ(shown(read_names(NAME_LIST_HOSTS, "list", std::string_view("1.2.3.4\0 a.b", 12))),
              " !1:not-a-host");
}

TEST(ImportNamesTest, v2ray_lists_have_kinds_and_attributes)
{
    constexpr list_case_t cases[] = {
        {"domain:A.example\nfull:b.example.\nkeyword:.Track.\nregexp:^A\\.b$\nc.example\n"
         "*.d.example\n.e.example",
         "domain:a.example full:b.example keyword:.track. regexp:^A\\.b$ domain:c.example"
         " below:d.example domain:e.example"},
        {"full:a.example @ads @!CN &other # end", "full:a.example"},
        {"a @\nb @-\nc &\nd ads\ne @a,b\nf @a=1\ng @a:b\ninclude:h &i\ninclude:h @-\ninclude:h @",
         "domain:b !1:not-an-entry !3:not-an-entry !4:not-an-entry !5:not-an-entry !6:not-an-entry"
         " !7:not-an-entry !8:not-an-entry !9:not-an-entry !10:not-an-entry"},
        {"Domain:a.example\nexact:a.example\n:a.example\na.example:80",
         " !1:not-an-entry !2:not-an-entry !3:not-an-entry !4:not-an-entry"},
        {"domain:.a\nfull:*.a\nfull:\nkeyword:\nkeyword:.\nkeyword:..\nkeyword:a..b\nkeyword:a*",
         " !1:not-a-name !2:not-a-name !3:not-a-name !4:not-a-name !5:not-a-name !6:not-a-name"
         " !7:not-a-name !8:not-a-name"},
        {"include:a/b\ninclude:../a\ninclude:\ninclude:none", " !1:no-list !2:no-list !3:no-list"
                                                              " !4:no-list"},
    };
    expect_lists(NAME_LIST_V2RAY, cases);
}

TEST(ImportNamesTest, what_is_asked_of_included_entries_adds_up)
{
    const std::map<std::string, std::string> others = {
        {"lists/ads", "a @ads\nb @ADS @cn\nc @cn &ads\nd\ninclude:more @cn\nregexp:e\n"},
        {"lists/more.txt", "f @cn\ng @ads @cn\nh @ads @cn @old\ninclude:cut @ads\n"},
        {"lists/cut", "i\nj @cn @ads\n"},
    };
    const auto read = [&others](std::string_view text) {
        return shown(read_names(NAME_LIST_V2RAY, "lists/mine", text, others));
    };
    EXPECT_EQ(read("include:ads @Ads"), "domain:a domain:b domain:g domain:h domain:j");
    EXPECT_EQ(read("include:ads @ads @-old"), "domain:a domain:b domain:g domain:j");
    EXPECT_EQ(read("include:ads @-cn"), "domain:a domain:d regexp:e");
    EXPECT_EQ(read("include:cut\ninclude:cut\ninclude:cut @cn\nk"),
              "domain:i domain:j domain:j domain:k")
        << "the same inclusion counts once";
}

TEST(ImportNamesTest, lists_within_themselves_end)
{
    const std::map<std::string, std::string> others = {
        {"loop", "a @x\ninclude:loop @x\ninclude:back.txt @y\n"},
        {"back.txt", "include:loop @z\ninclude:back @x\nb @y\n"},
    };
    EXPECT_EQ(shown(read_names(NAME_LIST_V2RAY, "loop", others.at("loop"), others)),
              "domain:a domain:b");
    EXPECT_EQ(shown(read_names(NAME_LIST_V2RAY, "back.txt", others.at("back.txt"), others)),
              "domain:b");
}

TEST(ImportNamesTest, lists_within_lists_have_a_limit)
{
    std::map<std::string, std::string> chain;
    for (int i = 0; i < 102; ++i)
        chain['l' + std::to_string(i)] = "include:l" + std::to_string(i + 1) + "\n";
    EXPECT_EQ(shown(read_names(NAME_LIST_V2RAY, "mine", "include:l1", chain)), " !1:beyond-limit");
    chain["l100"] = "deepest";
    EXPECT_EQ(shown(read_names(NAME_LIST_V2RAY, "mine", "include:l1", chain)), "domain:deepest");

    std::string wide;
    std::map<std::string, std::string> others;
    for (int i = 0; i <= 10000; ++i) {
        wide += "include:l" + std::to_string(i) + "\n";
        others['l' + std::to_string(i)] = "";
    }
    EXPECT_EQ(shown(read_names(NAME_LIST_V2RAY, "mine", wide, others)), " !10001:beyond-limit");
}

TEST(ImportNamesTest, what_another_entry_covers_is_left_out)
{
    constexpr list_case_t cases[] = {
        {"a.b\na.b\nx.a.b\n*.a.b\n*.y.a.b\nfull:a.b\nfull:z.a.b", "domain:a.b"},
        {"full:c.d\n*.c.d\nx.c.d\n*.c.d\nc.d.e", "full:c.d below:c.d domain:c.d.e"},
        {"keyword:k\nkeyword:k\nkeyword:a.k\nregexp:k\nregexp:k\nk\nfull:k",
         "keyword:k keyword:a.k regexp:k domain:k"},
        {"notf.g\nf.g\nfull:h\nfull:h", "domain:notf.g domain:f.g full:h"},
    };
    for (const list_case_t &it : cases) {
        name_import_t names = read_names(NAME_LIST_V2RAY, "list", it.text);
        import_names_reduce(names.entries);
        EXPECT_EQ(shown(names), it.shown) << it.text;
    }
}

/// What a list of numbers holds: ranges as "FIRST-LAST" of all kinds, then findings.
std::string shown_numbers(bool ports, std::string_view text)
{
    number_import_t numbers;
    import_numbers_read(ports, "list", text, numbers);
    std::string line;
    for (uint32_t kind = 0; kind < NUMBER_KINDS; ++kind)
        for (const import_value_t &value :
             import_number_values(static_cast<number_kind_t>(kind), numbers.ranges[kind], false))
            line += (line.empty() ? "" : " ") + value.text;
    for (const import_finding_t &finding : numbers.findings)
        line += " !" + finding.text.substr(0, finding.text.rfind('"') + 1);
    return line;
}

TEST(ImportNumbersTest, ports_are_read_as_they_are_written)
{
    constexpr list_case_t cases[] = {
        {"80,,81 , 82/tcp\t# web\r\n83-85/udp", "80 81 82 80 81 83-85"},
        {"80 - 90\n100- 101/tcp 102 -103/udp", "80-90 100-101 80-90 102-103"},
        {"0-65535/tcp", "0-65535"},
        {"80/TCP 80/sctp 80/ /tcp tcp/80 80/tcp/udp http 80:90 80;90 +80 0x50 65536 99999999999",
         " !\"80/TCP\" !\"80/sctp\" !\"80/\" !\"/tcp\" !\"tcp/80\" !\"80/tcp/udp\" !\"http\""
         " !\"80:90\" !\"80;90\" !\"+80\" !\"0x50\" !\"65536\" !\"99999999999\""},
        {"90-80\n-80\n80-\n80-90-100\n80 - - 90", " !\"90-80\" !\"-80\" !\"80-\" !\"80-90-100\""
                                                  " !\"80--90\""},
    };
    for (const list_case_t &it : cases)
        EXPECT_EQ(shown_numbers(true, it.text), it.shown) << it.text;
}

TEST(ImportNumbersTest, addresses_are_read_as_they_are_written)
{
    constexpr list_case_t cases[] = {
        {"192.0.2.77/24,192.0.2.1", "192.0.2.0/24 192.0.2.1"},
        {"192.0.2.1 - 192.0.2.3\n192.0.2.4 -192.0.2.4", "192.0.2.1-192.0.2.3 192.0.2.4"},
        {"2001:DB8::1/128 ::ffff:1.2.3.4 2001:db8::2/127",
         "2001:db8:0:0:0:0:0:1 0:0:0:0:0:ffff:102:304 2001:db8:0:0:0:0:0:2/127"},
        {"x/8 1.2.3.4/33 1.2.3.4/ 1.2.3.4/255.0.0.0 1.2.3/24 01.2.3.4 1.2.3.4:80 "
         "1.2.3.0/24-1.2.4.0/24",
         " !\"x/8\" !\"1.2.3.4/33\" !\"1.2.3.4/\" !\"1.2.3.4/255.0.0.0\" !\"1.2.3/24\""
         " !\"01.2.3.4\" !\"1.2.3.4:80\" !\"1.2.3.0/24-1.2.4.0/24\""},
        {"[::1] fe80::1%lo0 ::/129 ::2-::1 1.2.3.4-::5 ::1-x 1.2.3.*",
         " !\"[::1]\" !\"fe80::1%lo0\" !\"::/129\" !\"::2-::1\" !\"1.2.3.4-::5\" !\"::1-x\""
         " !\"1.2.3.*\""},
    };
    for (const list_case_t &it : cases)
        EXPECT_EQ(shown_numbers(false, it.text), it.shown) << it.text;
    EXPECT_EQ(shown_numbers(false, std::string_view("1.2.3.4\0.5", 10)),
              std::string(" !\"1.2.3.4\0.5\"", 14));
}

TEST(ImportNumbersTest, a_value_has_8_kib_of_numbers)
{
    std::vector<number_range_t> ranges;
    for (uint32_t port = 10000; port < 15000; port += 2)
        ranges.push_back({port, port, {}});
    const auto values = import_number_values(NUMBER_TCP_PORT, ranges, true);
    ASSERT_EQ(values.size(), 2U); // 2500 of them, 6 bytes each with their commas
    EXPECT_EQ(values[0].places.size() + values[1].places.size(), 2500U);
    EXPECT_GT(values[0].text.size() + 6, 8192U);
    EXPECT_LE(values[0].text.size(), 8192U + 6);
    EXPECT_TRUE(
        values[1].text.starts_with(std::to_string(10000 + 2 * values[0].places.size()) + ','));
}

TEST(ImportProtocolTest, values_beyond_the_room_of_a_matcher_are_findings)
{
    std::vector<import_value_t> values(3, {"a", {{"list", 7}}, 4});
    values[1].nr_piece = 16384 - 8; // each counts twice: ssl and quic share the matcher
    std::vector<import_rule_t> rules;
    std::vector<import_finding_t> findings;
    import_name_rules(values, rules, findings);
    EXPECT_EQ(findings.size(), 1U) << "16383 pieces have room, 16384 have not";
    EXPECT_EQ(rules.size(), 6U);
    findings.clear();
    rules.clear();
    values[1].nr_piece -= 1;
    import_name_rules(values, rules, findings);
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ(rules.size(), 9U);
    values[1].places.push_back({"list", 9});
    values[1].nr_piece = 16384;
    import_name_rules(values, rules, findings);
    ASSERT_EQ(findings.size(), 2U) << "one an entry";
    EXPECT_EQ(findings[1].place.line, 9U);
    EXPECT_STREQ(findings[1].id, "beyond-limit");
}

TEST(ImportProtocolTest, rules_are_split_as_long_as_there_are_ids)
{
    const import_value_t value = {"a", {{"list", 3}}, 1};
    std::vector<import_rule_t> rules(1200, {R"({"rule":[]})", &value});
    rules[1198].first = rules[1199].first = false; // of one value: they stay together
    struct row_t {
        uint32_t id;
        bool split;
        std::vector<std::pair<uint32_t, size_t>> parts; ///< ids and rules
        size_t nr_finding;
    };
    const row_t rows[] = {
        {7, true, {{7, 1197}, {8, 3}}, 0},
        {0xfffffffe, true, {{0xfffffffe, 1197}, {0xffffffff, 3}}, 0},
        {0xffffffff, true, {{0xffffffff, 1197}}, 1},
        {7, false, {{7, 1197}}, 1},
    };
    for (const row_t &row : rows) {
        std::vector<import_part_t> parts;
        std::vector<import_finding_t> findings;
        const std::string text =
            import_description({"mine", row.id, {}, row.split}, rules, parts, findings);
        std::vector<std::pair<uint32_t, size_t>> made;
        for (const import_part_t &part : parts)
            made.emplace_back(part.id, part.nr_rule);
        EXPECT_EQ(made, row.parts) << row.id;
        EXPECT_EQ(findings.size(), row.nr_finding) << row.id;
        EXPECT_EQ(text.find("mine_2") != text.npos, row.parts.size() == 2);
    }
}

uint32_t free_id(std::string_view text)
{
    description_text_t description;
    text_fault_t fault;
    EXPECT_TRUE(description_text_read(text, description, fault)) << fault.text;
    return import_free_id(description);
}

TEST(ImportProtocolTest, free_ids_are_above_those_of_users)
{
    constexpr uint32_t users = 16777216;
    EXPECT_EQ(import_free_id({}), users);
    EXPECT_EQ(free_id(R"({"p": [{"name": "a"}, {}, {"id": 5}]})"), users);
    EXPECT_EQ(free_id(R"({"p": [{"id": "16777300"}]})"), users) << "no number";
    EXPECT_EQ(free_id(R"({"p": [{"id": 16777216}, {"x": {"id": 16777999}, "id": 16777220}]})"),
              users + 5);
    EXPECT_EQ(free_id(R"({"p": [{"id": 16777220}, {"id": 33554432}]})"), users + 5)
        << "the next namespace is not that of users";
    EXPECT_EQ(free_id(R"({"p": [{"id": 99999999999999999999}]})"), users);
}

TEST(ImportProtocolTest, names_and_ids_that_are_there_clash)
{
    const std::string_view text = R"({"p": [{"id": 7}, {"name": "mine", "id": "8"}]})";
    description_text_t description;
    text_fault_t fault;
    ASSERT_TRUE(description_text_read(text, description, fault));
    const auto clash = [&](const char *name, uint32_t id) {
        const import_part_t part = {name, id, 1};
        return import_clash(description, {&part, 1});
    };
    EXPECT_EQ(clash("other", 8), "") << "\"8\" is no id";
    EXPECT_EQ(clash("other", 7), "a protocol with the id 7");
    EXPECT_EQ(clash("mine", 9), "a protocol \"mine\"");
    EXPECT_EQ(clash("mine", 7), "a protocol \"mine\"");
    EXPECT_EQ(import_clash({}, {}), "");
}

} // namespace
