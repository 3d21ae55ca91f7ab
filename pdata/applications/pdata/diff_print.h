/// What two pdbs say differently, for people and for programs.
#pragma once

#include "console.h"
#include "pdb_difference.h"

/// Prints the totals of a difference and its aliases.
void diff_print_totals(console_t &console, const pdb_difference_t &difference);

/// Returns who prints a difference for people as it is found.
difference_sink_t diff_text_sink(console_t &console);

/// Says how many values were not listed.
void diff_print_unlisted(console_t &console, const pdb_difference_t &difference);

/// Sets the members of a document that stand in front of the protocols: those of the totals.
void diff_fill(json_document_t &document, const pdb_difference_t &difference);

/// A document that is printed as the difference is found.
struct diff_json_t {
    console_t &console;
    bool any_protocol = false;
    bool any_rule = false;
};

/// Begins the document with the members of `head`, gives who adds the protocols to it, and ends it
/// with the members of `tail`.
void diff_json_begin(diff_json_t &json, const json_document_t &head);
difference_sink_t diff_json_sink(diff_json_t &json);
void diff_json_end(diff_json_t &json, const json_document_t &tail);
