#include "cli/dispatch.hpp"

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/check.hpp"
#include "cli/usage.hpp"
#include "cluster/join.hpp"
#include "cluster/master_list_command.hpp"
#include "console/messages.hpp"
#include "context/cluster_identity.hpp"
#include "history/history.hpp"
#include "history/undo.hpp"
#include "hosts/host_identity.hpp"
#include "hosts/master_list.hpp"
#include "journal/journal_store.hpp"
#include "mghost/demote.hpp"
#include "mghost/promote.hpp"
#include "ports/base_port.hpp"
#include "ports/hdfs_port.hpp"
#include "preview/dry_run.hpp"
#include "resources/local_resources.hpp"

namespace orv {

namespace {

// The words after the subcommand, without a trailing "-f".
using Operands = std::vector<std::string>;

// A run function's result: the module's result code (-1 failed), or nothing for operands
// of the right number but the wrong shape (a usage error).
using Result = std::optional<int>;

// The line printed after a subcommand succeeded: `text` (its "%s" the first operand), for
// any result but a failure or only for the result `onlyFor`.
struct SuccessLine {
    const char* text = nullptr;
    std::optional<int> onlyFor = std::nullopt;  // nothing: any result
};

struct Subcommand {
    std::string_view word;
    UsageText usage;
    std::size_t minOperands;
    std::size_t maxOperands;
    bool force;  // a trailing "-f" is accepted: every confirmation is answered yes
    Result (*run)(const Operands& operands);
    SuccessLine success = {};
    // The run's result is the exit status (check: 1 when it found errors).
    bool statusFromResult = false;
};

Result hdfsPort(const Operands& operands) {
    if (operands.size() == 1 && operands[0] == "show") return orvconfig_showhovhdfsport();
    if (operands.size() == 2 && operands[0] == "set") return orvconfig_sethovhdfsport(operands[1]);
    return std::nullopt;
}

Result addResourceTags(const Operands& operands) {
    std::vector<LOCAL_RESOURCE> tags;
    if (parseLocalResources(operands[0], tags, 0) != 0) return std::nullopt;
    return orvconfig_addresourcetag(tags);
}

std::optional<std::string> optionalOperand(const Operands& operands) {
    return operands.empty() ? std::nullopt : std::optional<std::string>(operands[0]);
}

// "undo -f" as well as "undo ID -f": the id is optional, the "-f" may stand alone.
Result undoRun(const Operands& operands) {
    if (operands.size() == 1 && operands[0] == "-f") {
        silent = 1;
        return orvconfig_undo(std::nullopt);
    }
    if (!operands.empty() && operands[0].starts_with("-")) return std::nullopt;
    return orvconfig_undo(optionalOperand(operands));
}

// Matched in this order, each by its whole word only.
const Subcommand kSubcommands[] = {
    {.word = "masterlist",
     .usage = UsageText::Masterlist,
     .minOperands = 1,
     .maxOperands = 1,
     .force = true,
     .run = [](const Operands& o) -> Result { return orvconfig_setmasterlist(o[0]); },
     .success = {.text = "The master host failover order is %s. To make changes take effect, "
                         "restart ORV on the master host with the command orvsh orv restart."}},
    {.word = "join",
     .usage = UsageText::Join,
     .minOperands = 1,
     .maxOperands = 1,
     .force = true,
     .run = [](const Operands& o) -> Result { return orvconfig_join(o[0]); }},
    {.word = "mghost",
     .usage = UsageText::Mghost,
     .minOperands = 1,
     .maxOperands = 1,
     .force = true,
     .run = [](const Operands& o) -> Result { return orvconfig_setshare(o[0]); }},
    {.word = "unsetmghost",
     .usage = UsageText::Unsetmghost,
     .minOperands = 0,
     .maxOperands = 0,
     .force = true,
     .run = [](const Operands& /*o*/) -> Result { return orvconfig_removeshare(); },
     .success = {.text = "This host no longer uses the shared configuration directory.  This "
                         "host cannot be used as a master candidate.",
                 .onlyFor = 1}},
    {.word = "setbaseport",
     .usage = UsageText::Setbaseport,
     .minOperands = 1,
     .maxOperands = 1,
     .force = false,
     .run = [](const Operands& o) -> Result { return orvconfig_setbaseport(o[0]); }},
    {.word = "hovhdfsport",
     .usage = UsageText::Hovhdfsport,
     .minOperands = 1,
     .maxOperands = 2,
     .force = false,
     .run = hdfsPort},
    {.word = "addresourceattr",
     .usage = UsageText::Addresourceattr,
     .minOperands = 1,
     .maxOperands = 1,
     .force = false,
     .run = addResourceTags,
     .success = {.text = "Add resource tag successfully."}},
    {.word = "check",
     .usage = UsageText::Check,
     .minOperands = 0,
     .maxOperands = 1,
     .force = false,
     .run = [](const Operands& o) -> Result {
         if (o.empty()) return orvconfig_check(false);
         if (o[0] == "--json") return orvconfig_check(true);
         return std::nullopt;
     },
     .statusFromResult = true},
    {.word = "history",
     .usage = UsageText::History,
     .minOperands = 0,
     .maxOperands = 1,
     .force = false,
     .run = [](const Operands& o) -> Result {
         if (!o.empty() && o[0].starts_with("-")) return std::nullopt;
         return orvconfig_history(optionalOperand(o));
     }},
    {.word = "undo",
     .usage = UsageText::Undo,
     .minOperands = 0,
     .maxOperands = 1,
     .force = true,
     .run = undoRun},
};

// The operands of a command line, or nothing when their number is wrong or a trailing word
// is not allowed. A trailing "-f" where accepted sets the global `silent`, which turns
// confirmations off for the rest of the run.
bool takeOperands(const Subcommand& sub, int argc, char** argv, Operands& operands) {
    operands.assign(argv + 2, argv + argc);
    if (sub.force && operands.size() == sub.maxOperands + 1 && operands.back() == "-f") {
        operands.pop_back();
        silent = 1;
    }
    return operands.size() >= sub.minOperands && operands.size() <= sub.maxOperands;
}

int runSubcommand(const Subcommand& sub, int argc, char** argv) {
    Operands operands;
    const Result ret = takeOperands(sub, argc, argv, operands) ? sub.run(operands) : std::nullopt;
    if (!ret) {
        usage(sub.usage);
        return -1;
    }
    if (*ret == -1) {
        alertI18n(kCommandFailedMessage);
        return -1;
    }
    if (sub.statusFromResult) return *ret;
    const SuccessLine& line = sub.success;
    if (line.text != nullptr && (!line.onlyFor || *ret == *line.onlyFor)) {
        alertI18nWithParameter(line.text, operands.empty() ? std::string() : operands[0]);
    }
    return 0;
}

// A word as a shell would need it to be typed again.
std::string shellWord(std::string_view word) {
    if (!word.empty() &&
        word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                               "0123456789@%+=:,./_-") == std::string_view::npos) {
        return std::string(word);
    }
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

bool dryRun = false;

// Every run of a subcommand but a dry run is journaled: who runs what, from here.
void beginRunJournal(int argc, char** argv) {
    if (dryRun) return;
    RunInfo info;
    info.host = thisHostName();
    getCurrentUser(info.user);
    const char* sudoUser = std::getenv("SUDO_USER");
    info.sudoUser = sudoUser != nullptr ? sudoUser : "";
    info.command = "orvconfig";
    for (int i = 1; i < argc; ++i) {
        info.command += ' ';
        info.command += shellWord(argv[i]);
    }
    beginJournal(info);
}

void illegalOption(const char* arg) {
    alertI18nWithParameter("orvconfig: Illegal option -%s", arg);
    usage(UsageText::Full);
}

// A lone argument starting with a dash: -V.., -h.., or an illegal option (which still
// exits 0).
int runOption(std::string_view arg) {
    if (arg.starts_with("-V")) {
        printVersionBanner();
    } else if (arg.starts_with("-h")) {
        usage(UsageText::Full);
    } else {
        illegalOption(arg.data());
    }
    return 0;
}

}  // namespace

int orvconfigMain(int argc, char** argv) {
    // --dry-run before a subcommand: every check and message of the real run, each
    // question answered as -f answers it, and nothing written (the run's effects go to an
    // overlay that main reports at the end).
    if (argc > 2 && std::string_view(argv[1]) == "--dry-run") {
        beginDryRun();
        dryRun = true;
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
    for (const Subcommand& sub : kSubcommands) {
        if (argv[1] == sub.word) {
            beginRunJournal(argc, argv);
            const int ret = runSubcommand(sub, argc, argv);
            flushOutput();
            return ret;
        }
    }
    illegalOption(argv[1]);
    return -1;
}

}  // namespace orv
