// The interpreter of a product's change scripts. The scripts in a product's .install
// directory say which configuration files go onto the shared directory and which settings
// change in them; this file knows nothing of any product, it only copies the scripts with
// their placeholders filled in, runs the copies in a fixed order and removes them again.
#include "mghost/change_script.hpp"

#include <unistd.h>

#include <array>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "console/messages.hpp"
#include "context/environment.hpp"
#include "mghost/copy.hpp"
#include "storage/file_store.hpp"
#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "text/strings.hpp"
#include "text/xml_value.hpp"

namespace orv {

int globalRnConfFileErrorFlag = 0;

namespace {

// The scripts, in the order they are copied; run order is decided by dotInstall.
constexpr std::array<std::string_view, 3> kScriptNames = {"mgconf.txt", "mgmasterupdate.txt",
                                                          "mgupdate.txt"};
enum ScriptIndex { kConf = 0, kMasterUpdate = 1, kUpdate = 2 };

// OPERATION is held in a fixed field: this many characters or more is a format error.
constexpr std::size_t kConfOperationField = 20;
constexpr std::size_t kUpdateOperationField = 40;

std::string scriptPath(const std::string& dir, std::size_t index) {
    return dir + '/' + std::string(kScriptNames[index]);
}

std::string copyPath(const std::string& dir, std::size_t index) {
    return scriptPath(dir, index) + ".tmp";
}

// Writes the substituted copy of a script beside it. Whatever stands at the copy's name is
// removed first, so that a link planted there is neither written through nor later run as
// the script. A copy that cannot be created is passed over silently (running it then
// reports it); one that cannot be written completely is removed, so that half a script is
// never run.
void writeScriptCopy(const std::string& path, std::string_view text) {
    removePath(path);
    writeNewFile(path, text);
}

// Replaces every occurrence of `token` in one left-to-right pass; inserted text is not
// looked at again.
void replaceEachOnce(std::string& line, std::string_view token, std::string_view value) {
    std::string out;
    std::size_t from = 0;
    for (std::size_t at = line.find(token); at != std::string::npos; at = line.find(token, from)) {
        out.append(line, from, at - from);
        out += value;
        from = at + token.size();
    }
    out.append(line, from, std::string::npos);
    line = std::move(out);
}

// Expands a placeholder until none of its kind is left, so that a value which, together
// with the text around it, forms the placeholder again is expanded too; scripts rely on it.
// A value that contains its own placeholder would be expanded for ever, so such a value is
// put in once for each occurrence and not expanded again. The bound on the rounds (one more
// than the line's length, far beyond any real line's need) ends the rarer cycles in which a
// value and its neighbours keep forming the placeholder anew.
void expandToken(std::string& line, std::string_view token, std::string_view value) {
    if (contains(value, token)) {
        replaceEachOnce(line, token, value);
        return;
    }
    for (std::size_t rounds = line.size() + 1; rounds > 0 && contains(line, token); --rounds) {
        replaceVariable(line, token, value);
    }
}

// The values that the placeholders of one product's scripts stand for.
class Placeholders {
  public:
    Placeholders(const std::string& installTop, const std::string& shareTop,
                 const std::string& clusterName, const std::string& headTop)
        : installTop_(installTop),
          shareTop_(shareTop),
          clusterName_(clusterName),
          headTop_(headTop) {}

    void expand(std::string& line) {
        expandToken(line, "@INSTALLDIR@", installTop_);
        expandToken(line, "@SHARETOP@", shareTop_);
        // Without a cluster name the placeholder is left as it stands.
        if (!clusterName_.empty()) expandToken(line, "@CLUSTERNAME@", clusterName_);
        expandToken(line, "@HEADTOPDIR@", headTop_);
        if (!contains(line, "@ORV_CONFDIR@")) return;
        if (const std::string* confDir = orvConfDir()) expandToken(line, "@ORV_CONFDIR@", *confDir);
    }

  private:
    // The configuration directory in use before the change, asked for only when a line
    // needs it (asking reports an unset variable once).
    const std::string* orvConfDir() {
        if (!confDirAsked_) {
            confDirAsked_ = true;
            if (const char* dir = getOrvConfDir()) confDir_ = dir;
        }
        return confDir_ ? &*confDir_ : nullptr;
    }

