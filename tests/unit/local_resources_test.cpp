// Resource tags: the bracket grammar, the merge into orv.conf (whole files compared) and
// the harvesting check.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "fixture.hpp"
#include "resources/local_resources.hpp"

namespace orv {
namespace {

using Tags = std::vector<LOCAL_RESOURCE>;

struct GrammarCase {
    const char* text;
    int flag;
    int result;
    const char* tags;  // "Name=Value;" per parsed tag
};

std::string describe(const Tags& tags) {
    std::string out;
    for (const LOCAL_RESOURCE& tag : tags) {
        out += tag.Name + "=" + tag.Value + ";";
    }
    return out;
}

TEST(ResourcesGrammar, TableOfTagTexts) {
    const GrammarCase cases[] = {
        {"", 0, 1, ""},
        {"[resource a]", 0, 0, "resource=a;"},
        {"\"[resource a] [resourcemap 4*b]\" # site", 0, 0, "resource=a;resourcemap=4*b;"},
        {"[ resource   a ]", 0, 0, "resource=a;"},
        {"[resourcemap anything]", 0, 0, "resourcemap=anything;"},
        {"[resource a][resource a]", 0, 0, "resource=a;resource=a;"},
        {"[resource a] [resource b", 0, 0, "resource=a;"},
        {"[resource a b]", 0, -1, ""},
        {"[resource]", 0, -1, ""},
        {"[]", 0, -1, ""},
        {"resource a]", 0, -1, ""},
        {"[resource a", 0, -1, ""},
        {"[resource a]]", 0, -1, ""},
        {"[resource a] b]", 0, -1, ""},
        {"[resource\ta]", 0, -1, ""},
        {"[tag a]", 0, -1, ""},
        {"[Resource a]", 0, -1, ""},
        {"[tag a]", 1, 0, "tag=a;"},
        {"\"[tag a] [resource b]\"", 1, 0, "tag=a;resource=b;"},
        {"[tag a b]", 1, -1, ""},
    };
    for (const GrammarCase& c : cases) {
        const std::string text = c.text;
        Tags tags;
        const int result = parseLocalResources(text, tags, c.flag);
        EXPECT_EQ(result, c.result) << "text: " << c.text << " flag " << c.flag;
        if (result != -1) {
            EXPECT_EQ(describe(tags), c.tags) << "text: " << c.text;
        }
    }
}

TEST(ResourcesGrammar, EmptyTextIsNoTags) {
    Tags tags{{"resource", "stale"}};
    EXPECT_EQ(parseLocalResources("", tags, 0), 1);
    EXPECT_TRUE(tags.empty());
}

// A fresh local configuration directory per case.
class ResourcesFiles : public test::TempDirTest {
  protected:
    std::string conf() const { return dir_ + "/orv.conf"; }
    void writeConf(const std::string& text) const { write("orv.conf", text); }
    std::string readConf() const { return read(conf()); }
    int add(const std::string& tagText) const {
        Tags tags;
        EXPECT_EQ(parseLocalResources(tagText, tags, 0), 0) << tagText;
        return addLocalResources(dir_, tags);
    }
};

TEST_F(ResourcesFiles, AbsentKeyIsAppendedAfterAnEmptyLine) {
    writeConf("# kernel\nORV_MASTER_LIST=\"hostB\"\nORV_WORKDIR=/opt/orv\n");
    EXPECT_EQ(add("[resource scvg]"), 0);
    EXPECT_EQ(readConf(),
              "# kernel\nORV_MASTER_LIST=\"hostB\"\nORV_WORKDIR=/opt/orv\n\n"
              "ORV_LOCAL_RESOURCES=\"[resource scvg]\"\n");
}

// The newline written before the key first ends an unterminated last line.
TEST_F(ResourcesFiles, AbsentKeyAfterAnUnterminatedLastLine) {
    writeConf("ORV_WORKDIR=/opt/orv");
    EXPECT_EQ(add("[resource scvg]"), 0);
    EXPECT_EQ(readConf(), "ORV_WORKDIR=/opt/orv\nORV_LOCAL_RESOURCES=\"[resource scvg]\"\n");
}

TEST_F(ResourcesFiles, NewTagsFollowTheExistingOnes) {
    writeConf("A=1\nORV_LOCAL_RESOURCES=\"[resource a]\"\nB=2\n");
    EXPECT_EQ(add("[resource a] [resourcemap 2*b]"), 0);
    EXPECT_EQ(readConf(), "A=1\nORV_LOCAL_RESOURCES=\"[resource a] [resourcemap 2*b]\"\nB=2\n");
    EXPECT_EQ(add("[resource a]"), 0);
    EXPECT_EQ(readConf(), "A=1\nORV_LOCAL_RESOURCES=\"[resource a] [resourcemap 2*b]\"\nB=2\n");
}

TEST_F(ResourcesFiles, TagGivenTwiceIsWrittenTwiceAndOtherNumbersAreNewTags) {
    writeConf("ORV_LOCAL_RESOURCES=\"[resourcemap 1*b]\"\n");
    EXPECT_EQ(add("[resource c] [resourcemap 2*b] [resource c] [resourcemap 1*b]"), 0);
    EXPECT_EQ(readConf(),
              "ORV_LOCAL_RESOURCES=\"[resourcemap 1*b] [resource c] [resourcemap 2*b] "
              "[resource c]\"\n");
}

TEST_F(ResourcesFiles, TrailingCommentIsKeptBehindTheValue) {
    writeConf("ORV_LOCAL_RESOURCES=\"[resource a]\"   #  site tags\n");
    EXPECT_EQ(add("[resource b]"), 0);
    EXPECT_EQ(readConf(), "ORV_LOCAL_RESOURCES=\"[resource a] [resource b]\" #  site tags\n");
}

TEST_F(ResourcesFiles, CommentedLineIsNeitherReadNorRewritten) {
    writeConf(
        "#ORV_LOCAL_RESOURCES=\"[resource old]\"\n"
        "   ORV_LOCAL_RESOURCES=\"[tag x]\"\n"
        "\tKEY=1\n");
    EXPECT_EQ(add("[resource y]"), 0);
    EXPECT_EQ(readConf(),
              "#ORV_LOCAL_RESOURCES=\"[resource old]\"\n"
              "ORV_LOCAL_RESOURCES=\"[tag x] [resource y]\"\n"
              "KEY=1\n");
}

TEST_F(ResourcesFiles, EmptyValueTakesTheNewTags) {
    writeConf("ORV_LOCAL_RESOURCES=\nX=1\n");
    EXPECT_EQ(add("[resourcemap 3*gpu]"), 0);
    EXPECT_EQ(readConf(), "ORV_LOCAL_RESOURCES=\"[resourcemap 3*gpu]\"\nX=1\n");
}

TEST_F(ResourcesFiles, UnparsableValueLeavesTheFileAlone) {
    const std::string text = "ORV_LOCAL_RESOURCES=\"[resource a b]\"\n\tX=1  \n";
    writeConf(text);
    EXPECT_EQ(add("[resource c]"), -1);
    EXPECT_EQ(readConf(), text);
    EXPECT_FALSE(std::filesystem::exists(conf() + ".tmp"));
}

TEST_F(ResourcesFiles, MissingFileIsReportedAndNothingIsCreated) {
    testing::internal::CaptureStdout();
    const int result = add("[resource c]");
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(out, "Cannot open the file " + conf() + ".\n");
    EXPECT_FALSE(std::filesystem::exists(conf()));
}

TEST_F(ResourcesFiles, ReadingBackGivesTagsAndComment) {
    writeConf("ORV_LOCAL_RESOURCES=\"[resource a] [other 2*z]\" # note\n");
    Tags tags;
    std::string comment = "stale";
    EXPECT_EQ(getLocalResources(dir_, tags, comment), 0);
    EXPECT_EQ(describe(tags), "resource=a;other=2*z;");
    EXPECT_EQ(comment, "# note");
}

TEST_F(ResourcesFiles, HarvestingTagsInOrder) {
    struct Case {
        const char* conf;
        int result;
    };
    const Case cases[] = {
        {"ORV_LOCAL_RESOURCES=\"[resourcemap 1*x] [resource svrscvg] [resource scvg]\"\n", 2},
        {"ORV_LOCAL_RESOURCES=\"[resource scvg]\"\n", 1},
        {"ORV_LOCAL_RESOURCES=\"[resource a] [resource vmscvg]\"\n", 3},
        {"ORV_LOCAL_RESOURCES=\"[resource SCVG]\"\n", 0},
        {"ORV_LOCAL_RESOURCES=\"[resourcemap scvg] [tag scvg]\"\n", 0},
        {"#ORV_LOCAL_RESOURCES=\"[resource scvg]\"\nX=1\n", 0},
        {"#ORV_LOCAL_RESOURCES=\"[resource scvg]\"\nORV_LOCAL_RESOURCES=\"[resource vmscvg]\"\n",
         3},
        {"ORV_LOCAL_RESOURCES=\n", 0},
        {"ORV_LOCAL_RESOURCES=\"[resource a b]\"\n", -1},
    };
    for (const Case& c : cases) {
        writeConf(c.conf);
        EXPECT_EQ(checkScavengingResourceTag(dir_), c.result) << c.conf;
        EXPECT_EQ(readConf(), c.conf) << "the check must not write";
    }
}

TEST_F(ResourcesFiles, HarvestingCheckOfMissingFile) {
    testing::internal::CaptureStdout();
    const int result = checkScavengingResourceTag(dir_);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open the file " + conf() + ".\n");
    EXPECT_EQ(result, -1);
}

}  // namespace
}  // namespace orv
