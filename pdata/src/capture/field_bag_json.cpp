#include "field_bag.h"
#include "json_text.h"

namespace
{

/// The reading of one record, without a tree of it: what is not asked for is checked and passed.
struct json_record_t {
    json_place_t place;
    field_bag_t &bag;
};

bool take(json_record_t &record, char c)
{
    json_skip_blanks(record.place);
    if (record.place.at == record.place.end || *record.place.at != c)
        return false;
    ++record.place.at;
    return true;
}

/// Returns a string that was taken, without its escapes.
std::string_view unescaped(field_bag_t &bag, std::string_view text, bool escaped)
{
    if (!escaped)
        return text;
    const size_t begin = bag.made.size();
    json_unescape(text, bag.made);
    return std::string_view(bag.made).substr(begin);
}

bool take_string(json_record_t &record, const field_member_t &member)
{
    std::string_view text;
    bool escaped = false;
    if (!json_take_string(record.place, text, escaped))
        return false;
    if (member.number != FIELD_UNASKED)
        field_bag_put(record.bag, member.number, unescaped(record.bag, text, escaped));
    return true;
}

bool take_number(json_record_t &record, const field_member_t &member)
{
    std::string_view text;
    if (!json_take_number(record.place, text))
        return false;
    if (member.number != FIELD_UNASKED)
        field_bag_put(record.bag, member.number, text == "-0" ? "0" : text);
    return true;
}

bool take_word(json_record_t &record, const field_member_t &member, std::string_view word)
{
    if (!json_take_word(record.place, word))
        return false;
    if (member.number != FIELD_UNASKED && word != "null")
        field_bag_put(record.bag, member.number, word);
    return true;
}

/// Takes a value; of an object or array, what opens it.
bool take_value(json_record_t &record, const field_member_t &member, bool &opens)
{
    json_skip_blanks(record.place);
    if (record.place.at == record.place.end)
        return false;
    const char first = *record.place.at;
    opens = first == '{' || first == '[';
    if (opens)
        record.bag.levels.push_back({member, first == '{'});
    record.place.at += opens || first == '"' ? 1 : 0;
    switch (first) {
    case '{':
    case '[':
        return true;
    case '"':
        return take_string(record, member);
    case 't':
        return take_word(record, member, "true");
    case 'f':
        return take_word(record, member, "false");
    case 'n':
        return take_word(record, member, "null");
    default:
        return take_number(record, member);
    }
}

/// Takes the key of a member of an object.
bool take_key(json_record_t &record, uint32_t object, field_member_t &member)
{
    std::string_view key;
    bool escaped = false;
    if (!take(record, '"') || !json_take_string(record.place, key, escaped))
        return false;
    member = {};
    if (object != FIELD_UNASKED)
        member = field_names_find(record.bag.names, object, unescaped(record.bag, key, escaped));
    return take(record, ':');
}

/// Goes on to the next value: closes what ends here, and takes what stands between. `opened` says
/// that the value before was opened only. At the end of the record, no level is left.
bool go_on(json_record_t &record, bool opened, field_member_t &member)
{
    std::vector<json_level_t> &levels = record.bag.levels;
    while (!levels.empty()) {
        const json_level_t &level = levels.back();
        if (!take(record, level.is_object ? '}' : ']')) {
            member = level.member;
            return (opened || take(record, ',')) &&
                   (!level.is_object || take_key(record, level.member.object, member));
        }
        levels.pop_back();
        opened = false;
    }
    return true;
}

} // namespace

bool field_bag_read_json(field_bag_t &bag, std::string_view line)
{
    field_bag_clear(bag, line.size());
    bag.levels.clear();
    json_record_t record = {{line.data(), line.data() + line.size()}, bag};
    field_member_t member = {FIELD_UNASKED, FIELD_TOP};
    json_skip_blanks(record.place);
    if (record.place.at == record.place.end || *record.place.at != '{')
        return false;
    bool opens = false;
    do {
        if (!take_value(record, member, opens) || !go_on(record, opens, member))
            return false;
    } while (!bag.levels.empty());
    json_skip_blanks(record.place);
    return record.place.at == record.place.end;
}
