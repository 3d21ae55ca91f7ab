/// What people read in schemas.
#pragma once

#include "schema_machine.h"
#include "vocabulary.h"

/// The words of a document: rows of a paper, of one section of it or of all.
struct schema_vocabulary_t {
    std::vector<vocabulary_row_t> rows;
    std::string section; ///< of the document's own keys; empty: of all
};

/// Adds the title and the description of a key, where the paper has them.
void schema_add_words(const schema_vocabulary_t &vocabulary, std::string_view holder,
                      std::string_view key, schema_json_t &schema);
