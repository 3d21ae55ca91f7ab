#include "lint_shape.h"

#include <algorithm>
#include <utility>

#include "lint_vocabulary.h"
#include "lint_words.h"

namespace
{

/// An object or array that is open.
struct shape_level_t {
    size_t token;    ///< its bracket
    uint32_t before; ///< the node in front of the member at hand and of its comma
    bool first = true;
    bool refused = false;                  ///< a member was, which leaves fewer behind
    std::vector<std::string_view> meant{}; ///< keys that stand here under another name or too late
};

/// A check on its way through the tokens.
struct shape_walk_t {
    semantic_t &machine;
    const description_text_t &tokens;
    uint32_t file;
    std::vector<finding_t> &findings;
    uint32_t node = 0;
    size_t at = 0;
    std::vector<shape_level_t> open{};
};

const semantic_node_t &node_of(const shape_walk_t &walk)
{
    return walk.machine.nodes[walk.node];
}

/// Returns a text without its quotes.
std::string_view text_of(const shape_walk_t &walk, size_t token)
{
    const std::string_view bytes = text_token_bytes(walk.tokens, token);
    return bytes.substr(1, bytes.size() - 2);
}

void report(shape_walk_t &walk, finding_id_t id, size_t token, std::string message,
            std::string hint)
{
    const text_token_t &it = walk.tokens.tokens[token];
    finding_t finding;
    finding.id = id;
    finding.place = {walk.file, it.begin, it.end};
    finding.message = std::move(message);
    finding.hint = std::move(hint);
    walk.findings.push_back(std::move(finding));
}

/// What a token is to the machine, and how a message calls the value that it begins.
struct token_row_t {
    text_token_kind_t kind;
    trans_type_t event;
    const char *name;
};

constexpr token_row_t token_rows[] = {
    {TEXT_OBJECT, TRANS_OBJECT_START, "an object"},
    {TEXT_OBJECT_END, TRANS_OBJECT_END, ""},
    {TEXT_ARRAY, TRANS_ARRAY_START, "an array"},
    {TEXT_ARRAY_END, TRANS_ARRAY_END, ""},
    {TEXT_COMMA, TRANS_COMMA, ""},
    {TEXT_STRING, TRANS_STRING, "a text"},
    {TEXT_NUMBER, TRANS_NUMBER, "a number"},
    {TEXT_LITERAL, TRANS_ATOM, "a literal"},
};

const token_row_t &row_of(text_token_kind_t kind)
{
    return *std::ranges::find(token_rows, kind, &token_row_t::kind);
}

/// Returns the node that the token at hand leads to, 0 where the machine has no transition.
uint32_t next_node(const shape_walk_t &walk)
{
    const text_token_kind_t kind = walk.tokens.tokens[walk.at].kind;
    const std::string_view text = kind == TEXT_STRING ? text_of(walk, walk.at) : "";
    const semantic_trans_t *trans =
        semantic_next_node_find(node_of(walk), row_of(kind).event, text);
    return trans == nullptr || trans->to >= SEMANTIC_NODE_DIM ? 0 : trans->to;
}

/// Takes the event of the token at hand. Returns false where the machine has no transition.
bool take(shape_walk_t &walk)
{
    const uint32_t node = next_node(walk);
    if (node == 0)
        return false;
    walk.node = node;
    semantic_node_inc(&walk.machine, node);
    return true;
}

/// Goes on behind the member at hand, as if it were not there.
void pass_over(shape_walk_t &walk, size_t end)
{
    walk.at = end;
    if (walk.open.empty())
        return;
    shape_level_t &level = walk.open.back();
    level.refused = true;
    walk.node = level.before;
    if (level.first && walk.tokens.tokens[end].kind == TEXT_COMMA)
        ++walk.at;
}

void refuse_key(shape_walk_t &walk)
{
    const std::string_view key = text_of(walk, walk.at);
    const std::vector<std::string_view> words = semantic_labels(node_of(walk));
    const bool known = lint_is_key(key);
    const std::string shown = lint_quoted(key);
    walk.open.back().meant.push_back(words.empty() ? key : lint_nearest(key, words));
    if (words.empty() && known)
        report(walk, FINDING_MISPLACED_KEY, walk.at, shown + " stands behind \"rule\"",
               "write it in front of \"rule\", the last key of a rule");
    else
        report(walk, known ? FINDING_MISPLACED_KEY : FINDING_UNKNOWN_KEY, walk.at,
               known ? shown + " may not stand here" : "there is no key " + shown,
               lint_meant(key, words));
    pass_over(walk, text_value_end(walk.tokens, walk.at + 2));
}

/// Returns the key whose value, or one of whose values, is at hand.
std::string_view key_of(const shape_walk_t &walk)
{
    size_t value = walk.at;
    for (size_t i = walk.open.size(); walk.tokens.tokens[value - 1].kind != TEXT_COLON;)
        value = walk.open[--i].token; // an array, which is the value of a key or stands in one
    return text_of(walk, value - 2);
}

/// Returns what an object that the machine takes here holds: `an object with "major", "minor"`.
std::string object_text(const shape_walk_t &walk, uint32_t inside)
{
    std::string text;
    for (const std::string_view key : semantic_labels(walk.machine.nodes[inside]))
        text += (text.empty() ? " with " : ", ") + lint_quoted(key);
    return "an object" + text;
}

/// What a key takes, from the transitions behind it.
std::string taken_by(const shape_walk_t &walk, std::string_view key)
{
    const semantic_node_t &node = node_of(walk);
    std::string text;
    for (uint32_t i = 0; i < node.nr_trans; ++i) {
        const semantic_trans_t &trans = node.trans[i];
        const std::string what = trans.type == TRANS_OBJECT_START  ? object_text(walk, trans.to)
                                 : trans.type == TRANS_ARRAY_START ? "an array"
                                 : trans.type == TRANS_X           ? lint_kind_name(key)
                                                                   : "";
        if (!what.empty())
            text += (text.empty() ? "" : " or ") + what;
    }
    return text.empty() ? "nothing" : text;
}

void refuse_value(shape_walk_t &walk)
{
    const std::string_view key = key_of(walk);
    const std::string taken = taken_by(walk, key);
    const token_row_t &row = row_of(walk.tokens.tokens[walk.at].kind);
    const bool offset = key.ends_with("_offset") && row.kind == TEXT_OBJECT;
    report(walk, FINDING_WRONG_KIND, walk.at,
           lint_joined({lint_quoted(key), " takes ", taken, ", and this is ", row.name}),
           offset ? "write \"stream_offset\", which tcp and udp alone have" : "write " + taken);
    pass_over(walk, text_value_end(walk.tokens, walk.at));
}

/// Returns the token of the key of that name that is number `nth` in an object, or its bracket.
size_t find_key(const shape_walk_t &walk, size_t object, std::string_view key, uint32_t nth)
{
    const auto &tokens = walk.tokens.tokens;
    for (size_t at = object + 1; tokens[at].kind == TEXT_STRING;) {
        if (text_of(walk, at) == key && --nth == 0)
            return at;
        at = text_value_end(walk.tokens, at + 2);
        at += tokens[at].kind == TEXT_COMMA ? 1 : 0;
    }
    return object;
}

/// Returns the innermost object that is open: the first is the protocol.
size_t innermost_object(const shape_walk_t &walk)
{
    size_t level = walk.open.size() - 1;
    while (walk.tokens.tokens[walk.open[level].token].kind != TEXT_OBJECT)
        --level;
    return walk.open[level].token;
}

void refuse_count(shape_walk_t &walk, const semantic_node_t &node, uint32_t count)
{
    const semantic_trans_t *label = semantic_prev_string_node_find(walk.machine, node);
    const std::string_view key = label == nullptr ? "" : label->trans;
    const size_t object = innermost_object(walk);
    const auto &meant = walk.open.back().meant;
    const bool told =
        std::ranges::find(meant, key) != meant.end() || find_key(walk, object, key, 1) != object;
    if (count < node.min.value_or(0) && told)
        return; // it is there, and what is wrong with it is another finding
    if (count < node.min.value_or(0))
        report(walk, FINDING_MISSING_KEY, object, lint_quoted(key) + " is missing",
               "add " + lint_quoted(key));
    else
        report(walk, FINDING_REPEATED_KEY, find_key(walk, object, key, 2),
               lint_quoted(key) + " stands " + std::to_string(count) + " times", "write it once");
}

/// Checks every count that the end of an object or array checks.
void check_counts(shape_walk_t &walk)
{
    for (const uint32_t index : node_of(walk).check) {
        if (index >= SEMANTIC_NODE_DIM)
            continue;
        const semantic_node_t &node = walk.machine.nodes[index];
        if (!node.min && !node.max)
            return; // what the compiler does at a node without a range
        uint32_t &count = walk.machine.count[index];
        if (count < node.min.value_or(0) || count > node.max.value_or(UINT32_MAX))
            refuse_count(walk, node, count);
        count = 0;
    }
}

void close(shape_walk_t &walk)
{
    const bool taken = take(walk);
    const size_t bracket = walk.open.back().token;
    if (taken) {
        check_counts(walk);
        semantic_node_reset(&walk.machine, walk.node);
        walk.open.pop_back();
        ++walk.at;
        return;
    }
    if (!walk.open.back().refused)
        report(walk, FINDING_WRONG_KIND, bracket, "this may not be empty", "write a value into it");
    walk.open.pop_back();
    pass_over(walk, walk.at + 1);
}

void step(shape_walk_t &walk)
{
    const text_token_kind_t kind = walk.tokens.tokens[walk.at].kind;
    if (kind == TEXT_OBJECT_END || kind == TEXT_ARRAY_END)
        return close(walk);
    if (kind == TEXT_COMMA) {
        walk.open.back().before = walk.node;
        walk.open.back().first = false;
    }
    const bool key = kind == TEXT_STRING && walk.tokens.tokens[walk.at + 1].kind == TEXT_COLON;
    if (kind != TEXT_COLON && !take(walk)) {
        if (kind == TEXT_COMMA)
            ++walk.at; // the member behind it is refused
        else if (key)
            refuse_key(walk);
        else
            refuse_value(walk);
        return;
    }
    if (kind != TEXT_COLON)
        semantic_node_reset(&walk.machine, walk.node);
    if (kind == TEXT_OBJECT || kind == TEXT_ARRAY)
        walk.open.push_back({walk.at, walk.node});
    ++walk.at;
}

} // namespace

void lint_shape_check(semantic_t &machine, const description_text_t &tokens, uint32_t file,
                      std::vector<finding_t> &findings)
{
    semantic_rewind(&machine);
    shape_walk_t walk = {machine, tokens, file, findings};
    if (next_node(walk) == 0) {
        report(walk, FINDING_WRONG_KIND, 0, "the rule file of the configuration takes no protocol",
               "look at semantic_protocol.json");
        return;
    }
    while (walk.at < tokens.tokens.size())
        step(walk);
}
