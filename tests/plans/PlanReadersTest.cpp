// The plan readers in memory: every form of one sample plan gives one map,
// and every kind of bad input gives one exact line.
#include "PlanSupport.h"

#include <PlanReaders.h>

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <fstream>

namespace
{
using LumKnx::PlanLoadResult;

struct Expected
{
    const char* address;
    std::uint16_t main, sub; // main 0: no DPT
    const char* name;
};

// What the sample plan means: its leaves once, the first listing of 3/1/2.
const std::vector<Expected> kSampleMap = {
    {"0/0/1", 10, 1, "Uhrzeit"},
    {"1/1/1", 1, 1, "Küche Decke schalten"},
    {"1/1/7", 1, 1, "Küche Arbeitsfläche schalten"},
    {"1/2/1", 3, 7, "Küche dimmen"},
    {"1/3/1", 5, 1, "Küche Helligkeit"},
    {"3/1/1", 9, 1, "Wohnzimmer Ist-Temperatur"},
    {"3/1/2", 9, 1, "Büro Ist-Temperatur"},
    {"3/2/1", 9, 0, "Außen Luftfeuchte"},
    {"4/1/1", 14, 56, "Zähler Wirkleistung"},
    {"4/1/5", 8, 1, "Zähler Impulse"},
    {"6/3/1", 0, 0, "Codeschloss Eingabe"},
};
const std::string kDuplicateWarning = "3/1/2 listed twice with different DPTs: kept \"Büro Ist-Temperatur\" "
                                      "(9.001), dropped \"Büro Stellgröße\" (5.001)";

void ExpectSampleMap(const PlanLoadResult& result, const std::string& form)
{
    ASSERT_TRUE(result.plan) << form << ": " << result.error;
    EXPECT_EQ(result.warnings, std::vector<std::string>{kDuplicateWarning}) << form;
    EXPECT_EQ(result.plan->Style(), LumBus::GroupAddressStyle::ThreeLevel) << form;
    const auto& entries = result.plan->Entries();
    ASSERT_EQ(entries.size(), kSampleMap.size()) << form;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        const Expected& e = kSampleMap[i];
        EXPECT_EQ(LumBus::FormatGroupAddress(entries[i].address), e.address) << form;
        EXPECT_EQ(entries[i].name, e.name) << form << " " << e.address;
        ASSERT_EQ(entries[i].dpt.has_value(), e.main != 0) << form << " " << e.address;
        if (e.main != 0)
        {
            EXPECT_EQ(entries[i].dpt->mainNumber, e.main) << form << " " << e.address;
            EXPECT_EQ(entries[i].dpt->subNumber, e.sub) << form << " " << e.address;
        }
    }
}

// An archive with one entry whose unpacked size the archive states as `declared`.
std::string ZipDeclaring(const std::string& content, std::uint32_t declared)
{
    std::string zip = PlanTest::Zip({{"P-0001/0.xml", content}});
    const auto patch = [&](std::size_t at)
    {
        for (int i = 0; i < 4; ++i)
            zip.at(at + i) = static_cast<char>(declared >> (8 * i) & 0xFF);
    };
    // Uncompressed size: 22 bytes into the local header, 24 into the central one.
    patch(22);
    patch(zip.find("PK\x01\x02") + 24);
    return zip;
}

std::string Project(const char* style = "ThreeLevel")
{
    return PlanTest::Zip({{"knx_master.xml", "<KNX/>"},
                          {"P-0001/project.xml", PlanTest::ProjectInformationXml(style)},
                          {"P-0001/0.xml", PlanTest::ProjectAddressesXml(PlanTest::SampleRows())}});
}
} // namespace

