// Unified diffs of two texts, in the form of "diff -u" (3 lines of context), so that the
// preview of a run can be applied with patch.
#pragma once

#include <string>
#include <string_view>

namespace orv {

// The hunks ("@@ -a,b +c,d @@" and the lines) that turn `before` into `after`; empty when
// they are equal. A last line without a newline is marked as diff marks it.
std::string unifiedHunks(std::string_view before, std::string_view after);

}  // namespace orv
