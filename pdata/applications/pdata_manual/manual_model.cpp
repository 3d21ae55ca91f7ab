#include "manual_model.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "command.h"
#include "command_line.h"
#include "format_tables.h"

namespace
{

/// Words that option definitions use for what follows an option, and what may stand there.
struct argument_word_t {
    std::string_view argument;
    manual_word_t word;
};

constexpr argument_word_t argument_words[] = {
    {"FILE", MANUAL_WORD_FILE},         {"LOADABLE", MANUAL_WORD_FILE},
    {"INPUT", MANUAL_WORD_FILE},        {"BEFORE", MANUAL_WORD_FILE},
    {"AFTER", MANUAL_WORD_FILE},        {"DIR", MANUAL_WORD_FOLDER},
    {"PROTOCOL", MANUAL_WORD_PROTOCOL}, {"MATCHER", MANUAL_WORD_MATCHER},
};

/// Type names of numbers.
constexpr std::string_view number_types[] = {"UINT", "INT", "FLOAT"};

manual_word_t word_of(std::string_view argument)
{
    const auto row = std::ranges::find(argument_words, argument, &argument_word_t::argument);
    return row == std::end(argument_words) ? MANUAL_WORD_FREE : row->word;
}

std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> parts;
    for (size_t end; (end = text.find(separator)) != std::string_view::npos;
         text.remove_prefix(end + 1))
        parts.emplace_back(text.substr(0, end));
    parts.emplace_back(text);
    return parts;
}

/// The names of the record kinds.
std::vector<std::string> section_names()
{
    std::vector<std::string> names;
    for (const format_record_t &record : format_records())
        names.emplace_back(record.name);
    return names;
}

/// Takes what follows an option from its type name: a word, "a|b", or "TEXT:{a,b}".
void take_argument(manual_option_t &made, std::string_view type)
{
    const size_t colon = type.find(':');
    const std::string_view check =
        colon == std::string_view::npos ? std::string_view() : type.substr(colon + 1);
    std::string argument(type.substr(0, colon));
    if (argument == "TEXT" && check.starts_with('{')) {
        argument = check.substr(1, check.size() - 2);
        std::ranges::replace(argument, ',', '|');
    }
    if (std::ranges::find(number_types, argument) != std::end(number_types))
        argument = "N";
    made.argument = argument == "TEXT" ? "WORD" : argument;
    made.word = word_of(made.argument);
    if (made.argument == "SECTION") {
        made.word = MANUAL_WORD_CHOICE;
        made.choices = section_names();
    } else if (made.argument.find('|') != std::string::npos) {
        made.word = MANUAL_WORD_CHOICE;
        made.choices = split(made.argument, '|');
        std::erase_if(made.choices, [](const std::string &choice) {
            return choice.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") != std::string::npos;
        });
    }
}

manual_option_t option_of(const CLI::Option &option)
{
    manual_option_t made;
    made.text = option.get_description();
    made.required = option.get_required();
    made.standard = option.get_default_str();
    if (option.get_positional()) {
        take_argument(made, option.get_type_name());
        const std::string name = option.get_name(true);
        if (made.choices.empty())
            made.word = word_of(name);
        made.argument = name;
        made.repeats = option.get_expected_max() > 1;
        return made;
    }
    made.long_name = option.get_lnames().empty() ? "" : option.get_lnames().front();
    made.short_name = option.get_snames().empty() ? "" : option.get_snames().front();
    if (option.get_items_expected_max() == 0)
        return made;
    take_argument(made, option.get_type_name());
    made.may_stand_alone = option.get_items_expected_min() == 0;
    return made;
}

void take_options(const CLI::App &app, std::vector<manual_option_t> &options,
                  std::vector<manual_option_t> &positionals)
{
    for (const CLI::Option *const option : app.get_options())
        (option->get_positional() ? positionals : options).push_back(option_of(*option));
}

} // namespace

std::vector<manual_command_t> manual_commands()
{
    CLI::App program;
    command_choice_t choice;
    console_t console;
    command_line_declare(program, choice, console);
    std::vector<manual_command_t> commands;
    for (const command_t &row : command_table()) {
        manual_command_t command = {row.name, row.audience, row.summary, row.example, {}, {}};
        take_options(*program.get_subcommand(row.name), command.options, command.positionals);
        commands.push_back(std::move(command));
    }
    return commands;
}

std::vector<manual_option_t> manual_program_options()
{
    CLI::App program;
    command_choice_t choice;
    console_t console;
    command_line_declare(program, choice, console);
    std::vector<manual_option_t> options;
    std::vector<manual_option_t> none;
    take_options(program, options, none);
    return options;
}
