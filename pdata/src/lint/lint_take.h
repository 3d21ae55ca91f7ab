/// From the tokens of a protocol to texts, numbers and flags: each is taken where it has the kind
/// that its key takes, and said where it has another one.
#pragma once

#include "description_text.h"
#include "lint_model.h"
#include "lint_vocabulary.h"

/// A protocol while it is taken from its tokens.
struct lint_build_t {
    const description_text_t &tokens;
    uint32_t file;
    std::vector<finding_t> &findings;
    lint_protocol_t &protocol;
    lint_attribute_t *attribute = nullptr; ///< the "stream_offset" at hand
    size_t nr_value = 0;                   ///< values of the sub-rule at hand
};

/// A member of an object: the tokens of its key and of its value.
struct lint_member_t {
    size_t key;
    size_t value;
    const lint_key_row_t &row;
};

inline const text_token_t &lint_token(const lint_build_t &build, size_t token)
{
    return build.tokens.tokens[token];
}

/// Returns the bytes from the first token to the end of the last one.
finding_place_t lint_token_place(const lint_build_t &build, size_t first, size_t last);

/// Returns the bytes of a token, those of a string without its quotes.
std::string_view lint_token_raw(const lint_build_t &build, size_t token);

/// Returns a string as it is written and as it is read.
lint_text_t lint_token_text(const lint_build_t &build, size_t token);

/// Checks that a scalar has the kind that the key of its member takes, and adds a finding where it
/// has not. Arrays and objects in its place are the shape's concern.
bool lint_check_kind(lint_build_t &build, const lint_member_t &member, size_t token);

/// Returns the tokens of the values of a member that take part: one, or those of an array.
std::vector<size_t> lint_take_values(lint_build_t &build, const lint_member_t &member);

/// Adds the finding that there are more than `most` of something; `token` is the first one too
/// many.
void lint_report_many(lint_build_t &build, size_t token, std::string_view what, size_t most);

/// Adds the finding that a key is none, and which is meant.
void lint_report_key(lint_build_t &build, size_t key, std::string_view meant);

/// Takes the value of a member where it is of the right kind; of texts, as many as there may be.
void lint_take_texts(lint_build_t &build, const lint_member_t &member,
                     std::vector<lint_text_t> &texts);
void lint_take_number(lint_build_t &build, const lint_member_t &member,
                      std::optional<lint_number_t> &number);
void lint_take_text(lint_build_t &build, const lint_member_t &member,
                    std::optional<lint_text_t> &text);
void lint_take_flag(lint_build_t &build, const lint_member_t &member,
                    std::optional<lint_flag_t> &flag);
