// The management hosts' resource group: its host list becomes a requirement on the mg tag;
// every other line comes back as it was, white space normalised. Whole files compared.
#include "mghost/resource_group.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "mghost_test_support.hpp"

namespace orv {
namespace {

using testing_support::TempDirTest;

const std::string kRequirement = "        <ResourceRequirement>select(mg)</ResourceRequirement>\n";

const std::string kComputeGroup =
    "  <ResourceGroup Name=\"ComputeHosts\">\n"
    "    <ResourceList>\n"
    "      <Host>hostC</Host>\n"
    "    </ResourceList>\n"
    "  </ResourceGroup>\n";

class ResourceGroupFile : public TempDirTest {
  protected:
    std::string file() const { return path("ResourceGroups.xml"); }
    int update(const std::string& text) const {
        write("ResourceGroups.xml", text);
        return updateResourceGroup(file());
    }
    std::string result() const { return read("ResourceGroups.xml"); }
};

TEST_F(ResourceGroupFile, HostListBecomesTheRequirement) {
    const std::string before =
        "<?xml version=\"1.0\"?>\n"
        "<ResourceGroups>\n" +
        kComputeGroup +
        "  <ResourceGroup Name=\"ManagementHosts\" Description=\"mg\">\n"
        "\t<ResourceList>\n"
        "      <Host>hostA</Host>\n"
        "      <Host>hostB</Host>\n"
        "    </ResourceList>\n"
        "    <Policy>x</Policy>  \n"
        "  </ResourceGroup>\n" +
        kComputeGroup + "</ResourceGroups>";
    EXPECT_EQ(update(before), 1);
    EXPECT_EQ(result(),
              "<?xml version=\"1.0\"?>\n"
              "<ResourceGroups>\n" +
                  kComputeGroup +
                  "  <ResourceGroup Name=\"ManagementHosts\" Description=\"mg\">\n" + kRequirement +
                  "    <Policy>x</Policy>\n"
                  "  </ResourceGroup>\n" +
                  kComputeGroup + "</ResourceGroups>\n");
    EXPECT_FALSE(has("ResourceGroups.xml.tmp"));
}

TEST_F(ResourceGroupFile, ConvertedGroupIsLeftAsItIs) {
    const std::string converted =
        "<ResourceGroups>\n"
        "  <ResourceGroup Name=\"ManagementHosts\">\n" +
        kRequirement + "  </ResourceGroup>\n" + kComputeGroup + "</ResourceGroups>\n";
    EXPECT_EQ(update(converted), 1);
    EXPECT_EQ(result(), converted);
    EXPECT_EQ(updateResourceGroup(file()), 1);
    EXPECT_EQ(result(), converted);
}

TEST_F(ResourceGroupFile, OtherGroupsAreNotTouchedButWhiteSpaceIsNormalised) {
    EXPECT_EQ(update("<ResourceGroups>\n\t<ResourceGroup Name=\"Other\">  \n"
                     "\t\t<ResourceList><Host>h</Host></ResourceList>\n"
                     "\t</ResourceGroup>\r\n</ResourceGroups>"),
              1);
    EXPECT_EQ(result(),
              "<ResourceGroups>\n <ResourceGroup Name=\"Other\">\n"
              "  <ResourceList><Host>h</Host></ResourceList>\n"
              " </ResourceGroup>\n</ResourceGroups>\n");
}

TEST_F(ResourceGroupFile, OneLineListIsDroppedWithoutARequirement) {
    EXPECT_EQ(update("<ResourceGroup Name=\"ManagementHosts\">\n"
                     "  <ResourceList><Host>hostA</Host></ResourceList>\n"
                     "  <Policy>p</Policy>\n"
                     "</ResourceGroup>\n"
                     "<After/>\n"),
              1);
    // The list's opening tag wins, so the lines up to the group's end are taken as members.
    EXPECT_EQ(result(),
              "<ResourceGroup Name=\"ManagementHosts\">\n"
              "</ResourceGroup>\n"
              "<After/>\n");
}

TEST_F(ResourceGroupFile, GroupNameOnAnotherLineIsNotRecognised) {
    const std::string split =
        "<ResourceGroup\n"
        "   Name=\"ManagementHosts\">\n"
        "  <ResourceList>\n"
        "    <Host>hostA</Host>\n"
        "  </ResourceList>\n"
        "</ResourceGroup>\n";
    EXPECT_EQ(update(split), 1);
    EXPECT_EQ(result(), split);
}

TEST_F(ResourceGroupFile, MissingFileIsReported) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(updateResourceGroup(file()), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open file " + file() + ".\n");
    EXPECT_FALSE(has("ResourceGroups.xml"));
    EXPECT_FALSE(has("ResourceGroups.xml.tmp"));
}

TEST_F(ResourceGroupFile, LinkAtTheTemporaryNameIsReportedAndNotFollowed) {
    const std::string text =
        "<ResourceGroup Name=\"ManagementHosts\">\n<ResourceList>\n<Host>a</Host>\n"
        "</ResourceList>\n</ResourceGroup>\n";
    write("ResourceGroups.xml", text);
    write("victim", "precious\n");
    ASSERT_EQ(symlink(path("victim").c_str(), path("ResourceGroups.xml.tmp").c_str()), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(updateResourceGroup(file()), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open file " + file() + ".tmp.\n");
    EXPECT_EQ(result(), text);
    EXPECT_EQ(read("victim"), "precious\n");
}

}  // namespace
}  // namespace orv
