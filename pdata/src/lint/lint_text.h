/// A file of text as protocols: what can be read is read, whatever stands around it.
///
/// A syntax error costs the protocol that it stands in and no other one: what is meant is guessed
/// to find the next one of that protocol (text_reader.h), and reading goes on at the next object
/// whose first key is "name". Where an object that can only be a protocol begins within another
/// one, that other one lacks an end. Carriage returns, comments and a byte order mark are found and
/// read over. Takes linear time, whatever the text.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "description_text.h"
#include "finding.h"

/// Takes a protocol: its tokens, the first of which opens its object. They are gone afterwards.
using lint_take_protocol_t = std::function<void(const description_text_t &)>;

/// Reads the input of index `file`, hands its protocols to `take` in their order, and adds what is
/// wrong with its text to `findings`. The tokens point into `text`, or into a copy with blanks for
/// what was read over, at the same bytes, which becomes `mended`.
void lint_read_text(std::string_view text, uint32_t file, std::unique_ptr<std::string> &mended,
                    const lint_take_protocol_t &take, std::vector<finding_t> &findings);
