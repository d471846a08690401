// Host rules that need no resolver (the dot-bounded prefix rule, the lexical address test,
// addresses refused as host names), lookups made side by side against lookups made one
// after another, and the master list read from orv.conf.
#include "fixture.hpp"
#include "hosts/host_identity.hpp"
#include "hosts/lookup_workers.hpp"
#include "hosts/master_list.hpp"

namespace orv {
namespace {

using Names = std::vector<std::string>;

TEST(Hosts, NameRules) {
    const struct { const char *x, *y; int equal; } pairs[] = {{"hostA", "hostA", 1}, {"hosta", "HOSTA", 1}, {"hostA", "hostA.lab.local", 1}, {"hostA.lab.local", "hostA", 1},
                 {"HOSTA.LAB", "hosta.lab.local", 1}, {"hostA", "hostAB", 0}, {"hostAB", "hostA", 0}, {"host1", "host10", 0},
                 {"hostA.lab", "hostA.lax", 0}, {"hostA.la", "hostA.lab.local", 0}, {"", "", 1}, {"", ".lab.local", 1},
                 {"", "hostA", 0}, {"hostA", "", 0}, {"hostA.", "hostA", 1}};
    for (const auto& c : pairs) EXPECT_EQ(equalHost_(c.x, c.y), c.equal) << c.x << " vs " << c.y;
    for (const char* s : {"10.0.0.1", "1..2.3", ".1.2.3", "999.999.999.999", "0000.1.2.3"}) EXPECT_EQ(checkIPAddress(s), 0) << s;
    for (const char* s : {"10.0.0", "10.0.0.1.", "10.0.0.a", "", "10.0.0.1.5", "...", "::1", "10.0.0.1 ", "-1.2.3.4"}) {
        EXPECT_EQ(checkIPAddress(s), -1) << s;
    }
    // Every form the classic address parser accepts is refused as a host name; the
    // all-ones address is its error value and passes when the resolver accepts it.
    for (const std::string& s : Names{"10.0.0.1", "10.1", "0x0a.1", "012.0.0.1", "2130706433", "0x7f000001", "::1", "", std::string(10000, 'x')}) {
        EXPECT_EQ(checkHostname(s), -1) << s.substr(0, 20);
    }
    EXPECT_EQ(checkHostname("255.255.255.255"), 1);
}

// Names that resolve (addresses, localhost) and names that cannot (labels longer than 63
// characters) get the same answers from forked workers, and comparisons made from the
// remembered answers agree with the rule applied to the canonical names.
TEST(Hosts, LookupsSideBySideGiveTheAnswersOfLookupsOneAfterAnother) {
    Names names = {"localhost", "::1", "", "10.1", std::string(70, 'x')};
    for (char c = 'a'; c < 'a' + 20; ++c) names.insert(names.end(), {"10.0.0." + std::to_string(c - 'a'), std::string(64, c) + ".lab"});
    const std::vector<std::optional<HostLookup>> got = lookUpInWorkers(names, 7);
    ASSERT_EQ(got.size(), names.size());
    Names canonical;
    int resolved = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const HostLookup expected = lookUpHost(names[i]);
        EXPECT_EQ(got[i], expected) << names[i];
        resolved += expected.resolved ? 1 : 0;
        canonical.push_back(expected.resolved ? expected.canonical : names[i]);
    }
    EXPECT_TRUE(resolved >= 22 && static_cast<int>(names.size()) - resolved >= 22) << resolved;
    // Before any lookup only a name compared with itself is answered without the resolver.
    EXPECT_EQ(knownComparison(names[0], names[0]), 1);
    EXPECT_EQ(knownComparison(names[0], names[1]), std::nullopt);
    resolveAhead(names);
    for (std::size_t i = 0, j = 1; i < names.size(); ++i, j = (i + 1) % names.size()) {
        const int equal = equalHost_(canonical[i], canonical[j]);
        EXPECT_EQ(knownComparison(names[i], names[j]), equal) << names[i];
        EXPECT_EQ(compareHost(names[i], names[j]), equalHost_(canonical[i], canonical[j])) << names[i];
        EXPECT_EQ(compareHost(names[i], names[i]), 1) << names[i];
    }
}

using MasterList = test::TempDirTest;

TEST_F(MasterList, ReadFromOrvConf) {
    const std::string k = "ORV_MASTER_LIST";
    const struct { std::string conf; int result; Names list; } cases[] = {
        {k + "=\"a b c\"\n", 1, {"a", "b", "c"}}, {k + "=a b c\n", 1, {"a", "b", "c"}}, {k + "=\"a b c\n", 1, {"a", "b", "c"}},
        {k + "=a b c\"\n", 1, {"a", "b", "c"}}, {k + "=\"\"a b c\"\"\n", 1, {"a", "b", "c"}}, {k + "=ab\n", 1, {"ab"}},
        {k + "=\"h1,h2  h3\"\n", 1, {"h1,h2", "h3"}}, {"#" + k + "=\"x y\"\n   # " + k + "=\"z\"\n" + k + "=\"B A\" # C\n" + k + "=\"D\"\n", 1, {"B", "A"}},
        {"X" + k + "_OLD=\"old1 old2\"\n" + k + "=\"new\"\n", 1, {"old1", "old2"}}, {"#" + k + "=\"x y\"\nORV_LIM_PORT=7869\n", -1, {}},
    };
    for (const auto& c : cases) {
        write("orv.conf", c.conf);
        EXPECT_EQ(inChild([&] {
                      Names list{"stale"};
                      return getMasterListFromConf(dir_, list, 0) == c.result && list == c.list;
                  }),
                  "[1]")
            << c.conf;
    }
    for (const char* empty : {"=\"\"", "=\"@ORV_MASTER_LIST@\"", "=", "=a", "=\"a\"", "", "=\"", "=\"x @ORV_MASTER_LIST@ y\""}) {
        Names list{"stale"};
        write("orv.conf", "# head\n" + k + std::string(empty) + "\nOTHER=1\n");
        EXPECT_TRUE(getMasterListFromConf(dir_, list, 1) == 1 && list.empty()) << empty;
    }
    // A missing key is reported only when verbose; a missing or unreadable file always.
    write("orv.conf", "ORV_LIM_PORT=1\n");
    const std::string noFile = "Cannot open file " + dir_ + "/orv.conf.\n";
    EXPECT_EQ(inChild([&] {
                  Names list;
                  int r = (getMasterListFromConf(dir_, list, 1) == -1) + (getMasterListFromConf(dir_, list, 0) == -1);
                  ::unlink(path("orv.conf").c_str());
                  r += getMasterListFromConf(dir_, list, 0) == -1;
                  std::filesystem::create_directory(path("orv.conf"));
                  return r + (getMasterListFromConf(dir_, list, 0) == -1);
              }),
              "The parameter [ORV_MASTER_LIST] cannot be found in file [" + dir_ + "/orv.conf]. Please check your configuration file.\n" +
                  noFile + noFile + "[4]");
}

}  // namespace
}  // namespace orv
