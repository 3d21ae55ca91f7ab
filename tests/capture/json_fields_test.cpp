/// Records in JSON against a reader that makes a tree of them: nlohmann's.
#include <map>
#include <random>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "field_bag.h"

namespace
{

using json = nlohmann::json;
using values_t = std::map<std::string, std::vector<std::string>>;

const std::vector<std::string> asked = {"a",   "b",     "a.b",   "b.a.b",   "id.c",
                                        "c.a", "a.b.c", "a.b.a", "\xC3\xA9"};

/// Reads a line for what is asked for. Returns false where it is no object.
bool read(std::string_view line, values_t &values)
{
    values.clear();
    field_bag_t bag;
    for (const std::string &name : asked)
        (void)field_bag_ask(bag, name);
    if (!field_bag_read_json(bag, line))
        return false;
    for (const std::string &name : asked)
        for (const std::string_view value : field_bag_all(bag, field_bag_ask(bag, name)))
            values[name].emplace_back(value);
    return true;
}

/// Collects all values of a tree.
void collect(const nlohmann::ordered_json &tree, const std::string &name, values_t &values)
{
    if (tree.is_object())
        for (const auto &[key, member] : tree.items())
            collect(member, name.empty() ? key : name + "." + key, values);
    else if (tree.is_array())
        for (const auto &element : tree)
            collect(element, name, values);
    else if (!tree.is_null())
        values[name].push_back(tree.is_string() ? tree.get<std::string>() : tree.dump());
}

values_t expected_of(const std::string &line)
{
    values_t all;
    collect(nlohmann::ordered_json::parse(line), "", all);
    values_t values;
    for (const std::string &name : asked)
        if (all.contains(name))
            values[name] = all[name];
    return values;
}

class random_json
{
public:
    explicit random_json(uint32_t seed) : random(seed) {}

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random() % limit); }

    std::string value(uint32_t depth)
    {
        switch (below(depth == 0 ? 5 : 9)) {
        case 0:
            return std::to_string(static_cast<int>(below(2000)) - 1000);
        case 1:
            return below(2) == 0 ? "true" : "null";
        case 2:
            return std::to_string(below(100)) + ".5";
        case 3:
        case 4:
            return text();
        case 5:
        case 6:
            return list(depth);
        default:
            return object(depth);
        }
    }
    std::string object(uint32_t depth)
    {
        // A key once: of several, a tree would keep the last.
        static constexpr const char *keys[] = {"a",   "b",        "c",   "id",         "id.c",
                                               "b.a", "\xC3\xA9", "a.b", "\\u0061.b.c"};
        std::string text = "{";
        for (const char *key : keys)
            if (below(3) == 0)
                text += (text.size() > 1 ? "," : "") + blank() + "\"" + key + "\"" + blank() + ":" +
                        value(depth - 1);
        return text + blank() + "}";
    }

private:
    std::string blank() { return below(4) == 0 ? " \t" : ""; }

    std::string list(uint32_t depth)
    {
        std::string text = "[";
        for (uint32_t left = below(4); left != 0; --left)
            text += value(depth - 1) + blank() + (left > 1 ? "," : "");
        return text + "]";
    }
    std::string text()
    {
        static constexpr const char *parts[] = {"plain words of some length",
                                                "\\\"",
                                                "\\\\",
                                                "\\/",
                                                "\\n",
                                                "\\u00e9",
                                                "\\ud83d\\ude00",
                                                "\xC3\xA9",
                                                "\xE2\x82\xAC",
                                                "\xF0\x9F\x98\x80",
                                                "x",
                                                "\\u0000"};
        std::string text = "\"";
        for (uint32_t left = below(5); left != 0; --left)
            text += parts[below(std::size(parts))];
        return text + "\"";
    }

    std::mt19937 random;
};

/// Changes a byte, takes one out or puts one in.
void damage(std::string &line, random_json &random)
{
    static constexpr char bytes[] = "\"\\{}[]:,.-01u \t\x01\x80\xC3\xA9\xED\xA0\xF4\xFF";
    const size_t at = random.below(static_cast<uint32_t>(line.size()));
    const char byte = bytes[random.below(sizeof bytes - 1)];
    switch (random.below(3)) {
    case 0:
        line[at] = byte;
        break;
    case 1:
        line.erase(at, 1);
        break;
    default:
        line.insert(at, 1, byte);
    }
}

TEST(json_fields, names_lead_through_objects_lists_and_points)
{
    values_t values;
    ASSERT_TRUE(
        read(R"({"a":{"b":1,"c":2},"a.b":"x\u0041","b":[1,{"a.b":null},{"a":{"b":true}},[-0]]})",
             values));
    const values_t expected = {{"a.b", {"1", "xA"}}, {"b", {"1", "0"}}, {"b.a.b", {"true"}}};
    EXPECT_EQ(values, expected);
}

