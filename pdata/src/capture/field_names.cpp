#include "field_names.h"

#include <algorithm>
#include <cstring>

namespace
{

template <typename Word>
uint64_t load(const char *at)
{
    Word word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

/// Mixes the first and the last bytes of a key, its length and its object. Longer keys may share
/// what is between, which costs a comparison and no more: the keys of the table are our own.
size_t hash_of(uint32_t object, std::string_view key)
{
    constexpr uint64_t golden = 0x9E3779B97F4A7C15ULL;
    const char *end = key.data() + key.size();
    uint64_t mixed = (key.size() + object * uint64_t{0x10001}) * golden;
    if (key.size() >= 8)
        mixed ^= load<uint64_t>(key.data()) + load<uint64_t>(end - 8) * golden;
    else if (key.size() >= 4)
        mixed ^= load<uint32_t>(key.data()) | load<uint32_t>(end - 4) << 32;
    else if (!key.empty())
        mixed ^= load<uint8_t>(key.data()) | load<uint8_t>(key.data() + key.size() / 2) << 8 |
                 load<uint8_t>(end - 1) << 16;
    return static_cast<size_t>((mixed * golden) >> 32);
}

/// Returns the place of a key, or the free one where it would be.
size_t place_of(const field_names_t &names, uint32_t object, std::string_view key)
{
    const size_t mask = names.places.size() - 1;
    size_t place = hash_of(object, key) & mask;
    for (; names.places[place] != 0; place = (place + 1) & mask) {
        const field_key_t &known = names.keys[names.places[place] - 1];
        if (known.object == object && known.key == key)
            break;
    }
    return place;
}

/// Makes a table at most a quarter full.
void make_places(field_names_t &names, size_t size)
{
    names.places.assign(size, 0);
    for (uint32_t i = 0; i < names.keys.size(); ++i)
        names.places[place_of(names, names.keys[i].object, names.keys[i].key)] = i + 1;
}

field_member_t &member_of(field_names_t &names, uint32_t object, std::string_view key)
{
    if (names.places.size() < 4 * (names.keys.size() + 1))
        make_places(names, std::max<size_t>(2 * names.places.size(), 64));
    uint32_t &place = names.places[place_of(names, object, key)];
    if (place == 0) {
        names.keys.push_back({std::string(key), object, {}});
        place = static_cast<uint32_t>(names.keys.size());
    }
    return names.keys[place - 1].member;
}

/// Returns the object of a name that ends in a point.
uint32_t object_of(field_names_t &names, std::string_view name)
{
    const auto known = std::ranges::find(names.objects, name);
    const auto number = static_cast<uint32_t>(known - names.objects.begin());
    if (known == names.objects.end())
        names.objects.emplace_back(name);
    return number;
}

} // namespace

void field_names_add(field_names_t &names, std::string_view name, uint32_t number)
{
    for (size_t begin = 0;;) {
        const uint32_t object = object_of(names, name.substr(0, begin));
        for (size_t end = name.find('.', begin); end != name.npos; end = name.find('.', end + 1))
            member_of(names, object, name.substr(begin, end - begin)).object =
                object_of(names, name.substr(0, end + 1));
        member_of(names, object, name.substr(begin)).number = number;
        begin = name.find('.', begin) + 1;
        if (begin == 0)
            return;
    }
}

field_member_t field_names_find(const field_names_t &names, uint32_t object, std::string_view key)
{
    if (names.places.empty())
        return {};
    const uint32_t place = names.places[place_of(names, object, key)];
    return place == 0 ? field_member_t{} : names.keys[place - 1].member;
}
