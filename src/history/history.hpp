// `history [ID]`: the recorded runs, newest first, or one run and its changes.
#pragma once

#include <optional>
#include <string>

namespace orv {

// Returns 1, or -1 when there is no journal or no run `id`.
int orvconfig_history(const std::optional<std::string>& id);

}  // namespace orv
