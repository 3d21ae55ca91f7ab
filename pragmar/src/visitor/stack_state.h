/// Where a visitor stands in a document: a stack of states that keys open and close.
///
/// What a key means depends on the keys around it. A visitor lists that in a table of rows, one for
/// each key below each state, which can be read beside the manual of its document. Keys are
/// compared as they are written. Oddity O60.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

constexpr uint32_t STACK_STATE_DIM = 16;

/// States, innermost last.
struct stack_state_t {
    std::array<uint32_t, STACK_STATE_DIM> state{};
    uint32_t nr = 0;
};

/// The state that a key opens below a state.
struct state_key_t {
    uint32_t parent;
    std::string_view key;
    uint32_t state;
};

/// Enters a state. Returns 0, or -1 when the stack is full.
[[nodiscard]] int stack_state_push(stack_state_t *stack, uint32_t state);

/// Leaves the innermost state; an empty stack stays empty.
void stack_state_pop(stack_state_t *stack);

/// Returns the innermost state, or `unknown` for an empty stack.
uint32_t stack_state_top(const stack_state_t &stack, uint32_t unknown);

/// Returns the state that `key` opens below `parent`, or `unknown` when no row says so.
uint32_t stack_state_find(std::span<const state_key_t> rows, uint32_t parent, std::string_view key,
                          uint32_t unknown);
