#include <fmt/format.h>
#include <fmt/ranges.h>

#include "completions.h"

namespace
{

/// Returns `text` as one word of the shell.
std::string quoted_fish(std::string_view text)
{
    std::string made = "'";
    for (const char byte : text.substr(0, text.find('\n'))) {
        if (byte == '\'' || byte == '\\')
            made += '\\';
        made += byte;
    }
    return made + '\'';
}

/// What the shell offers behind an option, by manual_word_t; choices stand behind theirs.
constexpr std::string_view actions[] = {"",
                                        " -x",
                                        " -r -F",
                                        " -x -a '(__fish_complete_directories)'",
                                        "",
                                        " -x -a '(__pdata_names protocols)'",
                                        " -x -a '(__pdata_names matchers)'"};

std::string action_of(const manual_option_t &option)
{
    return option.word == MANUAL_WORD_CHOICE
               ? fmt::format(" -x -a '{}'", fmt::join(option.choices, " "))
               : std::string(actions[option.word]);
}

std::string command_of(const manual_command_t &command)
{
    const std::string begin =
        fmt::format("complete -c pdata -n '__fish_seen_subcommand_from {}'", command.name);
    std::string text = fmt::format("complete -c pdata -n __fish_use_subcommand -f -a {} -d {}\n",
                                   command.name, quoted_fish(command.summary));
    for (const manual_option_t &option : command.options)
        text +=
            fmt::format("{} -l {}{}{} -d {}\n", begin, option.long_name,
                        option.short_name.empty() ? "" : fmt::format(" -s {}", option.short_name),
                        action_of(option), quoted_fish(option.text));
    if (!command.positionals.empty() && command.positionals.front().word == MANUAL_WORD_CHOICE)
        text +=
            fmt::format("{} -a '{}'\n", begin, fmt::join(command.positionals.front().choices, " "));
    return text;
}

} // namespace

void completion_fish(std::string &text, const std::vector<manual_command_t> &commands)
{
    std::string made;
    for (const manual_command_t &command : commands)
        made += command_of(command);
    completion_fill(text, "@COMMANDS@", made);
}
