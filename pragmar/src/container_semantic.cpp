#include "container_semantic.h"

#include <cstdio>

namespace
{

int limit_reached(const char *limit)
{
    std::fprintf(stderr, "Error: %s.\n", limit);
    return -1;
}

/// The node being read, or null when there is no room for it.
semantic_node_t *reading_node(semantic_t *semantic)
{
    return semantic->nr_node < SEMANTIC_NODE_DIM ? &semantic->nodes[semantic->nr_node] : nullptr;
}

/// The pending transition of the current node, or null when there is no room for it.
semantic_trans_t *reading_trans(semantic_t *semantic)
{
    semantic_node_t &node = semantic->nodes[semantic->curr_node];
    if (node.nr_trans == SEMANTIC_NODE_TRANS_DIM)
        return nullptr;
    node.trans.resize(node.nr_trans + 1);
    return &node.trans[node.nr_trans];
}

trans_type_t label_type(std::string_view label)
{
    if (label.size() != 1)
        return TRANS_STRING;
    switch (label[0]) {
    case '{':
        return TRANS_OBJECT_START;
    case '}':
        return TRANS_OBJECT_END;
    case '[':
        return TRANS_ARRAY_START;
    case ']':
        return TRANS_ARRAY_END;
    case ',':
        return TRANS_COMMA;
    case '*':
        return TRANS_X;
    default:
        return TRANS_STRING;
    }
}

} // namespace

void semantic_init(semantic_t *semantic)
{
    *semantic = {};
}

void semantic_rewind(semantic_t *semantic)
{
    semantic->count.fill(0);
    semantic->nr_history = 0;
    semantic->rangeless.clear();
}

int semantic_node_key_set(semantic_t *semantic, uint32_t key)
{
    semantic_node_t *node = reading_node(semantic);
    if (node == nullptr)
        return limit_reached("SEMANTIC_NODE_DIM");
    node->key = key;
    return 0;
}

int semantic_node_category_set(semantic_t *semantic, std::string_view category)
{
    semantic_node_t *node = reading_node(semantic);
    if (node == nullptr)
        return limit_reached("SEMANTIC_NODE_DIM");
    if (category == "start")
        node->category = NODE_CATEGORY_START;
    else if (category == "end")
        node->category = NODE_CATEGORY_END;
    return 0;
}

int semantic_node_reset_add(semantic_t *semantic, uint32_t node_key)
{
    semantic_node_t *node = reading_node(semantic);
    if (node == nullptr)
        return limit_reached("SEMANTIC_NODE_DIM");
    if (node->reset.size() == SEMANTIC_NODE_RESET_DIM)
        return limit_reached("SEMANTIC_NODE_RESET_DIM");
    node->reset.push_back(node_key);
    return 0;
}

int semantic_node_check_add(semantic_t *semantic, uint32_t node_key)
{
    semantic_node_t *node = reading_node(semantic);
    if (node == nullptr)
        return limit_reached("SEMANTIC_NODE_DIM");
    if (node->check.size() == SEMANTIC_NODE_CHECK_DIM)
        return limit_reached("SEMANTIC_NODE_CHECK_DIM");
    node->check.push_back(node_key);
    return 0;
}

int semantic_node_min_set(semantic_t *semantic, uint32_t min)
{
    semantic_node_t *node = reading_node(semantic);
    if (node == nullptr)
        return limit_reached("SEMANTIC_NODE_DIM");
    node->min = min;
    return 0;
}

int semantic_node_max_set(semantic_t *semantic, uint32_t max)
{
    semantic_node_t *node = reading_node(semantic);
    if (node == nullptr)
        return limit_reached("SEMANTIC_NODE_DIM");
    node->max = max;
    return 0;
}

int semantic_trans_from_set(semantic_t *semantic, uint32_t from)
{
    if (from >= SEMANTIC_NODE_DIM)
        return limit_reached("SEMANTIC_NODE_DIM");
    semantic->curr_node = from;
    return 0;
}

