#include "completions.h"

void completion_fill(std::string &text, std::string_view word, std::string_view made)
{
    text.replace(text.find(word), word.size(), made);
}
