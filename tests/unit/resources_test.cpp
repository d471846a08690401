// Resource tags: the bracket grammar, the merge into orv.conf where the transcripts do not
// reach, and the harvesting check.
#include "fixture.hpp"
#include "resources/local_resources.hpp"

namespace orv {
namespace {

using Tags = std::vector<LOCAL_RESOURCE>;
using Names = std::vector<std::string>;

TEST(Resources, Grammar) {
    const struct {
        const char* text;
        int flag, result;
        Names tags{};  // "Name=Value" of each tag, when the text parses
    } rows[] = {
        {"", 0, 1},
        {"[resource a]", 0, 0, {"resource=a"}},
        {"\"[resource a] [resourcemap 4*b]\" # site", 0, 0, {"resource=a", "resourcemap=4*b"}},
        {"[ resource   a ]", 0, 0, {"resource=a"}},
        {"[resourcemap anything]", 0, 0, {"resourcemap=anything"}},
        {"[resource a][resource a]", 0, 0, {"resource=a", "resource=a"}},
        {"[resource a] [resource b", 0, 0, {"resource=a"}},
        {"[resource a b]", 0, -1},
        {"[resource]", 0, -1},
        {"[]", 0, -1},
        {"resource a]", 0, -1},
        {"[resource a", 0, -1},
        {"[resource a]]", 0, -1},
        {"[resource a] b]", 0, -1},
        {"[resource\ta]", 0, -1},
        {"[tag a]", 0, -1},
        {"[Resource a]", 0, -1},
        {"[tag a]", 1, 0, {"tag=a"}},
        {"\"[tag a] [resource b]\"", 1, 0, {"tag=a", "resource=b"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text + (" with flag " + std::to_string(row.flag)));
        Tags tags{{"resource", "stale"}};
        EXPECT_EQ(parseLocalResources(row.text, tags, row.flag), row.result);
        Names named;
        for (const LOCAL_RESOURCE& tag : tags) named.push_back(tag.Name + "=" + tag.Value);
        if (row.result != -1) {
            EXPECT_EQ(named, row.tags);
        }
    }
}

using ResourcesFiles = test::TempDirTest;

TEST_F(ResourcesFiles, Merge) {
    const std::string key = "ORV_LOCAL_RESOURCES=";
    const struct {
        std::string before, add, after;
    } rows[] = {
        {"ORV_WORKDIR=/opt", "[resource a]", "ORV_WORKDIR=/opt\n" + key + "\"[resource a]\"\n"},
        {.before = "#" + key + "\"[resource old]\"\n   " + key + "\"[tag x]\"   #  site\n\tK=1\n",
         .add = "[resource y]",
         .after =
             "#" + key + "\"[resource old]\"\n" + key + "\"[tag x] [resource y]\" #  site\nK=1\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before);
        write("orv.conf", row.before);
        Tags tags;
        ASSERT_EQ(parseLocalResources(row.add, tags, 0), 0);
        EXPECT_EQ(addLocalResources(dir_, tags), 0);
        EXPECT_EQ(read("orv.conf"), row.after);
    }
}

TEST_F(ResourcesFiles, HarvestingCheck) {
    const std::string key = "ORV_LOCAL_RESOURCES=";
    const struct {
        std::string conf;
        int result;
    } rows[] = {
        {key + "\"[resourcemap 1*x] [resource svrscvg] [resource scvg]\"\n", 2},
        {key + "\"[resource scvg]\"\n", 1},
        {key + "\"[resource a] [resource vmscvg]\"\n", 3},
        {key + "\"[resource SCVG]\"\n", 0},
        {key + "\"[resourcemap scvg] [tag scvg]\"\n", 0},
        {"#" + key + "\"[resource scvg]\"\n" + key + "\"[resource vmscvg]\"\n", 3},
        {"#" + key + "\"[resource scvg]\"\n", 0},
        {key + "\n", 0},
        {key + "\"[resource a b]\"\n", -1},
        {"  # ORV_LOCAL_RESOURCES lists the tags\n" + key + "\"[resource scvg]\"\n",
         kTagLineWithoutValue},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.conf);
        write("orv.conf", row.conf);
        EXPECT_EQ(checkScavengingResourceTag(dir_), row.result);
        EXPECT_EQ(read("orv.conf"), row.conf) << "the check must not write";
    }
    ::unlink(path("orv.conf").c_str());
    EXPECT_RAN(inChild([&] { return checkScavengingResourceTag(dir_); }),
               "Cannot open the file " + path("orv.conf") + ".\n", 255);
}

}  // namespace
}  // namespace orv
