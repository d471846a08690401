// The cluster file's host section: the column layout of new and re-made host lines, the two
// readers, and the insert and remove rewrites, compared as whole files. The host names are
// made up so that the resolver knows none of them and names compare as written.
#include <string>
#include <vector>

#include "cluster/cluster_file.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using Names = std::vector<std::string>;
const std::string kHeader = "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords";
const std::string kTail = "!        !            1     -    -    -   ";

TEST(ClusterFile, HostLineLayout) {
    const struct {
        std::string header, host, resources, out;
    } made[] = {
        {kHeader, "hostD", "(linux)", "hostD     " + kTail + "(linux)                "},
        {kHeader, "averylonghost", "(linux mg)", "averylonghost " + kTail + "(linux mg)             "},
        {"HOSTNAME", "ninechars", "()", "ninechars "}, {"HOSTNAME", "tencharsxx", "()", "tencharsxx "},
        {"hostname\tTYPE  ndisks Resources #KEYWORDS", "n1", "(linux)", "n1        !            -   (linux)                "},
        {"", "n1", "(linux)", ""},
    };
    for (const auto& c : made) {
        std::string out = "stale";
        EXPECT_EQ(generateHostEntry(c.header, c.host, "!", c.resources, out), 0);
        EXPECT_EQ(out, c.out) << c.header << " / " << c.host;
    }
    const struct {
        std::string header, line;
        int result;
        std::string out;
    } remade[] = {
        {kHeader, "hostB ! ! 1 - - - (linux)", 0, "hostB     " + kTail + "(mg linux)"},
        {kHeader, "hostB  !  ! 1 - - - (linux mg)", 0, "hostB     " + kTail + "(linux mg)"},
        {kHeader, "hostB ! ! 1 - - - (linux mg) (x)", 0, "hostB     " + kTail + "(linux mg) (x)"},
        {kHeader, "hostB ! ! 1 - - - (linux x86) extra", 0, "hostB     " + kTail + "(mg linux x86)"},
        {kHeader, "hostB ! ! 1 - - - (img)", 0, "hostB     " + kTail + "(img)"},  // "mg" as a substring
        {kHeader, "hostB ! ! 1 - - - ()", 0, "hostB     " + kTail + "(mg )"},
        {"HOSTNAME server ndisks RESOURCES", "longhostname7 3 9 (linux)", 0, "longhostname7 3     -   (mg linux)"},
        {kHeader, "hostB ! ! 1 - - - (linux", -1, "-"}, {kHeader, "hostB ! ! 1 - - -", -1, "-"},
        {"HOSTNAME model RESOURCES", "hostB !", 0, "hostB     !        "},
        {"HOSTNAME model", "hostB ! (linux)", 0, "hostB     !        "},
    };
    for (const auto& c : remade) {
        std::string out;
        EXPECT_EQ(changeHostEntry(c.header, c.line, c.line.substr(0, c.line.find(' ')), out), c.result) << c.line;
        if (c.result == 0) {
            EXPECT_EQ(out, c.out) << c.line;
        }
    }
}

class ClusterFileOnDisk : public test::TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        write("orv.shared", "Begin Cluster\nClusterName\nc1\nEnd Cluster\n");
    }
};

TEST_F(ClusterFileOnDisk, Readers) {
    write("orv.cluster.c1", "Begin   Host\n" + kHeader + "\nnodeq1    " + kTail + "(linux mg)\n#nodeq9 (x)\n"
                            "nodeq2\t!  !  1 - - - (linux)   \n\nnodeq3 (y)\nEnd     Host\n"
                            "Begin Host\nHOSTNAME RESOURCES\n  #nodeq8 (x)\n  nodeq4 (x)\nEnd Host\n");
    Names hosts{"stale"}, lines;
    std::string header;
    EXPECT_EQ(getHostLineFromCluster(path("orv.cluster.c1"), hosts, lines, header), 1);  // up to an empty line
    EXPECT_EQ(header, kHeader);
    EXPECT_EQ(hosts, (Names{"nodeq1", "nodeq2"}));
    EXPECT_EQ(lines, (Names{"nodeq1    " + kTail + "(linux mg)", "nodeq2 !  !  1 - - - (linux)"}));
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), 1);  // every host line of every section
    EXPECT_EQ(hosts, (Names{"nodeq1", "nodeq2", "nodeq3", "nodeq4"}));
    write("orv.cluster.c1", "Begin Host\nHOSTNAME RESOURCES\n  #nodeq8 (x)\nnodeq1 (y)\nEnd Host\n");
    EXPECT_EQ(getHostLineFromCluster(path("orv.cluster.c1"), hosts, lines, header), 1);
    EXPECT_EQ(hosts, (Names{"#nodeq8", "nodeq1"}));  // an indented comment is a host here
    write("orv.shared", "Begin Cluster\nClusterName\nEnd Cluster\n");
    write("vos/vos.shared", "Begin Cluster\nClusterName\nvc\nEnd Cluster\n");
    write("vos.cluster.vc", "Begin Host\nHOSTNAME\nnodeq6\nEnd Host\n");
    setenv("VOS_ENVDIR", path("vos").c_str(), 1);
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), 1);
    unsetenv("VOS_ENVDIR");
    EXPECT_EQ(hosts, (Names{"nodeq6"}));
}

