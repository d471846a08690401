// Interpreter of the change scripts (mgconf.txt, mgmasterupdate.txt, mgupdate.txt) that a
// product's .install directory supplies.
#pragma once

#include <string>

namespace orv {

// Set to -1 on a malformed script line or a failed edit; never reset within a run.
extern int globalRnConfFileErrorFlag;

int dotInstall(const std::string& dir, int mode, const std::string& installTop,
               const std::string& shareTop, const std::string& clusterName,
               const std::string& headTop);
int copyConfigAndReplace(const std::string& dir, const std::string& installTop,
                         const std::string& shareTop, const std::string& clusterName,
                         const std::string& headTop);
int mgConf(const std::string& scriptPath);
int mgUpdate(const std::string& scriptPath);
int deleteTmpConfig(const std::string& dir);

// One parsed script line.
struct ScriptLine {
    std::string operation, first, second, third;  // mgconf: SOURCE TARGET OVERWRITE;
                                                  // updates: FILE ARG1 ARG2
};
// What a script line turns out to be: dropped for a '#' anywhere in it, a format error
// (too few '|' or an OPERATION of 20 characters or more in mgconf.txt, 40 or more in an
// update script), or a line split into its fields.
enum class ScriptLineKind { Comment, Malformed, Parsed };
ScriptLineKind classifyScriptLine(const std::string& line, bool isUpdate, ScriptLine& out);

// Splits a line of mgconf.txt (isUpdate false) or of an update script; false for a
// format error or a line dropped for its '#'.
bool parseScriptLine(const std::string& line, bool isUpdate, ScriptLine& out);

}  // namespace orv