TEST(json_fields, characters_of_every_length_are_spelled)
{
    values_t values;
    ASSERT_TRUE(read(R"({"a":"\u007f\u07ff\uffff\ud83d\ude00","b":[1e-5,1E+5,1e5]})", values));
    const values_t expected = {{"a", {"\x7F\xDF\xBF\xEF\xBF\xBF\xF0\x9F\x98\x80"}},
                               {"b", {"1e-5", "1E+5", "1e5"}}};
    EXPECT_EQ(values, expected);
}

// Of a field that occurs too often, further values are let go; who asks for nothing gets nothing.
TEST(json_fields, occurrences_are_bounded)
{
    std::string list = "1";
    for (size_t i = 0; i < FIELD_BAG_OCCURRENCES; ++i)
        list += ",2";
    values_t values;
    ASSERT_TRUE(read(R"({"a":[)" + list + "]}", values));
    EXPECT_EQ(values["a"].size(), FIELD_BAG_OCCURRENCES);
    field_bag_t none;
    EXPECT_TRUE(field_bag_read_json(none, R"({"a":1})"));
    EXPECT_TRUE(none.touched.empty());
}

TEST(json_fields, what_is_no_object_is_refused)
{
    values_t values;
    for (const char *line : {"",
                             " ",
                             "1",
                             "[]",
                             "\"a\"",
                             "{",
                             "}",
                             "{]",
                             "{}}",
                             "{} x",
                             R"({"a":)",
                             R"({"a":"\)",
                             R"({"a":"\u12)",
                             R"({"a":"\u12g4"})",
                             R"({"a":"\udc00"})",
                             R"({"a":"\ud800"})",
                             R"({"a":"\ud800\u0041"})",
                             R"({"a":"\ud800\ue000"})",
                             "{\"a\"}",
                             "{\"a\":}",
                             "{\"a\":1,}",
                             "{,\"a\":1}",
                             "{\"a\":[1,]}",
                             "{\"a\":[,1]}",
                             "{\"a\":01}",
                             "{\"a\":-}",
                             "{\"a\":1.}",
                             "{\"a\":1e}",
                             "{\"a\":+1}",
                             "{\"a\":.5}",
                             "{\"a\":tru}",
                             "{\"a\":nulll}",
                             "{\"a\":\"\t\"}",
                             "{\"a\":\"\\x\"}",
                             "{\"a\":\"\\u12g4\"}",
                             "{\"a\":\"\\ud800\"}",
                             "{\"a\":\"\\ude00\"}",
                             "{\"a\":\"\xC0\x80\"}",
                             "{\"a\":\"\xED\xA0\x80\"}",
                             "{\"a\":\"\xF5\x80\x80\x80\"}",
                             "{\"a\":\"\xE2\x82\"}",
                             "{\"a\":\"",
                             "{\"a\" 1}",
                             "{a:1}",
                             "{\"a\":[1}",
                             "{\"a\":{]}"})
        EXPECT_FALSE(read(line, values)) << line;
    for (const char *line : {"{}", " {\t}\r", "{\"a\":[]}", "{\"a\":[[],{}]}", "{\"a\":1E+2}"})
        EXPECT_TRUE(read(line, values)) << line;
}

TEST(json_fields, deep_nesting_is_read)
{
    constexpr size_t depth = 1000000;
    values_t values;
    const std::string line = "{\"a\":" + std::string(depth, '[') + "1" + std::string(depth, ']');
    EXPECT_FALSE(read(line, values));
    EXPECT_TRUE(read(line + "}", values));
    EXPECT_EQ(values["a"], std::vector<std::string>{"1"});
}

TEST(json_fields, random_records_agree_with_a_tree)
{
    random_json random(7);
    values_t values;
    for (int i = 0; i < 5000; ++i) {
        const std::string line = random.object(5);
        ASSERT_TRUE(read(line, values)) << line;
        ASSERT_EQ(values, expected_of(line)) << line;
    }
}

TEST(json_fields, damaged_records_are_refused_as_by_a_tree)
{
    random_json random(8);
    values_t values;
    size_t refused = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string line = random.object(4);
        damage(line, random);
        const bool is_object = json::accept(line) && json::parse(line).is_object();
        ASSERT_EQ(read(line, values), is_object) << line;
        refused += is_object ? 0 : 1;
    }
    EXPECT_GT(refused, 5000);
}

} // namespace
