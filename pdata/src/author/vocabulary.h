/// The vocabulary of documents: what their keys mean, as the tables of the papers say it.
///
/// A table of keys has a first column "key", or "key of `tags`" for those of the objects below
/// another key. The papers are carried by the program as they were when it was built.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A key, and what a paper says of it.
struct vocabulary_row_t {
    std::string section; ///< heading that the table stands below
    std::string holder;  ///< key of the object that it stands in, empty for that of the section
    std::string key;     ///< "*" for keys of any other name
    std::string value;   ///< what its value is
    std::string meaning; ///< with limits and messages
};

/// Reads the tables of a paper.
std::vector<vocabulary_row_t> vocabulary_read(std::string_view paper);

/// Returns a paper that the program carries, "pdd.md" or "configuration.md"; null data for others.
std::string_view vocabulary_paper(std::string_view name);
