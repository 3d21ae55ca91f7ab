#include "lint_places.h"

#include <algorithm>

namespace
{

void note(lint_places_t &places, const finding_place_t &place)
{
    places.files[place.file].push_back({place.begin, {}});
    places.files[place.file].push_back({place.end, {}});
}

/// Counts lines and characters from byte to byte.
void sweep(std::string_view text, std::vector<lint_places_t::byte_t> &bytes)
{
    text_place_t place;
    size_t at = 0;
    size_t line_end = text.find('\n');
    for (lint_places_t::byte_t &byte : bytes) {
        const size_t end = std::min<size_t>(byte.offset, text.size());
        for (; line_end < end; line_end = text.find('\n', at)) {
            at = line_end + 1;
            place = {place.line + 1, 1};
        }
        place.column += text_characters(text.substr(at, end - at));
        at = end;
        byte.place = place;
    }
}

} // namespace

lint_places_t lint_places(std::span<const lint_file_t> files, std::span<const finding_t> findings)
{
    lint_places_t places;
    places.files.resize(files.size());
    for (const finding_t &finding : findings) {
        note(places, finding.place);
        if (finding.related)
            note(places, finding.related->place);
    }
    for (size_t i = 0; i < files.size(); ++i) {
        std::ranges::sort(places.files[i], {}, &lint_places_t::byte_t::offset);
        sweep(files[i].text, places.files[i]);
    }
    return places;
}

text_place_t lint_place_of(const lint_places_t &places, uint32_t file, uint32_t offset)
{
    const auto &bytes = places.files[file];
    return std::ranges::lower_bound(bytes, offset, {}, &lint_places_t::byte_t::offset)->place;
}
