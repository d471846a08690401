// Usage texts, the version banner and the subcommand dispatcher.
#include "cli/usage.hpp"

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "cluster/join.hpp"
#include "cluster/master_list_command.hpp"
#include "console/messages.hpp"
#include "hosts/master_list.hpp"
#include "mghost/demote.hpp"
#include "mghost/promote.hpp"
#include "ports/base_port.hpp"
#include "ports/hdfs_port.hpp"
#include "resources/local_resources.hpp"
#include "preview/dry_run.hpp"

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

namespace {

// What the dispatcher was given.
struct Invocation {
    int argc;
    char** argv;

    std::string_view arg(int i) const { return argv[i]; }
};

// A trailing word, where allowed, must be exactly "-f"; it sets the global `silent`, which
// turns confirmations off for the rest of the run. False for any other trailing word.
bool takeForceFlag(const Invocation& in, int index) {
    if (in.argc <= index) {
        return true;
    }
    if (std::strcmp(in.argv[index], "-f") != 0) {
        return false;
    }
    silent = 1;
    return true;
}

// The common endings of a row: usage on a bad command line, else the result line.
int usageError(UsageText text) {
    usage(text);
    return -1;
}

int commandFailed() {
    alertI18n(kCommandFailedMessage);
    return -1;
}

int runMasterlist(const Invocation& in) {
    if ((in.argc != 3 && in.argc != 4) || !takeForceFlag(in, 3)) {
        return usageError(UsageText::Masterlist);
    }
    if (orvconfig_setmasterlist(in.argv[2]) == -1) {
        return commandFailed();
    }
    alertI18nWithParameter(
        "The master host failover order is %s. To make changes take effect, "
        "restart ORV on the master host with the command orvsh orv restart.",
        in.argv[2]);
    return 0;
}

int runJoin(const Invocation& in) {
    if ((in.argc != 3 && in.argc != 4) || !takeForceFlag(in, 3)) {
        return usageError(UsageText::Join);
    }
    if (orvconfig_join(in.argv[2]) == -1) {
        return commandFailed();
    }
    return 0;
}

int runMghost(const Invocation& in) {
    if ((in.argc != 3 && in.argc != 4) || !takeForceFlag(in, 3)) {
        return usageError(UsageText::Mghost);
    }
    if (orvconfig_setshare(in.argv[2]) == -1) {
        return commandFailed();
    }
    return 0;
}

int runUnsetmghost(const Invocation& in) {
    if ((in.argc != 2 && in.argc != 3) || !takeForceFlag(in, 2)) {
        return usageError(UsageText::Unsetmghost);
    }
    const int ret = orvconfig_removeshare();
    if (ret == -1) {
        return commandFailed();
    }
    if (ret == 1) {
        alertI18n(
            "This host no longer uses the shared configuration directory.  This host "
            "cannot be used as a master candidate.");
    }
    return 0;
}

int runSetbaseport(const Invocation& in) {
    if (in.argc != 3) {
        return usageError(UsageText::Setbaseport);
    }
    if (orvconfig_setbaseport(in.argv[2]) == -1) {
        return commandFailed();
    }
    return 0;
}

int runHovhdfsport(const Invocation& in) {
    int ret = 0;
    if (in.argc == 3 && in.arg(2) == "show") {
        ret = orvconfig_showhovhdfsport();
    } else if (in.argc == 4 && in.arg(2) == "set") {
        ret = orvconfig_sethovhdfsport(in.argv[3]);
    } else {
        return usageError(UsageText::Hovhdfsport);
    }
    if (ret == -1) {
        return commandFailed();
    }
    return 0;
}

int runAddresourceattr(const Invocation& in) {
    if (in.argc != 3) {
        return usageError(UsageText::Addresourceattr);
    }
    std::vector<LOCAL_RESOURCE> vRes;
    if (parseLocalResources(in.argv[2], vRes, 0) != 0) {
        return usageError(UsageText::Addresourceattr);
    }
    if (orvconfig_addresourcetag(vRes) == -1) {
        return commandFailed();
    }
    alertI18n("Add resource tag successfully.");
    return 0;
}

struct Subcommand {
    std::string_view word;
    int (*run)(const Invocation&);
};

// Matched in this order, each by its whole word only.
constexpr Subcommand kSubcommands[] = {
    {"masterlist", runMasterlist},
    {"join", runJoin},
    {"mghost", runMghost},
    {"unsetmghost", runUnsetmghost},
    {"setbaseport", runSetbaseport},
    {"hovhdfsport", runHovhdfsport},
    {"addresourceattr", runAddresourceattr},
};

void illegalOption(const char* arg) {
    alertI18nWithParameter("orvconfig: Illegal option -%s", arg);
    usage(UsageText::Full);
}

// A lone argument starting with a dash: -V.., -h.., or an illegal option (which still
// exits 0).
int runOption(const char* arg) {
    if (std::strncmp(arg, "-V", 2) == 0) {
        printVersionBanner();
        return 0;
    }
    if (std::strncmp(arg, "-h", 2) == 0) {
        usage(UsageText::Full);
        return 0;
    }
    illegalOption(arg);
    return 0;
}

}  // namespace

int orvconfigMain(int argc, char** argv) {
    // --dry-run before a subcommand: every check and message of the real run, each
    // question answered as -f answers it, and nothing written (the run's effects go to an
    // overlay that main reports at the end).
    if (argc > 2 && std::string_view(argv[1]) == "--dry-run") {
        beginDryRun();
        silent = 1;
        argv[1] = argv[0];
        return orvconfigMain(argc - 1, argv + 1);
    }
    if (argc == 2 && argv[1][0] == '-') {
        return runOption(argv[1]);
    }
    if (argc <= 1) {
        usage(UsageText::Full);
        return -1;
    }
    const Invocation in{argc, argv};
    for (const Subcommand& sub : kSubcommands) {
        if (in.arg(1) == sub.word) {
            const int ret = sub.run(in);
            flushOutput();
            return ret;
        }
    }
    illegalOption(argv[1]);
    return -1;
}

}  // namespace orv