TEST(PlanReaders, EveryFormOfTheSamplePlanGivesOneMap)
{
    using PlanTest::Csv;
    using PlanTest::Layout;
    const auto& rows = PlanTest::SampleRows();
    const std::string bom = "\xEF\xBB\xBF";
    struct Form
    {
        std::string name;
        std::string bytes;
    };
    std::vector<Form> forms = {
        {"shipped CSV", PlanTest::ReadFile(LUMKNX_SAMPLE_DIR "/building-plan.csv")},
        {"shipped XML", PlanTest::ReadFile(LUMKNX_SAMPLE_DIR "/building-plan.xml")},
        {"project", Project()},
        {"project's 0.xml alone", PlanTest::ProjectAddressesXml(rows)},
    };
    for (const char separator : {'\t', ';', ','})
    {
        const std::string tag = separator == '\t' ? "tab" : std::string(1, separator);
        for (const Layout layout : {Layout::AddressColumn, Layout::ThreeByThree})
        {
            const std::string csv = Csv(rows, separator, layout);
            const std::string kind = (layout == Layout::AddressColumn ? " address column " : " 3/3 ") + tag;
            forms.push_back({"UTF-8" + kind, csv});
            forms.push_back({"UTF-8 with BOM" + kind, bom + csv});
            forms.push_back({"Windows-1252" + kind, PlanTest::ToWindows1252(csv)});
        }
    }
    for (const Form& form : forms)
        ExpectSampleMap(LumKnx::ReadGroupAddressPlan(form.bytes), form.name);
}

TEST(PlanReaders, StyleComesFromTheProjectOrTheAddressForm)
{
    const struct
    {
        std::string bytes;
        LumBus::GroupAddressStyle style;
    } cases[] = {
        {Project("TwoLevel"), LumBus::GroupAddressStyle::TwoLevel},
        {Project("Free"), LumBus::GroupAddressStyle::Free},
        {Project("ThreeLevel"), LumBus::GroupAddressStyle::ThreeLevel},
        {"\"Group name\",\"Address\",\"DatapointType\"\n\"A\",\"1/-\",\"\"\n\"B\",\"1/515\",\"DPST-1-1\"\n",
         LumBus::GroupAddressStyle::TwoLevel},
        {"\"Group name\",\"Address\",\"DatapointType\"\n\"B\",\"2563\",\"DPST-1-1\"\n",
         LumBus::GroupAddressStyle::Free},
        {"<GroupAddress-Export xmlns=\"http://knx.org/xml/ga-export/01\"><GroupAddress Name=\"B\" "
         "Address=\"1/515\" DPTs=\"DPST-1-1\"/></GroupAddress-Export>",
         LumBus::GroupAddressStyle::TwoLevel},
    };
    for (const auto& c : cases)
    {
        const PlanLoadResult result = LumKnx::ReadGroupAddressPlan(c.bytes);
        ASSERT_TRUE(result.plan) << result.error;
        EXPECT_EQ(result.plan->Style(), c.style) << c.bytes.substr(0, 60);
        ASSERT_EQ(result.plan->Entries().size(), c.bytes.rfind("PK", 0) == 0 ? 11u : 1u);
    }
    const PlanLoadResult two = LumKnx::ReadGroupAddressPlan(Project("TwoLevel"));
    EXPECT_EQ(LumBus::FormatGroupAddress(two.plan->Entries()[1].address, two.plan->Style()), "1/257");
}

TEST(PlanReaders, DptTexts)
{
    const struct
    {
        const char* text;
        bool ok;
        int main, sub; // -1: no DPT
    } cases[] = {
        {"DPST-9-1", true, 9, 1},   {"DPST-14-56", true, 14, 56},
        {"DPT-9", true, 9, 0},      {"9.001", true, 9, 1},
        {"9.x", true, 9, 0},        {"", true, -1, -1},
        {"DPST-9", false, -1, -1},  {"DPST-9-0", false, -1, -1},
        {"DPST--1", false, -1, -1}, {"DPT-", false, -1, -1},
        {"DPT-9-1", false, -1, -1}, {"dpst-9-1", false, -1, -1},
        {"Switch", false, -1, -1},  {"DPST-9-1x", false, -1, -1},
        {"0.001", false, -1, -1},   {"DPST-9999999-1", false, -1, -1},
    };
    for (const auto& c : cases)
    {
        const LumKnx::PlanDpt dpt = LumKnx::ParsePlanDpt(c.text);
        EXPECT_EQ(dpt.ok, c.ok) << c.text;
        ASSERT_EQ(dpt.dpt.has_value(), c.main >= 0) << c.text;
        if (dpt.dpt)
        {
            EXPECT_EQ(dpt.dpt->mainNumber, c.main) << c.text;
            EXPECT_EQ(dpt.dpt->subNumber, c.sub) << c.text;
        }
    }
}

