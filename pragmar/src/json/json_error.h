/// JSON error reports: what failed, on which line, an excerpt with a caret, what was expected.
///
/// A report accumulates in one process-wide error text of at most 1023 characters; pieces that do
/// not fit are cut or dropped. The builder that ran the front end copies the text, verbatim, into
/// the program's status message. The text is never cleared while the program runs: one failing
/// document ends the run. Oddity O66.
///
/// Each reporter appends its report and returns a fixed negative code, which the parser or the
/// checker passes upward.
#pragma once

#include "container_semantic.h"
#include "json.h"

enum json_err_t : int {
    JSON_ERR_PARSER = -1,
    JSON_ERR_POOL = -2,
    JSON_ERR_LEXER = -3,
    JSON_ERR_SEMANTIC = -5,
};

/// Characters that the error text can hold.
constexpr uint32_t JSON_ERR_MAX = 1023;

/// What the parser may expect, each ended by JSON_TOKEN_END.
extern const json_token_type_t expected_eof[];
extern const json_token_type_t expected_string[];
extern const json_token_type_t expected_colon[];
extern const json_token_type_t expected_members_next[];
extern const json_token_type_t expected_elements_next[];
extern const json_token_type_t expected_all[];

/// Display names: of a token kind ("X" for one without a name), of a transition kind ("_").
const char *json_type2str(json_token_type_t type);
const char *trans_type2str(trans_type_t type);

/// Returns the error text, terminated.
const char *pragmar_err_get();

/// Empties the error text and forgets the protocol's name, for a process that runs several jobs.
void pragmar_err_clear();

/// Sets the name of the protocol being checked, printed in semantic reports. The `name_len` bytes
/// at `name` must live as long as reports may come; a length of 0 means no name.
void json_err_protocol_name_set(const char *name, uint32_t name_len);

/// A token that the grammar does not allow; `expected` is one of the lists above.
int json_err_parser(const json_t &json, const json_token_t &token,
                    const json_token_type_t *expected);

/// A node for which there is no memory; `pool` is "atoms", "numbers", "strings", "pairs",
/// "objects" or "arrays".
int json_err_pool(const char *pool);

/// A text in which no token starts.
int json_err_lexer(const json_t &json, const json_token_t &token);

/// An event of kind `curr_trans` that the rule `node` does not allow.
int json_err_semantic(const semantic_t &semantic, const semantic_node_t &node,
                      trans_type_t curr_trans);

/// A literal that the rule `node` does not allow.
int json_err_semantic_atom(const semantic_t &semantic, const semantic_node_t &node,
                           const json_atom_t &json_node);

/// A number that the rule `node` does not allow.
int json_err_semantic_number(const semantic_t &semantic, const semantic_node_t &node,
                             uint32_t unexpected);

/// A string of `unexpected_len` bytes that the rule `node` does not allow.
int json_err_semantic_string(const semantic_t &semantic, const semantic_node_t &node,
                             const char *unexpected, uint32_t unexpected_len);

/// A count of `node` outside its range; the report names no place. Oddity O196.
int json_err_semantic_cardinality(const semantic_node_t &node, const semantic_t &semantic);

/// The shared pieces: the text up to `token` with a caret, the way to the failing place, and
/// what `node` allows.
void json_err_concat_last_lines(const json_t &json, const json_token_t &token);
void json_err_semantic_history_dump(const semantic_t &semantic);
void json_err_semantic_expected(const semantic_node_t &node);
