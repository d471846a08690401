// The layout of one host line of the cluster file: each field padded to its column's
// width, column by column as the section's header names them.
#include "cluster/host_entry.hpp"

#include <strings.h>

#include <string>
#include <vector>

#include "text/strings.hpp"

namespace orv {

namespace {

constexpr const char* kColumnSeparators = " \t";

std::string padded(const std::string& value, std::size_t width) {
    return value.size() >= width ? value : value + std::string(width - value.size(), ' ');
}

bool columnIs(const std::string& column, const char* name) {
    return strcasecmp(column.c_str(), name) == 0;
}

// A host name fills ten columns; a longer one is followed by a single blank.
std::string hostField(const std::string& value, std::size_t nameLength) {
    return nameLength <= 9 ? padded(value, 10) : value + " ";
}

// Width of a column that keeps its value, or 0 for a column unknown by name.
std::size_t knownWidth(const std::string& column) {
    static const struct {
        const char* name;
        std::size_t width;
    } widths[] = {{"model", 9}, {"type", 13}, {"server", 6},   {"r1m", 5},
                  {"mem", 5},   {"swp", 4},   {"#Keywords", 9}};
    for (const auto& w : widths) {
        if (columnIs(column, w.name)) {
            return w.width;
        }
    }
    return 0;
}

std::string newField(const std::string& column, const std::string& host, const std::string& type,
                     const std::string& resources) {
    if (columnIs(column, "HOSTNAME")) {
        return hostField(host, host.size());
    }
    if (columnIs(column, "RESOURCES")) {
        return padded(resources, 14);
    }
    if (columnIs(column, "type")) {
        return padded(type, 13);
    }
    const char* value = columnIs(column, "model")       ? "!"
                        : columnIs(column, "server")    ? "1"
                        : columnIs(column, "#Keywords") ? ""
                                                        : "-";
    std::size_t width = knownWidth(column);
    return padded(value, width == 0 ? 4 : width);
}

// A field of a re-made line: known columns keep their value, unknown ones become "-".
std::string keptField(const std::string& column, const std::string& value, std::size_t hostLength) {
    if (columnIs(column, "HOSTNAME")) {
        return hostField(value, hostLength);
    }
    std::size_t width = knownWidth(column);
    return width == 0 ? padded("-", 4) : padded(value, width);
}

// The resources field of a host line: a list written with blanks was split into several
// values, so it is joined back.
std::string resourcesValue(const std::vector<std::string>& values, std::size_t index) {
    std::string value = values[index];
    if (!contains(value, ")")) {
        for (std::size_t k = index + 1; k < values.size(); ++k) {
            value += " " + values[k];
        }
    }
    return value;
}

// The resources field of a promoted host: "mg" put first inside the parentheses unless
// the field already mentions it.
int promotedResources(const std::vector<std::string>& values, std::size_t index, std::string& out) {
    const std::string value = resourcesValue(values, index);
    std::size_t close = value.rfind(')');
    if (close == std::string::npos) {
        return -1;
    }
    std::string names = close > 1 ? value.substr(1, close - 1) : std::string();
    out += contains(value, "mg") ? "(" + names + ")" : "(mg " + names + ")";
    return 0;
}

}  // namespace

int generateHostEntry(const std::string& header, const std::string& host, const std::string& type,
                      const std::string& resources, std::string& out) {
    out.clear();
    std::vector<std::string> columns;
    tokenize(header, columns, kColumnSeparators);
    for (const std::string& column : columns) {
        out += newField(column, host, type, resources);
    }
    return 0;
}

bool marksManagementHost(const std::string& header, const std::string& line) {
    std::vector<std::string> columns;
    std::vector<std::string> values;
    tokenize(header, columns, kColumnSeparators);
    tokenize(line, values, kColumnSeparators);
    for (std::size_t i = 0; i < columns.size() && i < values.size(); ++i) {
        if (!columnIs(columns[i], "RESOURCES")) continue;
        const std::string value = resourcesValue(values, i);
        return contains(value, ")") && contains(value, "mg");
    }
    return false;
}

int changeHostEntry(const std::string& header, const std::string& line, const std::string& host,
                    std::string& out) {
    std::vector<std::string> columns;
    std::vector<std::string> values;
    tokenize(header, columns, kColumnSeparators);
    tokenize(line, values, kColumnSeparators);
    if (values.size() + 1 < columns.size()) {
        return -1;
    }
    for (std::size_t i = 0; i < columns.size() && i < values.size(); ++i) {
        if (columnIs(columns[i], "RESOURCES")) {
            return promotedResources(values, i, out);
        }
        out += keptField(columns[i], values[i], host.size());
    }
    return 0;
}

}  // namespace orv
