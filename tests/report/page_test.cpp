#include <gtest/gtest.h>

#include "description_writer.h"
#include "report.h"
#include "report_html.h"

namespace
{

size_t count_of(const std::string &page, std::string_view text)
{
    size_t nr = 0;
    for (size_t at = 0; (at = page.find(text, at)) != page.npos; at += text.size())
        ++nr;
    return nr;
}

/// A file with nothing in it, and its page.
struct shown_t {
    view_inventory_t inventory;
    description_source_t source;
    report_file_t file;
    report_difference_t difference;
    bool is_compared = false;

    std::string page()
    {
        const auto put = [](void *context, std::string_view piece) {
            *static_cast<std::string *>(context) += piece;
        };
        std::string text;
        file.inventory = &inventory;
        report_page({{file}, is_compared ? &difference : nullptr}, {put, &text});
        return text;
    }
};

/// Protocols of rules that find a value of so many bytes so many times.
std::vector<uint8_t> descriptions(std::initializer_list<const char *> names, size_t rules,
                                  size_t bytes, uint32_t times)
{
    std::vector<protocol_model> protocols;
    for (const char *name : names) {
        rule_model rule;
        rule.meta_version = 5;
        rule.path = {name, name};
        attr_model uri = {"uri", MATCHER_TYPE_STREAM, ATTR_WAY_CTS, ATTR_PROTO_UNKNOWN, {}};
        uri.values.assign(times, {std::string(bytes, 'x'), 0});
        rule.sub_rules = {{"http", "http", 0, 0, {uri}}};
        protocol_model protocol;
        protocol.name = name;
        protocol.default_port = "-";
        protocol.rules.assign(rules, rule);
        protocols.push_back(protocol);
    }
    string_pool tags;
    return description_writer::descriptions(tags, protocols);
}

} // namespace

TEST(report_html, sizes_are_whole_units_of_at_least_two_digits)
{
    EXPECT_EQ(html_size(0), "0 bytes");
    EXPECT_EQ(html_size(10239), "10\u202f239 bytes");
    EXPECT_EQ(html_size(10240), "10 KiB");
    EXPECT_EQ(html_size((10 << 20) - 1), "10\u202f239 KiB");
    EXPECT_EQ(html_size(10 << 20), "10 MiB");
    EXPECT_EQ(html_size(1234567 * (uint64_t{1} << 20)), "1\u202f234\u202f567 MiB");
}

TEST(report_page, says_that_descriptions_do_not_read)
{
    shown_t shown;
    EXPECT_EQ(count_of(shown.page(), "The descriptions do not read."), 1U);
    shown.file.source = &shown.source;
    EXPECT_EQ(count_of(shown.page(), "The descriptions do not read."), 0U);
}

TEST(report_page, links_to_limits_where_there_are_any)
{
    shown_t shown;
    EXPECT_EQ(count_of(shown.page(), "#limits"), 0U);
    EXPECT_EQ(count_of(shown.page(), "id=\"limits\""), 0U);
    shown.file.limits = {{"a", "rules", 1, 2}};
    EXPECT_EQ(count_of(shown.page(), "#limits"), 1U);
    EXPECT_EQ(count_of(shown.page(), "id=\"limits\""), 1U);
}

TEST(report_page, shows_how_full_a_limit_is)
{
    shown_t shown;
    shown.file.limits = {
        {"a", "lost", 3, 0}, {"b", "over", 3, 2}, {"c", "full", 4, 5}, {"d", "free", 79, 100}};
    const std::string page = shown.page();
    for (const char *row :
         {"passed\" style=\"width:100.00%\"></i></span></td><td class=\"number\">lost</td><td "
          "class=\"number\">3</td>",
          "passed\" style=\"width:100.00%\"></i></span></td><td class=\"number\">150.0 %</td><td "
          "class=\"number\">3 of 2</td>",
          "full\" style=\"width:80.00%\"></i></span></td><td class=\"number\">80.0 %</td>",
          "free\" style=\"width:79.00%\"></i></span></td><td class=\"number\">79.0 %</td>"})
        EXPECT_EQ(count_of(page, row), 1U) << row;
}

