/// Lines and columns of many bytes of the inputs, worked out in one pass over each.
#pragma once

#include <span>
#include <vector>

#include "description_text.h"
#include "lint_model.h"

/// The places of the bytes that findings name, by file.
struct lint_places_t {
    struct byte_t {
        uint32_t offset;
        text_place_t place;
    };
    std::vector<std::vector<byte_t>> files; ///< each by its offsets
};

/// Works out the places of the begins and ends of the findings and of what they refer to.
lint_places_t lint_places(std::span<const lint_file_t> files, std::span<const finding_t> findings);

/// Returns the line and the column of a byte that was worked out, columns in characters from 1.
text_place_t lint_place_of(const lint_places_t &places, uint32_t file, uint32_t offset);
