// The in-place line rewriters: what each variant writes, what it prints and leaves on
// disk when something fails, and the safety rules of every rewrite (no link followed at
// the ".tmp", no data lost on a failed write, no write for a no-op, no wait on a FIFO).
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <string>
#include <vector>

#include "text/line_reader.hpp"
#include "text/rewrite.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using namespace std::string_literals;
using Primitive = int (*)(const std::string&, const std::string&, const std::string&);

struct EditCase {
    const char* name;
    Primitive edit;
    std::string before;
    std::string key;
    std::string value;
    std::string after;
};

class TextRewrite : public test::TempDirTest {
  protected:
    // Runs a primitive in a child and returns what it printed; its result goes to `result`.
    test::ChildRun runPrimitive(Primitive edit, const std::string& file, const std::string& key,
                                const std::string& value) {
        return test::runInChild("", [&] {
            ::alarm(10);
            return edit(file, key, value) & 0xff;
        });
    }
    static constexpr int kFailed = 0xff;  // -1 as the child's exit status
};

TEST_F(TextRewrite, WhatEachVariantWrites) {
    const std::string big(1 << 20, 'b');
    const std::string wide(5000, 'w');
    const std::vector<EditCase> cases = {
        {"replaceString replaces comments too", replaceString, "A=1\n#A=0\nXA=2\n", "A=", "A=5",
         "A=5\nA=5\nA=5\n"},
        {"without comment keeps comments", replaceStringWithoutComment, "A=1\n#A=0\nXA=2\n",
         "A=", "A=5", "A=5\n#A=0\nA=5\n"},
        {"empty value deletes lines", replaceString, "A=1\n#A=0\nB=2\n", "A=", "", "B=2\n"},
        {"absent key appended", replaceString3, "A=1\nB=2", "C=", "C=3", "A=1\nB=2\nC=3\n"},
        {"every match replaced, nothing appended", replaceString3, "A=1\nB=2\nA=3\n", "A=", "A=9",
         "A=9\nB=2\nA=9\n"},
        {"empty value leaves empty lines", replaceString3, "A=1\nB=2\n", "A=", "", "\nB=2\n"},
        {"empty value appends nothing", replaceString3, "B=2\n", "A=", "", "B=2\n"},
        {"appended value loses trailing blanks", replaceString3, "B=2\n", "C=", "C=3 \t ",
         "B=2\nC=3\n"},
        {"appended one-word value with blanks is lost", replaceString3, "B=2\n", "C", "x  ",
         "B=2\n"},
        {"appended to an empty file", replaceString3, "", "A=", "A=1", "A=1\n"},
        {"first occurrence substituted", replaceStringInFile, "PATH=TOKEN/bin:TOKEN/lib\nO=1\n",
         "TOKEN", "/opt/x", "PATH=/opt/x/bin:TOKEN/lib\nO=1\n"},
        {"empty value removes the occurrence", replaceStringInFile, "A=TOKEN/x\n", "TOKEN", "",
         "A=/x\n"},
        {"dollar value refused untouched", replaceStringInFile, "A\tTOKEN  \nB", "TOKEN", "$HOME/x",
         "A\tTOKEN  \nB"},
        {"leading blanks dropped everywhere", replaceStringWithoutComment, "   KEY=1\n  # KEY=1\n",
         "OTHER=", "OTHER=2", "KEY=1\n# KEY=1\n"},
        {"without comment: empty value", replaceStringWithoutComment, "A=1\n # A=1\nB=2\n",
         "A=", "", "\n# A=1\nB=2\n"},
        {"tabs and trailing blanks folded", replaceString, "A=1\tB   \nK=1\n", "K=", "K=2",
         "A=1 B\nK=2\n"},
        {"tabs folded in a value", replaceString, "K=1\n", "K=", "K=a\tb ", "K=a b\n"},
        {"value of two lines", replaceString, "K=1\n", "K=", "K=1\nL=2", "K=1\nL=2\n"},
        {"final newline added", replaceString, "A=1\nB=2", "A=", "A=0", "A=0\nB=2\n"},
        {"CRLF endings", replaceString, "A=1\r\nB=2\r\n", "B=", "B=5", "A=1\nB=5\n"},
        {"NUL bytes kept", replaceString, "A\0B=1\nK=1\n"s, "K=", "K=2", "A\0B=1\nK=2\n"s},
        {"last line of one word and blanks lost", replaceString, "A=1\nx   ", "A=", "A=2", "A=2\n"},
        {"blank lines keep one blank", replaceString, "A=1\n   \n\n", "A=", "A=2", "A=2\n \n\n"},
        {"empty key matches every line", replaceString, "a\nb\n", "", "z", "z\nz\n"},
        {"5000-character line replaced", replaceString, "A=1\nK=" + wide + "\n", "K=", "K=2",
         "A=1\nK=2\n"},
        {"5000-character value", replaceString3, "A=1\n", "K=", "K=" + wide,
         "A=1\nK=" + wide + "\n"},
        {"1 MB line kept", replaceStringWithoutComment, "K=1\n" + big + "\n", "K=", "K=2",
         "K=2\n" + big + "\n"},
    };
    for (const EditCase& c : cases) {
        const std::string file = write("orv.conf", c.before);
        EXPECT_EQ(c.edit(file, c.key, c.value), 1) << c.name;
        EXPECT_EQ(read(file), c.after) << c.name;
        EXPECT_FALSE(exists(file + ".tmp")) << c.name;
    }
}

