// Interpreter of the change scripts (mgconf.txt, mgmasterupdate.txt, mgupdate.txt) that a
// product's .install directory supplies.
#pragma once

#include <string>

namespace orv {

int dotInstall(const std::string& dir, int mode, const std::string& installTop,
               const std::string& shareTop, const std::string& spare,
               const std::string& clusterName, const std::string& headTop);
int copyConfigAndReplace(const std::string& dir, const std::string& installTop,
                         const std::string& shareTop, const std::string& spare,
                         const std::string& clusterName, const std::string& headTop);
int mgConf(const std::string& scriptPath);
int mgUpdate(const std::string& scriptPath);
int deleteTmpConfig(const std::string& dir);

// One parsed script line.
struct ScriptLine {
    std::string operation, first, second, third;  // mgconf: SOURCE TARGET OVERWRITE;
                                                  // updates: FILE ARG1 ARG2
};
// Splits a line of mgconf.txt (isUpdate false) or of an update script; false for a
// format error (too few '|' or an OPERATION longer than its field).
bool parseScriptLine(const std::string& line, bool isUpdate, ScriptLine& out);

}  // namespace orv
