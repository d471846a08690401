// Host-name rules that need no resolver (the dot-bounded prefix rule, the lexical address
// test, the address refusal of the host-name check) and the master list reader on files
// in a temporary directory. Comparisons through the resolver are covered by the
// end-to-end suite, where the resolver is simulated; here only lookups that need no name
// server (addresses, localhost, names too long to ask about).
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "hosts/host_identity.hpp"
#include "hosts/lookup_workers.hpp"
#include "hosts/master_list.hpp"

namespace orv {
namespace {

using Names = std::vector<std::string>;

TEST(HostsEqualHost, DotBoundedPrefixRule) {
    struct Case {
        const char* x;
        const char* y;
        int expected;
    } cases[] = {
        {"hostA", "hostA", 1},
        {"hosta", "HOSTA", 1},
        {"hostA", "hostA.lab.local", 1},
        {"hostA.lab.local", "hostA", 1},
        {"hostA.lab", "hostA.lab.local", 1},
        {"HOSTA.LAB", "hosta.lab.local", 1},
        {"hostA", "hostAB", 0},
        {"hostAB", "hostA", 0},
        {"host1", "host10", 0},
        {"hostA.lab", "hostA.lax", 0},
        {"hostA.lab", "hostB.lab", 0},
        {"hostA.la", "hostA.lab.local", 0},
        {"", "", 1},
        {"", ".lab.local", 1},
        {"", "hostA", 0},
        {"hostA", "", 0},
        {"hostA.", "hostA", 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(equalHost_(c.x, c.y), c.expected) << c.x << " vs " << c.y;
    }
}

TEST(HostsCheckIPAddress, LexicalDottedForm) {
    struct Case {
        const char* s;
        int expected;
    } cases[] = {
        {"10.0.0.1", 0},   {"1..2.3", 0},      {".1.2.3", 0},     {"999.999.999.999", 0},
        {"0000.1.2.3", 0}, {"10.0.0", -1},     {"10.0.0.1.", -1}, {"10.0.0.a", -1},
        {"", -1},          {"10.0.0.1.5", -1}, {"...", -1},       {"1.2.3.", -1},
        {"::1", -1},       {"10.0.0.1 ", -1},  {"-1.2.3.4", -1},  {"hostA.lab.local", -1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(checkIPAddress(c.s), c.expected) << '"' << c.s << '"';
    }
}

// Everything the classic address parser accepts is refused as a host name, including its
// shortened and hexadecimal forms; the all-ones address is its error value and passes
// when the resolver accepts it.
TEST(HostsCheckHostname, DottedAddressesAreNotHostNames) {
    for (const char* s : {"10.0.0.1", "127.0.0.1", "10.1", "0x0a.1", "012.0.0.1", "127.1",
                          "2130706433", "0x7f000001"}) {
        EXPECT_EQ(checkHostname(s), -1) << s;
    }
    EXPECT_EQ(checkHostname("255.255.255.255"), 1);
    EXPECT_EQ(checkHostname(""), -1);
    EXPECT_EQ(checkHostname(std::string(10000, 'x')), -1);
}

TEST(HostsCheckHostname, IPv6LiteralHasNoIPv4Address) {
    EXPECT_EQ(checkHostname("::1"), -1);
}

// Names looked up by forked workers get the answers of lookups made one after another,
// whether they resolve (addresses, localhost) or not (a label longer than 63 characters),
// and a scan comparing them from the remembered answers gives the same results.
TEST(HostsLookUpInWorkers, SameAnswersAsOneAfterAnother) {
    Names names = {"localhost", "::1", "", "10.1", std::string(70, 'x')};
    for (char c = 'a'; c < 'a' + 20; ++c) {
        names.push_back("10.0.0." + std::to_string(c - 'a'));
        names.push_back(std::string(64, c) + ".lab");
    }
    std::vector<std::optional<HostLookup>> got = lookUpInWorkers(names, 7);
    ASSERT_EQ(got.size(), names.size());
    Names canonical;
    int resolved = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        HostLookup expected = lookUpHost(names[i]);
        ASSERT_TRUE(got[i].has_value()) << names[i];
        EXPECT_EQ(*got[i], expected) << names[i];
        resolved += expected.resolved ? 1 : 0;
        canonical.push_back(expected.resolved ? expected.canonical : names[i]);
    }
    EXPECT_GE(resolved, 22);                                   // the addresses at least
    EXPECT_GE(static_cast<int>(names.size()) - resolved, 22);  // the long names at least
    resolveAhead(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(compareHost(names[i], names[(i + 1) % names.size()]),
                  equalHost_(canonical[i], canonical[(i + 1) % names.size()]))
            << names[i];
        EXPECT_EQ(compareHost(names[i], names[i]), 1) << names[i];
    }
}

TEST(HostsConvertMasterListFormat, StoredForm) {
    std::string out = "untouched";
    EXPECT_EQ(convertMasterListFormat("h1,h2", out), 1);
    EXPECT_EQ(out, "\"h1 h2\"");
    EXPECT_EQ(convertMasterListFormat("a,,b,", out), 1);
    EXPECT_EQ(out, "\"a b\"");
    EXPECT_EQ(convertMasterListFormat("solo", out), 1);
    EXPECT_EQ(out, "\"solo\"");
    out = "untouched";
    EXPECT_EQ(convertMasterListFormat(",,", out), 1);
    EXPECT_EQ(out, "untouched");
    EXPECT_EQ(convertMasterListFormat("", out), 1);
    EXPECT_EQ(out, "untouched");
}

class HostsMasterListFile : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "orv_hosts.XXXXXX");
        std::vector<char> buf(pattern.begin(), pattern.end());
        buf.push_back('\0');
        ASSERT_NE(mkdtemp(buf.data()), nullptr);
        dir_ = buf.data();
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    void writeConf(const std::string& text) const {
        std::ofstream(dir_ + "/orv.conf", std::ios::binary) << text;
    }
    // Reads the list of `text`; the output printed on the way goes to `printed`.
    int read(const std::string& text, Names& list, std::string& printed, int verbose = 1) {
        writeConf(text);
        testing::internal::CaptureStdout();
        int rc = getMasterListFromConf(dir_, list, verbose);
        printed = testing::internal::GetCapturedStdout();
        return rc;
    }

