// Host-name rules that need no resolver: the dot-bounded prefix rule, the lexical address
// test, the address refusal of the host-name check. The master list file and comparisons
// through the (simulated) resolver are covered by the transcripts; here only lookups that
// need no name server (addresses, localhost, names too long to ask about).
#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "hosts/host_identity.hpp"
#include "hosts/lookup_workers.hpp"

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

}  // namespace
}  // namespace orv
