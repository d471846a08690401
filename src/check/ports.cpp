// The port block: every key of the port table at its offset from the base port, in every
// file of the table that exists, on each side setbaseport edits; and the HDFS port equal
// in the HDFS profiles of each side.
#include <optional>
#include <string_view>

#include "check/check_parts.hpp"
#include "ports/base_port.hpp"
#include "ports/hdfs_port.hpp"
#include "text/xml_value.hpp"

namespace orv {

namespace {

constexpr const char* kBaseKey = "ORV_LIM_PORT";

// The port of a value text, or nothing when it is no decimal port number.
std::optional<int> portOf(const std::string& value) {
    if (value.empty() || !isAllDigits(value)) return std::nullopt;
    const int port = portTextToInt(value);
    if (port < kLowestPort || port > kHighestPort) return std::nullopt;
    return port;
}

void notAPort(Report& r, const std::string& path, int line, const std::string& key,
              const std::string& value) {
    r.error(path, line, "ports.value",
            key + " is \"" + value + "\", not a port number (" + std::to_string(kLowestPort) + "-" +
                std::to_string(kHighestPort) + ")");
}

// The values of one key in one file's text, as the edit of that key finds them; a value
// that runs past its line is a warning (the edit would drop the text below it).
std::vector<NumberedLine> valuesOf(Report& r, const std::string& path, const std::string& text,
                                   const std::string& key, const char* editor) {
    if (!isXmlPortKey(key)) return keyValues(text, key);
    std::vector<NumberedLine> values;
    for (const XmlValueLine& v : valuesInXML(text, key)) {
        if (v.runsOn) {
            r.warning(path, v.line, "text.xml-split",
                      "the value of " + key + " runs past its line: " + editor +
                          " would drop the text up to the closing tag");
        } else {
            values.push_back({v.line, v.value});
        }
    }
    return values;
}

// The base port: ORV_LIM_PORT of the first side's orv.conf.
std::optional<int> basePort(FileChecker& files, Report& r, const PortSide& side) {
    const std::string path = side.confDir + "/orv.conf";
    const std::optional<std::string> text = files.read(path, FileKind::OrvConf, true);
    if (!text) return std::nullopt;
    const std::vector<NumberedLine> values = keyValues(*text, kBaseKey);
    if (values.empty()) {
        r.error(path, 0, "ports.base", std::string(kBaseKey) + " is not set: no base port");
        return std::nullopt;
    }
    return portOf(values.front().text);
}

void checkPortFile(FileChecker& files, Report& r, const PortFile& f, std::optional<int> base) {
    FileKind kind = f.always ? FileKind::OrvConf : FileKind::PortProfile;
    if (!f.always && std::string_view(f.keys.front().key) == "VOS_LIM_PORT")
        kind = FileKind::VosConf;
    const std::optional<std::string> text = files.read(f.path, kind, f.always);
    if (!text) return;
    for (const PortKey& k : f.keys) {
        for (const NumberedLine& v : valuesOf(r, f.path, *text, k.key, "setbaseport")) {
            const std::optional<int> port = portOf(v.text);
            if (!port) {
                notAPort(r, f.path, v.line, k.key, v.text);
            } else if (base && *port != *base + k.offset) {
                r.error(f.path, v.line, "ports.offset",
                        std::string(k.key) + " is " + v.text + ", expected " +
                            std::to_string(*base + k.offset) + " (base port " +
                            std::to_string(*base) + " + " + std::to_string(k.offset) + ")");
            }
        }
    }
}

// HOV_HDFS_PORT of the profiles of one side: a port, the same in each (the last value of a
// profile counts, as hovhdfsport show reads it).
void checkHdfsPorts(FileChecker& files, Report& r, const std::string& dir) {
    std::optional<std::pair<std::string, std::string>> first;  // path, value
    for (const std::string& path : hdfsProfilesOf(dir)) {
        const std::optional<std::string> text = files.read(path, FileKind::HdfsProfile, false);
        if (!text) continue;
        const std::vector<NumberedLine> values =
            valuesOf(r, path, *text, kHdfsPortKey, "hovhdfsport");
        if (values.empty()) continue;
        const NumberedLine& v = values.back();
        if (!portOf(v.text)) {
            notAPort(r, path, v.line, kHdfsPortKey, v.text);
        } else if (!first) {
            first.emplace(path, v.text);
        } else if (first->second != v.text) {
            r.error(path, v.line, "ports.hdfs-differs",
                    std::string(kHdfsPortKey) + " is " + v.text + ", but " + first->second +
                        " in " + first->first);
        }
    }
}

}  // namespace

void checkPorts(FileChecker& files, Report& report, const CheckContext& c) {
    if (!c.localUsable) return;
    const std::vector<PortSide> sides = portSides(c.confDir, c.localDir, c.shared);
    const std::optional<int> base = basePort(files, report, sides.front());
    for (const PortSide& side : sides) {
        for (const PortFile& f : portFilesOf(side)) checkPortFile(files, report, f, base);
        checkHdfsPorts(files, report, side.confDir);
    }
}

}  // namespace orv
