// `undo [ID]`: gives back the files of a recorded run as they were before it.
#pragma once

#include <optional>
#include <string>

namespace orv {

// Undoes run `id`, or the newest run not yet undone (runs that undid another are undone
// only by their id: that redoes the run they undid). Refuses, naming each file, when a file
// no longer holds what the run left. Returns 1, 0 when the question was answered no, or -1.
int orvconfig_undo(const std::optional<std::string>& id);

}  // namespace orv
