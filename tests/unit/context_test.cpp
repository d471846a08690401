// The cluster name read from orv.shared and the administrator check: the corners of their
// parsing that no transcript reaches (extra words, comments, sections, commas); and a
// configuration directory the caller cannot write (as root every one is writable, so the
// check runs as "nobody").
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"
#include "fixture.hpp"

namespace orv {
namespace {

using Context = test::TempDirTest;

TEST_F(Context, ClusterNameComesFromTheClusterSection) {
    const std::string b = "Begin Cluster\nClusterName\n";
    const struct { std::string shared; std::optional<std::string> name; } cases[] = {
        {b + "  mycluster\nEnd Cluster\n", "mycluster"}, {b + "c1 extra\nEnd Cluster\n", "extra"},
        {"Begin Cluster\nClusterName\tServers\n\tc2\t\t\nEnd Cluster\n", "c2"},
        {"# header\nBegin Cluster\n\n# note\nClusterName # col\n\n  # x\nprod   # main\n", "prod"},
        {"ClusterName\nearly\n" + b + "late\n", "late"}, {b + "End Cluster\nafter\n", std::nullopt},
        {"Begin Cluster\nEnd Cluster\nClusterName\nx\n", std::nullopt}, {b, std::nullopt}, {"ClusterName\nc1\n", std::nullopt},
        {b + std::string("nul\0byte\n", 9), std::string("nul\0byte", 8)},
    };
    for (const auto& c : cases) {
        write("orv.shared", c.shared);
        EXPECT_EQ(getClusterName(dir_), c.name) << c.shared;
    }
    EXPECT_EQ(getClusterName2(dir_), std::nullopt);
    write("vos.shared", b + "batch1\nEnd Cluster\n");
    EXPECT_EQ(getClusterName2(dir_), "batch1");
    std::filesystem::create_directories(path("d/orv.shared"));
    EXPECT_EQ(getClusterName(path("d")), std::nullopt);
}

// The administrators are the blank-separated names before the first comma, inside the
// ClusterAdmins section only, from its first Administrators line.
TEST_F(Context, Administrators) {
    const struct { std::string section, user, refused; } cases[] = {  // refused: the names the message shows, "-" for none
        {"Administrators = root alice", "alice", ""}, {"Administrators =\troot\t alice", "alice", ""},
        {"Administrators = root,alice", "alice", "root"}, {"Administrators = root,alice", "root", ""}, {"Administrators = a,b", "a", "-"},
        {"Administrators = ab,c", "ab", ""}, {"Administrators = root", "Root", "root"}, {"Administrators=alice # the owner", "alice", ""},
        {"Administrators alice", "alice", "-"}, {"Administrators = ", "", "-"}, {"End ClusterAdmins\nAdministrators = alice", "alice", "-"},
        {"Administrators = first\nAdministrators = alice", "alice", "first"},
    };
    for (const auto& c : cases) {
        write("orv.cluster.c1", "Begin ClusterAdmins\n" + c.section + "\nEnd ClusterAdmins\n\nBegin Host\nEnd Host\n");
        EXPECT_EQ(inChild([&] { return checkExecuteUser(dir_.c_str(), "orv.cluster.c1", c.user); }),
                  c.refused.empty() ? "[1]" : "You must be cluster administrator [" + (c.refused == "-" ? "" : c.refused) + "] to use orvconfig.\n[255]")
            << c.section << " / " << c.user;
    }
    write("outside", "Administrators = orvadmin\nBegin Host\nEnd Host\n");
    EXPECT_EQ(inChild([&] {
                  return (checkExecuteUser(dir_.c_str(), "outside", "orvadmin") == -1) + (checkExecuteUser(dir_.c_str(), "absent", "x") == -1) +
                         (checkExecuteUser(nullptr, "outside", "orvadmin") == -1) + (checkExecuteUser(dir_.c_str(), nullptr, "x") == -1);
              }),
              "You must be cluster administrator [] to use orvconfig.\nCannot open the file " + dir_ + "/absent.\n[4]");
    ASSERT_EQ(::mkdir(path("ro").c_str(), 0555), 0);
    EXPECT_EQ(inChild([&] { return checkDirectory(path("ro")); }, true),
              "You do not have permission to modify the cluster configuration directory " + path("ro") + ".\n[255]");
}

}  // namespace
}  // namespace orv
