// Message formatting, the answer reader and the once-only confirmations. Prompt state
// lives for the whole process, so every case that prints or reads runs in a forked child
// with its own standard input and output.
#include <gtest/gtest.h>

#include <string>

#include "child_process.hpp"
#include "cli/usage.hpp"
#include "console/messages.hpp"

namespace orv {
namespace {

using test::ChildRun;
using test::runInChild;

constexpr const char* kShared =
    "This host will use configuration files on a shared directory.  Do you want to continue? "
    "[y/n]";
constexpr const char* kShared2 =
    "This host will use configuration files on a shared directory. Make sure that /share is a "
    "shared directory. Do you want to continue? [y/n]";
constexpr const char* kService =
    "Warning: stop all cluster services managed by ORV before you run orvconfig. Do you want "
    "to continue? [y/n]";
constexpr const char* kNoChanges = "No changes. This host uses a local configuration directory.\n";

TEST(CliFormatMessage, ExpandsPlaceholdersInOrder) {
    EXPECT_EQ(formatMessage("%s has %d hosts", {"c1", "3"}), "c1 has 3 hosts");
    EXPECT_EQ(formatMessage("100%% of %s", {"x"}), "100% of x");
    EXPECT_EQ(formatMessage("[%s] [%s]", {"a"}), "[a] []");
    EXPECT_EQ(formatMessage("%x %5s %", {"unused"}), "%x %5s %");
    // A parameter is inserted as it stands, never read as a format.
    EXPECT_EQ(formatMessage("dir %s.", {"%s%d%%"}), "dir %s%d%%.");
    EXPECT_EQ(formatMessage("", {"a"}), "");
}

TEST(CliAlert, PrintsTextThenNewlineAndRefusesNulls) {
    const ChildRun run = runInChild("", [] {
        long r = 0;
        r += alertI18n("plain %% text");
        r += alertI18nWithParameter("Cannot open the file %s.", "/a b");
        r += alertI18nWithTwoParameters("%s and %s", "x", "y");
        r += alertI18nWithThreeParameters("%s-%s-%s", "1", "2", "3");
        r += alertI18n(nullptr);
        r += alertI18nWithParameter("never %s", static_cast<const char*>(nullptr));
        r += alertI18nWithTwoParameters("never %s %s", "a", static_cast<const char*>(nullptr));
        r += alertI18nWithThreeParameters("never", "a", "b", nullptr);
        return static_cast<int>(r + 100);
    });
    EXPECT_EQ(run.output, "plain % text\nCannot open the file /a b.\nx and y\n1-2-3\n");
    EXPECT_EQ(run.result, 100 + 4 - 4);
}

TEST(CliAlert, FormatWarningKeepsTrailingBlank) {
    const ChildRun run = runInChild("", [] {
        showFormatWarning("/conf/mgconf.txt", 12);
        return 0;
    });
    EXPECT_EQ(run.output, "Warning: The format of file /conf/mgconf.txt is error in line 12. \n");
}

TEST(CliGetAnswer, TakesFirstCharacterOfEachWholeLine) {
    // 600 characters: the rest of an overlong line is not the next answer.
    const std::string input = "yes\n\nN\n" + std::string(600, 'x') + "y\nq";
    const ChildRun run = runInChild(input, [] {
        const std::string got = {getAnswer(), getAnswer(), getAnswer(), getAnswer(),
                                 getAnswer(), getAnswer(), getAnswer()};
        return got == std::string("y\nNxqnn") ? 0 : 1;
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.output, "");
}

TEST(CliAskYesNo, RepeatsUntilLowerCaseYOrN) {
    const ChildRun run = runInChild("Y\n\nyes please\n", [] { return askYesNo("Go? [y/n]"); });
    EXPECT_EQ(run.output, "Go? [y/n]Go? [y/n]Go? [y/n]");
    EXPECT_EQ(run.result, 'y');

    const ChildRun no = runInChild("N\nnope\ny\n", [] { return askYesNo("Go? [y/n]"); });
    EXPECT_EQ(no.output, "Go? [y/n]Go? [y/n]");
    EXPECT_EQ(no.result, 'n');
}

TEST(CliAskYesNo, EndOfInputIsNoAndSilentIsYes) {
    const ChildRun eof = runInChild("Y\n", [] { return askYesNo("Go? "); });
    EXPECT_EQ(eof.output, "Go? Go? ");
    EXPECT_EQ(eof.result, 'n');

    const ChildRun quiet = runInChild("n\n", [] {
        silent = 1;
        return askYesNo("Go? ");
    });
    EXPECT_EQ(quiet.output, "");
    EXPECT_EQ(quiet.result, 'y');
}

TEST(CliPrompts, EachPromptIsAskedOnce) {
    const ChildRun run = runInChild("n\ny\ny\n", [] {
        const int first = showWarning();
        const int second = showWarning();
        const int service = showServiceWarning();
        const int serviceAgain = showServiceWarning();
        return first * 1000 + second * 100 + service * 10 + serviceAgain;
    });
    EXPECT_EQ(run.output, std::string(kShared) + kNoChanges + kService);
    EXPECT_EQ(run.result, 11);
}

TEST(CliPrompts, YesToNamedPromptSettlesTheUnnamedOne) {
    const ChildRun run = runInChild("Y\ny\nn\n", [] {
        const int named = showWarning2("/share");
        const int unnamed = showWarning();
        const int service = showServiceWarning();
        return named * 100 + unnamed * 10 + service;
    });
    EXPECT_EQ(run.output, std::string(kShared2) + kShared2 + kService + kNoChanges);
    EXPECT_EQ(run.result, 110);
}

TEST(CliPrompts, NoToNamedPromptLeavesTheUnnamedOneOpen) {
    const ChildRun run = runInChild("n\ny\n", [] {
        const int named = showWarning2("/share");
        const int unnamed = showWarning();
        const int namedAgain = showWarning2("/other");
        return named * 100 + unnamed * 10 + namedAgain;
    });
    EXPECT_EQ(run.output, std::string(kShared2) + kNoChanges + kShared);
    EXPECT_EQ(run.result, 10);
}

TEST(CliPrompts, SilentAnswersYesWithoutOutput) {
    const ChildRun run = runInChild("n\nn\nn\n", [] {
        silent = 1;
        return showWarning2("/share") * 100 + showWarning() * 10 + showServiceWarning();
    });
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.result, 111);
}

TEST(CliPrompts, EndOfInputAnswersNo) {
    const ChildRun run = runInChild("", [] { return showServiceWarning() + 7; });
    EXPECT_EQ(run.output, std::string(kService) + kNoChanges);
    EXPECT_EQ(run.result, 7);
}

TEST(CliUsage, UnknownSelectorsPrintNothing) {
    const ChildRun run = runInChild("", [] {
        for (int type : {-1, 0, 1, 5, 7, 11, 13}) {
            usage(static_cast<UsageText>(type));
        }
        return 0;
    });
    EXPECT_EQ(run.output, "");
    const ChildRun nine = runInChild("", [] {
        usage(UsageText::Unsetmghost);
        return 0;
    });
    EXPECT_EQ(nine.output, "\nUsage: orvconfig unsetmghost [-f]\n");
}

}  // namespace
}  // namespace orv
