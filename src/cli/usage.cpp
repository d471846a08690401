// Usage texts and the version banner.
#include "cli/usage.hpp"

#include <cstdio>
#include <string>

#include "console/messages.hpp"

namespace orv {

namespace {

constexpr const char* kProgram = "orvconfig";

// A usage line: the text with every "%s" standing for the program name.
void usageLine(const char* text) {
    printText(formatMessage(text, {kProgram, kProgram}));
}

// The full listing: "Line" texts carry their own newline, "Desc" texts are messages.
enum class Kind { Line, Desc };
struct UsageEntry {
    Kind kind;
    const char* text;
};

constexpr UsageEntry kFullUsage[] = {
    {Kind::Line, "Usage: %s subcommand [options]\n"},
    {Kind::Line, "       %s -h\n"},
    {Kind::Line, "       %s -V\n"},
    {Kind::Line, "Subcommand:\n"},
    {Kind::Line,
     "   addresourceattr \"[resource resource_name] [resourcemap value*resource_name] "
     "...\"\n"},
    {Kind::Desc,
     "Adds a resource attribute tag to the parameter ORV_LOCAL_RESOURCES in orv.conf on "
     "the local host. The attribute tag is later referenced when you create a resource "
     "group and want to add hosts to it that share the same resource attribute."},
    {Kind::Desc,
     "resourcemap :Keyword required by ORV_LOCAL_RESOURCES to signify that the name of "
     "the resource attribute tag is numeric. The name is preceded by a numeric value to "
     "form a name-value pair."},
    {Kind::Desc,
     "resource : Keyword required by ORV_LOCAL_RESOURCES to signify that the name of the "
     "resource attribute tag is boolean."},
    {Kind::Desc,
     "resource_name : Specifies the name of the resource attribute tag that identifies "
     "this type of host. For example, the resource attribute tag scvg could be later "
     "used to create a resource group for harvesting-capable hosts."},
    {Kind::Line, "\n"},
    {Kind::Line, "   join        master_name [-f]\n"},
    {Kind::Desc, "Adds the local UNIX host to the cluster that has the specified master host."},
    {Kind::Line, "\n"},
    {Kind::Line, "   masterlist  host_name[,host_name,...]\n"},
    {Kind::Desc,
     "Specifies the list of master candidates, starting with the master host, and "
     "including  all of the candidates, in the order of failover priority."},
    {Kind::Line, "\n"},
    {Kind::Line, "   mghost      shared_top [-f]\n"},
    {Kind::Desc,
     "Specifies to ignore the local configuration directory and look in the shared "
     "location for the configuration information and common files so the management "
     "hosts use a common set of files. Issuing this command adds this host to the "
     "management hosts resource group."},
    {Kind::Line, "\n"},
    {Kind::Line, "   mghost      vos [-f]\n"},
    {Kind::Desc,
     "Use this command when adding Brevant VOS to an existing ORV cluster. Specifies to "
     "ignore the local VOS configuration directory and use the ORV shared directory "
     "instead. Issue this command on all management hosts so VOS can use shared "
     "location configurations."},
    {Kind::Line, "\n"},
    {Kind::Line, "   mghost      kirn [-f]\n"},
    {Kind::Desc,
     "Use this command when adding Brevant Tessary to an existing ORV cluster. Specifies "
     "to ignore the local Tessary configuration directory and use the ORV shared "
     "directory instead. Issue this command only on the master host so that Tessary "
     "can use shared location configurations."},
    {Kind::Line, "\n"},
    {Kind::Line, "   mghost      zt [-f]\n"},
    {Kind::Desc,
     "Use this command when adding Brevant Tessary Analytics to an existing ORV cluster. "
     "Specifies to ignore the local Tessary Analytics configuration directory and use "
     "the ORV shared directory instead. Issue this command only on the master host so "
     "that Tessary Analytics can use shared location configurations."},
    {Kind::Line, "\n"},
    {Kind::Line, "   setbaseport base_port_no\n"},
    {Kind::Desc,
     "Changes the port number for the ORV_LIM service or daemon to the specified port "
     "number."},
    {Kind::Line, "\n"},
    {Kind::Line, "   unsetmghost [-f]\n"},
    {Kind::Desc, "Demotes the local management host to a compute host."},
    {Kind::Line, "\n"},
    {Kind::Line, "   hovhdfsport <show|set> port_no \n"},
    {Kind::Desc, "Displays or updates the port number for the HDFS service."},
};

void fullUsage() {
    for (const UsageEntry& entry : kFullUsage) {
        if (entry.kind == Kind::Desc) {
            alertI18n(entry.text);
        } else {
            usageLine(entry.text);
        }
    }
}

void mghostUsage() {
    usageLine("Usage: %s mghost shared_top [-f]\n");
    usageLine("       %s mghost kirn [-f]\n");
    usageLine("       %s mghost vos [-f]\n");
    usageLine("       %s mghost zt [-f]\n");
}

// The one usage line of a subcommand; nullptr for the texts of several lines and for a
// value that names no text.
const char* singleLine(UsageText text) {
    switch (text) {
        case UsageText::Masterlist:
            return "Usage: %s masterlist host_name[,host_name,...] [-f]\n";
        case UsageText::Join:
            return "Usage: %s join master_name [-f]\n";
        case UsageText::Setbaseport:
            return "Usage: %s setbaseport base_port_no\n";
        case UsageText::Unsetmghost:
            return "Usage: %s unsetmghost [-f]\n";
        case UsageText::Addresourceattr:
            return "Usage: %s addresourceattr \"[resource resource_name] [resourcemap "
                   "value*resource_name] ...\"\n";
        case UsageText::Hovhdfsport:
            return "Usage: %s hovhdfsport <show|set> <port>\n";
        case UsageText::Check:
            return "Usage: %s check [--json]\n";
        case UsageText::History:
            return "Usage: %s history [run_id]\n";
        case UsageText::Undo:
            return "Usage: %s undo [run_id] [-f]\n";
        case UsageText::Full:
        case UsageText::Mghost:
            break;
    }
    return nullptr;
}

}  // namespace

void usage(UsageText text) {
    if (text == UsageText::Full) {
        printText("\n");
        fullUsage();
    } else if (text == UsageText::Mghost) {
        printText("\n");
        mghostUsage();
    } else if (const char* line = singleLine(text)) {
        printText("\n");
        usageLine(line);
    }
}

void printVersionBanner() {
    flushOutput();
    std::fputs(
        "ORV 1.2.7.0 build 213132, Feb 27 2013\n"
        "Copyright (C) 2013 the orvconfig authors.\n"
        "All rights reserved.\n"
        "\n"
        "binary type: linux2.6-glibc2.3-x86_64\n",
        stderr);
}

}  // namespace orv
