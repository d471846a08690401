// The units the check subcommand asks of the modules that keep each rule: the text a
// rewrite changes beyond its edit, where an XML value stands, whether a host line is
// marked mg; and the JSON form of a report.
#include <gtest/gtest.h>

#include "check/report.hpp"
#include "cluster/cluster_file.hpp"
#include "text/text_hazards.hpp"
#include "text/xml_value.hpp"

namespace orv {
namespace {

using Kind = TextHazard::Kind;

struct HazardRow {
    const char* text;
    std::vector<std::string> keys;
    std::vector<TextHazard> expected;
};

TEST(CheckUnits, RewriteHazards) {
    const HazardRow rows[] = {
        {.text = "A=1\r\nB=2\r\nC=3\n", .keys = {}, .expected = {{Kind::CarriageReturn, 1, "", 2}}},
        {.text = "A=1\nB=2\r\n", .keys = {}, .expected = {{Kind::CarriageReturn, 2, "", 1}}},
        {.text = "L=\"a \\\nb\"\n", .keys = {"L"}, .expected = {{Kind::Continuation, 1, "L"}}},
        {.text = "L=\"a \\  \r\nb\"\n",
         .keys = {"L"},
         .expected = {{Kind::CarriageReturn, 1, "", 1}, {Kind::Continuation, 1, "L"}}},
        {.text = "M=\"a \\\nb\"\n", .keys = {"L"}, .expected = {}},
        {.text = "L=a\\b\n", .keys = {"L"}, .expected = {}},
        {.text = "A=1\nx  ", .keys = {}, .expected = {{Kind::DroppedLastLine, 2, ""}}},
        {.text = "A=1\n   ", .keys = {}, .expected = {{Kind::DroppedLastLine, 2, ""}}},
        {.text = "A=1\nab  ", .keys = {}, .expected = {}},
        {.text = "A=1\nx", .keys = {}, .expected = {}},
        {.text = "", .keys = {"L"}, .expected = {}},
    };
    for (const HazardRow& row : rows) {
        SCOPED_TRACE(row.text);
        const std::vector<TextHazard> got = rewriteHazards(row.text, row.keys);
        ASSERT_EQ(got.size(), row.expected.size());
        for (std::size_t i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i].kind, row.expected[i].kind);
            EXPECT_EQ(got[i].line, row.expected[i].line);
            EXPECT_EQ(got[i].key, row.expected[i].key);
            EXPECT_EQ(got[i].count, row.expected[i].count);
        }
    }
}

struct XmlRow {
    const char* text;
    std::vector<XmlValueLine> expected;
};

TEST(CheckUnits, ValuesInXml) {
    const XmlRow rows[] = {
        {.text = "<S>\n  <E name=\"P\">7869</E>\n</S>\n", .expected = {{2, "7869", false}}},
        {.text = "<E name=\"P\">1</E>\n\n<E name=\"P\">2</E>\n",
         .expected = {{1, "1", false}, {3, "2", false}}},
        {.text = "<!-- <E name=\"P\">1</E> -->\n<E name=\"P\"></E>\n",
         .expected = {{2, "", false}}},
        {.text = "<E name=\"P\">\n7869</E>\n<E name=\"P\">1</E>\n", .expected = {{1, "", true}}},
        {.text = "<E name=\"P\"\n>1</E>\n", .expected = {{1, "", true}}},
        {.text = "<E name=\"Q\">1</E>\n", .expected = {}},
    };
    for (const XmlRow& row : rows) {
        SCOPED_TRACE(row.text);
        const std::vector<XmlValueLine> got = valuesInXML(row.text, "\"P\"");
        ASSERT_EQ(got.size(), row.expected.size());
        for (std::size_t i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i].line, row.expected[i].line);
            EXPECT_EQ(got[i].value, row.expected[i].value);
            EXPECT_EQ(got[i].runsOn, row.expected[i].runsOn);
        }
    }
}

struct MgRow {
    const char* header;
    const char* line;
    bool marked;
};

TEST(CheckUnits, MarksManagementHost) {
    const char* header = "HOSTNAME  model type RESOURCES #Keywords";
    const MgRow rows[] = {
        {.header = header, .line = "hostA ! ! (linux mg) kw", .marked = true},
        {.header = header, .line = "hostA ! ! (mg)", .marked = true},
        {.header = header, .line = "hostA ! ! (img)", .marked = true},  // the promotion's own test
        {.header = header, .line = "hostA ! ! (linux)", .marked = false},
        {.header = header, .line = "hostA ! ! (linux mg", .marked = false},
        {.header = header, .line = "hostA ! !", .marked = false},
        {.header = "HOSTNAME model", .line = "hostA (mg)", .marked = false},
    };
    for (const MgRow& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(marksManagementHost(row.header, row.line), row.marked);
    }
}

TEST(CheckUnits, ReportJson) {
    Report report;
    report.error("/c/a \"b\"", 3, "x.y", "tab\there\\");
    report.warning("/c/d", 0, "w.z", "\x01");
    EXPECT_EQ(
        report.json("compute host", "c1"),
        "{\"role\": \"compute host\", \"cluster\": \"c1\", \"errors\": 1, \"warnings\": 1, "
        "\"findings\": [\n"
        "  {\"level\": \"error\", \"path\": \"/c/a \\\"b\\\"\", \"line\": 3, \"code\": \"x.y\", "
        "\"text\": \"tab\\u0009here\\\\\"},\n"
        "  {\"level\": \"warning\", \"path\": \"/c/d\", \"line\": null, \"code\": \"w.z\", "
        "\"text\": \"\\u0001\"}\n]}\n");
    EXPECT_EQ(Report().json("master host", "c1"),
              "{\"role\": \"master host\", \"cluster\": \"c1\", \"errors\": 0, \"warnings\": 0, "
              "\"findings\": []}\n");
}

}  // namespace
}  // namespace orv
