/// Completions of pdata's command line. Each has a frame, a file of its shell in which words
/// between
/// "@" stand for what is made from the definitions of the command line.
///
/// Commands, options and fixed words are known when the files are made; names of protocols and
/// matchers are asked of the first pdb on the command line.
#pragma once

#include <string>
#include <string_view>

#include "manual_model.h"

/// Fill the frame of a shell with the subcommands.
void completion_bash(std::string &text, const std::vector<manual_command_t> &commands);
void completion_zsh(std::string &text, const std::vector<manual_command_t> &commands);
void completion_fish(std::string &text, const std::vector<manual_command_t> &commands);

/// Puts `made` in place of `word`. Throws std::out_of_range when the frame lacks the word.
void completion_fill(std::string &text, std::string_view word, std::string_view made);
