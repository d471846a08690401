// Resource tags: the bracket grammar, the merge into orv.conf where the transcripts do not
// reach, and the harvesting check.
#include "fixture.hpp"
#include "resources/local_resources.hpp"

namespace orv {
namespace {

using Tags = std::vector<LOCAL_RESOURCE>;

TEST(Resources, Grammar) {
    const struct { const char* text; int flag; const char* parsed; } cases[] = {  // the result, then "Name=Value;" per tag
        {"", 0, "1"}, {"[resource a]", 0, "0resource=a;"}, {"\"[resource a] [resourcemap 4*b]\" # site", 0, "0resource=a;resourcemap=4*b;"},
        {"[ resource   a ]", 0, "0resource=a;"}, {"[resourcemap anything]", 0, "0resourcemap=anything;"},
        {"[resource a][resource a]", 0, "0resource=a;resource=a;"}, {"[resource a] [resource b", 0, "0resource=a;"},
        {"[resource a b]", 0, "-1"}, {"[resource]", 0, "-1"}, {"[]", 0, "-1"}, {"resource a]", 0, "-1"}, {"[resource a", 0, "-1"},
        {"[resource a]]", 0, "-1"}, {"[resource a] b]", 0, "-1"}, {"[resource\ta]", 0, "-1"}, {"[tag a]", 0, "-1"},
        {"[Resource a]", 0, "-1"}, {"[tag a]", 1, "0tag=a;"}, {"\"[tag a] [resource b]\"", 1, "0tag=a;resource=b;"}, {"[tag a b]", 1, "-1"},
    };
    for (const auto& c : cases) {
        Tags tags{{"resource", "stale"}};
        std::string got = std::to_string(parseLocalResources(c.text, tags, c.flag));
        for (const LOCAL_RESOURCE& tag : tags) got += got == "-1" ? "" : tag.Name + "=" + tag.Value + ";";
        EXPECT_EQ(got, c.parsed) << c.text << " flag " << c.flag;
    }
}

using ResourcesFiles = test::TempDirTest;

TEST_F(ResourcesFiles, MergeAndHarvestingCheck) {
    const std::string k = "ORV_LOCAL_RESOURCES=";
    const struct { std::string before, add, after; } merges[] = {
        {"ORV_WORKDIR=/opt/orv", "[resource scvg]", "ORV_WORKDIR=/opt/orv\n" + k + "\"[resource scvg]\"\n"},
        {k + "\"[resourcemap 1*b]\"\n", "[resource c] [resourcemap 2*b] [resource c] [resourcemap 1*b]",
         k + "\"[resourcemap 1*b] [resource c] [resourcemap 2*b] [resource c]\"\n"},
        {"#" + k + "\"[resource old]\"\n   " + k + "\"[tag x]\"   #  site\n\tK=1\n", "[resource y]",
         "#" + k + "\"[resource old]\"\n" + k + "\"[tag x] [resource y]\" #  site\nK=1\n"},
    };
    for (const auto& c : merges) {
        write("orv.conf", c.before);
        Tags tags;
        ASSERT_EQ(parseLocalResources(c.add, tags, 0), 0);
        EXPECT_EQ(addLocalResources(dir_, tags), 0) << c.before;
        EXPECT_EQ(read("orv.conf"), c.after);
    }
    const struct { std::string conf; int result; } checks[] = {{k + "\"[resourcemap 1*x] [resource svrscvg] [resource scvg]\"\n", 2}, {k + "\"[resource scvg]\"\n", 1},
                  {k + "\"[resource a] [resource vmscvg]\"\n", 3}, {k + "\"[resource SCVG]\"\n", 0}, {k + "\"[resourcemap scvg] [tag scvg]\"\n", 0},
                  {"#" + k + "\"[resource scvg]\"\n" + k + "\"[resource vmscvg]\"\n", 3}, {"#" + k + "\"[resource scvg]\"\n", 0},
                  {k + "\n", 0}, {k + "\"[resource a b]\"\n", -1},
                  {"  # ORV_LOCAL_RESOURCES lists the tags\n" + k + "\"[resource scvg]\"\n", kTagLineWithoutValue}};
    for (const auto& c : checks) {
        write("orv.conf", c.conf);
        EXPECT_EQ(checkScavengingResourceTag(dir_), c.result) << c.conf;
        EXPECT_EQ(read("orv.conf"), c.conf) << "the check must not write";
    }
    ::unlink(path("orv.conf").c_str());
    EXPECT_EQ(inChild([&] { return checkScavengingResourceTag(dir_); }), "Cannot open the file " + path("orv.conf") + ".\n[255]");
}

}  // namespace
}  // namespace orv
