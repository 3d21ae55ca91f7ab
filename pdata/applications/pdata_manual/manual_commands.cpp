#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "manual_pages.h"
#include "mdoc.h"

namespace
{

constexpr const char *exit_status = R"(.Sh EXIT STATUS
.Bl -tag -width 3n -compact
.It 0
Fine.
.It 1
There are findings: a fault, a difference, a failed test.
.It 2
Wrong use of the command line.
.It 3
A file could not be read or written.
.It 4
Internal: memory ran out, or a limit of the program was met.
.El
)";

/// What follows an option in a macro line.
std::string argument_of(const manual_option_t &option)
{
    if (option.argument.empty())
        return "";
    const std::string argument = mdoc_word(option.argument);
    return option.may_stand_alone ? fmt::format(" Oo Ar {} Oc", argument)
                                  : fmt::format(" Ar {}", argument);
}

std::string flag_of(const manual_option_t &option)
{
    return option.long_name.empty() ? fmt::format("Fl {}", option.short_name)
                                    : fmt::format("Fl \\-{}", option.long_name);
}

std::string synopsis_of(const manual_option_t &option)
{
    return fmt::format("{}{}{}\n", option.required ? "." : ".Op ", flag_of(option),
                       argument_of(option));
}

std::string positional_of(const manual_option_t &option)
{
    return fmt::format("{}Ar {}{}\n", option.required ? "." : ".Op ", mdoc_word(option.argument),
                       option.repeats ? " ..." : "");
}

std::string described(const manual_option_t &option)
{
    std::string text = mdoc_text(option.text);
    if (text.size() > 1 && text[text.size() - 2] != '.')
        text.replace(text.size() - 1, 1, ".\n");
    if (!option.standard.empty())
        text += fmt::format("Without the option it is {}.\n", option.standard);
    return text;
}

std::string option_item(const manual_option_t &option)
{
    if (option.long_name.empty() && option.short_name.empty())
        return fmt::format(".It Ar {}\n", mdoc_word(option.argument)) + described(option);
    std::string item = ".It ";
    if (!option.short_name.empty() && !option.long_name.empty())
        item += fmt::format("Fl {} , ", option.short_name);
    return fmt::format("{}{}{}\n{}", item, flag_of(option), argument_of(option), described(option));
}

std::string list_of(const std::vector<manual_option_t> &options)
{
    std::string list = ".Bl -tag -width Ds\n";
    for (const manual_option_t &option : options)
        list += option_item(option);
    return list + ".El\n";
}

std::string capitals(std::string text)
{
    for (char &byte : text)
        byte = static_cast<char>(std::toupper(static_cast<unsigned char>(byte)));
    return text;
}

/// Every other page, in the order in which they are to stand.
std::string see_also(const std::vector<manual_command_t> &commands, std::string_view self)
{
    std::string text = ".Sh SEE ALSO\n";
    std::vector<std::string> pages = {"pdata 1"};
    for (const manual_command_t &command : commands)
        pages.push_back(fmt::format("pdata-{} 1", command.name));
    pages.insert(pages.end(), {"pdata_compiler 1", "pdata 3", "pdb 5", "pdd 5"});
    std::erase(pages, fmt::format("{} 1", self));
    std::sort(pages.begin() + static_cast<ptrdiff_t>(self != "pdata"), pages.end() - 4);
    for (const std::string &page : pages)
        text += fmt::format(".Xr {}{}\n", page, page == pages.back() ? "" : " ,");
    return text;
}

std::string command_list(const std::vector<manual_command_t> &commands)
{
    std::string text;
    std::string audience;
    for (const manual_command_t &command : commands) {
        if (command.audience != audience)
            text += fmt::format("{}.Ss {}\n.Bl -tag -width decompilem\n",
                                audience.empty() ? "" : ".El\n", command.audience);
        audience = command.audience;
        text += fmt::format(".It Cm {}\n{}", command.name, mdoc_text(command.summary + "."));
    }
    return text + ".El\n";
}

} // namespace

std::string manual_page_command(const manual_command_t &command,
                                const std::vector<manual_command_t> &commands)
{
    const std::string name = fmt::format("pdata-{}", command.name);
    std::string page = mdoc_head(capitals(name), "1", name, command.summary);
    page += fmt::format(".Sh SYNOPSIS\n.Nm pdata {}\n", command.name);
    for (const manual_option_t &option : command.options)
        page += synopsis_of(option);
    for (const manual_option_t &positional : command.positionals)
        page += positional_of(positional);
    page += ".Sh DESCRIPTION\n" + mdoc_text(manual_about(command.name));
    page += list_of(command.positionals);
    page += ".Pp\nThe options are as follows:\n" + list_of(command.options);
    page += exit_status;
    page += ".Sh EXAMPLES\n.Bd -literal -offset indent\n";
    page += mdoc_lines(command.example) + ".Ed\n";
    return page + see_also(commands, name);
}

std::string manual_page_pdata()
{
    const std::vector<manual_command_t> commands = manual_commands();
    std::string page = mdoc_head("PDATA", "1", "pdata",
                                 "look into, check, try and ship the protocol data of a deep "
                                 "packet inspection engine");
    page += ".Sh SYNOPSIS\n.Nm\n";
    for (const manual_option_t &option : manual_program_options())
        page += synopsis_of(option);
    page += ".Ar COMMAND\n.Op Ar OPTIONS\n.Op Ar FILE ...\n.Sh DESCRIPTION\n";
    page += mdoc_text(
        "Stands around pdata_compiler, which compiles descriptions of protocols and their rules "
        "into pdbs and loadable pdbs. Each command has a page of its own. Data goes to standard "
        "output, messages go to standard error. - stands for standard input.");
    page += ".Pp\nThe options are as follows:\n" + list_of(manual_program_options());
    page += command_list(commands);
    page += ".Sh ENVIRONMENT\n.Bl -tag -width NO_COLOR\n.It Ev NO_COLOR\n"
            "When set and not empty, nothing is coloured.\n.El\n";
    page += exit_status;
    return page + see_also(commands, "pdata");
}
