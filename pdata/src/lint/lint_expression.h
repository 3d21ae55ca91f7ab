/// Why an expression does not read.
#pragma once

#include <string>
#include <string_view>

/// What is wrong with an expression, and what to do.
struct lint_expression_fault_t {
    std::string message;
    std::string hint;
};

/// Returns why the expansion refuses an expression with a module code.
lint_expression_fault_t lint_expression_fault(std::string_view expression, int code);
