/// The tokens of a description, read one after another, and on behind a fault where it is plain
/// what is meant: a token that lacks or is too much (Graham and Rhodes, 1975).
///
///     text_reader_t reader = {description, fault, {}, at};
///     while (!text_reader_read(reader, false)) {
///         ... fault
///         if (!text_reader_in_step(reader) || !text_reader_pass(reader))
///             break;
///     }
///
/// Reading on to the end takes linear time, whatever the faults.
#pragma once

#include "description_text.h"

/// What may stand at a place of the grammar.
enum text_expected_t : uint8_t {
    TEXT_EXPECT_DOCUMENT,
    TEXT_EXPECT_VALUE,
    TEXT_EXPECT_VALUE_OR_END,
    TEXT_EXPECT_KEY,
    TEXT_EXPECT_KEY_OR_END,
    TEXT_EXPECT_COLON,
    TEXT_EXPECT_NEXT, ///< a comma or the end of what is open
    TEXT_EXPECT_NOTHING,
};

/// A text while it is read. Tokens are added to the description, whose text must be set.
struct text_reader_t {
    description_text_t &description;
    text_fault_t &fault;
    std::vector<uint32_t> open{}; ///< tokens of what is not closed yet
    size_t at = 0;                ///< the byte where reading goes on; that of a fault
    text_expected_t expected = TEXT_EXPECT_DOCUMENT;
};

/// Notes a fault. Returns false.
bool text_reader_refuse(text_reader_t &reader, size_t offset, std::string text);

/// Reads the tokens of an object, and with `whole` those behind it. Returns false with the first
/// fault; the tokens in front of it stay, and brackets that are open there have no mate.
[[nodiscard]] bool text_reader_read(text_reader_t &reader, bool whole);

/// Tells whether the token in front of a fault leaves no doubt that texts begin and end where they
/// are meant to: it is no text that goes over lines, or that more of a text stands at. One token at
/// least was read.
bool text_reader_in_step(const text_reader_t &reader);

/// Passes a fault, so that reading may go on: as if the comma, colon or bracket that lacks stood in
/// front of the token, or as if what is too much did not. Returns false where neither helps. Where
/// no token is read in front of the next fault, that one follows from this one. Of tokens behind a
/// fault that was passed, brackets need not have their mates.
[[nodiscard]] bool text_reader_pass(text_reader_t &reader);
