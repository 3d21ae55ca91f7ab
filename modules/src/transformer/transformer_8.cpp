#include "transformer_integer.h"

int transformer_8(csa_str_t text, uint32_t inequation, transformer_value_t &lower,
                  transformer_value_t &upper)
{
    constexpr transformer_integer_width width{0xFF, MODULE_ERR_INVALID};
    return transformer_integer(width, text, inequation, lower, upper);
}
