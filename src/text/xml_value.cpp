#include "text/xml_value.hpp"

#include <algorithm>
#include <string_view>

#include "console/messages.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"

namespace orv {

namespace {

// A line holds the setting when the tag occurs in it and it is no comment, declaration
// or CDATA line (anything with "<!" is passed over as a whole).
bool findTag(const std::string& line, const std::string& tag, std::size_t& start) {
    start = line.find(tag);
    return start != std::string::npos && line.find("<!") == std::string::npos;
}

std::size_t findOr(const std::string& line, char c, std::size_t from) {
    const std::size_t at = line.find(c, from);
    return at == std::string::npos ? line.size() : at;
}

// State carried from line to line while the old text of a value is being dropped. The
// scan column is deliberately not reset at a new line: a split value ends at the first
// line with a '<' at or past the column where the tag's line ended.
struct XmlReplacer {
    const std::string& tag;
    const std::string& value;
    bool pending = false;
    std::size_t close = 0;

    void operator()(const std::string& line, std::string& out) {
        if (pending) {
            continueValue(line, out);
            return;
        }
        std::size_t start = 0;
        if (findTag(line, tag, start)) {
            replaceOnLine(line, start, out);
        } else {
            out += line;
        }
        out.push_back('\n');
    }

    void replaceOnLine(const std::string& line, std::size_t start, std::string& out) {
        const std::size_t open = findOr(line, '>', start);
        if (open == line.size()) {
            // No '>' after the tag: one is supplied, and the old text runs on below.
            close = line.size();
            out += line;
            out.push_back('>');
            out += value;
            pending = true;
            return;
        }
        close = findOr(line, '<', open);
        out.append(line, 0, open + 1);
        out += value;
        if (close == line.size()) {
            pending = true;
        } else {
            out.append(line, close);
        }
    }

    void continueValue(const std::string& line, std::string& out) {
        if (close > line.size()) {
            out.push_back('\n');
            pending = false;
            return;
        }
        const std::size_t at = line.find('<', close);
        if (at == std::string::npos) {
            close = line.size();  // still inside the old text: the line is dropped
            return;
        }
        close = at;
        out.append(line, at);
        out.push_back('\n');
        pending = false;
    }
};

// The result of a rewrite of an XML profile, its failure reported.
int reportXmlRewrite(const std::string& file, RewriteStatus status) {
    switch (status) {
        case RewriteStatus::Ok:
            return 1;
        case RewriteStatus::WriteFailed:
            return -1;  // reported with the path that failed
        case RewriteStatus::ReadFailed:
        case RewriteStatus::TmpOpenFailed:
        case RewriteStatus::FileOpenFailed:
            break;
    }
    alertI18nWithParameter(kCannotOpenFileMessage, file);
    return -1;
}

// Thrown out of a combined edit whose text would differ from that of the edits made one
// after another; nothing has been written then.
struct NotInOnePass {};

// All the edits in one rewrite: each line passes through every replacer in turn, as it
// would through one rewrite after another, as long as each replacer leaves one whole line
// in the reader's form.
int replaceAllInOnePass(const std::string& file,
                        const std::vector<std::pair<std::string, std::string>>& edits) {
    std::vector<XmlReplacer> replacers;
    LineSelection lines;
    for (const auto& [tag, value] : edits) {
        replacers.push_back({tag, value});
        lines.needles.push_back(tag);
    }
    std::string current;
    std::string next;
    const LineEditor edit = [&](const std::string& line, std::string& out) {
        current = line;
        for (XmlReplacer& replacer : replacers) {
            next.clear();
            replacer(current, next);
            if (replacer.pending || next.find('\n') + 1 != next.size() || !isNormalForm(next)) {
                throw NotInOnePass{};
            }
            current.assign(next, 0, next.size() - 1);
        }
        out += current;
        out.push_back('\n');
    };
    return reportXmlRewrite(file, rewriteLines(file, edit, lines, nullptr, TmpOnOpenFailure::Keep));
}

}  // namespace

int replaceValueInXML(const std::string& file, const std::string& tag, const std::string& value) {
    XmlReplacer replacer{tag, value};
    const LineEditor edit = [&replacer](const std::string& line, std::string& out) {
        replacer(line, out);
    };
    // Only the lines holding the tag change, and those below one whose value runs on.
    const LineSelection lines{.needles = {tag},
                              .continues = [&replacer] { return replacer.pending; }};
    return reportXmlRewrite(file, rewriteLines(file, edit, lines, nullptr, TmpOnOpenFailure::Keep));
}

std::size_t replaceValuesInXML(const std::string& file,
                               const std::vector<std::pair<std::string, std::string>>& edits) {
    if (edits.size() > 1) {
        try {
            return replaceAllInOnePass(file, edits) == 1 ? edits.size() : 0;
        } catch (const NotInOnePass&) {
            // made one by one below
        }
    }
    for (std::size_t i = 0; i < edits.size(); ++i) {
        if (replaceValueInXML(file, edits[i].first, edits[i].second) == -1) return i;
    }
    return edits.size();
}

std::optional<std::string> getValueInXML(const std::string& file, const std::string& tag) {
    LineReader in;
    if (!in.load(file)) {
        alertI18nWithParameter(kCannotOpenFileMessage, file);
        return std::nullopt;
    }
    std::string result;
    int lineCount = 0;
    std::string line;
    while (getNextLineD_(in, lineCount, 0, line)) {
        std::size_t start = 0;
        if (!findTag(line, tag, start)) continue;
        const std::size_t open = findOr(line, '>', start);
        // A value that runs past its line ends the search: no later line is looked at.
        if (open == line.size()) break;
        const std::size_t close = findOr(line, '<', open);
        result.assign(line, open + 1, close - open - 1);
        if (close == line.size()) break;
    }
    return result;
}

}  // namespace orv

namespace orv {

std::vector<XmlValueLine> valuesInXML(std::string_view text, const std::string& tag) {
    std::vector<XmlValueLine> found;
    LineReader in(text);
    int lineCount = 0;
    std::string line;
    for (int number = 1; getNextLineD_(in, lineCount, 0, line); number = lineCount + 1) {
        std::size_t start = 0;
        if (!findTag(line, tag, start)) continue;
        const std::size_t open = findOr(line, '>', start);
        const std::size_t close = open == line.size() ? open : findOr(line, '<', open);
        const std::size_t from = std::min(open + 1, line.size());
        found.push_back({number, line.substr(from, close - from), close == line.size()});
        if (found.back().runsOn) break;
    }
    return found;
}

}  // namespace orv