TEST_F(TextRewrite, ServiceChangesAreNeverMade) {
    const std::string file = write("svc", "A=1\t\n");
    EXPECT_EQ(changeService(file, "A=", "A=2"), 0);
    EXPECT_EQ(read(file), "A=1\t\n");
}

TEST_F(TextRewrite, UnreadableFilesAreReportedAndLeaveNoTemporaryFile) {
    const std::string fifo = path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& file : {path("missing"), dir_, fifo}) {
        for (Primitive edit :
             {replaceString, replaceString3, replaceStringInFile, replaceStringWithoutComment}) {
            const test::ChildRun run = runPrimitive(edit, file, "A=", "A=1");
            EXPECT_EQ(run.result, kFailed) << file;
            EXPECT_EQ(run.output, "Cannot open file " + file + ".\n");
            EXPECT_FALSE(exists(file + ".tmp")) << file;
        }
    }
}

TEST_F(TextRewrite, LinkAtTheTemporaryPathIsNeverFollowed) {
    // Two variants name the file in the message, two the ".tmp".
    struct Case {
        Primitive edit;
        bool namesTmp;
    };
    const std::vector<Case> cases = {{replaceString, false},
                                     {replaceString3, true},
                                     {replaceStringInFile, true},
                                     {replaceStringWithoutComment, false}};
    for (const Case& c : cases) {
        const std::string file = write("orv.conf", "A=1\n");
        const std::string target = write("victim", "precious\n");
        ASSERT_EQ(::symlink(target.c_str(), (file + ".tmp").c_str()), 0);
        const test::ChildRun run = runPrimitive(c.edit, file, "A=", "A=2");
        EXPECT_EQ(run.result, kFailed);
        EXPECT_EQ(run.output, "Cannot open file " + (c.namesTmp ? file + ".tmp" : file) + ".\n");
        EXPECT_EQ(read(file), "A=1\n");
        EXPECT_EQ(read(target), "precious\n");
        ASSERT_EQ(::unlink((file + ".tmp").c_str()), 0);  // the link itself is left alone
    }
    // A dangling link does not create its target either.
    const std::string file = write("orv.conf", "A=1\n");
    ASSERT_EQ(::symlink(path("created").c_str(), (file + ".tmp").c_str()), 0);
    EXPECT_EQ(runPrimitive(replaceString, file, "A=", "A=2").result, kFailed);
    EXPECT_FALSE(exists(path("created")));
}