    std::string dir_;
};

TEST_F(HostsMasterListFile, QuotingVariantsReadAlike) {
    for (const char* value : {"\"a b c\"", "a b c", "\"a b c", "a b c\"", "\"\"a b c\"\""}) {
        Names list{"stale"};
        std::string printed;
        EXPECT_EQ(read(std::string("ORV_MASTER_LIST=") + value + "\n", list, printed), 1) << value;
        EXPECT_EQ(list, (Names{"a", "b", "c"})) << value;
        EXPECT_EQ(printed, "");
    }
}

TEST_F(HostsMasterListFile, ValuesReadAsEmptyLists) {
    for (const char* line :
         {"ORV_MASTER_LIST=\"\"", "ORV_MASTER_LIST=\"@ORV_MASTER_LIST@\"",
          "ORV_MASTER_LIST=", "ORV_MASTER_LIST=a", "ORV_MASTER_LIST=\"a\"", "ORV_MASTER_LIST",
          "ORV_MASTER_LIST=\"", "ORV_MASTER_LIST=\"x @ORV_MASTER_LIST@ y\""}) {
        Names list{"stale"};
        std::string printed;
        EXPECT_EQ(read(std::string("# head\n") + line + "\nOTHER=1\n", list, printed), 1) << line;
        EXPECT_TRUE(list.empty()) << line;
    }
}

TEST_F(HostsMasterListFile, TwoCharacterValueIsOneName) {
    Names list;
    std::string printed;
    EXPECT_EQ(read("ORV_MASTER_LIST=ab\n", list, printed), 1);
    EXPECT_EQ(list, (Names{"ab"}));
}

TEST_F(HostsMasterListFile, CommasDoNotSeparateInTheFile) {
    Names list;
    std::string printed;
    EXPECT_EQ(read("ORV_MASTER_LIST=\"h1,h2  h3\"\n", list, printed), 1);
    EXPECT_EQ(list, (Names{"h1,h2", "h3"}));
}

TEST_F(HostsMasterListFile, CommentedKeyLinesAreSkipped) {
    Names list;
    std::string printed;
    EXPECT_EQ(read("#ORV_MASTER_LIST=\"x y\"\n   # ORV_MASTER_LIST=\"z\"\n"
                   "ORV_MASTER_LIST=\"hostB hostA\" # old: hostC\n"
                   "ORV_MASTER_LIST=\"later\"\n",
                   list, printed),
              1);
    EXPECT_EQ(list, (Names{"hostB", "hostA"}));
}

TEST_F(HostsMasterListFile, FirstLineMentioningTheKeyWins) {
    Names list;
    std::string printed;
    EXPECT_EQ(read("XORV_MASTER_LIST_OLD=\"old1 old2\"\nORV_MASTER_LIST=\"new\"\n", list, printed),
              1);
    EXPECT_EQ(list, (Names{"old1", "old2"}));
}

TEST_F(HostsMasterListFile, MissingKeyIsReportedOnlyWhenVerbose) {
    const std::string text = "#ORV_MASTER_LIST=\"x y\"\nORV_LIM_PORT=7869\n";
    Names list{"stale"};
    std::string printed;
    EXPECT_EQ(read(text, list, printed, 1), -1);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(printed, "The parameter [ORV_MASTER_LIST] cannot be found in file [" + dir_ +
                           "/orv.conf]. Please check your configuration file.\n");
    EXPECT_EQ(read(text, list, printed, 0), -1);
    EXPECT_EQ(printed, "");
}

TEST_F(HostsMasterListFile, UnreadableConfIsReported) {
    Names list;
    testing::internal::CaptureStdout();
    EXPECT_EQ(getMasterListFromConf(dir_, list, 0), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open file " + dir_ + "/orv.conf.\n");
    std::filesystem::create_directory(dir_ + "/orv.conf");
    testing::internal::CaptureStdout();
    EXPECT_EQ(getMasterListFromConf(dir_, list, 0), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open file " + dir_ + "/orv.conf.\n");
}

TEST_F(HostsMasterListFile, CurrentMasterAndEmptyListRoles) {
    writeConf("ORV_MASTER_LIST=\"hostB.lab.local hostA\"\n");
    std::string master = "stale";
    EXPECT_EQ(getCurrentMaster(dir_, master, 1), 1);
    EXPECT_EQ(master, "hostB.lab.local");

    writeConf("ORV_MASTER_LIST=\"@ORV_MASTER_LIST@\"\n");
    EXPECT_EQ(getCurrentMaster(dir_, master, 1), 1);
    EXPECT_EQ(master, "");
    EXPECT_EQ(checkMaster(dir_, 1), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(checkMasterList(dir_), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "You have not input any hosts in the master list. Specify the name of the master "
              "host and any master candidates.\n");

    writeConf("ORV_LIM_PORT=1\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(checkMaster(dir_, 0), -1);
    EXPECT_EQ(checkMasterList(dir_), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "The parameter [ORV_MASTER_LIST] cannot be found in file [" + dir_ +
                  "/orv.conf]. Please check your configuration file.\n");
}

}  // namespace
}  // namespace orv