    const std::string& installTop_;
    const std::string& shareTop_;
    const std::string& clusterName_;
    const std::string& headTop_;
    bool confDirAsked_ = false;
    std::optional<std::string> confDir_;
};

void copyOneScript(const std::string& dir, std::size_t index, Placeholders& values) {
    const std::string path = scriptPath(dir, index);
    LineReader in;
    if (!in.load(path)) {
        alertI18nWithParameter(kCannotOpenTheFileMessage, path);
        return;
    }
    std::string text;
    std::string line;
    int lineCount = 0;
    // Blank lines are left out of the copy; comment lines are copied (running drops them).
    while (getNextLineC_(in, lineCount, 0, line)) {
        values.expand(line);
        text += line;
        text += '\n';
    }
    writeScriptCopy(copyPath(dir, index), text);
}

bool overwriteWanted(const std::string& field) {
    return !field.empty() && (field[0] == 'Y' || field[0] == 'y');
}

// One parsed line of mgconf.txt; -1 ends the script.
int runConfLine(const ScriptLine& fields, const std::string& script, int lineNumber) {
    const bool overwrite = overwriteWanted(fields.third);
    // "file": a text copy that keeps the source's mode. A failed copy ends the script.
    if (fields.operation == "file") {
        return copyFileKeepingMode(fields.first, fields.second, overwrite, CopyKind::Text);
    }
    if (fields.operation == "directory") {
        makeDir(fields.second);
        return copyDir(fields.first, fields.second, overwrite) == -1 ? -1 : 0;
    }
    if (fields.operation == "removefile") {
        removeFile(fields.first);
        return 0;
    }
    showFormatWarning(script, lineNumber);
    return 0;
}

using EditPrimitive = int (*)(const std::string&, const std::string&, const std::string&);

std::optional<EditPrimitive> editFor(const std::string& operation) {
    static const std::array<std::pair<std::string_view, EditPrimitive>, 5> kEdits = {{
        {"replacestring", replaceStringWithoutComment},
        {"replaceline", replaceString},
        {"replacestringinfile", replaceStringInFile},
        {"addline", replaceString3},
        {"xml", replaceValueInXML},
    }};
    for (const auto& [name, primitive] : kEdits) {
        if (operation == name) return primitive;
    }
    return std::nullopt;
}

void applyEdit(const ScriptLine& fields, const std::string& script, int lineNumber) {
    // Service accounts are not this system's to set: the operation is known, and changes
    // nothing.
    if (fields.operation == "changeServiceAccount") return;
    const auto primitive = editFor(fields.operation);
    if (!primitive) {
        showFormatWarning(script, lineNumber);
        return;
    }
    if ((*primitive)(fields.first, fields.second, fields.third) == -1) {
        printText(formatMessage("Set %s in %s failed.", {fields.second, fields.first}));
        printText("\n");
        globalRnConfFileErrorFlag = -1;
    }
}

// One parsed line of an update script. A file that this installation does not have is
// passed over; an edited file keeps its mode.
void runUpdateLine(const ScriptLine& fields, const std::string& script, int lineNumber) {
    if (fields.operation != "changeServiceAccount" && !pathExists(fields.first)) return;
    FILEINFO info;
    const int recorded = getFileInfo2(fields.first, info);
    applyEdit(fields, script, lineNumber);
    if (recorded == 1) setFileInfo2(fields.first, info);
}

void reportMalformed(const std::string& script, int lineNumber) {
    showFormatWarning(script, lineNumber);
    globalRnConfFileErrorFlag = -1;
}

// Positions of the '|' separators of a line.
std::vector<std::size_t> separators(const std::string& line) {
    std::vector<std::size_t> at;
    for (std::size_t i = line.find('|'); i != std::string::npos; i = line.find('|', i + 1)) {
        at.push_back(i);
    }
    return at;
}

std::string between(const std::string& line, std::size_t openBar, std::size_t closeBar) {
    return line.substr(openBar + 1, closeBar - openBar - 1);
}

// OPERATION|SOURCE|TARGET|OVERWRITE; OVERWRITE ends at a further '|' if there is one.
void splitConfFields(const std::string& line, const std::vector<std::size_t>& bars,
                     ScriptLine& out) {
    out.first = between(line, bars[0], bars[1]);
    out.second = between(line, bars[1], bars[2]);
    out.third = between(line, bars[2], bars.size() > 3 ? bars[3] : line.size());
}

// OPERATION|FILE|ARG1|ARG2; ARG1 needs its closing '|', ARG2 is the rest of the line with
// any further '|' kept.
void splitUpdateFields(const std::string& line, const std::vector<std::size_t>& bars,
                       ScriptLine& out) {
    out.first = between(line, bars[0], bars[1]);
    out.second.clear();
    out.third.clear();
    if (bars.size() < 3) return;
    out.second = between(line, bars[1], bars[2]);
    out.third = line.substr(bars[2] + 1);
}

using ScriptLineRunner = std::function<int(const ScriptLine& fields, int lineNumber)>;

// Opens a script copy and runs it line by line: a malformed line is reported and passed
// over, a comment line dropped, and every other line handed to runLine, whose -1 ends the
// script (-1). Every line counts, the empty one included: a line that a placeholder emptied
// is a format error like any other. mgconf.txt numbers its lines from 1 in its warnings;
// the update scripts have always numbered them from 0, kept so that the line numbers users
// know stay valid.
int runScript(const std::string& scriptPath, ScriptKind kind, const ScriptLineRunner& runLine) {
    LineReader in;
    if (!in.load(scriptPath)) {
        alertI18nWithParameter(kCannotOpenTheFileMessage, scriptPath);
        return -1;
    }
    std::string line;
    int readerCount = 0;  // after a line is read: that line's 1-based number
    int ordinal = -1;     // the 0-based number of the line read
    while (getNextLineD_(in, readerCount, 0, line)) {
        ++ordinal;
        const int lineNumber = kind == ScriptKind::Update ? ordinal : readerCount;
        const ScriptLine fields = classifyScriptLine(line, kind);
        if (fields.kind == ScriptLineKind::Malformed) reportMalformed(scriptPath, lineNumber);
        if (fields.kind == ScriptLineKind::Parsed && runLine(fields, lineNumber) == -1) {
            return -1;
        }
    }
    return 0;
}

}  // namespace

ScriptLine classifyScriptLine(const std::string& line, ScriptKind kind) {
    const bool isUpdate = kind == ScriptKind::Update;
    ScriptLine fields;
    // A '#' anywhere drops the line: no operand may contain one.
    if (contains(line, "#")) {
        fields.kind = ScriptLineKind::Comment;
        return fields;
    }
    // Too few '|', or an operation too long: malformed (the kind a line starts with).
    const std::vector<std::size_t> bars = separators(line);
    if (bars.size() < (isUpdate ? 2U : 3U)) return fields;
    if (bars[0] >= (isUpdate ? kUpdateOperationField : kConfOperationField)) return fields;
    fields.kind = ScriptLineKind::Parsed;
    fields.operation = line.substr(0, bars[0]);
    if (isUpdate) {
        splitUpdateFields(line, bars, fields);
    } else {
        splitConfFields(line, bars, fields);
    }
    return fields;
}

int copyConfigAndReplace(const std::string& dir, const std::string& installTop,
                         const std::string& shareTop, const std::string& clusterName,
                         const std::string& headTop) {
    Placeholders values(installTop, shareTop, clusterName, headTop);
    for (std::size_t index = 0; index < kScriptNames.size(); ++index) {
        copyOneScript(dir, index, values);
    }
    return 0;
}

int mgConf(const std::string& scriptPath) {
    return runScript(scriptPath, ScriptKind::Copy,
                     [&scriptPath](const ScriptLine& fields, int lineNumber) {
                         return runConfLine(fields, scriptPath, lineNumber);
                     });
}

int mgUpdate(const std::string& scriptPath) {
    return runScript(scriptPath, ScriptKind::Update,
                     [&scriptPath](const ScriptLine& fields, int lineNumber) {
                         runUpdateLine(fields, scriptPath, lineNumber);
                         return 0;
                     });
}

int deleteTmpConfig(const std::string& dir) {
    for (std::size_t index = 0; index < kScriptNames.size(); ++index) {
        removePath(copyPath(dir, index));
    }
    return 0;
}

int dotInstall(const std::string& dir, int mode, const std::string& installTop,
               const std::string& shareTop, const std::string& clusterName,
               const std::string& headTop) {
    if (copyConfigAndReplace(dir, installTop, shareTop, clusterName, headTop) != 0) {
        return 0;
    }
    int result = 0;
    if (mode == 1) {
        result = mgConf(copyPath(dir, kConf));
        if (result == 0) result = mgUpdate(copyPath(dir, kMasterUpdate));
        if (result == 0) result = mgUpdate(copyPath(dir, kUpdate));
    } else if (mode == 0) {
        result = mgUpdate(copyPath(dir, kUpdate));
    } else {
        deleteTmpConfig(dir);
        return -1;
    }
    if (result != 0) alertI18n("Error when disposing the config files");
    deleteTmpConfig(dir);
    return result == 0 ? 0 : -1;
}

}  // namespace orv
