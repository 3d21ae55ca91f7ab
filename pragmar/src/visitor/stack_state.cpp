#include "stack_state.h"

int stack_state_push(stack_state_t *stack, uint32_t state)
{
    if (stack->nr == STACK_STATE_DIM)
        return -1;
    stack->state[stack->nr++] = state;
    return 0;
}

void stack_state_pop(stack_state_t *stack)
{
    if (stack->nr != 0)
        --stack->nr;
}

uint32_t stack_state_top(const stack_state_t &stack, uint32_t unknown)
{
    return stack.nr == 0 ? unknown : stack.state[stack.nr - 1];
}

uint32_t stack_state_find(std::span<const state_key_t> rows, uint32_t parent, std::string_view key,
                          uint32_t unknown)
{
    for (const state_key_t &row : rows)
        if (row.parent == parent && row.key == key)
            return row.state;
    return unknown;
}
