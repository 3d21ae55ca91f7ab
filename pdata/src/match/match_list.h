/// A list whose room is made once, for all that it can hold: to add to it is to store.
#pragma once

#include <memory>
#include <span>

template <typename Element>
struct match_list_t {
    std::unique_ptr<Element[]> room;
    size_t nr = 0;

    /// Makes room for so many elements, and forgets those before. std::bad_alloc passes.
    void reserve(size_t most)
    {
        room = std::make_unique_for_overwrite<Element[]>(most);
        nr = 0;
    }
    /// Adds one of those that there is room for.
    void add(const Element &element) { room[nr++] = element; }
    void clear() { nr = 0; }
    std::span<Element> all() { return {room.get(), nr}; }
    std::span<const Element> all() const { return {room.get(), nr}; }
};