TEST_F(TextRewrite, FileThatCannotBeWrittenIsReportedAndKeptAsItWas) {
    for (Primitive edit :
         {replaceString, replaceString3, replaceStringInFile, replaceStringWithoutComment}) {
        const std::string file = write("orv.conf", "A=1\n");
        ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
        const test::ChildRun run = test::runInChild("", [&] {
            if (!dropPrivileges()) return 99;
            return edit(file, "A=", "A=2") & 0xff;
        });
        EXPECT_EQ(run.result, kFailed);
        EXPECT_EQ(run.output, "Cannot open file " + file + ".\n");
        EXPECT_EQ(read(file), "A=1\n");
        EXPECT_FALSE(exists(file + ".tmp"));
        ASSERT_EQ(::unlink(file.c_str()), 0);
    }
}

TEST_F(TextRewrite, FailedWriteOfTheTemporaryFileLosesNothing) {
    const std::string original = "A=1\n#\tkeep   me\nB=2";
    const std::string file = write("orv.conf", original);
    const test::ChildRun run = test::runInChild("", [&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {1000, 1000};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 99;
        return replaceString(file, "A=", "A=" + std::string(5000, 'v')) & 0xff;
    });
    EXPECT_EQ(run.result, kFailed);
    EXPECT_EQ(run.output, "Cannot write file " + file + ".tmp.\n");
    EXPECT_EQ(read(file), original);
    EXPECT_FALSE(exists(file + ".tmp"));
}

TEST_F(TextRewrite, NoOpEditLeavesTheFileAlone) {
    const std::string file = write("orv.conf", "A=1\n# note\nB=2\n");
    ageFile(file);
    const struct stat before = statOf(file);
    EXPECT_EQ(replaceString(file, "C=", "C=3"), 1);
    EXPECT_EQ(replaceString(file, "A=", "A=1"), 1);
    EXPECT_EQ(replaceStringWithoutComment(file, "B=", "B=2"), 1);
    const struct stat after = statOf(file);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_FALSE(exists(file + ".tmp"));

    // Folding a tab is a change: the file is written.
    const std::string tabbed = write("tabbed", "A=1\tx\n");
    ageFile(tabbed);
    const struct stat old = statOf(tabbed);
    EXPECT_EQ(replaceString(tabbed, "C=", "C=3"), 1);
    EXPECT_EQ(read(tabbed), "A=1 x\n");
    EXPECT_NE(statOf(tabbed).st_mtim.tv_sec, old.st_mtim.tv_sec);
}

