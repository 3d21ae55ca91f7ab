#include <fmt/format.h>
#include <fmt/ranges.h>

#include "completions.h"

namespace
{

/// Returns `text` so that neither zsh nor _arguments takes a byte of it for its own.
std::string quoted_zsh(std::string_view text)
{
    std::string made;
    for (const char byte : text.substr(0, text.find('\n'))) {
        if (byte == '\'')
            made += "'\\'";
        if (std::string_view("[]:\\").find(byte) != std::string_view::npos)
            made += '\\';
        made += byte;
    }
    return made;
}

/// What the shell does for a word, by manual_word_t; choices stand in place of theirs.
constexpr std::string_view actions[] = {
    " ", " ", "_files", "_files -/", "", "_pdata_names protocols", "_pdata_names matchers"};

std::string action_of(const manual_option_t &option)
{
    return option.word == MANUAL_WORD_CHOICE ? fmt::format("({})", fmt::join(option.choices, " "))
                                             : std::string(actions[option.word]);
}

std::string option_of(const manual_option_t &option)
{
    std::string argument;
    if (option.word != MANUAL_WORD_NONE)
        argument = fmt::format("{}{}:{}", option.may_stand_alone ? "::" : ":",
                               quoted_zsh(option.argument), action_of(option));
    std::string lines = fmt::format("            '*--{}[{}]{}'\n", option.long_name,
                                    quoted_zsh(option.text), argument);
    if (!option.short_name.empty())
        lines += fmt::format("            '*-{}[{}]{}'\n", option.short_name,
                             quoted_zsh(option.text), argument);
    return lines;
}

std::string positional_of(const manual_option_t &option)
{
    return fmt::format("            '{}:{}:{}'\n", option.repeats ? "*" : "",
                       quoted_zsh(option.argument), action_of(option));
}

std::string command_of(const manual_command_t &command)
{
    std::string text = fmt::format("    {})\n        _arguments -s \\\n", command.name);
    std::string specs;
    for (const manual_option_t &option : command.options)
        specs += option_of(option);
    for (const manual_option_t &positional : command.positionals)
        specs += positional_of(positional);
    for (size_t end; (end = specs.find('\n')) != std::string::npos; specs.erase(0, end + 1))
        text += specs.substr(0, end) + (end + 1 == specs.size() ? "\n" : " \\\n");
    return text + "        ;;\n";
}

} // namespace

void completion_zsh(std::string &text, const std::vector<manual_command_t> &commands)
{
    std::string names;
    std::string arguments;
    for (const manual_command_t &command : commands) {
        names += fmt::format("        '{}:{}'\n", command.name, quoted_zsh(command.summary));
        arguments += command_of(command);
    }
    completion_fill(text, "@COMMANDS@", names);
    completion_fill(text, "@ARGUMENTS@", arguments);
}
