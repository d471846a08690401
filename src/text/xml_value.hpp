// Reading and rewriting the text of one element in an XML service profile, found by a
// plain text search for the setting's name (no XML parsing).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

int replaceValueInXML(const std::string& file, const std::string& tag, const std::string& value);

// replaceValueInXML of each (tag, value) in turn, in one rewrite of the file where that
// gives the same text: no value runs past its line and every edited line comes out as the
// reader gives it back. Returns how many were made before the first that failed (reported
// as replaceValueInXML reports it); a failed single rewrite is the first's.
std::size_t replaceValuesInXML(const std::string& file,
                               const std::vector<std::pair<std::string, std::string>>& edits);

// Value text of the last matching line; "" when none; nullopt when the file cannot be opened.
std::optional<std::string> getValueInXML(const std::string& file, const std::string& tag);

// Where a setting stands in the text of a profile, line by line as the editors find it:
// each line holding the setting (1-based), its value text, and whether the value runs
// past its line (an edit then drops the text below up to the closing tag). The lines
// below a value that runs on are not looked at.
struct XmlValueLine {
    int line;
    std::string value;
    bool runsOn;
};
std::vector<XmlValueLine> valuesInXML(std::string_view text, const std::string& tag);

}  // namespace orv
