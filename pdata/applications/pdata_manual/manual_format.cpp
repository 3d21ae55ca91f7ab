#include <fmt/format.h>

#include "format_fields.h"
#include "manual_pages.h"
#include "mdoc.h"

namespace
{

constexpr const char *introduction =
    "A pdb is a sequence of records, without a header or a trailer of the file. Everything is in "
    "words of 32 bits, the most significant byte first. A record is a header word, whose upper 8 "
    "bits are the type and whose lower 24 bits are the length of the value in words, and the "
    "value: words, bytes padded with zeros to whole words, or further records. Texts stand in "
    "string pools and are referred to by the offset of their 2-byte length.";

/// How often a field stands, by format_repeat_t.
constexpr std::string_view repeat_texts[] = {
    "",
    ", where the record is long enough",
    ", as often as counted",
    ", in each row",
    ", to the end of the value",
    ", in the first half of the rest",
};

std::string fields_of(const format_record_t &record)
{
    std::string text;
    for (const format_field_t &field : format_fields_of(record.kind))
        text += fmt::format(".It Va {}\n{}", mdoc_word(field.name),
                            mdoc_text(fmt::format("{}, {} {}{}.", field.what, field.bytes,
                                                  field.bytes == 1 ? "byte" : "bytes",
                                                  repeat_texts[field.repeat])));
    return text.empty() ? text : ".Bl -tag -width Ds -compact\n" + text + ".El\n";
}

/// What a value is made of, by format_content_t. Records are named, and fields listed behind it.
constexpr std::string_view content_texts[] = {"", "", "A string pool.", "Bytes.", "No value."};

std::string content_of(const format_record_t &record)
{
    return record.content == FORMAT_CONTENT_RECORDS
               ? fmt::format("Records: {}.", format_levels()[record.inner].what)
               : std::string(content_texts[record.content]);
}

std::string record_of(const format_record_t &record)
{
    return fmt::format(".It {} Dv {}\n{}", record.type, mdoc_word(record.name),
                       mdoc_text(fmt::format("{}.", record.what))) +
           mdoc_text(content_of(record)) + fields_of(record);
}

} // namespace

std::string manual_page_format()
{
    std::string page = mdoc_head("PDB", "5", "pdb", "compiled protocol data");
    page += ".Sh DESCRIPTION\n" + mdoc_text(introduction) + ".Sh FORMAT\n";
    for (const format_level_row_t &level : format_levels()) {
        page += fmt::format(".Ss {}\n.Bl -tag -width Ds\n", mdoc_word(level.what));
        for (const format_record_t &record : format_records_of(level.level))
            page += record_of(record);
        page += ".El\n";
    }
    return page + ".Sh SEE ALSO\n.Xr pdata-dump 1 ,\n.Xr pdata_compiler 1 ,\n.Xr pdd 5\n";
}