TEST_F(TextRewrite, EditKeepsTheInodeLinksAndMode) {
    const std::string file = write("orv.conf", "A=1\n");
    ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
    const std::string hardLink = path("hard");
    ASSERT_EQ(::link(file.c_str(), hardLink.c_str()), 0);
    const std::string softLink = path("soft");
    ASSERT_EQ(::symlink(file.c_str(), softLink.c_str()), 0);
    const ino_t inode = statOf(file).st_ino;

    EXPECT_EQ(replaceString(softLink, "A=", "A=2"), 1);
    EXPECT_EQ(read(hardLink), "A=2\n");
    EXPECT_EQ(statOf(file).st_ino, inode);
    EXPECT_EQ(statOf(file).st_mode & 07777, 0640u);
    struct stat st {};
    ASSERT_EQ(::lstat(softLink.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    EXPECT_FALSE(exists(softLink + ".tmp"));
}

TEST_F(TextRewrite, GenericEditorKeepsStateAndAppendsAtTheEnd) {
    const std::string file = write("list", "a\n\tb \n\nc");
    int number = 0;
    const LineEditor edit = [&number](const std::string& line, std::string& out) {
        out += std::to_string(++number) + ":" + line + "\n";
    };
    const auto finish = [&number](std::string& out) {
        out += "total " + std::to_string(number) + "\t ";
    };
    EXPECT_EQ(rewriteLines(file, edit, {}, finish), RewriteStatus::Ok);
    EXPECT_EQ(read(file), "1:a\n2: b\n3:\n4:c\ntotal 4\n");
    EXPECT_EQ(rewriteLines(path("missing"), edit), RewriteStatus::ReadFailed);
    EXPECT_FALSE(exists(path("missing")));
}

TEST_F(TextRewrite, GenericEditorReportsWhichOpenFailed) {
    const auto copy = [](const std::string& line, std::string& out) { out += line + "\n"; };
    const std::string file = write("f", "a\t\n");
    ASSERT_EQ(::symlink(path("nowhere").c_str(), (file + ".tmp").c_str()), 0);
    EXPECT_EQ(rewriteLines(file, copy), RewriteStatus::TmpOpenFailed);
    ASSERT_EQ(::unlink((file + ".tmp").c_str()), 0);

    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    for (const bool keep : {false, true}) {
        const test::ChildRun run = test::runInChild("", [&] {
            if (!dropPrivileges()) return 99;
            return static_cast<int>(rewriteLines(file, copy, {}, nullptr, keep));
        });
        EXPECT_EQ(run.result, static_cast<int>(RewriteStatus::FileOpenFailed));
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(read(file), "a\t\n");
        EXPECT_EQ(exists(file + ".tmp"), keep);
        if (keep) {
            EXPECT_EQ(read(file + ".tmp"), "a\n");
        }
    }
}

// The search-based rewrite must leave exactly the bytes of the line-by-line rewrite with the
// same editor, on generated texts that mix what the reader normalises and on pinned ones.
class RewriteHolding : public test::TempDirTest {
  protected:
    // An editor of the kind the search-based rewrite is for: lines that hold a key are
    // replaced (or dropped when the replacement is empty), the rest written as they are.
    static LineEditor replacing(const std::vector<std::string>& keys,
                                const std::vector<std::string>& values) {
        return [keys, values](const std::string& line, std::string& out) {
            const std::string* current = &line;
            for (std::size_t i = 0; i < keys.size(); ++i) {
                if (current->find(keys[i]) != std::string::npos) current = &values[i];
            }
            if (current != &line && current->empty()) return;
            out += *current;
            out.push_back('\n');
        };
    }

    // Runs both rewrites on copies of content; returns the search-based result.
    std::string both(const std::string& content, const std::vector<std::string>& keys,
                     const std::vector<std::string>& values) {
        const std::string a = write("a.conf", content);
        const std::string b = write("b.conf", content);
        const LineEditor edit = replacing(keys, values);
        EXPECT_EQ(rewriteLines(a, edit, {keys}), RewriteStatus::Ok);
        EXPECT_EQ(rewriteLines(b, edit), RewriteStatus::Ok);
        // What a rewrite has always meant: every line read, edited, and the result read back.
        LineReader in(content);
        std::string line, edited;
        for (int count = 0; getNextLineD_(in, count, 0, line);) edit(line, edited);
        const std::string result = read(a);
        EXPECT_EQ(result, normalisedLines(edited)) << "content: " << testing::PrintToString(content);
        EXPECT_EQ(result, read(b)) << "content: " << testing::PrintToString(content);
        EXPECT_FALSE(exists(a + ".tmp"));
        return result;
    }
};

// Keys K1 and K2 are searched one by one; the keys of the second set share "_PORT" and
// are found with one search for it (lines with "_PORT" alone must stay as they are).
TEST_F(RewriteHolding, GeneratedTextsComeOutAsFromTheLineByLineRewrite) {
    const std::vector<std::string> pieces = {
        "K1=1",  "K2",       "xK1y",     "# K2 note",   " ",     "  ",       "\t",
        "\r",    "a",        "b c",      "  ind",       "K1K2",  "\0"s,      "trail ",
        "\n",    "\n",       "\n",       "\n",          "_PORT", "A_PORT=1", "B_PORT",
        "A_POR", "#B_PORT ", "xA_PORTy", "A_PORTB_PORT"};
    const std::vector<std::vector<std::string>> keySets = {{"K1", "K2"}, {"A_PORT", "B_PORT"}};
    const std::vector<std::vector<std::string>> valueSets = {
        {"K1=9", "K2=8"},        // plain replacements
        {"", "K2=8"},            // a dropped line
        {"K1=\t9 ", "K2=8"},     // a replacement the read-back must fold
        {"K2 now", "K2=8"},      // the first replacement holds the second key
        {"two\nlines", "K2=8"},  // a replacement that becomes two lines
        {"B_PORT=1", "X"},       // the first replacement holds the second port key
    };
    std::mt19937 rnd(20261122);
    for (int round = 0; round < 600; ++round) {
        std::string content;
        const int n = static_cast<int>(rnd() % 30);
        for (int i = 0; i < n; ++i) content += pieces[rnd() % pieces.size()];
        if (rnd() % 4 != 0) content += "\n";
        both(content, keySets[static_cast<std::size_t>(round) % keySets.size()],
             valueSets[static_cast<std::size_t>(round / 2) % valueSets.size()]);
        if (HasFailure()) return;
    }
}

TEST_F(RewriteHolding, PinnedCases) {
    EXPECT_EQ(both("A=1\nB=2\nA=3\n", {"A="}, {"A=5"}), "A=5\nB=2\nA=5\n");
    // A text not in the reader's form is edited line by line: tab folded, blanks dropped.
    EXPECT_EQ(both("A=1\t\nB=2  \nC", {"A="}, {"A=5"}), "A=5\nB=2\nC\n");
    EXPECT_EQ(both("a \nA=1\n", {"A="}, {"A=5"}), "a\nA=5\n");
    EXPECT_EQ(both(" \nA=1\r\n", {"A="}, {"A=5"}), " \nA=5\n");
    // A needle with a newline never matches a line; an empty needle matches every line.
    EXPECT_EQ(both("A=1\nB=2\n", {"1\nB"}, {"X"}), "A=1\nB=2\n");
    EXPECT_EQ(both("A=1\nB=2\n", {""}, {"X"}), "X\nX\n");
    EXPECT_EQ(both("", {"A="}, {"A=5"}), "");
    EXPECT_EQ(both("A=1\n\n \nA=1", {"A="}, {"A=5"}), "A=5\n\n \nA=5\n");
    // Many edited lines, and an edit on the last line.
    std::string many, expected;
    for (int i = 0; i < 600; ++i) {  // enough pieces to be joined before the writes
        // Appended piece by piece: g++ 12 at -O3 warns falsely (-Wrestrict) on "B" + string.
        const std::string n = std::to_string(i);
        many.append("B").append(n).append("\nA=").append(n).append("\n");
        expected.append("B").append(n).append("\nA=x\n");
    }
    EXPECT_EQ(both(many, {"A="}, {"A=x"}), expected);
    EXPECT_EQ(both("B\nA=1\n", {"A="}, {"A=x"}), "B\nA=x\n");
}

TEST_F(RewriteHolding, UnchangedTextIsNotWrittenAndFailuresAreStatuses) {
    const std::string file = write("same.conf", "A=5\nB=2\n");
    ageFile(file);
    const struct stat before = statOf(file);
    EXPECT_EQ(rewriteLines(file, replacing({"A="}, {"A=5"}), {{"A="}}), RewriteStatus::Ok);
    EXPECT_EQ(statOf(file).st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(statOf(file).st_mtim.tv_nsec, before.st_mtim.tv_nsec);

    EXPECT_EQ(rewriteLines(path("missing"), replacing({"A="}, {"A=5"}), {{"A="}}),
              RewriteStatus::ReadFailed);
    EXPECT_FALSE(exists(path("missing.tmp")));
    EXPECT_EQ(rewriteLines(dir_, replacing({"A="}, {"A=5"}), {{"A="}}),
              RewriteStatus::ReadFailed);
}

}  // namespace
}  // namespace orv
