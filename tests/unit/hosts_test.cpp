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

TEST(Hosts, NameRule) {
    const struct {
        const char *name, *other;
        int equal;
    } rows[] = {
        {"hostA", "hostA", 1},
        {"hostA", "hostA.lab.local", 1},
        {"hostA.lab.local", "hostA", 1},
        {"HOSTA.LAB", "hosta.lab.local", 1},
        {"hostA", "hostAB", 0},
        {"hostAB", "hostA", 0},
        {"hostA.lab", "hostA.lax", 0},
        {"hostA.la", "hostA.lab.local", 0},
        {"", "", 1},
        {"", ".lab.local", 1},
        {"", "hostA", 0},
        {"hostA", "", 0},
        {"hostA.", "hostA", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + " vs " + row.other);
        EXPECT_EQ(equalHost_(row.name, row.other), row.equal);
    }
}

TEST(Hosts, LexicalAddresses) {
    for (const char* address : {"10.0.0.1", "1..2.3", ".1.2.3", "999.999.999.999", "0000.1.2.3"}) {
        SCOPED_TRACE(address);
        EXPECT_EQ(checkIPAddress(address), 0);
    }
    for (const char* text : {"10.0.0", "10.0.0.1.", "10.0.0.a", "", "10.0.0.1.5", "...", "::1",
                             "10.0.0.1 ", "-1.2.3.4"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(checkIPAddress(text), -1);
    }
}

// Every form the classic address parser accepts is refused as a host name; the all-ones
// address is its error value and passes when the resolver accepts it.
TEST(Hosts, AddressesAreNoHostNames) {
    for (const std::string& name : Names{"10.0.0.1", "10.1", "0x0a.1", "012.0.0.1", "2130706433",
                                         "0x7f000001", "::1", "", std::string(10000, 'x')}) {
        SCOPED_TRACE(name.substr(0, 20));
        EXPECT_EQ(checkHostname(name), -1);
    }
    EXPECT_EQ(checkHostname("255.255.255.255"), 1);
}

// Names that resolve (addresses, localhost) and names that cannot (labels longer than 63
// characters) get the same answers from forked workers, and comparisons made from the
// remembered answers agree with the rule applied to the canonical names.
TEST(Hosts, LookupsSideBySideGiveTheAnswersOfLookupsOneAfterAnother) {
    Names names = {"localhost", "::1", "", "10.1", std::string(70, 'x')};
    for (char letter = 'a'; letter < 'a' + 20; ++letter) {
        names.push_back("10.0.0." + std::to_string(letter - 'a'));
        names.push_back(std::string(64, letter) + ".lab");
    }
    const std::vector<std::optional<HostLookup>> got = lookUpInWorkers(names, 7);
    ASSERT_EQ(got.size(), names.size());
    Names canonical;
    int resolved = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        SCOPED_TRACE(names[i]);
        const HostLookup expected = lookUpHost(names[i]);
        EXPECT_EQ(got[i], expected);
        resolved += expected.resolved ? 1 : 0;
        canonical.push_back(expected.resolved ? expected.canonical : names[i]);
    }
    EXPECT_GE(resolved, 22);
    EXPECT_GE(static_cast<int>(names.size()) - resolved, 22);
    // Before any lookup only a name compared with itself is answered without the resolver.
    EXPECT_EQ(knownComparison(names[0], names[0]), 1);
    EXPECT_EQ(knownComparison(names[0], names[1]), std::nullopt);
    resolveAhead(names);
    for (std::size_t i = 0, j = 1; i < names.size(); ++i, j = (i + 1) % names.size()) {
        SCOPED_TRACE(names[i]);
        const int equal = equalHost_(canonical[i], canonical[j]);
        EXPECT_EQ(knownComparison(names[i], names[j]), equal);
        EXPECT_EQ(compareHost(names[i], names[j]), equal);
        EXPECT_EQ(compareHost(names[i], names[i]), 1);
    }
}

using MasterList = test::TempDirTest;

TEST_F(MasterList, ReadFromOrvConf) {
    const std::string key = "ORV_MASTER_LIST";
    const struct {
        std::string conf;
        int result;
        Names list;
    } rows[] = {
        {key + "=a b c\n", 1, {"a", "b", "c"}},
        {key + "=\"a b c\n", 1, {"a", "b", "c"}},
        {key + "=a b c\"\n", 1, {"a", "b", "c"}},
        {key + "=\"\"a b c\"\"\n", 1, {"a", "b", "c"}},
        {key + "=ab\n", 1, {"ab"}},
        {key + "=\"h1,h2  h3\"\n", 1, {"h1,h2", "h3"}},
        {"   # " + key + "=\"z\"\n" + key + "=\"B A\" # C\n" + key + "=\"D\"\n", 1, {"B", "A"}},
        {"X" + key + "_OLD=\"old1 old2\"\n" + key + "=\"new\"\n", 1, {"old1", "old2"}},
        {"#" + key + "=\"x y\"\nORV_LIM_PORT=7869\n", -1, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.conf);
        write("orv.conf", row.conf);
        Names list{"stale"};
        EXPECT_EQ(getMasterListFromConf(dir_, list, 0), row.result);
        EXPECT_EQ(list, row.list);
        EXPECT_EQ(inChild([&] { return getMasterListFromConf(dir_, list, 0); }).output, "");
    }
    for (const char* empty : {"=\"\"", "=\"@ORV_MASTER_LIST@\"", "=", "=a", "=\"a\"", "", "=\"",
                              "=\"x @ORV_MASTER_LIST@ y\""}) {
        SCOPED_TRACE(empty);
        Names list{"stale"};
        write("orv.conf", "# head\n" + key + std::string(empty) + "\nOTHER=1\n");
        EXPECT_EQ(getMasterListFromConf(dir_, list, 1), 1);
        EXPECT_TRUE(list.empty());
    }
}

}  // namespace
}  // namespace orv
