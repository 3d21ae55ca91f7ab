#include "transformer_integer.h"

int transformer_range16(csa_str_t text, uint32_t inequation, transformer_value_t &lower,
                        transformer_value_t &upper)
{
    constexpr transformer_integer_width width{0xFFFF, MODULE_ERR_OVERFLOW};
    return transformer_integer(width, text, inequation, lower, upper);
}
