#include "view_error.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

const char *view_fault_name(view_fault_t fault)
{
    switch (fault) {
    case VIEW_SOUND:
        return "sound";
    case VIEW_CUT:
        return "cut short";
    case VIEW_OVERLONG:
        return "over-long record";
    case VIEW_OVERLAP:
        return "overlapping record";
    case VIEW_ABSENT:
        return "missing record";
    case VIEW_UNKNOWN:
        return "unknown record";
    case VIEW_LENGTH:
        return "wrong length";
    case VIEW_COUNT:
        return "wrong count";
    case VIEW_REFERENCE:
        return "dangling reference";
    case VIEW_VALUE:
        return "wrong value";
    case VIEW_LOST:
        return "lost part";
    case VIEW_ORDER:
        return "wrong order";
    case VIEW_MEMORY:
        return "out of memory";
    }
    return "unknown fault";
}

bool view_fail(view_error_t &error, view_fault_t fault, size_t offset, const char *format, ...)
{
    error.fault = fault;
    error.offset = offset;
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(error.text, sizeof(error.text), format, arguments); // cut when too long
    va_end(arguments);
    return false;
}

bool view_within(view_error_t &error, const char *format, ...)
{
    char inner[VIEW_TEXT_DIM];
    std::memcpy(inner, error.text, sizeof(inner));
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(error.text, sizeof(error.text), format, arguments);
    va_end(arguments);
    const size_t used = std::strlen(error.text);
    (void)std::snprintf(error.text + used, sizeof(error.text) - used, ": %s", inner);
    return false;
}