TEST(PlanReaders, TextEncodings)
{
    // clang-format off
    const struct
    {
        std::string bytes;
        std::string text; // "" when it fails
        std::string error;
    } cases[] = {
        {"K\xC3\xBC" "che", "Küche", ""},
        {"\xEF\xBB\xBFK\xC3\xBC" "che", "Küche", ""},
        {"K\xFC" "che \x80 \x9F", "Küche € Ÿ", ""},
        {"\xC3", "Ã", ""}, // a cut UTF-8 sequence is Windows-1252
        {"ab\x81", "", "neither UTF-8 nor Windows-1252 (byte 0x81 at offset 2)"},
        {"\xFC\x9D", "", "neither UTF-8 nor Windows-1252 (byte 0x9D at offset 1)"},
        {"\xFF\xFE\"\0G\0", "", "the file is UTF-16; export it as UTF-8 or Windows-1252"},
        {std::string("\"G\0\"", 4), "", "a NUL byte at offset 2: this is no text export"},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        std::string text, error;
        const bool ok = LumKnx::PlanTextToUtf8(c.bytes, text, error);
        EXPECT_EQ(ok, c.error.empty()) << c.text;
        EXPECT_EQ(ok ? text : error, ok ? c.text : c.error);
    }
}

TEST(PlanReaders, RowsThatCannotBeUsedAreWarnedAboutAndDropped)
{
    const std::string header = "\"Group name\",\"Address\",\"DatapointType\",\"Comment\"\n";
    // clang-format off
    const struct
    {
        std::string rows;
        std::size_t entries;
        std::vector<std::string> warnings;
    } cases[] = {
        {"\"A\",\"1/1/1\",\"DPST-1-1\",\"\"\n\"A\",\"1/1/1\",\"DPST-1-1\",\"x\"\n", 1, {}},
        {"\"A\",\"1/1/1\",\"DPST-1-1\",\"\"\n\"B\",\"1/1/1\",\"DPST-1-1\",\"\"\n", 1,
         {"1/1/1 listed twice: kept \"A\" (1.001), dropped \"B\" (1.001)"}},
        {"\"A\",\"1/1/1\",\"\",\"\"\n\"A\",\"1/1/1\",\"DPST-1-1\",\"\"\n", 1,
         {"1/1/1 listed twice with different DPTs: kept \"A\" (no DPT), dropped \"A\" (1.001)"}},
        {"\"A\",\"1/8/1\",\"DPST-1-1\",\"\"\n", 0, {"row 2: \"1/8/1\" is no group address; row dropped"}},
        {"\"A\",\"\",\"DPST-1-1\",\"\"\n", 0, {"row 2: \"\" is no group address; row dropped"}},
        {"\"A\",\"1/1/1\",\"Switch\",\"\"\n", 1,
         {"row 2: 1/1/1 has the unknown DPT \"Switch\"; kept without DPT"}},
        {"\"A\",\"1/1/1\"\n", 0, {"row 2: 2 fields where 3 are needed; row dropped"}},
        {"\"A\tB\",\"1/1/1\",\"\",\"\"\n\"C\",\"1/1/1\",\"\",\"\"\n", 1,
         {"1/1/1 listed twice: kept \"A\\tB\" (no DPT), dropped \"C\" (no DPT)"}},
        {"\n\"\",\"\",\"\",\"\"\n\"A\",\"1/1/-\",\"\",\"\"\n", 0, {}},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        const PlanLoadResult result = LumKnx::ReadGroupAddressPlan(header + c.rows);
        ASSERT_TRUE(result.plan) << c.rows << result.error;
        EXPECT_EQ(result.plan->Entries().size(), c.entries) << c.rows;
        EXPECT_EQ(result.warnings, c.warnings) << c.rows;
    }
    const PlanLoadResult noDpt = LumKnx::ReadGroupAddressPlan(header + "\"A\",\"1/1/1\",\"\",\"\"\n");
    ASSERT_TRUE(noDpt.plan);
    EXPECT_FALSE(noDpt.plan->Find(*LumBus::ParseGroupAddress("1/1/1"))->dpt.has_value());
}

