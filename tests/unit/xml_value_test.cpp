// Element text of XML service profiles, found by a plain search for the setting's name:
// replacing it (including values split over lines) and reading it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "text/xml_value.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

class TextXml : public test::TempDirTest {
  protected:
    static constexpr int kFailed = 0xff;  // -1 as the child's exit status
};

TEST_F(TextXml, ReplacesTheTextAfterTheTag) {
    struct Case {
        const char* name;
        std::string before;
        std::string value;
        std::string after;
    };
    const std::string wide(5000, '7');
    const std::vector<Case> cases = {
        {"every matching line, blanks folded",
         "<profile>\n    <env name=\"OSC_PORT\">7000</env>\n\t<env name=\"OSC_PORT\">7001</env>  "
         "\n</profile>",
         "9000",
         "<profile>\n    <env name=\"OSC_PORT\">9000</env>\n <env name=\"OSC_PORT\">9000</env>\n"
         "</profile>\n"},
        {"comment and CDATA lines untouched",
         "<!-- <env name=\"OSC_PORT\">7000</env> -->\n<x><![CDATA[OSC_PORT>1<]]></x>\n", "9000",
         "<!-- <env name=\"OSC_PORT\">7000</env> -->\n<x><![CDATA[OSC_PORT>1<]]></x>\n"},
        {"empty element filled", "<env name=\"OSC_PORT\"></env>\n", "9000",
         "<env name=\"OSC_PORT\">9000</env>\n"},
        {"only the first occurrence on a line counts", "<a OSC_PORT=\"x\">1</a><b>OSC_PORT>2</b>\n",
         "9000", "<a OSC_PORT=\"x\">9000</a><b>OSC_PORT>2</b>\n"},
        {"no '>' after the tag: one is supplied; a shorter next line becomes empty",
         "<env name=\"OSC_PORT\"\n  >7000\n</env>\n<other>1</other>\n", "9000",
         "<env name=\"OSC_PORT\">9000\n\n</env>\n<other>1</other>\n"},
        {"self-closing element takes the value behind it", "<env name=\"OSC_PORT\" />\n<next/>\n",
         "9000", "<env name=\"OSC_PORT\" />9000\n\n"},
        {"old text dropped up to a '<' at or past the column",
         "<env name=\"OSC_PORT\">7000\n" + std::string(25, 'o') + "\n<x>" + std::string(30, 'y') +
             "\n" + std::string(34, 'z') + "</env>\n<next>1</next>\n",
         "9000", "<env name=\"OSC_PORT\">9000\n</env>\n<next>1</next>\n"},
        {"old text running to the end of the file is dropped",
         "<e OSC_PORT>7\nold text that is long\n", "9000", "<e OSC_PORT>9000\n"},
        {"long value", "<e>OSC_PORT>1</e>\n", wide, "<e>OSC_PORT>" + wide + "</e>\n"},
        {"value with blanks", "<e OSC_PORT>1</e>\n", "a  b\t", "<e OSC_PORT>a  b </e>\n"},
    };
    for (const Case& c : cases) {
        const std::string file = write("orvsc_conf.xml", c.before);
        EXPECT_EQ(replaceValueInXML(file, "OSC_PORT", c.value), 1) << c.name;
        EXPECT_EQ(read(file), c.after) << c.name;
        EXPECT_FALSE(exists(file + ".tmp")) << c.name;
    }
}

TEST_F(TextXml, AbsentTagLeavesTheFileUntouched) {
    const std::string file = write("sd.xml", "<env name=\"SD_PORT\">1</env>\n");
    ageFile(file);
    const struct stat before = statOf(file);
    EXPECT_EQ(replaceValueInXML(file, "OSC_PORT", "9000"), 1);
    EXPECT_EQ(read(file), "<env name=\"SD_PORT\">1</env>\n");
    EXPECT_EQ(statOf(file).st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_FALSE(exists(file + ".tmp"));
}

TEST_F(TextXml, ReadsTheValueOfTheLastMatchingLine) {
    struct Case {
        const char* name;
        std::string text;
        std::string value;
    };
    const std::vector<Case> cases = {
        {"last match wins", "<e name=\"P\">1</e>\n<e name=\"P\">22</e>\n", "22"},
        {"empty element", "<e name=\"P\"></e>\n", ""},
        {"no match", "<e name=\"Q\">1</e>\n", ""},
        {"comment skipped", "<e name=\"P\">1</e>\n<!-- <e name=\"P\">2</e> -->\n", "1"},
        {"value running past its line ends the search",
         "<e name=\"P\">12   \n<e name=\"P\">34</e>\n", "12"},
        {"tag without '>' keeps the earlier value and ends the search",
         "<e name=\"P\">1</e>\n<e name=\"P\"\n<e name=\"P\">3</e>\n", "1"},
        {"tabs inside the value read as blanks", "<e name=\"P\">a\tb</e>\n", "a b"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(getValueInXML(write("datanode.xml", c.text), "name=\"P\""), c.value) << c.name;
    }
}

TEST_F(TextXml, UnreadableFilesAreReported) {
    const std::string fifo = path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& file : {path("missing.xml"), dir_, fifo}) {
        const test::ChildRun replaced = test::runInChild("", [&] {
            ::alarm(10);
            return replaceValueInXML(file, "OSC_PORT", "9000") & 0xff;
        });
        EXPECT_EQ(replaced.result, kFailed) << file;
        EXPECT_EQ(replaced.output, "Cannot open file " + file + ".\n");
        EXPECT_FALSE(exists(file + ".tmp"));

        const test::ChildRun got = test::runInChild("", [&] {
            ::alarm(10);
            return getValueInXML(file, "OSC_PORT") ? 1 : 0;
        });
        EXPECT_EQ(got.result, 0) << file;
        EXPECT_EQ(got.output, "Cannot open file " + file + ".\n");
    }
}

TEST_F(TextXml, LinkAtTheTemporaryPathIsNeverFollowed) {
    const std::string file = write("rs.xml", "<e OSC_PORT>1</e>\n");
    const std::string target = write("victim", "precious\n");
    ASSERT_EQ(::symlink(target.c_str(), (file + ".tmp").c_str()), 0);
    const test::ChildRun run =
        test::runInChild("", [&] { return replaceValueInXML(file, "OSC_PORT", "2") & 0xff; });
    EXPECT_EQ(run.result, kFailed);
    EXPECT_EQ(run.output, "Cannot open file " + file + ".\n");
    EXPECT_EQ(read(file), "<e OSC_PORT>1</e>\n");
    EXPECT_EQ(read(target), "precious\n");
}

TEST_F(TextXml, FileThatCannotBeWrittenKeepsTheNewTextInTheTemporaryFile) {
    const std::string file = write("mrss.xml", "<e OSC_PORT>1</e>\n<f/>\n");
    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    const test::ChildRun run = test::runInChild("", [&] {
        if (!dropPrivileges()) return 99;
        return replaceValueInXML(file, "OSC_PORT", "2") & 0xff;
    });
    EXPECT_EQ(run.result, kFailed);
    EXPECT_EQ(run.output, "Cannot open file " + file + ".\n");
    EXPECT_EQ(read(file), "<e OSC_PORT>1</e>\n<f/>\n");
    EXPECT_EQ(read(file + ".tmp"), "<e OSC_PORT>2</e>\n<f/>\n");
}

}  // namespace
}  // namespace orv
