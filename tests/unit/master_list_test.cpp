// The master list read from orv.conf: quoting, placeholders, comments, which line wins,
// and what is printed when the key or the file is missing.
#include <string>
#include <vector>

#include "fixture.hpp"
#include "hosts/master_list.hpp"

namespace orv {
namespace {

using Names = std::vector<std::string>;
using MasterListFile = test::TempDirTest;

TEST_F(MasterListFile, TableOfConfTexts) {
    struct Case {
        std::string conf;
        int rc;
        Names list;
    };
    const std::string k = "ORV_MASTER_LIST";
    const std::vector<Case> cases = {
        {k + "=\"a b c\"\n", 1, {"a", "b", "c"}},
        {k + "=a b c\n", 1, {"a", "b", "c"}},
        {k + "=\"a b c\n", 1, {"a", "b", "c"}},
        {k + "=a b c\"\n", 1, {"a", "b", "c"}},
        {k + "=\"\"a b c\"\"\n", 1, {"a", "b", "c"}},
        {k + "=ab\n", 1, {"ab"}},
        {k + "=\"h1,h2  h3\"\n", 1, {"h1,h2", "h3"}},
        {"#" + k + "=\"x y\"\n   # " + k + "=\"z\"\n" + k + "=\"hostB hostA\" # old: hostC\n" + k +
             "=\"later\"\n",
         1, {"hostB", "hostA"}},
        {"X" + k + "_OLD=\"old1 old2\"\n" + k + "=\"new\"\n", 1, {"old1", "old2"}},
        {"#" + k + "=\"x y\"\nORV_LIM_PORT=7869\n", -1, {}},
    };
    for (const char* empty :
         {"=\"\"", "=\"@ORV_MASTER_LIST@\"", "=", "=a", "=\"a\"", "", "=\"", "=\"x @ORV_MASTER_LIST@ y\""}) {
        Names list{"stale"};
        write("orv.conf", "# head\n" + k + std::string(empty) + "\nOTHER=1\n");
        EXPECT_EQ(getMasterListFromConf(dir_, list, 1), 1) << empty;
        EXPECT_TRUE(list.empty()) << empty;
    }
    for (const Case& c : cases) {
        Names list{"stale"};
        write("orv.conf", c.conf);
        const test::ChildRun quiet = test::runInChild("", [&] {
            return getMasterListFromConf(dir_, list, 0) == c.rc && list == c.list ? 0 : 1;
        });
        EXPECT_EQ(quiet.result, 0) << c.conf;
        EXPECT_EQ(quiet.output, "") << c.conf;
    }
    // A missing key is reported only when verbose; a missing or unreadable file always.
    const test::ChildRun run = test::runInChild("", [&] {
        Names list;
        int r = getMasterListFromConf(dir_, list, 1) == -1;
        ::unlink(path("orv.conf").c_str());
        r += getMasterListFromConf(dir_, list, 0) == -1;
        mkdir("orv.conf");
        r += getMasterListFromConf(dir_, list, 0) == -1;
        return r;
    });
    EXPECT_EQ(run.result, 3);
    EXPECT_EQ(run.output, "The parameter [ORV_MASTER_LIST] cannot be found in file [" + dir_ +
                              "/orv.conf]. Please check your configuration file.\nCannot open file " +
                              dir_ + "/orv.conf.\nCannot open file " + dir_ + "/orv.conf.\n");
}

TEST_F(MasterListFile, CurrentMasterAndEmptyListRoles) {
    write("orv.conf", "ORV_MASTER_LIST=\"hostB.lab.local hostA\"\n");
    std::string master = "stale";
    EXPECT_EQ(getCurrentMaster(dir_, master, 1), 1);
    EXPECT_EQ(master, "hostB.lab.local");
    write("orv.conf", "ORV_MASTER_LIST=\"@ORV_MASTER_LIST@\"\n");
    EXPECT_EQ(getCurrentMaster(dir_, master, 1), 1);
    EXPECT_EQ(master, "");
    EXPECT_EQ(checkMaster(dir_, 1), 0);
    const test::ChildRun run = test::runInChild("", [&] { return checkMasterList(dir_) & 0xff; });
    EXPECT_EQ(run.result, 0xff);
    EXPECT_EQ(run.output,
              "You have not input any hosts in the master list. Specify the name of the master "
              "host and any master candidates.\n");
    write("orv.conf", "ORV_LIM_PORT=1\n");
    const test::ChildRun missing = test::runInChild("", [&] {
        return (checkMaster(dir_, 0) == -1) + (checkMasterList(dir_) == -1);
    });
    EXPECT_EQ(missing.result, 2);
    EXPECT_EQ(missing.output, "The parameter [ORV_MASTER_LIST] cannot be found in file [" + dir_ +
                                  "/orv.conf]. Please check your configuration file.\n");
}

}  // namespace
}  // namespace orv
