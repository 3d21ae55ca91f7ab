#include "json_error.h"
#include "json_error_text.h"

namespace
{

int shown(std::string_view text)
{
    return json_err_printed_len(static_cast<uint32_t>(text.size()));
}

/// What the four reports on values and transitions begin with.
void report_start(const semantic_t &semantic)
{
    json_err_concat("Bad semantic.\n");
    json_err_protocol_name_dump();
    json_err_semantic_history_dump(semantic);
}

int report_end(const semantic_node_t &node)
{
    json_err_semantic_expected(node);
    return JSON_ERR_SEMANTIC;
}

} // namespace

const char *trans_type2str(trans_type_t type)
{
    static const char *const names[] = {"{", "}", "[", "]", ",", "*", "STRING", "NUMBER", "ATOM"};
    return type <= TRANS_ATOM ? names[type] : "_";
}

void json_err_semantic_history_dump(const semantic_t &semantic)
{
    json_err_concat("Context: ");
    const uint32_t end = semantic.nr_history;
    const uint32_t start = end > SEMANTIC_HISTORY_DIM ? end - SEMANTIC_HISTORY_DIM : 0;
    for (uint32_t i = start; i < end; ++i) {
        const semantic_trans_t &trans = *semantic.history[i % SEMANTIC_HISTORY_DIM];
        if (trans.type == TRANS_STRING)
            json_err_concat("\"%.*s\" ", shown(trans.trans), trans.trans.data());
        else if (trans.type == TRANS_X)
            json_err_concat(": \"*\" ");
        else
            json_err_concat("%.*s ", shown(trans.trans), trans.trans.data());
    }
    json_err_concat("\n");
}

void json_err_semantic_expected(const semantic_node_t &node)
{
    json_err_concat("Expected:\n");
    for (uint32_t i = 0; i < node.nr_trans; ++i) {
        const semantic_trans_t &trans = node.trans[i];
        if (trans.type == TRANS_COMMA)
            continue;
        json_err_concat("\t+ type '%s'", trans_type2str(trans.type));
        if (trans.type == TRANS_STRING)
            json_err_concat(", \"%.*s\".", shown(trans.trans), trans.trans.data());
        else
            json_err_concat(".");
        json_err_concat("\n");
    }
}

int json_err_semantic(const semantic_t &semantic, const semantic_node_t &node,
                      trans_type_t curr_trans)
{
    report_start(semantic);
    json_err_concat("Unexpected type '%s'.\n", trans_type2str(curr_trans));
    return report_end(node);
}

int json_err_semantic_atom(const semantic_t &semantic, const semantic_node_t &node,
                           const json_atom_t &json_node)
{
    static const char *const names[] = {"TRUE", "FALSE", "NULL"};
    report_start(semantic);
    // A literal is reported under the name of numbers. Oddity O67.
    json_err_concat("Unexpected type '%s': ", trans_type2str(TRANS_NUMBER));
    json_err_concat("%s", names[json_node.type]);
    json_err_concat(".\n");
    return report_end(node);
}

int json_err_semantic_number(const semantic_t &semantic, const semantic_node_t &node,
                             uint32_t unexpected)
{
    report_start(semantic);
    json_err_concat("Unexpected type '%s': %u.\n", trans_type2str(TRANS_NUMBER), unexpected);
    return report_end(node);
}

int json_err_semantic_string(const semantic_t &semantic, const semantic_node_t &node,
                             const char *unexpected, uint32_t unexpected_len)
{
    report_start(semantic);
    json_err_concat("Unexpected type '%s': \"%.*s\".\n", trans_type2str(TRANS_STRING),
                    json_err_printed_len(unexpected_len), unexpected);
    return report_end(node);
}

int json_err_semantic_cardinality(const semantic_node_t &node, const semantic_t &semantic)
{
    json_err_concat("Bad semantic.\n");
    json_err_protocol_name_dump();
    if (!node.max)
        json_err_concat("Cardinality [%u..N] is not respected.\n", node.min.value_or(0));
    else if (node.min)
        json_err_concat("Cardinality [%u..%u] is not respected.\n", *node.min, *node.max);
    else
        json_err_concat("Cardinality [0..%u] is not respected.\n", *node.max);
    if (const semantic_trans_t *key = semantic_prev_string_node_find(semantic, node))
        json_err_concat("Key \"%.*s\" appears %u times.\n", shown(key->trans), key->trans.data(),
                        semantic.count[static_cast<size_t>(&node - semantic.nodes.data())]);
    return JSON_ERR_SEMANTIC;
}
