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

// What a script line turns out to be: dropped for a '#' anywhere in it, a format error
// (too few '|' or an OPERATION of 20 characters or more in mgconf.txt, 40 or more in an
// update script), or a line split into its fields.
enum class ScriptLineKind { Comment, Malformed, Parsed };

// One script line, its fields filled when it parsed.
struct ScriptLine {
    ScriptLineKind kind = ScriptLineKind::Malformed;
    std::string operation, first, second, third;  // mgconf: SOURCE TARGET OVERWRITE;
                                                  // updates: FILE ARG1 ARG2
};

// The copy script (mgconf.txt) or an update script (mgmasterupdate.txt, mgupdate.txt).
enum class ScriptKind { Copy, Update };

// Classifies and splits a line of a script of that kind.
ScriptLine classifyScriptLine(const std::string& line, ScriptKind kind);

}  // namespace orv
