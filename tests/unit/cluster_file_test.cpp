// The cluster file's host section: the column layout of new and re-made host lines, the
// two readers, and the insert/remove rewrites compared as whole files. Host names here
// are made up so that the resolver knows none of them and names compare as written.
#include "cluster/cluster_file.hpp"
#include "fixture.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace orv {
namespace {

using Names = std::vector<std::string>;

const std::string kHeader =
    "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords";

TEST(ClusterFileGenerateHostEntry, ColumnWidths) {
    std::string out = "stale";
    EXPECT_EQ(generateHostEntry(kHeader, "hostD", "!", "(linux)", out), 0);
    EXPECT_EQ(out, "hostD     !        !            1     -    -    -   (linux)                ");

    EXPECT_EQ(generateHostEntry(kHeader, "averylonghost", "!", "(linux mg)", out), 0);
    EXPECT_EQ(out,
              "averylonghost !        !            1     -    -    -   (linux mg)             ");

    // Nine characters still fit the ten-column field; ten get a single blank.
    EXPECT_EQ(generateHostEntry("HOSTNAME", "ninechars", "!", "()", out), 0);
    EXPECT_EQ(out, "ninechars ");
    EXPECT_EQ(generateHostEntry("HOSTNAME", "tencharsxx", "!", "()", out), 0);
    EXPECT_EQ(out, "tencharsxx ");
}

TEST(ClusterFileGenerateHostEntry, ColumnsMatchedCaseInsensitivelyUnknownGetDash) {
    std::string out;
    EXPECT_EQ(generateHostEntry("hostname\tTYPE  ndisks Resources #KEYWORDS", "n1", "typ",
                                "(linux)", out),
              0);
    EXPECT_EQ(out, "n1        typ          -   (linux)                ");
    EXPECT_EQ(generateHostEntry("", "n1", "!", "(linux)", out), 0);
    EXPECT_EQ(out, "");
}

TEST(ClusterFileChangeHostEntry, MgPutFirstInsideTheParentheses) {
    std::string out;
    EXPECT_EQ(changeHostEntry(kHeader, "hostB ! ! 1 - - - (linux)", "hostB", out), 0);
    EXPECT_EQ(out, "hostB     !        !            1     -    -    -   (mg linux)");

    out.clear();
    EXPECT_EQ(changeHostEntry(kHeader, "hostB  !  ! 1 - - - (linux mg)", "hostB", out), 0);
    EXPECT_EQ(out, "hostB     !        !            1     -    -    -   (linux mg)");

    // Everything up to the last ')' of the joined values is kept.
    out.clear();
    EXPECT_EQ(changeHostEntry(kHeader, "hostB ! ! 1 - - - (linux mg) (x)", "hostB", out), 0);
    EXPECT_EQ(out, "hostB     !        !            1     -    -    -   (linux mg) (x)");

    // A list written with blanks is joined back before the last ')' is looked for.
    out.clear();
    EXPECT_EQ(changeHostEntry(kHeader, "hostB ! ! 1 - - - (linux x86) extra", "hostB", out), 0);
    EXPECT_EQ(out, "hostB     !        !            1     -    -    -   (mg linux x86)");

    // "mg" is a substring test: a resource named img counts as already marked.
    out.clear();
    EXPECT_EQ(changeHostEntry(kHeader, "hostB ! ! 1 - - - (img)", "hostB", out), 0);
    EXPECT_EQ(out, "hostB     !        !            1     -    -    -   (img)");

    out.clear();
    EXPECT_EQ(changeHostEntry(kHeader, "hostB ! ! 1 - - - ()", "hostB", out), 0);
    EXPECT_EQ(out, "hostB     !        !            1     -    -    -   (mg )");
}

TEST(ClusterFileChangeHostEntry, HostWidthAndUnknownColumns) {
    std::string out;
    EXPECT_EQ(changeHostEntry("HOSTNAME server ndisks RESOURCES", "longhostname7 3 9 (linux)",
                              "longhostname7", out),
              0);
    EXPECT_EQ(out, "longhostname7 3     -   (mg linux)");
}

TEST(ClusterFileChangeHostEntry, LinesThatCannotBeRemade) {
    std::string out;
    EXPECT_EQ(changeHostEntry(kHeader, "hostB ! ! 1 - - - (linux", "hostB", out), -1);
    out.clear();
    EXPECT_EQ(changeHostEntry(kHeader, "hostB ! ! 1 - - -", "hostB", out), -1);
    // One value fewer than columns is allowed; the fields before RESOURCES are kept.
    out.clear();
    EXPECT_EQ(changeHostEntry("HOSTNAME model RESOURCES", "hostB !", "hostB", out), 0);
    EXPECT_EQ(out, "hostB     !        ");
    out.clear();
    EXPECT_EQ(changeHostEntry("HOSTNAME model", "hostB ! (linux)", "hostB", out), 0);
    EXPECT_EQ(out, "hostB     !        ");
}

class ClusterFileOnDisk : public test::TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        write("orv.shared", "Begin Cluster\nClusterName\nc1\nEnd Cluster\n");
    }
    std::string clusterPath() const { return dir_ + "/orv.cluster.c1"; }
    bool tmpLeft() const { return exists(clusterPath() + ".tmp"); }
};

