/// The schemas of the documents that have no rule file.
#pragma once

#include "schema_words.h"

/// Returns the schema of a pattern table.
schema_json_t schema_of_psa(const schema_vocabulary_t &vocabulary);

/// Returns the schema of the IPv4 table.
schema_json_t schema_of_ipbt(const schema_vocabulary_t &vocabulary);
