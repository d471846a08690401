// The change-script interpreter: the line grammar, the operations the transcripts do not
// run, the warnings with their line numbers (counted from 1 in mgconf.txt, from 0 in the
// update scripts), the error flag, and the placeholders of the copies a run works on.
#include "fixture.hpp"
#include "mghost/change_script.hpp"

namespace orv {
namespace {

using namespace std::string_literals;
using Fields = std::vector<std::string>;

TEST(ChangeScript, LineGrammar) {
    using enum ScriptLineKind;
    using enum ScriptKind;
    const std::string op19(19, 'o'), op39(39, 'o'), big(10000, 'v');
    const struct {
        std::string line;
        ScriptKind script;
        ScriptLineKind kind;
        Fields fields{};  // of a parsed line: operation, first, second, third
    } rows[] = {
        {"", Copy, Malformed},
        {"", Update, Malformed},
        {"file|a|b", Copy, Malformed},
        {"file|a|b|", Copy, Parsed, {"file", "a", "b", ""}},
        {"file|a|b|yes|more|x", Copy, Parsed, {"file", "a", "b", "yes"}},
        {" file|a b|c |Y", Copy, Parsed, {" file", "a b", "c ", "Y"}},
        {"|||", Copy, Parsed, {"", "", "", ""}},
        {"file|/a#b|/c|y", Copy, Comment},
        {op19 + "|a|b|c", Copy, Parsed, {op19, "a", "b", "c"}},
        {op19 + "o|a|b|c", Copy, Malformed},
        {op39 + "|f|a|b", Copy, Malformed},
        {"file|" + big + "|" + big + "|" + big, Copy, Parsed, {"file", big, big, big}},
        {"file|a\0b|c|y"s, Copy, Parsed, {"file", "a\0b"s, "c", "y"}},
        {"replaceline|f", Update, Malformed},
        {"replaceline|f|", Update, Parsed, {"replaceline", "f", "", ""}},
        {"replaceline|f|K=", Update, Parsed, {"replaceline", "f", "", ""}},
        {"replaceline|f|K=|", Update, Parsed, {"replaceline", "f", "K=", ""}},
        {"replaceline|f|K=|K=a|b||c", Update, Parsed, {"replaceline", "f", "K=", "K=a|b||c"}},
        {"xml|f|URL|http://h/p#frag", Update, Comment},
        {op39 + "|f|a|b", Update, Parsed, {op39, "f", "a", "b"}},
        {op39 + "o|f|a|b", Update, Malformed},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(test::shown(row.line) + (row.script == Update ? " in an update script" : ""));
        const ScriptLine got = classifyScriptLine(row.line, row.script);
        EXPECT_EQ(got.kind, row.kind);
        if (row.kind == Parsed) {
            EXPECT_EQ((Fields{got.operation, got.first, got.second, got.third}), row.fields);
        }
    }
}

class ChangeScriptRun : public test::TempDirTest {
  protected:
    // Runs a script whose "%R" stand for the case's directory, in a child: its output, and
    // 0 or 1 for the error flag (9 when the interpreter fails).
    Ran run(int (*interpret)(const std::string&), std::string text) const {
        for (std::size_t at = text.find("%R"); at != std::string::npos; at = text.find("%R")) {
            text.replace(at, 2, dir_);
        }
        const std::string script = write("s.tmp", text);
        return inChild([&] { return interpret(script) == 0 ? -globalRnConfFileErrorFlag : 9; });
    }
    std::string warning(int line) const {
        return "Warning: The format of file " + path("s.tmp") + " is error in line " +
               std::to_string(line) + ". \n";
    }
};

// A file copy is read line by line (blanks folded) and keeps its mode; a directory is
// copied byte for byte.
TEST_F(ChangeScriptRun, Copies) {
    write("inst/orv.conf", "A=1\t\nB=2  \n");
    ::chmod(path("inst/orv.conf").c_str(), 0604);
    write("inst/tree/sub/x.xml", "<x>\t</x>");
    write("inst/old", "old");
    write("share/keep.conf", "mine\n");
    write("inst/keep.conf", "theirs\n");
    write("blocker", "a file\n");
    const std::string script =
        "file|%R/inst/orv.conf|%R/share/conf/orv.conf|y\n"
        "directory|%R/inst/tree|%R/share/tree|yes\n"
        "removefile|%R/inst/old||\n"
        "file|%R/inst/keep.conf|%R/share/keep.conf|N\n"
        "file|%R/inst/absent|%R/share/absent|y\n"
        "copyall|a|b|c\nbad line\nfile|x|y # note|z\n\nfile|a|b\n";
    EXPECT_RAN(run(mgConf, script), warning(6) + warning(7) + warning(9) + warning(10), 1);
    struct stat st {};
    ASSERT_EQ(::stat(path("share/conf/orv.conf").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0604U);
    EXPECT_EQ(read("share/conf/orv.conf"), "A=1\nB=2\n");
    EXPECT_EQ(read("share/tree/sub/x.xml"), "<x>\t</x>");
    EXPECT_EQ(read("share/keep.conf"), "mine\n");
    EXPECT_FALSE(exists(path("inst/old")));
    EXPECT_FALSE(exists(path("share/absent")));
    // An unknown operation alone leaves the flag; a failed copy ends the script.
    EXPECT_RAN(run(mgConf, "File|a|b|c\n"), warning(1), 0);
    const std::string blocked =
        "file|%R/inst/keep.conf|%R/blocker/a|y\nfile|%R/inst/keep.conf|%R/b|y\n";
    EXPECT_RAN(run(mgConf, blocked), "", 9);
    EXPECT_FALSE(exists(path("b")));
}

TEST_F(ChangeScriptRun, Updates) {
    write("f3", "PATH=TOKEN/bin:TOKEN/lib\n");
    write("f5", "<p>\n\t<env name=\"OSC_PORT\">7000</env>\n</p>\n");
    write("f6", "K=old\n");
    ::mkdir(path("adir").c_str(), 0755);
    const std::string script =
        "replacestringinfile|%R/f3|TOKEN|/opt/x\n"
        "xml|%R/f5|OSC_PORT|9000\n"
        "changeServiceAccount|%R/f6|K=|K=new\n"
        "replaceline|%R/absent|A=|A=5\n";
    EXPECT_RAN(run(mgUpdate, script), "", 0);
    EXPECT_EQ(read("f3"), "PATH=/opt/x/bin:TOKEN/lib\n");
    EXPECT_EQ(read("f5"), "<p>\n <env name=\"OSC_PORT\">9000</env>\n</p>\n");
    EXPECT_EQ(read("f6"), "K=old\n");
    EXPECT_FALSE(exists(path("absent")));
    const std::string malformed =
        "oops\nreplaceline|%R/f6|K=|K=a|b\n# a comment|x|y\nfrob|%R/f6|K=|K=3\n\ntoo|few\n";
    EXPECT_RAN(run(mgUpdate, malformed), warning(0) + warning(3) + warning(4) + warning(5), 1);
    EXPECT_RAN(run(mgUpdate, "Replaceline|%R/f6|K=|K=2\n"), warning(0), 0);
    EXPECT_EQ(read("f6"), "K=a|b\n");
    // A failed edit, and the next one.
    const std::string failed = "replaceline|%R/adir|KEY=|KEY=1\nreplaceline|%R/f6|K=|K=2\n";
    const std::string adir = path("adir");
    EXPECT_RAN(run(mgUpdate, failed),
               "Cannot open file " + adir + ".\nSet KEY= in " + adir + " failed.\n", 1);
    EXPECT_EQ(read("f6"), "K=2\n");
    // A missing script (mgUpdate's report: the missing update scripts of mghost.t).
    EXPECT_RAN(inChild([&] { return mgConf(path("none")); }),
               "Cannot open the file " + path("none") + ".\n", 255);
}

// Placeholders are filled (a value forming the placeholder again with its neighbours is
// expanded again, but never for ever), blank lines dropped, comments kept; a script that
// is missing is reported and gets no copy.
TEST_F(ChangeScriptRun, PlaceholdersInTheCopies) {
    // The run copying a mgconf.txt of this line, and the copy.
    const auto copyOf = [this](const std::string& top, const std::string& share,
                               const std::string& cluster, const std::string& line) {
        write("d/mgconf.txt", line);
        write("d/mgupdate.txt", "");
        const Ran run = inChild([&] {
            ::setenv("ORV_CONFDIR", "/conf/dir", 1);
            return copyConfigAndReplace(path("d"), top, share, cluster, "/head");
        });
        const std::string copy = read("d/mgconf.txt.tmp");
        deleteTmpConfig(path("d"));
        return std::pair{run, copy};
    };
    const auto [firstRun, firstCopy] =
        copyOf("/inst", "/sh", "",
               "file|@INSTALLDIR@/a|@SHARETOP@/a|y\n \t \n"
               "# note\t@SHARETOP@  \n"
               "x|@CLUSTERNAME@|@HEADTOPDIR@|@ORV_CONFDIR@@ORV_CONFDIR@");
    EXPECT_RAN(firstRun, "Cannot open the file " + path("d/mgmasterupdate.txt") + ".\n", 0);
    EXPECT_EQ(firstCopy,
              "file|/inst/a|/sh/a|y\n# note /sh\nx|@CLUSTERNAME@|/head|/conf/dir/conf/dir\n");
    EXPECT_FALSE(exists(path("d/mgmasterupdate.txt.tmp")));
    write("d/mgmasterupdate.txt", "");
    const struct {
        std::string top, share, cluster, line, copy;
    } rows[] = {
        {"/i", "/s", "cl1", "a|@CLUSTERNAME@/@CLUSTERNAME@|b|c\n", "a|cl1/cl1|b|c\n"},
        {"@INSTALLDIR", "/s", "", "@INSTALLDIR@@|x\n", "@INSTALLDIR|x\n"},
        {"/i", "/s/@SHARETOP@", "", "@SHARETOP@|@SHARETOP@\n", "/s/@SHARETOP@|/s/@SHARETOP@\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const auto [run, copy] = copyOf(row.top, row.share, row.cluster, row.line);
        EXPECT_RAN(run, "", 0);
        EXPECT_EQ(copy, row.copy);
    }
    const auto [grownRun, grown] = copyOf("/i", "SHARETOP@@SHARETOP", "", "@@SHARETOP@\n");
    EXPECT_RAN(grownRun, "", 0);
    EXPECT_EQ(grown.back(), '\n');
    EXPECT_LT(grown.size(), 4093U);
}

}  // namespace
}  // namespace orv