TEST(report_page, shows_500_limits_of_many_and_folds_all_but_15)
{
    for (const size_t nr : {15, 16, 500, 501}) {
        shown_t shown;
        shown.file.limits.assign(nr, {"a", "rules", 1, 2});
        const std::string page = shown.page();
        EXPECT_EQ(count_of(page, "1 of 2</td>"), std::min<size_t>(nr, 500));
        EXPECT_EQ(count_of(page, std::to_string(nr - 15) + " emptier ones"), nr > 15 ? 1U : 0U);
        EXPECT_EQ(count_of(page, "<p>1 others are no fuller.</p>"), nr > 500 ? 1U : 0U);
        EXPECT_EQ(count_of(page, "<details"), count_of(page, "</details>"));
    }
}

TEST(report_page, shows_500_actions_of_a_kind)
{
    for (const size_t nr : {500, 501}) {
        shown_t shown;
        shown.file.actions.assign(nr, {REPORT_BAD, "test failed", "<one>"});
        const std::string page = shown.page();
        EXPECT_EQ(count_of(page, "<li>&lt;one&gt;"), 500U);
        EXPECT_EQ(count_of(page, "<li>and 1 more"), nr - 500);
    }
}

TEST(report_page, names_directions_of_matchers)
{
    shown_t shown;
    shown.inventory.matchers = {{"a", "x", ATTR_WAY_CTS, 1, 0, 8, {}},
                                {"b", "y", ATTR_WAY_STC, 1, 0, 8, {}},
                                {"c", "z", 0, 1, 0, 0, {}}};
    const std::string page = shown.page();
    EXPECT_EQ(count_of(page, "a:x <small>\u2192 server</small>"), 1U);
    EXPECT_EQ(count_of(page, "b:y <small>\u2190 server</small>"), 1U);
    EXPECT_EQ(count_of(page, "c:z <small></small>"), 1U);
}

std::string page_of(const std::vector<uint8_t> &file)
{
    shown_t shown;
    pdb_view_t pdb;
    view_error_t error;
    EXPECT_TRUE(pdb_view_open(file, pdb, error) &&
                description_source_open(pdb, shown.source, error))
        << error.text;
    shown.file.source = &shown.source;
    return shown.page();
}

TEST(report_page, leaves_out_rules_that_would_make_it_too_large)
{
    const size_t quarter = REPORT_PAGE_MAX / 4;
    const std::vector<uint8_t> file = descriptions({"one", "two", "three"}, 2, quarter / 40, 40);
    const std::string page = page_of(file);
    EXPECT_LT(page.size(), REPORT_PAGE_MAX + (64 << 10));
    EXPECT_EQ(count_of(page, std::string(quarter / 40, 'x')), 3U * 40);
    EXPECT_EQ(count_of(page, " /one/one"), 2U) << "a path that begins with its own last";
    EXPECT_EQ(count_of(page, " /two/two"), 1U);
    EXPECT_EQ(count_of(page, "<li>and 1 more\n"), 1U);
    EXPECT_EQ(count_of(page, "<li>and 2 more\n"), 1U);
    EXPECT_EQ(count_of(page, "Rules of 2 protocols are left out"), 1U);
    EXPECT_EQ(count_of(page, "<details class=\"p\">"), 3U);
    EXPECT_EQ(count_of(page, "<details"), count_of(page, "</details>"));
}

TEST(report_page, leaves_out_names_that_would_make_it_too_large)
{
    const std::string name(60000, 'n');
    std::vector<protocol_model> protocols(200);
    for (protocol_model &protocol : protocols) {
        protocol.name = name;
        protocol.default_port = "-";
    }
    string_pool tags;
    const std::string page = page_of(description_writer::descriptions(tags, protocols));
    EXPECT_LT(page.size(), 10'000'000U);
    const size_t shown = count_of(page, name);
    EXPECT_GT(shown, 150U);
    EXPECT_EQ(count_of(page, "Another " + std::to_string(200 - shown) + " protocols"), 1U);
}

