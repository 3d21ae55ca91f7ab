#include <fmt/format.h>
#include <fmt/ranges.h>

#include "completions.h"

namespace
{

/// Kinds of what the shell offers, by manual_word_t.
constexpr std::string_view kinds[] = {"none",  "none",      "files",   "folders",
                                      "words", "protocols", "matchers"};

/// What the shell is to do for a word, as a branch of "case".
std::string action_of(const manual_option_t &option)
{
    if (option.word == MANUAL_WORD_CHOICE)
        return fmt::format("kind=words options='{}'", fmt::join(option.choices, " "));
    return fmt::format("kind={}", kinds[option.word]);
}

std::string names_of(const std::vector<manual_option_t> &options)
{
    std::string names;
    for (const manual_option_t &option : options) {
        if (!option.long_name.empty())
            names += fmt::format("--{} ", option.long_name);
        if (!option.short_name.empty())
            names += fmt::format("-{} ", option.short_name);
    }
    return names;
}

std::string arguments_of(const manual_command_t &command)
{
    std::string cases;
    for (const manual_option_t &option : command.options) {
        if (option.word == MANUAL_WORD_NONE)
            continue;
        const std::string shorter =
            option.short_name.empty()
                ? ""
                : fmt::format(" | \"{} -{}\"", command.name, option.short_name);
        cases += fmt::format("    \"{} --{}\"{}) {} ;;\n", command.name, option.long_name, shorter,
                             action_of(option));
    }
    return cases;
}

/// What completes a word that follows no option.
std::string words_of(const manual_command_t &command)
{
    std::string cases = fmt::format("        \"{} -\"*) kind=words options='{}' ;;\n", command.name,
                                    names_of(command.options));
    if (!command.positionals.empty() && command.positionals.front().word == MANUAL_WORD_CHOICE)
        cases += fmt::format("        \"{0} \"*) [ \"$before\" != {0} ] || {{ {1}; }} ;;\n",
                             command.name, action_of(command.positionals.front()));
    return cases;
}

} // namespace

void completion_bash(std::string &text, const std::vector<manual_command_t> &commands)
{
    std::string names;
    std::string arguments;
    std::string words;
    for (const manual_command_t &command : commands) {
        names += fmt::format("{}{}", names.empty() ? "" : " ", command.name);
        arguments += arguments_of(command);
        words += words_of(command);
    }
    completion_fill(text, "@COMMANDS@", names);
    completion_fill(text, "@ARGUMENTS@", arguments);
    completion_fill(text, "@WORDS@", words);
}