int semantic_trans_to_set(semantic_t *semantic, uint32_t to)
{
    semantic_trans_t *trans = reading_trans(semantic);
    if (trans == nullptr)
        return limit_reached("SEMANTIC_NODE_TRANS_DIM");
    trans->to = to;
    return 0;
}

int semantic_trans_trans_set(semantic_t *semantic, std::string_view label)
{
    semantic_trans_t *trans = reading_trans(semantic);
    if (trans == nullptr)
        return limit_reached("SEMANTIC_NODE_TRANS_DIM");
    trans->trans = label;
    trans->type = label_type(label);
    return 0;
}

int semantic_node_next(semantic_t *semantic)
{
    if (semantic->nr_node == SEMANTIC_NODE_DIM)
        return limit_reached("SEMANTIC_NODE_DIM");
    ++semantic->nr_node;
    return 0;
}

int semantic_trans_next(semantic_t *semantic)
{
    semantic_node_t &node = semantic->nodes[semantic->curr_node];
    if (node.nr_trans == SEMANTIC_NODE_TRANS_DIM)
        return limit_reached("SEMANTIC_NODE_TRANS_DIM");
    node.trans.resize(++node.nr_trans); // one of which nothing is said is one all the same
    return 0;
}

const semantic_trans_t *semantic_next_node_find(const semantic_node_t &node, trans_type_t type,
                                                std::string_view text)
{
    const bool is_value = type == TRANS_STRING || type == TRANS_NUMBER || type == TRANS_ATOM;
    for (uint32_t i = 0; i < node.nr_trans; ++i) {
        const semantic_trans_t &trans = node.trans[i];
        if (is_value && trans.type == TRANS_X)
            return &trans;
        if (trans.type == type && (type != TRANS_STRING || trans.trans == text))
            return &trans;
    }
    return nullptr;
}

std::vector<std::string_view> semantic_labels(const semantic_node_t &node)
{
    std::vector<std::string_view> labels;
    for (uint32_t i = 0; i < node.nr_trans; ++i)
        if (node.trans[i].type == TRANS_STRING)
            labels.push_back(node.trans[i].trans);
    return labels;
}

void semantic_history_add(semantic_t *semantic, const semantic_trans_t *trans)
{
    semantic->history[semantic->nr_history++ % SEMANTIC_HISTORY_DIM] = trans;
}

void semantic_node_inc(semantic_t *semantic, uint32_t node)
{
    ++semantic->count[node];
}

void semantic_node_reset(semantic_t *semantic, uint32_t node_key)
{
    const semantic_node_t &node = semantic->nodes[node_key];
    for (const uint32_t reset : node.reset)
        if (reset < SEMANTIC_NODE_DIM)
            semantic->count[reset] = 0;
}

const semantic_node_t *semantic_node_check(semantic_t *semantic, uint32_t node_key)
{
    const semantic_node_t &node = semantic->nodes[node_key];
    for (const uint32_t check : node.check) {
        if (check >= SEMANTIC_NODE_DIM)
            continue;
        const semantic_node_t &checked = semantic->nodes[check];
        uint32_t &count = semantic->count[check];
        if (!checked.min && !checked.max) {
            semantic->rangeless.push_back(checked.key);
            semantic_rangeless_print(checked.key);
            return nullptr;
        }
        if (count < checked.min.value_or(0) || (checked.max && count > *checked.max))
            return &checked;
        count = 0;
    }
    return nullptr;
}

void semantic_rangeless_print(uint32_t key)
{
    std::fprintf(stderr, "Error min or max has to be defined in the .sem node %u\n", key);
}

const semantic_trans_t *semantic_prev_string_node_find(const semantic_t &semantic,
                                                       const semantic_node_t &node)
{
    const auto target = static_cast<uint32_t>(&node - semantic.nodes.data());
    for (const semantic_node_t &from : semantic.nodes)
        for (uint32_t i = 0; i < from.nr_trans; ++i)
            if (from.trans[i].type == TRANS_STRING && from.trans[i].to == target)
                return &from.trans[i];
    return nullptr;
}