TEST(report_page, shows_1000_protocols_that_differ_and_half_of_its_room)
{
    shown_t shown;
    shown.is_compared = true;
    shown.difference.counted.totals.protocols[DIFFERENCE_ADDED] = 1;
    for (const size_t nr : {1000, 1001}) {
        shown.difference.walk = [nr](const difference_sink_t &sink) {
            for (size_t i = 0; i < nr; ++i)
                sink.put_protocol(sink.context, {DIFFERENCE_ADDED, 7, "new", {}, {}});
            return size_t{0};
        };
        const std::string page = shown.page();
        EXPECT_EQ(count_of(page, "<b>new</b>"), 1000U);
        EXPECT_EQ(count_of(page, "<p>and 1 more;"), nr - 1000);
        EXPECT_EQ(count_of(page, "<details"), count_of(page, "</details>"));
    }
    shown.difference.walk = [](const difference_sink_t &sink) {
        const std::string quarter(REPORT_PAGE_MAX / 4, 'x');
        for (size_t i = 0; i < 5; ++i)
            sink.put_protocol(sink.context, {DIFFERENCE_ADDED, 7, quarter, {}, {}});
        return size_t{0};
    };
    EXPECT_EQ(count_of(shown.page(), "<p>and 3 more;"), 1U);
}

TEST(report_page, leaves_out_rules_that_differ_for_want_of_room)
{
    shown_t shown;
    shown.is_compared = true;
    shown.difference.counted.totals.protocols[DIFFERENCE_CHANGED] = 1;
    shown.difference.walk = [](const difference_sink_t &sink) {
        const std::string eighth(REPORT_PAGE_MAX / 8, 'x');
        sink.put_protocol(sink.context, {DIFFERENCE_CHANGED, 7, "one", {}, {}});
        for (size_t i = 0; i < 9; ++i)
            sink.put_rule(sink.context, {DIFFERENCE_ADDED, "1:1", {}, {}, {eighth}});
        sink.put_protocol(sink.context, {DIFFERENCE_CHANGED, 8, "two", {}, {}});
        sink.put_rule(sink.context, {DIFFERENCE_ADDED, "1:1", {}, {}, {"y"}});
        return size_t{12};
    };
    const std::string page = shown.page();
    EXPECT_EQ(count_of(page, "xx</ins>"), 4U);
    EXPECT_EQ(count_of(page, "<li>and 5 more rules"), 1U);
    EXPECT_EQ(count_of(page, "<p>and 1 more;"), 1U);
    EXPECT_EQ(count_of(page, "<p>and 12 more values;"), 1U);
    EXPECT_EQ(count_of(page, "<details"), count_of(page, "</details>"));
}

TEST(report_page, shows_aliases_that_differ)
{
    shown_t shown;
    shown.is_compared = true;
    EXPECT_EQ(count_of(shown.page(), "None: both say the same."), 1U);
    alias_difference_t &aliases = shown.difference.counted.aliases;
    shown.difference.walk = [&aliases](const difference_sink_t &sink) {
        sink.put_aliases(sink.context, aliases);
        return size_t{0};
    };
    aliases.removed = {"a <b> as c"};
    std::string page = shown.page();
    EXPECT_EQ(count_of(page, "None: both say the same."), 0U);
    EXPECT_EQ(count_of(page, "<li><del>a &lt;b&gt; as c</del>"), 1U);
    aliases = {{}, {"d as e"}};
    page = shown.page();
    EXPECT_EQ(count_of(page, "None: both say the same."), 0U);
    EXPECT_EQ(count_of(page, "<li><ins>d as e</ins>"), 1U);
}
