// The installation context: environment directories, directory checks, file modes, the
// cluster name and the administrator check, on files in a fresh temporary directory.
// Cases that print or change the environment run in a forked child.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "child_process.hpp"
#include "context/cluster_identity.hpp"
#include "context/environment.hpp"

namespace orv {
namespace {

using test::ChildRun;
using test::runInChild;

constexpr const char* kM1 =
    "The cluster configuration directory cannot be found because the environment variable "
    "ORV_CONFDIR is not defined. On unix, source the environment before running orvconfig.\n";
constexpr const char* kM2 =
    "The cluster local configuration directory cannot be found because the environment "
    "variable ORV_LOCAL_CONFDIR is not defined.  On unix, source the environment before "
    "running orvconfig.\n";

class ContextTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/orv_context_test.XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir_ = name;
    }
    void TearDown() override {
        std::error_code ec;
        for (const auto& e : std::filesystem::recursive_directory_iterator(dir_, ec)) {
            if (e.is_directory(ec) && !e.is_symlink(ec)) {
                ::chmod(e.path().c_str(), 0700);
            }
        }
        std::filesystem::remove_all(dir_, ec);
    }
    std::string path(const std::string& rel) const { return dir_ + "/" + rel; }
    std::string mkdir(const std::string& rel) const {
        std::filesystem::create_directories(path(rel));
        return path(rel);
    }
    std::string write(const std::string& rel, const std::string& content) const {
        std::ofstream(path(rel), std::ios::binary) << content;
        return path(rel);
    }
    static mode_t modeOf(const std::string& p) {
        struct stat st {};
        EXPECT_EQ(::stat(p.c_str(), &st), 0);
        return st.st_mode & 07777;
    }

    std::string dir_;
};

// --- environment getters -------------------------------------------------------------

TEST_F(ContextTest, EnvironmentGettersReportMissingVariables) {
    const ChildRun unset = runInChild("", [] {
        unsetenv("ORV_CONFDIR");
        unsetenv("ORV_LOCAL_CONFDIR");
        unsetenv("ORV_TOP");
        unsetenv("VOS_ENVDIR");
        std::string local = "untouched";
        const bool allNull = getOrvConfDir() == nullptr && getOrvLocalConfDir() == nullptr &&
                             getInstallTop() == nullptr && getVosEnvDir() == nullptr &&
                             getOrvDirFromBinary(local) == -1 && local == "untouched";
        return allNull ? 0 : 1;
    });
    EXPECT_EQ(unset.result, 0);
    // ORV_TOP is reported with the ORV_CONFDIR text; the getOrvDirFromBinary failure is M2.
    EXPECT_EQ(unset.output, std::string(kM1) + kM2 + kM1 + kM2);

    const ChildRun set = runInChild("", [] {
        setenv("ORV_CONFDIR", "/c d", 1);
        setenv("ORV_LOCAL_CONFDIR", "/l", 1);
        setenv("ORV_TOP", "/t", 1);
        setenv("VOS_ENVDIR", "", 1);
        std::string local;
        const bool ok = std::string(getOrvConfDir()) == "/c d" &&
                        std::string(getOrvLocalConfDir()) == "/l" &&
                        std::string(getInstallTop()) == "/t" && getVosEnvDir() != nullptr &&
                        getOrvDirFromBinary(local) == 1 && local == "/l";
        return ok ? 0 : 1;
    });
    EXPECT_EQ(set.result, 0);
    EXPECT_EQ(set.output, "");
}

// --- shared top ------------------------------------------------------------------------

TEST_F(ContextTest, ShareTopIsTwoLevelsAboveASeparateConfDir) {
    const std::string shared = mkdir("share/kernel/conf");
    const std::string local = mkdir("local/conf");
    std::filesystem::create_directory_symlink(local, path("link"));
    const std::string expectedTop = std::filesystem::canonical(path("share")).string();

    struct Case {
        std::optional<std::string> conf;  // nullopt: variable unset
        std::optional<std::string> local;
        std::optional<std::string> top;
        std::string output;
    };
    const Case cases[] = {
        {shared, local, expectedTop, ""},
        {shared + "/", local, expectedTop, ""},
        {local, local, std::nullopt, ""},
        {path("link"), local, std::nullopt, ""},
        {path("missing"), local, std::nullopt, ""},
        {shared, path("missing"), std::nullopt, path("missing") + " does not exist.\n"},
        {std::nullopt, local, std::nullopt, kM1},
        {shared, std::nullopt, std::nullopt, kM1},
    };
    for (const Case& c : cases) {
        const ChildRun run = runInChild("", [&c] {
            c.conf ? setenv("ORV_CONFDIR", c.conf->c_str(), 1) : unsetenv("ORV_CONFDIR");
            c.local ? setenv("ORV_LOCAL_CONFDIR", c.local->c_str(), 1)
                    : unsetenv("ORV_LOCAL_CONFDIR");
            return getShareTop() == c.top ? 0 : 1;
        });
        const std::string label = c.conf.value_or("(unset)") + " " + c.local.value_or("(unset)");
        EXPECT_EQ(run.result, 0) << label;
        EXPECT_EQ(run.output, c.output) << label;
    }
}