const std::string kCluster =
    "Begin ClusterAdmins\n"
    "Administrators = orvadmin\n"
    "End ClusterAdmins\n"
    "\n"
    "Begin   Host\n"
    "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords\n"
    "nodeq1    !        !            1     -    -    -   (linux mg)\n"
    "#nodeq9   !        !            1     -    -    -   (linux)\n"
    "nodeq2\t!  !  1 - - - (linux)   \n"
    "\n"
    "nodeq3    !        !            1     -    -    -   (linux mg)\n"
    "End     Host\n";

TEST_F(ClusterFileOnDisk, LineReaderStopsAtAnEmptyLine) {
    write("orv.cluster.c1", kCluster);
    Names hosts{"stale"};
    Names lines;
    std::string header;
    EXPECT_EQ(getHostLineFromCluster(clusterPath(), hosts, lines, header), 1);
    EXPECT_EQ(header,
              "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords");
    EXPECT_EQ(hosts, (Names{"nodeq1", "nodeq2"}));
    EXPECT_EQ(lines, (Names{"nodeq1    !        !            1     -    -    -   (linux mg)",
                            "nodeq2 !  !  1 - - - (linux)"}));
}

TEST_F(ClusterFileOnDisk, HostListSeesEveryHostLine) {
    write("orv.cluster.c1", kCluster + "Begin Host\nHOSTNAME RESOURCES\n  nodeq4 (x)\nEnd Host\n");
    Names hosts;
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), 1);
    EXPECT_EQ(hosts, (Names{"nodeq1", "nodeq2", "nodeq3", "nodeq4"}));
}

TEST_F(ClusterFileOnDisk, IndentedCommentIsAHostForTheLineReader) {
    write("orv.cluster.c1",
          "Begin Host\nHOSTNAME RESOURCES\n  #nodeq8 (x)\nnodeq1 (y)\nEnd Host\n");
    Names hosts;
    Names lines;
    std::string header;
    EXPECT_EQ(getHostLineFromCluster(clusterPath(), hosts, lines, header), 1);
    EXPECT_EQ(hosts, (Names{"#nodeq8", "nodeq1"}));
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), 1);
    EXPECT_EQ(hosts, (Names{"nodeq1"}));
}

TEST_F(ClusterFileOnDisk, ReadersReportMissingFileAndName) {
    Names hosts{"stale"};
    Names lines;
    std::string header;
    testing::internal::CaptureStdout();
    EXPECT_EQ(getHostLineFromCluster(clusterPath(), hosts, lines, header), -1);
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Cannot open file " + clusterPath() + ".\nCannot open file " + clusterPath() + ".\n");
    write("orv.shared", "Begin Cluster\nClusterName\nEnd Cluster\n");
    unsetenv("VOS_ENVDIR");
    testing::internal::CaptureStdout();
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), -1);
    EXPECT_EQ(insertCluster(dir_, "nodeq5"), -1);
    EXPECT_EQ(removeCluster(dir_, "nodeq5"), -1);
    EXPECT_EQ(insertClusterShared(dir_, "nodeq5"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(ClusterFileOnDisk, HostListFallsBackToTheBatchClusterName) {
    write("orv.shared", "Begin Cluster\nClusterName\nEnd Cluster\n");
    std::filesystem::create_directory(dir_ + "/vos");
    write("vos/vos.shared", "Begin Cluster\nClusterName\nvc\nEnd Cluster\n");
    write("vos.cluster.vc", "Begin Host\nHOSTNAME\nnodeq6\nEnd Host\n");
    setenv("VOS_ENVDIR", (dir_ + "/vos").c_str(), 1);
    Names hosts;
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), 1);
    unsetenv("VOS_ENVDIR");
    EXPECT_EQ(hosts, (Names{"nodeq6"}));
}

TEST_F(ClusterFileOnDisk, InsertClusterAddsFirstHostLineAndNormalises) {
    write("orv.cluster.c1",
          "Begin Host\t\nHOSTNAME  model    type        server r1m  mem  swp  RESOURCES    "
          "#Keywords\nnodeq1 ! ! 1 - - - (linux)\nEnd Host");
    EXPECT_EQ(insertCluster(dir_, "nodeq5"), 1);
    EXPECT_EQ(read("orv.cluster.c1"),
              "Begin Host\n"
              "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords\n"
              "nodeq5    !        !            1     -    -    -   (linux)\n"
              "nodeq1 ! ! 1 - - - (linux)\n"
              "End Host\n");
    EXPECT_FALSE(tmpLeft());
}

TEST_F(ClusterFileOnDisk, InsertClusterWithoutHostSectionChangesNothing) {
    const std::string text = "Begin ClusterAdmins\nAdministrators = orvadmin\nEnd ClusterAdmins\n";
    write("orv.cluster.c1", text);
    EXPECT_EQ(insertCluster(dir_, "nodeq5"), 1);
    EXPECT_EQ(read("orv.cluster.c1"), text);
}

