// The cluster file's host section: the column layout of new and re-made host lines, the
// readers, and the insert and remove rewrites, compared as whole files. The host names are
// made up so that the resolver knows none of them and names compare as written.
#include "cluster/cluster_file.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using Names = std::vector<std::string>;
const std::string kHeader =
    "HOSTNAME  model    type        server r1m  mem  swp  RESOURCES    #Keywords";
const std::string kTail = "!        !            1     -    -    -   ";

TEST(ClusterFile, NewHostLineLayout) {
    const std::string lower = "hostname\tTYPE  ndisks Resources #KEYWORDS";
    const struct {
        std::string header, host, resources, out;
    } rows[] = {
        {kHeader, "hostD", "(linux)", "hostD     " + kTail + "(linux)                "},
        {"HOSTNAME", "ninechars", "()", "ninechars "},
        {"HOSTNAME", "tencharsxx", "()", "tencharsxx "},
        {lower, "n1", "(l)", "n1        !            -   (l)                    "},
        {"", "n1", "(linux)", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.header + " / " + row.host);
        std::string out = "stale";
        EXPECT_EQ(generateHostEntry(row.header, row.host, "!", row.resources, out), 0);
        EXPECT_EQ(out, row.out);
    }
}

TEST(ClusterFile, RemadeHostLineLayout) {
    const std::string hostB = "hostB     " + kTail;
    const struct {
        std::string header, line;
        std::optional<std::string> out;  // nullopt: the line cannot be re-made (-1)
    } rows[] = {
        {kHeader, "hostB  !  ! 1 - - - (linux mg)", hostB + "(linux mg)"},
        {kHeader, "hostB ! ! 1 - - - (linux mg) (x)", hostB + "(linux mg) (x)"},
        {kHeader, "hostB ! ! 1 - - - (linux x86) extra", hostB + "(mg linux x86)"},
        {kHeader, "hostB ! ! 1 - - - (img)", hostB + "(img)"},
        {kHeader, "hostB ! ! 1 - - - ()", hostB + "(mg )"},
        {.header = "HOSTNAME server ndisks RESOURCES",
         .line = "longhostname7 3 9 (linux)",
         .out = "longhostname7 3     -   (mg linux)"},
        {kHeader, "hostB ! ! 1 - - - (linux", std::nullopt},
        {kHeader, "hostB ! ! 1 - - -", std::nullopt},
        {"HOSTNAME model RESOURCES", "hostB !", "hostB     !        "},
        {"HOSTNAME model", "hostB ! (linux)", "hostB     !        "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        std::string out;
        const std::string host = row.line.substr(0, row.line.find(' '));
        const int result = changeHostEntry(row.header, row.line, host, out);
        EXPECT_EQ(result, row.out ? 0 : -1);
        if (row.out) {
            EXPECT_EQ(out, *row.out);
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

// The line reader stops at an empty line and takes an indented comment for a host; the
// host list sees every host line of every section; the batch product's cluster name serves
// when orv.shared names none.
TEST_F(ClusterFileOnDisk, Readers) {
    write("orv.cluster.c1",
          "Begin   Host\n" + kHeader +
              "\n  #nodeq8 (x)\nnodeq2\t!  ! 1 (l)   \n\nnodeq3 (y)\nEnd     Host\n"
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
    EXPECT_RAN(inChild([&] { return getHostListFromCluster(dir_, hosts); }), "", 255);
    EXPECT_RAN(inChild([&] { return insertCluster(dir_, "n"); }), "", 255);
    EXPECT_RAN(inChild([&] { return removeCluster(dir_, "n"); }), "", 255);
}

TEST_F(ClusterFileOnDisk, InsertAndRemove) {
    const std::string head = "Begin Host\nHOSTNAME RESOURCES\n";
    const auto inHead = [&head](const std::string& lines) { return head + lines + "End Host\n"; };
    const std::string hosts = "Begin Host\n" + kHeader + "\n";
    const std::string admins = "Begin ClusterAdmins\nEnd ClusterAdmins\n";
    const std::string nodeq1Lines = "nodeq1 (linux)\nnodeq1.lab.local (mg)\n#nodeq1 (old)\n";
    const struct {
        int (*edit)(const std::string&, const std::string&);
        std::string host, before, after;
    } rows[] = {
        {.edit = insertCluster,
         .host = "nodeq5",
         .before = "Begin Host\t\n" + kHeader + "\nnodeq1 ! ! 1 (linux)\nEnd Host",
         .after = hosts + "nodeq5    " + kTail + "(linux)\nnodeq1 ! ! 1 (linux)\nEnd Host\n"},
        {insertCluster, "nodeq5", admins, admins},
        {.edit = insertClusterShared,
         .host = "averylonghost",
         .before = hosts + "nodeq2\t! ! 1 (linux)\n\nnodeq3 (x)\nEnd  Host\n",
         .after = hosts + "nodeq2 ! ! 1 (linux)\n\nnodeq3 (x)\naverylonghost " + kTail +
                  "(linux mg)\nEnd  Host\n"},
        {.edit = insertClusterShared,
         .host = "nodeq2",
         .before = hosts + "#nodeq2 (x)\nnodeq2\t! ! 1 - - - (linux)\nEnd Host\n",
         .after = hosts + "#nodeq2 (x)\nnodeq2    " + kTail + "(mg linux)\nEnd Host\n"},
        {insertClusterShared, "NODEQ7", inHead("nodeq7.lab (l)\n"), inHead("nodeq7.lab (mg l)\n")},
        {insertClusterShared, "nodeq7", inHead("nodeq7 (linux\n"), inHead("nodeq7 (linux\n")},
        {.edit = removeCluster,
         .host = "nodeq1",
         .before = head + nodeq1Lines + "nodeq10 (l)\n   NodeQ1   (x)\nEnd Host\nnodeq1 out\n",
         .after = head + "#nodeq1 (old)\nnodeq10 (l)\nEnd Host\nnodeq1 out\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.host + " in " + test::shown(row.before));
        write("orv.cluster.c1", row.before);
        EXPECT_EQ(row.edit(dir_, row.host), 1);
        EXPECT_EQ(read("orv.cluster.c1"), row.after);
        EXPECT_FALSE(exists(path("orv.cluster.c1.tmp")));
    }
    write("orv.cluster.c1", "Begin Host\nEnd Host\n");  // no header: refused, untouched
    EXPECT_EQ(insertClusterShared(dir_, "nodeq7"), -1);
    EXPECT_EQ(read("orv.cluster.c1"), "Begin Host\nEnd Host\n");
    ::unlink(path("orv.cluster.c1").c_str());
    const std::string cannotOpen = "Cannot open file " + path("orv.cluster.c1") + ".\n";
    EXPECT_RAN(inChild([&] { return insertCluster(dir_, "n"); }), cannotOpen, 255);
    EXPECT_RAN(inChild([&] { return removeCluster(dir_, "n"); }), "", 255);
    EXPECT_FALSE(exists(path("orv.cluster.c1")));
}

}  // namespace
}  // namespace orv
