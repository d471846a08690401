// The cluster name read from the shared file and the administrator check: parsing rules
// that no transcript reaches in their corners (extra words, comments, sections, commas).
#include <optional>
#include <string>

#include "context/cluster_identity.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using test::ChildRun;
using test::runInChild;
using ClusterIdentity = test::TempDirTest;

TEST_F(ClusterIdentity, ClusterNameComesFromTheClusterSection) {
    struct Case {
        std::string shared;
        std::optional<std::string> name;
    };
    const Case cases[] = {
        {"Begin Cluster\nClusterName\ncluster1\nEnd Cluster\n", "cluster1"},
        {"Begin Cluster\nClusterName\n  mycluster\nEnd Cluster\n", "mycluster"},
        {"Begin Cluster\nClusterName\nc1 extra\nEnd Cluster\n", "extra"},
        {"Begin Cluster\nClusterName\tServers\n\tc2\t\t\nEnd Cluster\n", "c2"},
        {"# header\nBegin Cluster\n\n# note\nClusterName # col\n\n  # x\nprod   # main\n", "prod"},
        {"ClusterName\nearly\nBegin Cluster\nClusterName\nlate\n", "late"},
        {"Begin Cluster\nClusterName\nEnd Cluster\nafter\n", std::nullopt},
        {"Begin Cluster\nEnd Cluster\nClusterName\nx\n", std::nullopt},
        {"Begin Cluster\nClusterName\n", std::nullopt},
        {"ClusterName\nc1\n", std::nullopt},
        {"", std::nullopt},
    };
    const std::string conf = mkdir("conf");
    for (const Case& c : cases) {
        write("conf/orv.shared", c.shared);
        EXPECT_EQ(getClusterName(conf), c.name) << c.shared;
    }
    // A NUL byte in the data line is carried, not a reason to stop reading.
    write("conf/orv.shared", std::string("Begin Cluster\nClusterName\nnul\0byte\n", 35));
    EXPECT_TRUE(getClusterName(conf).has_value());
    EXPECT_EQ(getClusterName2(conf), std::nullopt);
    write("conf/vos.shared", "Begin Cluster\nClusterName\nbatch1\nEnd Cluster\n");
    EXPECT_EQ(getClusterName2(conf), "batch1");
    EXPECT_EQ(getClusterName(path("missing")), std::nullopt);
    mkdir("dirs/orv.shared");
    EXPECT_EQ(getClusterName(path("dirs")), std::nullopt);
}

TEST_F(ClusterIdentity, AdministratorsAreTheBlankSeparatedNamesBeforeTheFirstComma) {
    struct Case {
        std::string adminsLine;
        std::string user;
        std::string output;  // "" when accepted
    };
    const Case cases[] = {
        {"Administrators = orvadmin", "orvadmin", ""},
        {"Administrators = root alice", "alice", ""},
        {"Administrators =\troot\t alice", "alice", ""},
        {"Administrators = root,alice", "alice", "[root]"},
        {"Administrators = root,alice", "root", ""},
        {"Administrators = a,b", "a", "[]"},
        {"Administrators = ab,c", "ab", ""},
        {"Administrators = root", "Root", "[root]"},
        {"Administrators=alice # the owner", "alice", ""},
        {"Administrators alice", "alice", "[]"},
        {"Administrators = ", "", "[]"},
    };
    const std::string conf = mkdir("conf");
    for (const Case& c : cases) {
        write("conf/orv.cluster.c1", "Begin ClusterAdmins\n" + c.adminsLine +
                                         "\nEnd ClusterAdmins\n\nBegin Host\nEnd Host\n");
        const ChildRun run = runInChild("", [&] {
            return checkExecuteUser(conf.c_str(), "orv.cluster.c1", c.user) == 1 ? 0 : 1;
        });
        const std::string expected = c.output.empty() ? ""
                                                      : "You must be cluster administrator " +
                                                            c.output + " to use orvconfig.\n";
        EXPECT_EQ(run.result, c.output.empty() ? 0 : 1) << c.adminsLine;
        EXPECT_EQ(run.output, expected) << c.adminsLine;
    }
}

TEST_F(ClusterIdentity, AdministratorsAreReadOnlyInsideTheirSection) {
    const std::string conf = mkdir("conf");
    write("conf/outside", "Administrators = orvadmin\nBegin Host\nEnd Host\n");
    write("conf/closed", "Begin ClusterAdmins\nEnd ClusterAdmins\nAdministrators = orvadmin\n");
    write("conf/second",
          "Begin ClusterAdmins\nAdministrators = first\nAdministrators = orvadmin\n"
          "End ClusterAdmins\n");
    const ChildRun run = runInChild("", [&] {
        int r = 0;
        r += checkExecuteUser(conf.c_str(), "outside", "orvadmin") == -1;
        r += checkExecuteUser(conf.c_str(), "closed", "orvadmin") == -1;
        r += checkExecuteUser(conf.c_str(), "second", "orvadmin") == -1;
        r += checkExecuteUser(conf.c_str(), "absent", "orvadmin") == -1;
        r += checkExecuteUser(nullptr, "second", "orvadmin") == -1;
        r += checkExecuteUser(conf.c_str(), nullptr, "orvadmin") == -1;
        return r;
    });
    EXPECT_EQ(run.result, 6);
    EXPECT_EQ(run.output,
              "You must be cluster administrator [] to use orvconfig.\n"
              "You must be cluster administrator [] to use orvconfig.\n"
              "You must be cluster administrator [first] to use orvconfig.\n"
              "Cannot open the file " +
                  conf + "/absent.\n");
}

}  // namespace
}  // namespace orv
