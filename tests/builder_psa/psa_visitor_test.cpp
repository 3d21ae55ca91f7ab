#include "captured.h"
#include "json_text.h"
#include "psa_fixture.h"
#include "visitor_psa.h"

namespace
{

/// What one table holds: "name=value" for each entry.
std::string shown(const psa_pattern_table_t &table)
{
    std::string text;
    for (uint32_t i = 0; i < table.nr_pattern; ++i) {
        const csa_str_t &name = table.names[i];
        text += text.empty() ? "" : " ";
        text += name.str_buf == nullptr ? "(none)" : std::string(csa_str_view(name));
        text.append("=").append(csa_str_view(table.values[i]));
    }
    return text;
}

/// Walks a document; "prefixes; suffixes; regular", or "refused".
std::string walk(std::string_view text)
{
    json_text json(text);
    EXPECT_EQ(json.parse(), 0) << text;
    psa_container_t container;
    visitor_psa_t visitor;
    visitor_psa_init(&visitor, &container);
    if (json_visit(json.json, &visitor.visitor) != 0)
        return "refused";
    std::string tables = shown(container.prefixes);
    tables.append("; ").append(shown(container.suffixes));
    return tables.append("; ").append(shown(container.regular));
}

TEST(psa_visitor, each_key_has_its_table)
{
    EXPECT_EQ(
        walk(R"({"suffix":[{"S":"s"}],"regular":[{"R":"r"},{"Q":"q"}],"prefix":[{"P":"p"}]})"),
        "P=p; S=s; R=r Q=q");
}

TEST(psa_visitor, a_table_may_come_twice_or_be_empty)
{
    EXPECT_EQ(walk(R"({"prefix":[{"A":"a"}],"prefix":[],"prefix":[{"B":"b"}]})"), "A=a B=b; ; ");
    EXPECT_EQ(walk("{}"), "; ; ");
    EXPECT_EQ(walk("5 "), "; ; ");
}

TEST(psa_visitor, an_object_may_hold_several_entries)
{
    EXPECT_EQ(walk(R"({"regular":[{"A":"a","B":"b"},{},{"C":"c"}]})"), "; ; A=a B=b C=c");
}

TEST(psa_visitor, texts_are_raw)
{
    EXPECT_EQ(walk(R"({"regular":[{"a\tb":"\\n\"\u0041"}]})"), R"(; ; a\tb=\\n\"\u0041)");
}

TEST(psa_visitor, an_empty_value_is_a_value)
{
    EXPECT_EQ(walk(R"({"prefix":[{"A":""},{"B":"b"}]})"), "A= B=b; ; ");
}

TEST(psa_visitor, what_is_no_string_leaves_the_name_open)
{
    EXPECT_EQ(walk(R"({"prefix":[{"A":5},{"B":true},{"C":null},{"D":{}},{"E":"e"}]})"), "E=e; ; ");
}

TEST(psa_visitor, only_the_array_of_a_key_is_a_table)
{
    EXPECT_EQ(walk(R"({"prefix":"x","suffix":{"A":"a"},"regular":5})"), "; ; ");
    EXPECT_EQ(walk(R"({"prefix":[[{"A":"a"}],{"B":"b"}]})"), "B=b; ; ") << "an array inside";
    EXPECT_EQ(walk(R"([{"prefix":[{"A":"a"}]}])"), "; ; ") << "an array around";
}

TEST(psa_visitor, other_keys_are_ignored)
{
    EXPECT_EQ(walk(R"({"other":[{"A":"a"}],"Prefix":[{"B":"b"}],"prefixes":[{"C":"c"}]})"), "; ; ");
    EXPECT_EQ(walk(R"({"other":{"prefix":[{"A":"a"}]}})"), "; ; ");
}

TEST(psa_visitor, an_entry_may_be_named_like_a_key)
{
    EXPECT_EQ(walk(R"({"prefix":[{"suffix":"s"},{"regular":"r"}]})"), "suffix=s regular=r; ; ");
}

TEST(psa_visitor, a_value_without_a_name_is_kept_so)
{
    EXPECT_EQ(walk(R"({"prefix":["x"]})"), "(none)=x; ; ");
}

TEST(psa_visitor, a_table_has_room_for_128_values)
{
    const std::string entry = R"({"A":"a"})";
    EXPECT_NE(walk(document(table_of("suffix", 128, entry))), "refused");
    for (const char *kind : {"prefix", "suffix", "regular"}) {
        std::string ended;
        const std::string printed =
            stderr_of([&] { ended = walk(document(table_of(kind, 129, entry))); });
        EXPECT_EQ(ended, "refused");
        EXPECT_EQ(printed, "Error: TAG_TABLE_DIM.\n");
    }
}

TEST(psa_visitor, a_name_may_follow_the_last_value)
{
    std::string text = table_of("prefix", 128, R"({"A":"a"})");
    text.insert(text.size() - 1, R"(,{"B":5})");
    EXPECT_NE(walk(document(text)), "refused");
}

TEST(psa_visitor, nesting_beyond_the_state_stack_is_refused)
{
    const auto nested = [](size_t depth) {
        std::string text = "{\"x\":";
        return text.append(depth, '[').append(depth, ']').append("}");
    };
    EXPECT_EQ(walk(nested(14)), "; ; ");
    EXPECT_EQ(walk(nested(15)), "refused");
}

} // namespace
