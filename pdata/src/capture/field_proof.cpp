#include "field_proof.h"

#include <cstring>

namespace
{

/// Tells whether a text ended at a zero byte of its frame.
bool cut_at_zero(std::string_view text, std::string_view payload)
{
    if (payload.find('\0') == std::string_view::npos)
        return false;
    // Of a string the time is that of its length times the payload's; this one is linear.
    const std::string with_zero = std::string(text) + '\0';
    return memmem(payload.data(), payload.size(), with_zero.data(), with_zero.size()) != nullptr;
}

} // namespace

proved_t field_without_replaced(std::string_view text)
{
    const size_t replaced = text.find("\xEF\xBF\xBD");
    return {text.substr(0, replaced), replaced != std::string_view::npos};
}

proved_t field_prove(const field_text_t &text)
{
    proved_t proved = field_without_replaced(text.text);
    if (proved.incomplete)
        return proved;
    const bool size_differs =
        text.size >= 0 && static_cast<uint64_t>(text.size) != text.text.size();
    proved.incomplete = size_differs || (text.size < 0 && cut_at_zero(text.text, text.payload));
    return proved;
}

flow_attr_t field_bytes(std::string_view bytes, bool incomplete)
{
    flow_attr_t value;
    value.kind = FLOW_BYTES;
    value.bytes = bytes;
    value.incomplete = incomplete;
    return value;
}