TEST(PlanReaders, WarningsAreBounded)
{
    std::string csv = "\"Group name\",\"Address\",\"DatapointType\"\n";
    for (int i = 0; i < 150; ++i)
        csv += "\"x\",\"1/1/" + std::to_string(200 + i) + "\",\"\"\n";
    const PlanLoadResult result = LumKnx::ReadGroupAddressPlan(csv);
    ASSERT_TRUE(result.plan);
    EXPECT_EQ(result.plan->Entries().size(), 56u); // 1/1/200 .. 1/1/255
    ASSERT_EQ(result.warnings.size(), 94u);        // 1/1/256 .. 1/1/349
    EXPECT_EQ(result.warnings.front(), "row 58: \"1/1/256\" is no group address; row dropped");

    std::string many = "\"Group name\",\"Address\",\"DatapointType\"\n";
    for (int i = 0; i < 150; ++i)
        many += "\"x\",\"9/9/9/" + std::to_string(i) + "\",\"\"\n";
    const PlanLoadResult bounded = LumKnx::ReadGroupAddressPlan(many);
    ASSERT_EQ(bounded.warnings.size(), LumKnx::kMaxPlanWarnings + 1);
    EXPECT_EQ(bounded.warnings.back(), "and 50 more warnings");
}

TEST(PlanReaders, BadInputGivesOneLine)
{
    const std::string header = "\"Group name\",\"Address\",\"DatapointType\"\n";
    std::string truncated = Project();
    truncated.resize(truncated.size() / 2);
    const struct
    {
        std::string name;
        std::string bytes;
        std::string error;
    } cases[] = {
        {"empty", "", "the file is empty"},
        {"blank", " \r\n\n", "the file is empty"},
        {"unclosed quote", header + "\"A\",\"1/1/1\",\"DPST-1-1\n",
         "malformed CSV in row 2: a quote out of place or never closed"},
        {"text after a quote", header + "\"A\"x,\"1/1/1\",\"\"\n",
         "malformed CSV in row 2: a quote out of place or never closed"},
        {"no DPT column", "\"Group name\",\"Address\"\n\"A\",\"1/1/1\"\n",
         "the header has no \"DatapointType\" column"},
        {"no name column", "\"Address\",\"DatapointType\"\n\"1/1/1\",\"\"\n",
         "the header has an \"Address\" column but no \"Group name\""},
        {"no address column", "\"Group name\",\"DatapointType\"\n",
         "no group-address export: the header has no \"Address\" column and is not the "
         "\"Main\",\"Middle\",\"Sub\" layout"},
        {"a trace", "time,source,destination,dpt,data\n1,1.1.1,1/1/1,9.001,0C 33\n",
         "no group-address export: the header has no \"Address\" column and is not the "
         "\"Main\",\"Middle\",\"Sub\" layout"},
        {"UTF-16", "\xFF\xFE\"\0", "the file is UTF-16; export it as UTF-8 or Windows-1252"},
        {"undefined byte", header + "\"\x8F\",\"1/1/1\",\"\"\n",
         "neither UTF-8 nor Windows-1252 (byte 0x8F at offset 40)"},
        {"malformed XML", "<GroupAddress-Export><GroupAddress Name=\"A\"></GroupAddress-Export>",
         "malformed XML at offset 46: Start-end tags mismatch"},
        {"other XML", "<?xml version=\"1.0\"?><config/>",
         "the XML's root element is <config>, neither <GroupAddress-Export> nor a project's <KNX>"},
        {"truncated project", truncated, "not a readable project archive: Not a zip archive"},
        {"sealed project", PlanTest::Zip({{"knx_master.xml", "<KNX/>"}, {"P-0001.zip", "sealed"}}),
         "the project is password-protected (P-0001.zip inside): export its group addresses as CSV or XML "
         "instead"},
        {"no project", PlanTest::Zip({{"knx_master.xml", "<KNX/>"}}),
         "no project in the archive (no P-XXXX/0.xml)"},
        {"project with bad XML",
         PlanTest::Zip(
             {{"P-0001/project.xml", PlanTest::ProjectInformationXml("Free")}, {"P-0001/0.xml", "<KNX>"}}),
         "P-0001/0.xml: malformed XML at offset 4: Start-end tags mismatch"},
        {"zip bomb", ZipDeclaring("<KNX/>", 65u << 20),
         "P-0001/0.xml declares 68157440 bytes unpacked, over the limit of 64 MiB"},
    };
    for (const auto& c : cases)
    {
        const PlanLoadResult result = LumKnx::ReadGroupAddressPlan(c.bytes);
        EXPECT_FALSE(result.plan) << c.name;
        EXPECT_EQ(result.error, c.error) << c.name;
        EXPECT_TRUE(result.warnings.empty()) << c.name;
    }
}

