/// The safe changes of findings, applied to a text or shown.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "finding.h"

/// Returns the edits of the findings of a file that `wanted` accepts, by their place. The findings
/// stand by their files, and their edits are in the same file. Those of a finding are all there, or
/// none where one of them meets an edit of a finding in front of it.
std::vector<finding_edit_t> lint_edits(std::span<const finding_t> findings, uint32_t file,
                                       const std::function<bool(const finding_t &)> &wanted);

/// Returns a text with edits, which stand in order and do not meet.
std::string lint_edited(std::string_view text, std::span<const finding_edit_t> edits);

/// Returns what the edits do as a unified diff with three lines of context; empty for none.
std::string lint_edit_diff(std::string_view name, std::string_view text,
                           std::span<const finding_edit_t> edits);
