// The cluster file's host section: the column layout of new and re-made host lines, the
// readers, and the insert and remove rewrites, compared as whole files. The host names are
// made up so that the resolver knows none of them and names compare as written.
#include "cluster/cluster_file.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using Names = std::vector<std::string>;
const std::string kHeader = "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords";
const std::string kTail = "!        !            1     -    -    -   ";

TEST(ClusterFile, HostLineLayout) {
    const struct { std::string header, host, resources, out; } made[] = {{kHeader, "hostD", "(linux)", "hostD     " + kTail + "(linux)                "},
                {kHeader, "averylonghost", "(linux mg)", "averylonghost " + kTail + "(linux mg)             "},
                {"HOSTNAME", "ninechars", "()", "ninechars "}, {"HOSTNAME", "tencharsxx", "()", "tencharsxx "},
                {"hostname\tTYPE  ndisks Resources #KEYWORDS", "n1", "(l)", "n1        !            -   (l)                    "},
                {"", "n1", "(linux)", ""}};
    for (const auto& c : made) {
        std::string out = "stale";
        EXPECT_EQ(generateHostEntry(c.header, c.host, "!", c.resources, out), 0);
        EXPECT_EQ(out, c.out) << c.header << " / " << c.host;
    }
    const struct { std::string header, line, out; } remade[] = {  // out "-": the line cannot be re-made (-1)
        {kHeader, "hostB ! ! 1 - - - (linux)", "hostB     " + kTail + "(mg linux)"},
        {kHeader, "hostB  !  ! 1 - - - (linux mg)", "hostB     " + kTail + "(linux mg)"},
        {kHeader, "hostB ! ! 1 - - - (linux mg) (x)", "hostB     " + kTail + "(linux mg) (x)"},
        {kHeader, "hostB ! ! 1 - - - (linux x86) extra", "hostB     " + kTail + "(mg linux x86)"},
        {kHeader, "hostB ! ! 1 - - - (img)", "hostB     " + kTail + "(img)"}, {kHeader, "hostB ! ! 1 - - - ()", "hostB     " + kTail + "(mg )"},
        {"HOSTNAME server ndisks RESOURCES", "longhostname7 3 9 (linux)", "longhostname7 3     -   (mg linux)"},
        {kHeader, "hostB ! ! 1 - - - (linux", "-"}, {kHeader, "hostB ! ! 1 - - -", "-"},
        {"HOSTNAME model RESOURCES", "hostB !", "hostB     !        "}, {"HOSTNAME model", "hostB ! (linux)", "hostB     !        "},
    };
    for (const auto& c : remade) {
        std::string out;
        const int result = changeHostEntry(c.header, c.line, c.line.substr(0, c.line.find(' ')), out);
        EXPECT_EQ(result == -1 ? "-" : out, c.out) << c.line;
    }
}

class ClusterFileOnDisk : public test::TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        write("orv.shared", "Begin Cluster\nClusterName\nc1\nEnd Cluster\n");
    }
};

// The line reader stops at an empty line and takes an indented comment for a host; the
// host list sees every host line of every section; the batch product's cluster name serves
// when orv.shared names none.
TEST_F(ClusterFileOnDisk, Readers) {
    write("orv.cluster.c1", "Begin   Host\n" + kHeader + "\n  #nodeq8 (x)\nnodeq2\t!  ! 1 (l)   \n\nnodeq3 (y)\nEnd     Host\n"
                            "Begin Host\nHOSTNAME RESOURCES\n#nodeq9 (x)\n  nodeq4 (x)\nEnd Host\n");
    Names hosts{"stale"}, lines;
    std::string header;
    EXPECT_EQ(getHostLineFromCluster(path("orv.cluster.c1"), hosts, lines, header), 1);
    EXPECT_EQ(header, kHeader);
    EXPECT_EQ(hosts, (Names{"#nodeq8", "nodeq2"}));
    EXPECT_EQ(lines, (Names{"  #nodeq8 (x)", "nodeq2 !  ! 1 (l)"}));
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), 1);
    EXPECT_EQ(hosts, (Names{"nodeq2", "nodeq3", "nodeq4"}));
    write("orv.shared", "Begin Cluster\nClusterName\nEnd Cluster\n");
    write("vos/vos.shared", "Begin Cluster\nClusterName\nvc\nEnd Cluster\n");
    write("vos.cluster.vc", "Begin Host\nHOSTNAME\nnodeq6\nEnd Host\n");
    setenv("VOS_ENVDIR", path("vos").c_str(), 1);
    EXPECT_EQ(getHostListFromCluster(dir_, hosts), 1);
    unsetenv("VOS_ENVDIR");
    EXPECT_EQ(hosts, (Names{"nodeq6"}));
    // Without a cluster name: -1 each, nothing printed.
    EXPECT_EQ(inChild([&] { return getHostListFromCluster(dir_, hosts) + insertCluster(dir_, "n") + removeCluster(dir_, "n"); }), "[253]");
}

