// The front end: a rule text and a document, separated by a 0 byte. Without one the whole input is
// a document.
#include <algorithm>
#include <cstdint>
#include <string_view>

#include "json_error.h"
#include "json_visitor.h"
#include "pragmar.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string_view input(reinterpret_cast<const char *>(data), size);
    const size_t zero = input.find('\0');
    const bool has_rules = zero != std::string_view::npos;
    const std::string_view rules = has_rules ? input.substr(0, zero) : std::string_view();
    const std::string_view document = has_rules ? input.substr(zero + 1) : input;
    pragmar_err_clear();
    json_t json;
    if (pragmar_load(document, rules, &json, false) == 0) {
        json_visitor_t visitor;
        if (json_visit(json, &visitor) != 0)
            __builtin_trap();
    }
    pragmar_destroy(&json);
    return 0;
}
