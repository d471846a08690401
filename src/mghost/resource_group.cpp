// Turns the ManagementHosts resource group of ResourceGroups.xml from a fixed host list into
// a selection of every host tagged mg. This is a line edit by plain substring tests, not an
// XML parse: the file is the product's own and is laid out one element per line.
#include "mghost/resource_group.hpp"

#include "console/messages.hpp"
#include "storage/file_store.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"

namespace orv {

namespace {

// The state of the walk through the file.
struct GroupEdit {
    bool inGroup = false;
    bool inList = false;

    void operator()(const std::string& line, std::string& out) {
        if (opensManagementHostsGroup(line)) inGroup = true;
        if (inGroup) {
            // The opening tag is tested first: a list written on one line is dropped and
            // gets no requirement line. Kept as this edit has always behaved.
            if (contains(line, "<ResourceList>")) {
                inList = true;
                return;
            }
            if (contains(line, "</ResourceList>")) {
                inList = false;
                out += kRequirementLine;
                out += '\n';
                return;
            }
            if (contains(line, "</ResourceGroup>")) inGroup = false;
        }
        if (inGroup && inList) return;  // a member of the old list
        out += line;
        out += '\n';
    }
};

}  // namespace

bool opensManagementHostsGroup(const std::string& line) {
    return contains(line, "<ResourceGroup") && contains(line, "ManagementHosts");
}

int updateResourceGroup(const std::string& path) {
    GroupEdit edit;
    switch (rewriteLines(path,
                         [&edit](const std::string& line, std::string& out) { edit(line, out); })) {
        case RewriteStatus::Ok:
            return 1;
        case RewriteStatus::ReadFailed:
        case RewriteStatus::FileOpenFailed:
            alertI18nWithParameter(kCannotOpenFileMessage, path);
            return -1;
        case RewriteStatus::TmpOpenFailed:
            alertI18nWithParameter(kCannotOpenFileMessage, tmpPathOf(path));
            return -1;
        case RewriteStatus::WriteFailed:
            break;
    }
    return -1;
}

}  // namespace orv