TEST_F(ClusterFileOnDisk, InsertClusterMissingFile) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(insertCluster(dir_, "nodeq5"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open file " + clusterPath() + ".\n");
    EXPECT_FALSE(std::filesystem::exists(clusterPath()));
}

TEST_F(ClusterFileOnDisk, InsertSharedAppendsNewHostBeforeTheEnd) {
    write("orv.cluster.c1", kCluster);
    EXPECT_EQ(insertClusterShared(dir_, "averylonghost"), 1);
    EXPECT_EQ(read("orv.cluster.c1"),
              "Begin ClusterAdmins\n"
              "Administrators = orvadmin\n"
              "End ClusterAdmins\n"
              "\n"
              "Begin   Host\n"
              "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords\n"
              "nodeq1    !        !            1     -    -    -   (linux mg)\n"
              "#nodeq9   !        !            1     -    -    -   (linux)\n"
              "nodeq2 !  !  1 - - - (linux)\n"
              "\n"
              "nodeq3    !        !            1     -    -    -   (linux mg)\n"
              "averylonghost !        !            1     -    -    -   (linux mg)\n"
              "End     Host\n");
    EXPECT_FALSE(tmpLeft());
}

TEST_F(ClusterFileOnDisk, InsertSharedMarksAnExistingLine) {
    write("orv.cluster.c1", kCluster);
    EXPECT_EQ(insertClusterShared(dir_, "nodeq2"), 1);
    EXPECT_EQ(read("orv.cluster.c1"),
              "Begin ClusterAdmins\n"
              "Administrators = orvadmin\n"
              "End ClusterAdmins\n"
              "\n"
              "Begin   Host\n"
              "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords\n"
              "nodeq1    !        !            1     -    -    -   (linux mg)\n"
              "#nodeq9   !        !            1     -    -    -   (linux)\n"
              "nodeq2    !        !            1     -    -    -   (mg linux)\n"
              "\n"
              "nodeq3    !        !            1     -    -    -   (linux mg)\n"
              "End     Host\n");
}

// The short name matches the qualified line written earlier, so no second line is added.
TEST_F(ClusterFileOnDisk, InsertSharedFindsTheQualifiedForm) {
    write("orv.cluster.c1", "Begin Host\nHOSTNAME RESOURCES\nnodeq7.lab.local (linux)\nEnd Host\n");
    EXPECT_EQ(insertClusterShared(dir_, "NODEQ7"), 1);
    EXPECT_EQ(read("orv.cluster.c1"),
              "Begin Host\nHOSTNAME RESOURCES\nnodeq7.lab.local (mg linux)\nEnd Host\n");
}

TEST_F(ClusterFileOnDisk, InsertSharedLeavesALineThatCannotBeRemade) {
    const std::string text = "Begin Host\nHOSTNAME RESOURCES\nnodeq7 (linux\nEnd Host\n";
    write("orv.cluster.c1", text);
    EXPECT_EQ(insertClusterShared(dir_, "nodeq7"), 1);
    EXPECT_EQ(read("orv.cluster.c1"), text);
}

TEST_F(ClusterFileOnDisk, InsertSharedWithoutHeaderIsRefused) {
    const std::string text = "Begin Host\nEnd Host\n";
    write("orv.cluster.c1", text);
    EXPECT_EQ(insertClusterShared(dir_, "nodeq7"), -1);
    EXPECT_EQ(read("orv.cluster.c1"), text);
    EXPECT_FALSE(tmpLeft());
}

TEST_F(ClusterFileOnDisk, RemoveDropsEveryLineOfTheHost) {
    write("orv.cluster.c1",
          "Begin Host\n"
          "HOSTNAME RESOURCES\n"
          "nodeq1 (linux)\n"
          "nodeq1.lab.local (linux mg)\n"
          "#nodeq1 (old)\n"
          "nodeq10 (linux)\n"
          "   NodeQ1   (x)\n"
          "End Host\n"
          "nodeq1 outside the section\n");
    EXPECT_EQ(removeCluster(dir_, "nodeq1"), 1);
    EXPECT_EQ(read("orv.cluster.c1"),
              "Begin Host\n"
              "HOSTNAME RESOURCES\n"
              "#nodeq1 (old)\n"
              "nodeq10 (linux)\n"
              "End Host\n"
              "nodeq1 outside the section\n");
    EXPECT_FALSE(tmpLeft());
}

TEST_F(ClusterFileOnDisk, RemoveOfAnAbsentHostRewritesNothing) {
    const std::string text = "Begin Host\nHOSTNAME RESOURCES\nnodeq1 (linux)\nEnd Host\n";
    write("orv.cluster.c1", text);
    EXPECT_EQ(removeCluster(dir_, "nodeq2"), 1);
    EXPECT_EQ(read("orv.cluster.c1"), text);
    std::filesystem::remove(clusterPath());
    testing::internal::CaptureStdout();
    EXPECT_EQ(removeCluster(dir_, "nodeq1"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace orv
