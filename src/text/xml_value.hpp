// Reading and rewriting the text of one element in an XML service profile, found by a
// plain text search for the setting's name (no XML parsing).
#pragma once

#include <optional>
#include <string>

namespace orv {

int replaceValueInXML(const std::string& file, const std::string& tag, const std::string& value);

// Value text of the last matching line; "" when none; nullopt when the file cannot be opened.
std::optional<std::string> getValueInXML(const std::string& file, const std::string& tag);

}  // namespace orv
