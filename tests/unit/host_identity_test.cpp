// Host-name rules that need no resolver: the dot-bounded prefix rule, the lexical address
// test, the address refusal of the host-name check. The master list file and comparisons
// through the (simulated) resolver are covered by the transcripts.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "hosts/host_identity.hpp"

namespace orv {
namespace {

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

}  // namespace
}  // namespace orv