TEST_F(ClusterFileOnDisk, InsertAndRemove) {
    const std::string head = "Begin Host\nHOSTNAME RESOURCES\n";
    const struct {
        int (*edit)(const std::string&, const std::string&);
        std::string host, before, after;
        int result;
    } cases[] = {
        {insertCluster, "nodeq5", "Begin Host\t\n" + kHeader + "\nnodeq1 ! ! 1 - - - (linux)\nEnd Host",
         "Begin Host\n" + kHeader + "\nnodeq5    " + kTail + "(linux)\nnodeq1 ! ! 1 - - - (linux)\nEnd Host\n", 1},
        {insertCluster, "nodeq5", "Begin ClusterAdmins\nEnd ClusterAdmins\n", "Begin ClusterAdmins\nEnd ClusterAdmins\n", 1},
        {insertClusterShared, "averylonghost", "Begin Host\n" + kHeader + "\nnodeq2\t! ! 1 - - - (linux)\n\nnodeq3 (x)\nEnd  Host\n",
         "Begin Host\n" + kHeader + "\nnodeq2 ! ! 1 - - - (linux)\n\nnodeq3 (x)\naverylonghost " + kTail + "(linux mg)\nEnd  Host\n", 1},
        {insertClusterShared, "nodeq2", "Begin Host\n" + kHeader + "\n#nodeq2 (x)\nnodeq2\t! ! 1 - - - (linux)\nEnd Host\n",
         "Begin Host\n" + kHeader + "\n#nodeq2 (x)\nnodeq2    " + kTail + "(mg linux)\nEnd Host\n", 1},
        {insertClusterShared, "NODEQ7", head + "nodeq7.lab.local (linux)\nEnd Host\n", head + "nodeq7.lab.local (mg linux)\nEnd Host\n", 1},
        {insertClusterShared, "nodeq7", head + "nodeq7 (linux\nEnd Host\n", head + "nodeq7 (linux\nEnd Host\n", 1},
        {insertClusterShared, "nodeq7", "Begin Host\nEnd Host\n", "Begin Host\nEnd Host\n", -1},
        {removeCluster, "nodeq1", head + "nodeq1 (linux)\nnodeq1.lab.local (mg)\n#nodeq1 (old)\nnodeq10 (l)\n   NodeQ1   (x)\nEnd Host\nnodeq1 out\n",
         head + "#nodeq1 (old)\nnodeq10 (l)\nEnd Host\nnodeq1 out\n", 1},
        {removeCluster, "nodeq2", head + "nodeq1 (linux)\nEnd Host\n", head + "nodeq1 (linux)\nEnd Host\n", 1},
    };
    for (const auto& c : cases) {
        write("orv.cluster.c1", c.before);
        EXPECT_EQ(c.edit(dir_, c.host), c.result) << c.before;
        EXPECT_EQ(read("orv.cluster.c1"), c.after) << c.before;
        EXPECT_FALSE(exists(path("orv.cluster.c1.tmp")));
    }
    // A missing file is reported by the readers and the first insert; without a cluster
    // name nothing is read and nothing printed.
    ::unlink(path("orv.cluster.c1").c_str());
    const std::string open = "Cannot open file " + path("orv.cluster.c1") + ".\n";
    test::ChildRun run = inChild([&] {
        Names hosts, lines;
        std::string header;
        return (getHostLineFromCluster(path("orv.cluster.c1"), hosts, lines, header) == -1) +
               (getHostListFromCluster(dir_, hosts) == -1) + (insertCluster(dir_, "n") == -1) + (removeCluster(dir_, "n") == -1);
    });
    EXPECT_EQ(run.output + std::to_string(run.result), open + open + open + "4");
    EXPECT_FALSE(exists(path("orv.cluster.c1")));
    write("orv.shared", "Begin Cluster\nClusterName\nEnd Cluster\n");
    run = inChild([&] {
        Names hosts;
        return (getHostListFromCluster(dir_, hosts) == -1) + (insertCluster(dir_, "n") == -1) +
               (removeCluster(dir_, "n") == -1) + (insertClusterShared(dir_, "n") == -1);
    });
    EXPECT_EQ(run.output + std::to_string(run.result), "4");
}

}  // namespace
}  // namespace orv
