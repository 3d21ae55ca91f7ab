#include "blob_reader.h"

#include "blob_record.h"
#include "csa_endian.h"

bool blob_fail(std::string &error, std::string text)
{
    error = std::move(text);
    return false;
}

bool blob_read(blob_span_t &rest, uint32_t type, blob_span_t &value, std::string &error)
{
    if (blob_record_take(rest, type, value))
        return true;
    const std::string name = "record " + std::to_string(type);
    if (rest.size() < 8)
        return blob_fail(error, name + ": no room for its header");
    const uint32_t found = csa_get_be32(rest.data());
    if (found != type)
        return blob_fail(error, name + ": type " + std::to_string(found) + " stands there");
    return blob_fail(error, name + ": length " + std::to_string(csa_get_be32(rest.data() + 4)) +
                                " is not of words or runs past the end");
}

bool blob_read_words(blob_span_t &rest, uint32_t type, std::span<uint32_t> words,
                     std::string &error)
{
    blob_span_t value;
    if (!blob_read(rest, type, value, error))
        return false;
    if (value.size() != words.size() * 4)
        return blob_fail(error, "record " + std::to_string(type) + ": " +
                                    std::to_string(value.size()) + " bytes instead of " +
                                    std::to_string(words.size() * 4));
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = csa_get_be32(value.data() + 4 * i);
    return true;
}

bool blob_end(blob_span_t rest, std::string &error)
{
    return rest.empty() ||
           blob_fail(error, std::to_string(rest.size()) + " bytes follow the last record");
}
