/// The command lines of the programs as plain data, for who writes about them: manual pages and
/// completions.
///
/// Everything comes from the definitions that the programs parse their command lines with.
#pragma once

#include <string>
#include <vector>

/// What a word of a command line stands for, as far as a completion can help with it.
enum manual_word_t {
    MANUAL_WORD_NONE, ///< an option that takes nothing
    MANUAL_WORD_FREE, ///< anything: a number, a flow, an expression
    MANUAL_WORD_FILE,
    MANUAL_WORD_FOLDER,
    MANUAL_WORD_CHOICE,   ///< one of `choices`
    MANUAL_WORD_PROTOCOL, ///< a protocol of the pdb on the command line
    MANUAL_WORD_MATCHER,  ///< a matcher of the pdb on the command line
};

/// An option, or a positional argument.
struct manual_option_t {
    std::string long_name;  ///< without the two dashes; empty for a positional
    std::string short_name; ///< without the dash; empty for none
    std::string argument;   ///< as in "FILE"; empty where nothing follows
    std::string text;       ///< what it does; may have several lines
    std::string standard;   ///< the value without the option; empty for none
    manual_word_t word = MANUAL_WORD_NONE;
    std::vector<std::string> choices;
    bool may_stand_alone = false;
    bool required = false;
    bool repeats = false; ///< a positional that may stand several times
};

/// A subcommand.
struct manual_command_t {
    std::string name;
    std::string audience;
    std::string summary;
    std::string example; ///< lines of a shell
    std::vector<manual_option_t> positionals;
    std::vector<manual_option_t> options;
};

/// The subcommands of pdata, in the order of its help.
std::vector<manual_command_t> manual_commands();

/// The options of pdata itself.
std::vector<manual_option_t> manual_program_options();
