#include <gtest/gtest.h>

#include <stdexcept>

#include "completions.h"
#include "manual_pages.h"

namespace
{

manual_option_t make_option(const char *long_name, const char *short_name, const char *argument,
                            const char *text)
{
    manual_option_t made;
    made.long_name = long_name;
    made.short_name = short_name;
    made.argument = argument;
    made.text = text;
    return made;
}

/// A subcommand that no table has, with an option of every shape.
manual_command_t command_of_all_shapes()
{
    manual_command_t command = {"odd", "For nobody", "All shapes", "  pdata odd\n    -q file", {},
                                {}};
    manual_option_t many = make_option("", "", "FILE", "What is read");
    many.repeats = true;
    many.required = true;
    command.positionals = {make_option("", "", "KIND", "What it is"), many};
    manual_option_t level = make_option("level", "l", "N", "How much. Ends with a dot.");
    level.standard = "3";
    manual_option_t maybe = make_option("maybe", "", "WORD", "");
    maybe.may_stand_alone = true;
    manual_option_t must = make_option("must", "", "DIR", "Where");
    must.required = true;
    command.options = {level, maybe, must, make_option("", "q", "", "Quietly")};
    return command;
}

} // namespace

TEST(manual_page, shows_options_of_every_shape)
{
    const manual_command_t command = command_of_all_shapes();
    const manual_command_t other = {"any", "For nobody", "Another", "", {}, {}};
    const std::string page = manual_page_command(command, {command, other});
    const std::string begin = page.substr(page.find(".Dt"));
    const std::string end = "\n.Sh EXIT STATUS\n";
    EXPECT_EQ(begin.substr(0, begin.find(end) + 1), R"(.Dt PDATA-ODD 1
.Os
.Sh NAME
.Nm pdata-odd
.Nd "All shapes"
.Sh SYNOPSIS
.Nm pdata odd
.Op Fl \-level Ar \&N
.Op Fl \-maybe Oo Ar WORD Oc
.Fl \-must Ar \&DIR
.Op Fl q
.Op Ar KIND
.Ar FILE ...
.Sh DESCRIPTION
.Bl -tag -width Ds
.It Ar KIND
What it is.
.It Ar FILE
What is read.
.El
.Pp
The options are as follows:
.Bl -tag -width Ds
.It Fl l , Fl \-level Ar \&N
How much.
Ends with a dot.
Without the option it is 3.
.It Fl \-maybe Oo Ar WORD Oc
.It Fl \-must Ar \&DIR
Where.
.It Fl q
Quietly.
.El
)");
    EXPECT_NE(page.find(".Bd -literal -offset indent\npdata odd\n\\-q file\n.Ed\n"), page.npos);
    EXPECT_TRUE(page.ends_with(".Sh SEE ALSO\n.Xr pdata 1 ,\n.Xr pdata-any 1 ,\n"
                               ".Xr pdata_compiler 1 ,\n.Xr pdata 3 ,\n.Xr pdb 5 ,\n.Xr pdd 5\n"));
}

TEST(completion, what_a_shell_would_take_for_its_own_is_quoted)
{
    manual_command_t command = {"odd", "", "It's a\\b [c]: d", "", {}, {}};
    command.options = {make_option("to", "t", "DIR:", "Line one\nline two")};
    command.options[0].word = MANUAL_WORD_FOLDER;
    std::string text = "@COMMANDS@";
    completion_fish(text, {command});
    EXPECT_EQ(text, R"(complete -c pdata -n __fish_use_subcommand -f -a odd -d 'It\'s a\\b [c]: d'
complete -c pdata -n '__fish_seen_subcommand_from odd' -l to -s t -x -a '(__fish_complete_directories)' -d 'Line one'
)");
    text = "@COMMANDS@@ARGUMENTS@";
    completion_zsh(text, {command});
    EXPECT_EQ(text, R"(        'odd:It'\''s a\\b \[c\]\: d'
    odd)
        _arguments -s \
            '*--to[Line one]:DIR\::_files -/' \
            '*-t[Line one]:DIR\::_files -/'
        ;;
)");
    text = "@COMMANDS@\n@ARGUMENTS@@WORDS@";
    completion_bash(text, {command});
    EXPECT_EQ(text, R"(odd
    "odd --to" | "odd -t") kind=folders ;;
        "odd -"*) kind=words options='--to -t ' ;;
)");
}

TEST(manual_page, an_option_of_the_compiler_needs_a_text)
{
    const option known = {"pdd-namespace", required_argument, nullptr, 0};
    const option unknown = {"pdd-colour", required_argument, nullptr, 0};
    const option end = {nullptr, 0, nullptr, 0};
    const option described[] = {known, end};
    EXPECT_NE(manual_page_compiler(described).find(".It Fl \\-pdd\\-namespace Ar \\&ID\n"),
              std::string::npos);
    const option undescribed[] = {known, unknown, end};
    try {
        (void)manual_page_compiler(undescribed);
        FAIL() << "a page with an option that has no text";
    } catch (const std::logic_error &error) {
        EXPECT_STREQ(error.what(), "option --pdd-colour has no text");
    }
}

TEST(manual_page, a_command_without_a_text_has_none)
{
    EXPECT_EQ(manual_about("odd"), "");
    EXPECT_TRUE(manual_about("list").starts_with("Shows what is in a pdb"));
}

TEST(manual_model, tells_what_may_stand_behind_an_option)
{
    for (const manual_command_t &command : manual_commands())
        for (const manual_option_t &option : command.options)
            if (command.name == "list" && option.long_name == "rules") {
                EXPECT_EQ(option.word, MANUAL_WORD_PROTOCOL);
                EXPECT_TRUE(option.may_stand_alone);
            } else if (command.name == "test" && option.long_name == "output-format") {
                EXPECT_EQ(option.choices,
                          (std::vector<std::string>{"text", "json", "tap", "junit"}));
            } else if (command.name == "classify" && option.long_name == "fail-on") {
                EXPECT_EQ(option.choices, std::vector<std::string>{"unknown"})
                    << "words in capitals stand for others";
            }
}
