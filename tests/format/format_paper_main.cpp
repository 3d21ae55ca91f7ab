// The tables of a paper, made from the tables of the format.
//
//     format_paper [--check] PAPER
//
// writes each table anew that stands between the lines "<!-- format: NAME -->" and
// "<!-- end -->": the records of a level by its name, "fields of" a level, or the "limits". With
// --check nothing is written, and the exit code is 1 where a table differs.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

#include "format_fields.h"

namespace
{

constexpr std::string_view OPEN = "<!-- format: ";
constexpr std::string_view CLOSE = "<!-- end -->";

/// The text of a message as a paper shows it.
std::string shown(std::string_view message)
{
    std::string text;
    for (const char c : message)
        text += c == '\n' ? std::string() : c == '|' ? "\\|" : std::string(1, c);
    return "\"" + text + "\"";
}

std::string shown_field(const format_field_t &field)
{
    if (field.kind == FORMAT_FIELD_BYTES)
        return field.what;
    switch (field.repeat) {
    case FORMAT_IF_ROOM:
        return std::string("[") + field.what + "]";
    case FORMAT_COUNTED:
    case FORMAT_REST:
    case FORMAT_HALF:
        return std::string(field.what) + ", ...";
    default:
        return field.what;
    }
}

std::string shown_fields(format_kind_t kind)
{
    std::string text;
    for (const format_field_t &field : format_fields_of(kind)) {
        text += text.empty() ? (field.repeat == FORMAT_ROW ? "rows of " : "") : "; ";
        text += shown_field(field);
    }
    return text;
}

std::string shown_value(const format_record_t &record)
{
    switch (record.content) {
    case FORMAT_CONTENT_RECORDS:
        return std::string("records: ") + format_levels()[record.inner].what;
    case FORMAT_CONTENT_FIELDS:
        return shown_fields(record.kind);
    case FORMAT_CONTENT_POOL:
        return "string pool";
    case FORMAT_CONTENT_BYTES:
        return "bytes";
    default:
        return "nothing";
    }
}

std::string records_table(format_level_t level)
{
    std::string text = "| type | record | value |\n|---|---|---|\n";
    for (const format_record_t &record : format_records_of(level))
        text += "| " + std::to_string(record.type) + " | " + record.name + ", " + record.what +
                " | " + shown_value(record) + " |\n";
    return text;
}

/// Where a field of fixed place stands; empty behind a field that repeats.
std::string place_of(const format_field_t &field)
{
    for (const format_field_t &other : format_fields_of(field.record))
        if (other.id < field.id && other.repeat != FORMAT_ONCE && other.repeat != FORMAT_IF_ROOM &&
            other.repeat != FORMAT_ROW)
            return "";
    return std::to_string(format_byte_of(field.id));
}

std::string fields_table(format_level_t level)
{
    std::string text =
        "| record | at byte | size | field | unit | limit |\n|---|---|---|---|---|---|\n";
    for (const format_record_t &record : format_records_of(level))
        for (const format_field_t &field : format_fields_of(record.kind))
            text += std::string("| ") + record.name + " | " + place_of(field) + " | " +
                    std::to_string(field.bytes) + " | " + shown_field(field) + " | " +
                    format_unit_names[field.unit] + " | " +
                    (field.limit == FORMAT_LIMIT_NONE
                         ? ""
                         : std::to_string(format_limits[field.limit].value)) +
                    " |\n";
    return text;
}

std::string limits_table()
{
    std::string text = "| limit | of | message of the refusal |\n|---|---|---|\n";
    for (const format_limit_t &limit : format_limits) {
        std::string messages;
        for (const format_refusal_t &refusal : format_refusals)
            if (refusal.limit == limit.id)
                messages += (messages.empty() ? "" : "; ") + shown(refusal.message);
        const std::string unit = format_unit_names[limit.unit];
        text += "| " + std::to_string(limit.value) + (unit.empty() ? "" : " " + unit) + " | " +
                limit.what + " | " + messages + " |\n";
    }
    return text;
}

/// Makes the table of that name; empty for a name that there is not.
std::string table(std::string_view name)
{
    constexpr std::string_view fields_of = "fields of ";
    if (name == "limits")
        return limits_table();
    const bool fields = name.starts_with(fields_of);
    for (const format_level_row_t &level : format_levels())
        if (level.name == (fields ? name.substr(fields_of.size()) : name))
            return fields ? fields_table(level.level) : records_table(level.level);
    return "";
}

/// Gives the paper with every table made anew. Returns false for a table that nobody knows or
/// that does not end.
bool renew(const std::string &paper, std::string &renewed)
{
    std::istringstream in(paper);
    for (std::string line; std::getline(in, line);) {
        renewed += line + "\n";
        if (!line.starts_with(OPEN))
            continue;
        const size_t end = line.find(" -->", OPEN.size());
        const std::string made =
            table(std::string_view(line).substr(OPEN.size(), end - OPEN.size()));
        if (made.empty()) {
            std::cerr << "no such table: " << line << "\n";
            return false;
        }
        renewed += made;
        while (std::getline(in, line) && line != CLOSE)
            continue;
        if (!in) {
            std::cerr << "a table does not end\n";
            return false;
        }
        renewed += line + "\n";
    }
    return true;
}

std::string read_file(const char *name)
{
    std::ifstream file(name, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

int main(int argc, char **argv)
{
    const bool check = argc == 3 && std::string_view(argv[1]) == "--check";
    if (argc != 2 && !check) {
        std::cerr << "usage: format_paper [--check] PAPER\n";
        return 2;
    }
    const char *name = argv[argc - 1];
    const std::string paper = read_file(name);
    std::string renewed;
    if (paper.empty() || !renew(paper, renewed))
        return 2;
    if (paper == renewed)
        return 0;
    if (check) {
        std::cerr << name << ": its tables are not those of the format\n";
        return 1;
    }
    return std::ofstream(name, std::ios::binary) << renewed ? 0 : 2;
}