// An archive whose directory understates an entry's size: the entry is still
// cut off at the cap while it unpacks.
TEST(PlanReaders, AnEntryThatExpandsBeyondWhatItDeclaresIsCut)
{
    const PlanLoadResult result =
        LumKnx::ReadGroupAddressPlan(ZipDeclaring(std::string(65u << 20, ' '), 100));
    EXPECT_FALSE(result.plan);
    EXPECT_EQ(result.error, "P-0001/0.xml unpacks to more than 64 MiB");
}

// pugixml expands no declared entity: a billion laughs stays a few bytes.
TEST(PlanReaders, EntityBombDoesNotExpand)
{
    std::string xml = "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n<!ENTITY lol \"lol\">\n";
    for (int i = 1; i <= 9; ++i)
        xml += "<!ENTITY lol" + std::to_string(i) + " \"" +
               [&]
        {
            std::string refs;
            for (int j = 0; j < 10; ++j)
                refs += "&lol" + (i == 1 ? std::string() : std::to_string(i - 1)) + ";";
            return refs;
        }() + "\">\n";
    xml += "]>\n<GroupAddress-Export xmlns=\"http://knx.org/xml/ga-export/01\">"
           "<GroupAddress Name=\"&lol9;\" Address=\"1/1/1\" DPTs=\"DPST-1-1\"/></GroupAddress-Export>\n";
    const PlanLoadResult result = LumKnx::ReadGroupAddressPlan(xml);
    ASSERT_TRUE(result.plan) << result.error;
    ASSERT_EQ(result.plan->Entries().size(), 1u);
    EXPECT_EQ(result.plan->Entries()[0].name, "&lol9;");
}

TEST(PlanReaders, DeepNestingCostsNoStack)
{
    std::string xml = "<GroupAddress-Export>";
    for (int i = 0; i < 200000; ++i)
        xml += "<GroupRange>";
    xml += "<GroupAddress Name=\"deep\" Address=\"1/1/1\" DPTs=\"DPST-1-1\"/>";
    for (int i = 0; i < 200000; ++i)
        xml += "</GroupRange>";
    xml += "</GroupAddress-Export>";
    const PlanLoadResult result = LumKnx::ReadGroupAddressPlan(xml);
    ASSERT_TRUE(result.plan) << result.error;
    EXPECT_EQ(result.plan->Entries().at(0).name, "deep");
}

TEST(PlanReaders, FilesOverTheCapOrUnreadableAreRefused)
{
    const auto dir =
        boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("plans-%%%%%%");
    boost::filesystem::create_directories(dir);
    const std::string huge = (dir / "huge.csv").string();
    {
        std::ofstream(huge) << "\"Group name\",\"Address\",\"DatapointType\"\n";
    }
    boost::filesystem::resize_file(huge, (64u << 20) + 1); // sparse: costs no disk
    const std::string exact = (dir / "exact.csv").string();
    {
        std::ofstream(exact) << "\"Group name\",\"Address\",\"DatapointType\"\n\"A\",\"1/1/1\",\"\"\n";
    }
    const struct
    {
        std::string path;
        std::string error;
    } cases[] = {
        {huge, "cannot read plan '" + huge + "': larger than 64 MiB; no plan is that big"},
        {dir.string(), "cannot read plan '" + dir.string() + "': it is a directory"},
        {(dir / "absent").string(),
         "cannot read plan '" + (dir / "absent").string() + "': No such file or directory"},
    };
    for (const auto& c : cases)
    {
        const PlanLoadResult result = LumKnx::LoadGroupAddressPlan(c.path);
        EXPECT_FALSE(result.plan) << c.path;
        EXPECT_EQ(result.error, c.error);
    }
    EXPECT_TRUE(LumKnx::LoadGroupAddressPlan(exact).plan);
    boost::filesystem::remove_all(dir);
}
