// The port edit primitive, the free-port probe against a socket held by the test, the
// reading of port texts and of the HDFS profile's port.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "ports/base_port.hpp"
#include "ports/hdfs_port.hpp"
#include "text_test_support.hpp"

namespace orv {
namespace {

using test::runInChild;

class PortsTest : public test::TextFileTest {};

TEST_F(PortsTest, ChgPortsRewritesKeyLinesWholeAndXmlKeysAsElementText) {
    const std::string file = write("mixed.xml",
                                   "ORV_KD_PORT = 1\n"
                                   "#ORV_KD_PORT=2\n"
                                   "<E name=\"OSC_PORT\">3</E> <!-- no -->\n"
                                   "<E name=\"OSC_PORT\">4</E>\n"
                                   "OSC_PORT_EXTRA=5\n");
    EXPECT_EQ(chgPorts(file, "ORV_KD_PORT", "9001"), 0);
    EXPECT_EQ(chgPorts(file, "OSC_PORT", "9003"), 0);
    // Not one of the XML keys (the comparison is exact): the whole line is replaced.
    EXPECT_EQ(chgPorts(file, "OSC_PORT_EXTRA", "9004"), 0);
    EXPECT_EQ(read(file),
              "ORV_KD_PORT=9001\n"
              "ORV_KD_PORT=9001\n"
              "<E name=\"OSC_PORT\">3</E> <!-- no -->\n"
              "<E name=\"OSC_PORT\">9003</E>\n"
              "OSC_PORT_EXTRA=9004\n");
}

TEST_F(PortsTest, ChgPortsFailureNamesTheKeyAndTheValue) {
    const std::string missing = path("none/rs.xml");
    const auto xml = runInChild("", [&] { return chgPorts(missing, "OSC_PORT", "9003"); });
    EXPECT_EQ(xml.result, 255);
    EXPECT_EQ(xml.output, "Cannot open file " + missing + ".\nSet OSC_PORT in 9003 failed.\n");
    const auto line = runInChild("", [&] { return chgPorts(missing, "ORV_LIM_PORT", "1"); });
    EXPECT_EQ(line.result, 255);
    EXPECT_EQ(line.output, "Cannot open file " + missing + ".\nSet ORV_LIM_PORT in 1 failed.\n");
}

// Holds an IPv4 wildcard port chosen by the kernel; a dual-stack IPv6 bind of the same
// port then fails as well, so the probe sees it busy whichever family it tries.
class HeldPort {
public:
    HeldPort() : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in a{};
        a.sin_family = AF_INET;
        socklen_t len = sizeof a;
        if (fd_ >= 0 && ::bind(fd_, reinterpret_cast<sockaddr*>(&a), len) == 0 &&
            ::listen(fd_, 1) == 0 &&
            ::getsockname(fd_, reinterpret_cast<sockaddr*>(&a), &len) == 0) {
            port_ = ntohs(a.sin_port);
        }
    }
    ~HeldPort() { release(); }
    HeldPort(const HeldPort&) = delete;
    HeldPort& operator=(const HeldPort&) = delete;
    int port() const { return port_; }
    void release() {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }

private:
    int fd_;
    int port_ = 0;
};

TEST(PortsProbe, ABusyPortIsNamedAndAFreedOneIsNot) {
    HeldPort held;
    ASSERT_GT(held.port(), 1024);
    const int port = held.port();
    const auto busy = runInChild("", [&] { return checkPortsInUse(port, 1); });
    EXPECT_EQ(busy.result, 255);
    EXPECT_EQ(busy.output, "The port " + std::to_string(port) + " is in use.\n");
    held.release();
    const auto freed = runInChild("", [&] { return checkPortsInUse(port, 1); });
    EXPECT_EQ(freed.result, 0);
    EXPECT_EQ(freed.output, "");
}

TEST(PortsProbe, PortsOutsideTheRangeFailSilently) {
    for (const auto& [base, count] : {std::pair{1024, 1}, {65536, 1}, {-5, 3}}) {
        const auto r = runInChild("", [&] { return checkPortsInUse(base, count); });
        EXPECT_EQ(r.result, 255) << base;
        EXPECT_EQ(r.output, "") << base;
    }
    EXPECT_EQ(checkPortsInUse(65535, 0), 0);
}

TEST(PortsText, DigitsAndValues) {
    EXPECT_TRUE(isAllDigits(""));
    EXPECT_TRUE(isAllDigits("0065535"));
    for (const char* text : {"7a69", "-5", "+5", " 5", "5 ", "1e3"}) {
        EXPECT_FALSE(isAllDigits(text)) << text;
    }
    const std::string withNul("1\0002", 3);
    EXPECT_FALSE(isAllDigits(withNul));
    EXPECT_EQ(portTextToInt(""), 0);
    EXPECT_EQ(portTextToInt("  -12x"), -12);
    EXPECT_EQ(portTextToInt("+0001025"), 1025);
    EXPECT_EQ(portTextToInt("\t9000 (rpc)"), 9000);
    EXPECT_EQ(portTextToInt("4294968321"), 2147483647);  // never wraps into the range
    EXPECT_EQ(portTextToInt("123456789012345678901234567890"), 2147483647);
    EXPECT_EQ(portTextToInt("-99999999999"), -2147483647 - 1);
}

TEST_F(PortsTest, GetPortsReadsOnlyTheHdfsKey) {
    const std::string file = write("namenode.xml",
                                   "<E name=\"HOV_HDFS_PORT\">8020</E>\n"
                                   "<E name=\"HOV_HDFS_PORT\"> 9000 rpc</E>\n"
                                   "<E name=\"OSC_PORT\">7000</E>\n");
    EXPECT_EQ(getPorts(file, "HOV_HDFS_PORT"), 9000);
    EXPECT_EQ(getPorts(file, "OSC_PORT"), -1);
    EXPECT_EQ(getPorts(write("empty.xml", "<Service/>\n"), "HOV_HDFS_PORT"), 0);
    const auto missing =
        runInChild("", [&] { return getPorts(path("gone.xml"), "HOV_HDFS_PORT"); });
    EXPECT_EQ(missing.result, 255);
    EXPECT_EQ(missing.output, "Cannot open file " + path("gone.xml") + ".\n");
}

}  // namespace
}  // namespace orv
