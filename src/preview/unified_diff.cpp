#include "preview/unified_diff.hpp"

#include <algorithm>
#include <dtl/dtl.hpp>
#include <string>
#include <vector>

namespace orv {

namespace {

constexpr std::size_t kContext = 3;

// The lines of a text, each with its newline (a last line may have none).
std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

struct Op {
    char mark;  // ' ', '-' or '+'
    const std::string* line;
};

// "a,b" of a hunk header as diff writes it: ",b" left out for one line, and the line
// before the hunk named when it has none.
std::string range(std::size_t first, std::size_t count) {
    if (count == 1) return std::to_string(first + 1);
    return std::to_string(count == 0 ? first : first + 1) + "," + std::to_string(count);
}

void appendHunk(const std::vector<Op>& ops, std::size_t begin, std::size_t end, std::size_t oldAt,
                std::size_t newAt, std::string& out) {
    std::size_t oldCount = 0;
    std::size_t newCount = 0;
    for (std::size_t i = begin; i < end; ++i) {
        oldCount += ops[i].mark != '+' ? 1 : 0;
        newCount += ops[i].mark != '-' ? 1 : 0;
    }
    out += "@@ -" + range(oldAt, oldCount) + " +" + range(newAt, newCount) + " @@\n";
    for (std::size_t i = begin; i < end; ++i) {
        out += ops[i].mark;
        out += *ops[i].line;
        if (ops[i].line->back() != '\n') out += "\n\\ No newline at end of file\n";
    }
}

}  // namespace

std::string unifiedHunks(std::string_view before, std::string_view after) {
    const std::vector<std::string> a = linesOf(before);
    const std::vector<std::string> b = linesOf(after);
    dtl::Diff<std::string> diff(a, b);
    if (a.size() + b.size() > 100000) diff.onHuge();
    diff.compose();
    std::vector<Op> ops;
    std::size_t ia = 0;
    std::size_t ib = 0;
    for (const auto& [line, info] : diff.getSes().getSequence()) {
        if (info.type == dtl::SES_COMMON) ops.push_back({' ', &a[ia++]}), ++ib;
        if (info.type == dtl::SES_DELETE) ops.push_back({'-', &a[ia++]});
        if (info.type == dtl::SES_ADD) ops.push_back({'+', &b[ib++]});
    }
    std::string out;
    std::size_t oldLine = 0;  // lines of each side before ops[i]
    std::size_t newLine = 0;
    std::size_t i = 0;
    std::size_t shown = 0;  // ops before this index are in a hunk already
    while (i < ops.size()) {
        if (ops[i].mark == ' ') {
            ++oldLine, ++newLine, ++i;
            continue;
        }
        // A hunk: from 3 lines before this change to 3 lines after the last change that
        // follows the one before it within 6 unchanged lines (hunks that close merge).
        const std::size_t lead = std::min(kContext, i - shown);
        std::size_t last = i;
        for (std::size_t j = i; j < ops.size() && j <= last + 2 * kContext + 1; ++j) {
            if (ops[j].mark != ' ') last = j;
        }
        const std::size_t end = std::min(ops.size(), last + 1 + kContext);
        appendHunk(ops, i - lead, end, oldLine - lead, newLine - lead, out);
        for (; i < end; ++i) {
            oldLine += ops[i].mark != '+' ? 1 : 0;
            newLine += ops[i].mark != '-' ? 1 : 0;
        }
        shown = end;
    }
    return out;
}

}  // namespace orv