TEST_F(ClusterFileOnDisk, InsertAndRemove) {
    const std::string head = "Begin Host\nHOSTNAME RESOURCES\n", hosts = "Begin Host\n" + kHeader + "\n";
    const struct { int (*edit)(const std::string&, const std::string&); std::string host, before, after; } cases[] = {
        {insertCluster, "nodeq5", "Begin Host\t\n" + kHeader + "\nnodeq1 ! ! 1 (linux)\nEnd Host", hosts + "nodeq5    " + kTail + "(linux)\nnodeq1 ! ! 1 (linux)\nEnd Host\n"},
        {insertCluster, "nodeq5", "Begin ClusterAdmins\nEnd ClusterAdmins\n", "Begin ClusterAdmins\nEnd ClusterAdmins\n"},
        {insertClusterShared, "averylonghost", hosts + "nodeq2\t! ! 1 (linux)\n\nnodeq3 (x)\nEnd  Host\n",
         hosts + "nodeq2 ! ! 1 (linux)\n\nnodeq3 (x)\naverylonghost " + kTail + "(linux mg)\nEnd  Host\n"},
        {insertClusterShared, "nodeq2", hosts + "#nodeq2 (x)\nnodeq2\t! ! 1 - - - (linux)\nEnd Host\n", hosts + "#nodeq2 (x)\nnodeq2    " + kTail + "(mg linux)\nEnd Host\n"},
        {insertClusterShared, "NODEQ7", head + "nodeq7.lab.local (linux)\nEnd Host\n", head + "nodeq7.lab.local (mg linux)\nEnd Host\n"},
        {insertClusterShared, "nodeq7", head + "nodeq7 (linux\nEnd Host\n", head + "nodeq7 (linux\nEnd Host\n"},
        {removeCluster, "nodeq1", head + "nodeq1 (linux)\nnodeq1.lab.local (mg)\n#nodeq1 (old)\nnodeq10 (l)\n   NodeQ1   (x)\nEnd Host\nnodeq1 out\n",
         head + "#nodeq1 (old)\nnodeq10 (l)\nEnd Host\nnodeq1 out\n"},
        {removeCluster, "nodeq2", head + "nodeq1 (linux)\nEnd Host\n", head + "nodeq1 (linux)\nEnd Host\n"},
    };
    for (const auto& c : cases) {
        write("orv.cluster.c1", c.before);
        EXPECT_EQ(c.edit(dir_, c.host), 1) << c.before;
        EXPECT_EQ(read("orv.cluster.c1"), c.after) << c.before;
        EXPECT_FALSE(exists(path("orv.cluster.c1.tmp")));
    }
    write("orv.cluster.c1", "Begin Host\nEnd Host\n");  // no header: refused, untouched
    EXPECT_EQ(insertClusterShared(dir_, "nodeq7"), -1);
    EXPECT_EQ(read("orv.cluster.c1"), "Begin Host\nEnd Host\n");
    ::unlink(path("orv.cluster.c1").c_str());
    const std::string run = inChild([&] { return insertCluster(dir_, "n") + removeCluster(dir_, "n"); });
    EXPECT_EQ(run + std::to_string(exists(path("orv.cluster.c1"))),
              "Cannot open file " + path("orv.cluster.c1") + ".\n[254]0");
}

}  // namespace
}  // namespace orv
