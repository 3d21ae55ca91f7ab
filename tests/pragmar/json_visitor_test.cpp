#include <gtest/gtest.h>

#include "json_text.h"
#include "json_visitor.h"
#include "stack_state.h"

namespace
{

/// Writes one word for each call, and can abort at one of them.
struct trace_visitor {
    json_visitor_t visitor;
    std::string calls;
    std::string abort_at;
};

std::string free_calls;

int note(json_visitor_t *visitor, const std::string &word)
{
    auto *trace = reinterpret_cast<trace_visitor *>(visitor);
    trace->calls += word + " ";
    return word == trace->abort_at ? 1 : 0;
}

std::string name_of(const json_node_t *node)
{
    if (node == nullptr)
        return "null";
    auto *mutable_node = const_cast<json_node_t *>(node);
    switch (node->type) {
    case JSON_NUMBER:
        return std::to_string(json_as_number(mutable_node)->number);
    case JSON_STRING:
        return std::string(json_string_view(*json_as_string(mutable_node)));
    default:
        return "?";
    }
}

std::string name_of(const json_pair_t *pair)
{
    return pair == nullptr ? "null" : std::string(json_string_view(*pair->string));
}

trace_visitor make_trace(std::string abort_at = "")
{
    trace_visitor trace = {{}, "", std::move(abort_at)};
    json_visitor_t &v = trace.visitor;
    v.json_start = [] {
        free_calls += "start ";
        return 0;
    };
    v.json_end = [] {
        free_calls += "end ";
        return 0;
    };
    v.json_string = [](json_visitor_t *t, json_string_t *s) {
        return note(t, "s:" + std::string(json_string_view(*s)));
    };
    v.json_number = [](json_visitor_t *t, json_number_t *n) {
        return note(t, "n:" + std::to_string(n->number));
    };
    v.json_atom = [](json_visitor_t *t, json_atom_t *a) {
        return note(t, "a:" + std::to_string(a->type));
    };
    v.json_object_start = [](json_visitor_t *t, json_object_t *) { return note(t, "{"); };
    v.json_object_end = [](json_visitor_t *t, json_object_t *) { return note(t, "}"); };
    v.json_array_start = [](json_visitor_t *t, json_array_t *) { return note(t, "["); };
    v.json_array_end = [](json_visitor_t *t, json_array_t *) { return note(t, "]"); };
    v.json_members_start = [](json_visitor_t *t, json_pair_t *p) {
        return note(t, "ms:" + name_of(p));
    };
    v.json_members_end = [](json_visitor_t *t, json_pair_t *p) {
        return note(t, "me:" + name_of(p));
    };
    v.json_members_sep = [](json_visitor_t *t, json_pair_t *p) {
        return note(t, "m,:" + name_of(p));
    };
    v.json_elements_start = [](json_visitor_t *t, json_node_t *n) {
        return note(t, "es:" + name_of(n));
    };
    v.json_elements_end = [](json_visitor_t *t, json_node_t *n) {
        return note(t, "ee:" + name_of(n));
    };
    v.json_elements_sep = [](json_visitor_t *t, json_node_t *n) {
        return note(t, "e,:" + name_of(n));
    };
    v.json_pair_start = [](json_visitor_t *t, json_pair_t *p) {
        return note(t, "p:" + name_of(p));
    };
    v.json_pair_sep = [](json_visitor_t *t, json_pair_t *p) { return note(t, "::" + name_of(p)); };
    v.json_pair_end = [](json_visitor_t *t, json_pair_t *p) { return note(t, "q:" + name_of(p)); };
    return trace;
}

std::string calls_of(std::string_view text)
{
    json_text json(text);
    EXPECT_EQ(json.parse(), 0);
    trace_visitor trace = make_trace();
    EXPECT_EQ(json_visit(json.json, &trace.visitor), 0);
    return trace.calls;
}

TEST(json_visitor, an_empty_object)
{
    free_calls.clear();
    EXPECT_EQ(calls_of("{}"), "{ ms:null me:null } ");
    EXPECT_EQ(free_calls, "start end ");
}

TEST(json_visitor, an_array_of_two_numbers)
{
    EXPECT_EQ(calls_of("[1,2]"), "[ es:1 n:1 e,:2 n:2 ee:null ] ");
}

TEST(json_visitor, an_empty_array)
{
    EXPECT_EQ(calls_of("[]"), "[ es:null ee:null ] ");
}

TEST(json_visitor, members_and_nesting)
{
    EXPECT_EQ(calls_of(R"({"a":1,"b":[true,{"c":"x"}],"d":{}})"),
              "{ ms:a p:a s:a ::a n:1 q:a m,:b p:b s:b ::b [ es:? a:0 e,:? { ms:c p:c s:c ::c s:x "
              "q:c me:null } ee:null ] q:b m,:d p:d s:d ::d { ms:null me:null } q:d me:null } ");
}

TEST(json_visitor, leaves_stand_alone)
{
    EXPECT_EQ(calls_of("5"), "n:5 ");
    EXPECT_EQ(calls_of("\"x\""), "s:x ");
    EXPECT_EQ(calls_of("null "), "a:2 ");
}

TEST(json_visitor, a_callback_aborts_every_enclosing_step)
{
    json_text json(R"({"a":1,"b":2})");
    ASSERT_EQ(json.parse(), 0);
    free_calls.clear();
    trace_visitor trace = make_trace("::a");
    EXPECT_EQ(json_visit(json.json, &trace.visitor), -1);
    EXPECT_EQ(trace.calls, "{ ms:a p:a s:a ::a ");
    EXPECT_EQ(free_calls, "start ");
}

TEST(json_visitor, every_call_can_abort)
{
    json_text json(R"({"a":1,"b":[2,true],"c":"x"})");
    ASSERT_EQ(json.parse(), 0);
    trace_visitor whole = make_trace();
    ASSERT_EQ(json_visit(json.json, &whole.visitor), 0);
    size_t end;
    for (size_t start = 0; start < whole.calls.size(); start = end + 1) {
        end = whole.calls.find(' ', start);
        const std::string word = whole.calls.substr(start, end - start);
        trace_visitor trace = make_trace(word);
        EXPECT_EQ(json_visit(json.json, &trace.visitor), -1) << word;
        EXPECT_EQ(trace.calls, whole.calls.substr(0, end + 1));
    }
}

TEST(json_visitor, start_and_end_can_abort)
{
    json_text json("1");
    ASSERT_EQ(json.parse(), 0);
    json_visitor_t refusing;
    refusing.json_start = [] { return 7; };
    EXPECT_EQ(json_visit(json.json, &refusing), -1);
    refusing.json_start = nullptr;
    EXPECT_EQ(json_visit(json.json, &refusing), 0);
    refusing.json_end = [] { return 7; };
    EXPECT_EQ(json_visit(json.json, &refusing), -1);
}

TEST(json_visitor, a_node_out_of_place_aborts)
{
    json_text json("[1]");
    ASSERT_EQ(json.parse(), 0);
    json_visitor_t empty;
    for (json_node_type_t type : {JSON_ROOT, JSON_PAIR, JSON_VALUE}) {
        json.value()->child->type = type;
        EXPECT_EQ(json_visit(json.json, &empty), -1);
    }
}

TEST(json_visitor, a_document_without_a_value_aborts)
{
    json_text json("");
    json_visitor_t empty;
    EXPECT_EQ(json_visit(json.json, &empty), -1);
}

TEST(json_visitor, depth_costs_no_stack)
{
    constexpr size_t depth = 1000000;
    json_text json(std::string(depth, '[') + std::string(depth, ']'));
    ASSERT_EQ(json.parse(), 0);
    json_visitor_t empty;
    EXPECT_EQ(json_visit(json.json, &empty), 0);
}

TEST(json_visitor, a_text_that_was_not_parsed_has_nothing_to_visit)
{
    trace_visitor trace = {};
    json_t json = {};
    EXPECT_EQ(json_visit(json, &trace.visitor), -1);
    EXPECT_EQ(trace.calls, "");
}

TEST(stack_state, is_empty_in_the_end)
{
    stack_state_t stack;
    EXPECT_EQ(stack_state_top(stack, 99), 99U);
    ASSERT_EQ(stack_state_push(&stack, 7), 0);
    EXPECT_EQ(stack_state_top(stack, 99), 7U);
    stack_state_pop(&stack);
    stack_state_pop(&stack);
    EXPECT_EQ(stack.nr, 0U);
    EXPECT_EQ(stack_state_top(stack, 99), 99U);
}

} // namespace
