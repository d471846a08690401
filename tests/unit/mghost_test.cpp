// The change-script interpreter: the line grammar, the operations the transcripts do not
// run, the warnings with their line numbers (counted from 1 in mgconf.txt, from 0 in the
// update scripts), the error flag, and the placeholders of the copies a run works on.
#include "fixture.hpp"
#include "mghost/change_script.hpp"

namespace orv {
namespace {

TEST(ChangeScript, LineGrammar) {
    const std::string op19(19, 'o'), op39(39, 'o'), big(10000, 'v');
    const ScriptLineKind P = ScriptLineKind::Parsed, M = ScriptLineKind::Malformed, C = ScriptLineKind::Comment;
    const struct {
        std::string line;
        bool isUpdate;
        ScriptLineKind kind;
        std::string fields{};  // of a parsed line, joined by '|'
    } cases[] = {
        {"", false, M}, {"", true, M}, {"file|a|b", false, M}, {"file|a|b|", false, P, "file|a|b|"},
        {"file|a|b|yes|more|x", false, P, "file|a|b|yes"}, {" file|a b|c |Y", false, P, " file|a b|c |Y"}, {"|||", false, P, "|||"},
        {"file|/a#b|/c|y", false, C}, {"#file|a|b|y", false, C}, {op19 + "|a|b|c", false, P, op19 + "|a|b|c"}, {op19 + "o|a|b|c", false, M},
        {op39 + "|f|a|b", false, M}, {"file|" + big + "|" + big + "|" + big, false, P, "file|" + big + "|" + big + "|" + big},
        {std::string("file|a\0b|c|y", 12), false, P, std::string("file|a\0b|c|y", 12)}, {"replaceline|f", true, M},
        {"replaceline|f|", true, P, "replaceline|f||"}, {"replaceline|f|K=", true, P, "replaceline|f||"},
        {"replaceline|f|K=|", true, P, "replaceline|f|K=|"}, {"replaceline|f|K=|K=a|b||c", true, P, "replaceline|f|K=|K=a|b||c"},
        {"xml|f|URL|http://h/p#frag", true, C}, {op39 + "|f|a|b", true, P, op39 + "|f|a|b"}, {op39 + "o|f|a|b", true, M},
    };
    for (const auto& c : cases) {
        ScriptLine out;
        EXPECT_EQ(classifyScriptLine(c.line, c.isUpdate, out), c.kind) << c.line.substr(0, 50) << c.isUpdate;
        EXPECT_EQ(parseScriptLine(c.line, c.isUpdate, out), c.kind == P) << c.line.substr(0, 50);
        EXPECT_EQ(c.kind == P ? out.operation + "|" + out.first + "|" + out.second + "|" + out.third : "", c.fields);
    }
}

class ChangeScriptRun : public test::TempDirTest {
  protected:
    // Runs a script whose "%R" stand for the case's directory, in a child: its output, then
    // [0] or [1] for the error flag ([9] when the interpreter fails).
    std::string run(int (*interpret)(const std::string&), std::string text) const {
        for (std::size_t at = text.find("%R"); at != std::string::npos; at = text.find("%R")) text.replace(at, 2, dir_);
        const std::string script = write("s.tmp", text);
        return inChild([&] { return interpret(script) == 0 ? -globalRnConfFileErrorFlag : 9; });
    }
    std::string warning(int line) const { return "Warning: The format of file " + path("s.tmp") + " is error in line " + std::to_string(line) + ". \n"; }
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
    EXPECT_EQ(run(mgConf, "file|%R/inst/orv.conf|%R/share/conf/orv.conf|y\ndirectory|%R/inst/tree|%R/share/tree|yes\n"
                          "removefile|%R/inst/old||\nfile|%R/inst/keep.conf|%R/share/keep.conf|N\nfile|%R/inst/absent|%R/share/absent|y\n"
                          "copyall|a|b|c\nbad line\nfile|x|y # note|z\n\nfile|a|b\n"),
              warning(6) + warning(7) + warning(9) + warning(10) + "[1]");
    struct stat st {};
    EXPECT_EQ(::stat(path("share/conf/orv.conf").c_str(), &st) == 0 ? st.st_mode & 07777 : 0, 0604u);
    EXPECT_EQ(read("share/conf/orv.conf") + read("share/tree/sub/x.xml") + read("share/keep.conf") +
                  std::to_string(exists(path("inst/old")) || exists(path("share/absent"))), "A=1\nB=2\n<x>\t</x>mine\n0");
    EXPECT_EQ(run(mgConf, "File|a|b|c\n"), warning(1) + "[0]");  // an unknown operation alone leaves the flag
    EXPECT_EQ(run(mgConf, "file|%R/inst/keep.conf|%R/blocker/a|y\nfile|%R/inst/keep.conf|%R/b|y\n"), "[9]");  // a failed copy ends it
    EXPECT_FALSE(exists(path("b")));
}

TEST_F(ChangeScriptRun, Updates) {
    write("f3", "PATH=TOKEN/bin:TOKEN/lib\n");
    write("f5", "<p>\n\t<env name=\"OSC_PORT\">7000</env>\n</p>\n");
    write("f6", "K=old\n");
    ::mkdir(path("adir").c_str(), 0755);
    EXPECT_EQ(run(mgUpdate, "replacestringinfile|%R/f3|TOKEN|/opt/x\nxml|%R/f5|OSC_PORT|9000\nchangeServiceAccount|%R/f6|K=|K=new\n"
                            "replaceline|%R/absent|A=|A=5\n"),
              "[0]");
    EXPECT_EQ(read("f3") + read("f5") + read("f6") + std::to_string(exists(path("absent"))),
              "PATH=/opt/x/bin:TOKEN/lib\n<p>\n <env name=\"OSC_PORT\">9000</env>\n</p>\nK=old\n0");
    EXPECT_EQ(run(mgUpdate, "oops\nreplaceline|%R/f6|K=|K=a|b\n# a comment|x|y\nfrob|%R/f6|K=|K=3\n\ntoo|few\n"),
              warning(0) + warning(3) + warning(4) + warning(5) + "[1]");
    EXPECT_EQ(run(mgUpdate, "Replaceline|%R/f6|K=|K=2\n"), warning(0) + "[0]");
    EXPECT_EQ(read("f6"), "K=a|b\n");
    EXPECT_EQ(run(mgUpdate, "replaceline|%R/adir|KEY=|KEY=1\nreplaceline|%R/f6|K=|K=2\n"),  // a failed edit, and the next one
              "Cannot open file " + path("adir") + ".\nSet KEY= in " + path("adir") + " failed.\n[1]");
    EXPECT_EQ(read("f6"), "K=2\n");
    EXPECT_EQ(inChild([&] { return mgConf(path("none")) + mgUpdate(path("none")); }),
              "Cannot open the file " + path("none") + ".\nCannot open the file " + path("none") + ".\n[254]");
}

// Placeholders are filled (a value forming the placeholder again with its neighbours is
// expanded again, but never for ever), blank lines dropped, comments kept; a script that
// is missing is reported and gets no copy.
TEST_F(ChangeScriptRun, PlaceholdersInTheCopies) {
    const auto copyOf = [this](const std::string& top, const std::string& share, const std::string& cluster, const std::string& line) {
        write("d/mgconf.txt", line);
        write("d/mgupdate.txt", "");
        const std::string run = inChild([&] {
            ::setenv("ORV_CONFDIR", "/conf/dir", 1);
            return copyConfigAndReplace(path("d"), top, share, cluster, "/head");
        });
        const std::string text = read("d/mgconf.txt.tmp");
        deleteTmpConfig(path("d"));
        return run + text;
    };
    EXPECT_EQ(copyOf("/inst", "/sh", "", "file|@INSTALLDIR@/a|@SHARETOP@/a|y\n \t \n# note\t@SHARETOP@  \nx|@CLUSTERNAME@|@HEADTOPDIR@|@ORV_CONFDIR@@ORV_CONFDIR@"),
              "Cannot open the file " + path("d/mgmasterupdate.txt") + ".\n[0]file|/inst/a|/sh/a|y\n# note /sh\nx|@CLUSTERNAME@|/head|/conf/dir/conf/dir\n");
    EXPECT_FALSE(exists(path("d/mgmasterupdate.txt.tmp")));
    write("d/mgmasterupdate.txt", "");
    EXPECT_EQ(copyOf("/i", "/s", "cl1", "a|@CLUSTERNAME@/@CLUSTERNAME@|b|c\n"), "[0]a|cl1/cl1|b|c\n");
    EXPECT_EQ(copyOf("@INSTALLDIR", "/s", "", "@INSTALLDIR@@|x\n"), "[0]@INSTALLDIR|x\n");
    EXPECT_EQ(copyOf("/i", "/s/@SHARETOP@", "", "@SHARETOP@|@SHARETOP@\n"), "[0]/s/@SHARETOP@|/s/@SHARETOP@\n");
    const std::string grown = copyOf("/i", "SHARETOP@@SHARETOP", "", "@@SHARETOP@\n");
    EXPECT_EQ(grown.substr(0, 3) + grown.back() + std::to_string(grown.size() < 4096), "[0]\n1");
}

}  // namespace
}  // namespace orv