// --- directory checks ------------------------------------------------------------------

TEST_F(ContextTest, CheckDirectoryRefusesWhatCannotHoldTheConfiguration) {
    const std::string conf = mkdir("conf");
    const std::string file = write("file", "x\n");
    const ChildRun run = runInChild("", [&] {
        int r = 0;
        r += checkDirectory(conf) == 1;
        r += checkDirectory(path("missing")) == -1;  // silent
        r += checkDirectory(file) == -1;
        r += checkDirectory(file + "/sub") == -1;
        return r;
    });
    EXPECT_EQ(run.result, 4);
    EXPECT_EQ(run.output,
              "The cluster configuration directory cannot be used because the environment "
              "variable ORV_CONFDIR is not set to a valid directory.\n"
              "stat function failed. Error code [20]\n");
}

TEST_F(ContextTest, CheckDirectoryRefusesAReadOnlyDirectory) {
    const std::string ro = mkdir("ro");
    ASSERT_EQ(::chmod(dir_.c_str(), 0755), 0);
    ASSERT_EQ(::chmod(ro.c_str(), 0555), 0);
    const ChildRun run = runInChild("", [&] {
        // The superuser may write any directory: check as an ordinary user instead.
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
            return 2;
        }
        return checkDirectory(ro) == -1 ? 0 : 1;
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(
        run.output,
        "You do not have permission to modify the cluster configuration directory " + ro + ".\n");
}

TEST_F(ContextTest, IsSameDirectoryComparesInodesAndTreatsTheTwoPathsDifferently) {
    const std::string a = mkdir("a");
    const std::string b = mkdir("b");
    std::filesystem::create_directory_symlink(a, path("alias"));
    const std::string file = write("file", "");
    const ChildRun run = runInChild("", [&] {
        int r = 0;
        r += IsSameDirectory(a, a) == 1;
        r += IsSameDirectory(path("alias"), a) == 1;
        r += IsSameDirectory(a + "/.", path("alias/")) == 1;
        r += IsSameDirectory(a, b) == 0;
        r += IsSameDirectory(path("missing"), a) == 0;  // silent
        r += IsSameDirectory(a, path("missing")) == -1;
        r += IsSameDirectory(file + "/x", a) == -1;
        return r;
    });
    EXPECT_EQ(run.result, 7);
    EXPECT_EQ(run.output,
              path("missing") + " does not exist.\nstat function failed. Error code [20]\n");
}

TEST(ContextPaths, SmallPredicates) {
    EXPECT_NE(isAbsolutePath("/opt"), 0);
    EXPECT_EQ(isAbsolutePath("opt/x"), 0);
    EXPECT_EQ(isAbsolutePath(""), 0);
    EXPECT_TRUE(isRootPrefixed("root"));
    EXPECT_TRUE(isRootPrefixed("rootadmin"));
    EXPECT_FALSE(isRootPrefixed("roo"));
    EXPECT_FALSE(isRootPrefixed("Root"));
    EXPECT_FALSE(isRootPrefixed("aroot"));
    EXPECT_TRUE(pathExists("/"));
    EXPECT_FALSE(pathExists("/nonexistent/orv/path"));
}

// --- file modes ------------------------------------------------------------------------

TEST_F(ContextTest, FileModeIsRecordedAndRestored) {
    const std::string conf = mkdir("conf");
    const std::string file = write("conf/orv.conf", "A=1\n");
    ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
    FILEINFO info;
    EXPECT_EQ(getFileInfo(conf, "orv.conf", info), 1);
    EXPECT_TRUE(info.recorded);
    EXPECT_EQ(info.owner, geteuid());
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(setFileInfo(conf, "orv.conf", info), 1);
    EXPECT_EQ(modeOf(file), 0640u);

    FILEINFO full;
    EXPECT_EQ(getFileInfo2(file, full), 1);
    ASSERT_EQ(::chmod(file.c_str(), 0604), 0);
    EXPECT_EQ(setFileInfo2(file, full), 1);
    EXPECT_EQ(modeOf(file), 0640u);
}

TEST_F(ContextTest, UnrecordedOrMissingFilesAreNeverChanged) {
    const std::string conf = mkdir("conf");
    const std::string file = write("conf/vos.conf", "A=1\n");
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    const ChildRun run = runInChild("", [&] {
        FILEINFO never;  // never filled: applying it would clear every permission bit
        FILEINFO missing;
        int r = 0;
        r += setFileInfo(conf, "vos.conf", never) == -1;
        r += setFileInfo2(file, never) == -1;
        r += getFileInfo(conf, "absent", missing) == -1 && !missing.recorded;
        r += getFileInfo2(path("absent"), missing) == -1 && !missing.recorded;
        FILEINFO gone;
        getFileInfo(conf, "vos.conf", gone);
        ::unlink(file.c_str());
        r += setFileInfo(conf, "vos.conf", gone) == -1;  // prints an empty line
        return r;
    });
    EXPECT_EQ(run.result, 5);
    EXPECT_EQ(run.output, "\n");
}

// --- cluster name ----------------------------------------------------------------------

TEST_F(ContextTest, ClusterNameComesFromTheClusterSection) {
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

TEST_F(ContextTest, GetClusterNameUsesTheLocalConfDir) {
    const std::string conf = mkdir("conf");
    write("conf/orv.shared", "Begin Cluster\nClusterName\nlocal1\nEnd Cluster\n");
    const ChildRun set = runInChild("", [&] {
        setenv("ORV_LOCAL_CONFDIR", conf.c_str(), 1);
        return get_cluster_name() == "local1" ? 0 : 1;
    });
    EXPECT_EQ(set.result, 0);
    EXPECT_EQ(set.output, "");
    const ChildRun unset = runInChild("", [] {
        unsetenv("ORV_LOCAL_CONFDIR");
        return get_cluster_name().empty() ? 0 : 1;
    });
    EXPECT_EQ(unset.result, 0);
    EXPECT_EQ(unset.output, kM2);
}

// --- administrator check ---------------------------------------------------------------

TEST_F(ContextTest, AdministratorsAreTheBlankSeparatedNamesBeforeTheFirstComma) {
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

TEST_F(ContextTest, AdministratorsAreReadOnlyInsideTheirSection) {
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

// --- batch product ---------------------------------------------------------------------

TEST_F(ContextTest, BatchProductBelongsToTheClusterWhenItPointsAtItsConfDir) {
    const std::string conf = mkdir("conf");
    const std::string local = mkdir("local");
    const std::string vos = mkdir("vos");
    const std::string other = mkdir("other");
    struct Case {
        std::string vosConf;  // "" for no file
        int expected;
    };
    const Case cases[] = {
        {"VOS_ORV_ENVDIR=" + conf + "\n", 0},
        {"VOS_ORV_ENVDIR=\"" + conf + "/\"\n", 0},
        {"VOS_ORV_ENVDIR=" + local + "\n", 0},
        {"VOS_ORV_ENVDIR=" + other + "\n", 1},
        {"VOS_ORV_ENVDIR=" + path("missing") + "\n", 1},
        {"VOS_TOP=/opt/vos\n", 1},
        {"", 1},
    };
    for (const Case& c : cases) {
        if (c.vosConf.empty()) {
            std::filesystem::remove(vos + "/vos.conf");
        } else {
            write("vos/vos.conf", c.vosConf);
        }
        const ChildRun run = runInChild("", [&] {
            setenv("ORV_LOCAL_CONFDIR", local.c_str(), 1);
            return checkVosCluster(conf.c_str(), vos.c_str());
        });
        EXPECT_EQ(run.result, c.expected) << c.vosConf;
        EXPECT_EQ(run.output, "") << c.vosConf;
    }
    EXPECT_EQ(checkVosCluster(nullptr, vos.c_str()), 1);
    EXPECT_EQ(checkVosCluster(conf.c_str(), nullptr), 1);
}

}  // namespace
}  // namespace orv
