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
    const std::string section = "Begin Cluster\nClusterName\n";
    const struct {
        std::string shared;
        std::optional<std::string> name;
    } rows[] = {
        {section + "  mycluster\nEnd Cluster\n", "mycluster"},
        {section + "c1 extra\nEnd Cluster\n", "extra"},
        {"Begin Cluster\nClusterName\tServers\n\tc2\t\t\nEnd Cluster\n", "c2"},
        {"# header\nBegin Cluster\n\n# note\nClusterName # col\n\n  # x\nprod   # main\n", "prod"},
        {"ClusterName\nearly\n" + section + "late\n", "late"},
        {section + "End Cluster\nafter\n", std::nullopt},
        {"Begin Cluster\nEnd Cluster\nClusterName\nx\n", std::nullopt},
        {section, std::nullopt},
        {section + std::string("nul\0byte\n", 9), std::string("nul\0byte", 8)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(test::shown(row.shared));
        write("orv.shared", row.shared);
        EXPECT_EQ(getClusterName(dir_), row.name);
    }
    EXPECT_EQ(getClusterName2(dir_), std::nullopt);
    write("vos.shared", section + "batch1\nEnd Cluster\n");
    EXPECT_EQ(getClusterName2(dir_), "batch1");
    std::filesystem::create_directories(path("d/orv.shared"));
    EXPECT_EQ(getClusterName(path("d")), std::nullopt);
}

// The administrators are the blank-separated names before the first comma, inside the
// ClusterAdmins section only, from its first Administrators line.
TEST_F(Context, Administrators) {
    const struct {
        std::string section, user;
        std::optional<std::string> refused;  // the names the refusal shows; nullopt: accepted
    } rows[] = {
        {"Administrators = root alice", "alice", std::nullopt},
        {"Administrators =\troot\t alice", "alice", std::nullopt},
        {"Administrators = root,alice", "alice", "root"},
        {"Administrators = root,alice", "root", std::nullopt},
        {"Administrators = a,b", "a", ""},
        {"Administrators = ab,c", "ab", std::nullopt},
        {"Administrators = root", "Root", "root"},
        {"Administrators=alice # the owner", "alice", std::nullopt},
        {"Administrators alice", "alice", ""},
        {"Administrators = ", "", ""},
        {"End ClusterAdmins\nAdministrators = alice", "alice", ""},
        {"Administrators = first\nAdministrators = alice", "alice", "first"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.section + " / " + row.user);
        write("orv.cluster.c1", "Begin ClusterAdmins\n" + row.section +
                                    "\nEnd ClusterAdmins\n\nBegin Host\nEnd Host\n");
        const Ran run =
            inChild([&] { return checkExecuteUser(dir_.c_str(), "orv.cluster.c1", row.user); });
        const std::string refusal = row.refused ? "You must be cluster administrator [" +
                                                      *row.refused + "] to use orvconfig.\n"
                                                : "";
        EXPECT_RAN(run, refusal, row.refused ? 255 : 1);
    }
    EXPECT_RAN(inChild([&] { return checkExecuteUser(nullptr, "orv.cluster.c1", "x"); }), "", 255);
    EXPECT_RAN(inChild([&] { return checkExecuteUser(dir_.c_str(), nullptr, "x"); }), "", 255);
    ASSERT_EQ(::mkdir(path("ro").c_str(), 0555), 0);
    EXPECT_RAN(inChild([&] { return checkDirectory(path("ro")); }, {.unprivileged = true}),
               "You do not have permission to modify the cluster configuration directory " +
                   path("ro") + ".\n",
               255);
}

}  // namespace
}  // namespace orv
