// gamap and trace --map through the tool: what they print and how they exit.
#include "PlanSupport.h"
#include "ToolProcess.h"

#include <gtest/gtest.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem.hpp>

namespace
{

using Result = LumTest::ToolResult;

class PlanTool : public LumTest::ToolTest
{
protected:
    PlanTool() : ToolTest(LUMKNX_COMMAND, "lumknx-plan-%%%%-%%%%") {}
};

const std::string kSampleCsv = LUMKNX_SAMPLE_DIR "/building-plan.csv";
const std::string kSampleXml = LUMKNX_SAMPLE_DIR "/building-plan.xml";
} // namespace

TEST_F(PlanTool, GamapPrintsAddressDptAndName)
{
    const std::string expected = "0/0/1     10.001  Uhrzeit\n"
                                 "1/1/1     1.001   Küche Decke schalten\n"
                                 "1/1/7     1.001   Küche Arbeitsfläche schalten\n"
                                 "1/2/1     3.007   Küche dimmen\n"
                                 "1/3/1     5.001   Küche Helligkeit\n"
                                 "3/1/1     9.001   Wohnzimmer Ist-Temperatur\n"
                                 "3/1/2     9.001   Büro Ist-Temperatur\n"
                                 "3/2/1     9.x     Außen Luftfeuchte\n"
                                 "4/1/1     14.056  Zähler Wirkleistung\n"
                                 "4/1/5     8.001   Zähler Impulse\n"
                                 "6/3/1     -       Codeschloss Eingabe\n";
    const std::string warning = "lumknx: warning: 3/1/2 listed twice with different DPTs: kept \"Büro "
                                "Ist-Temperatur\" (9.001), dropped \"Büro Stellgröße\" (5.001)\n"
                                "group addresses: 11, without DPT: 1, warnings: 1\n";
    const std::string project =
        File("sample.knxproj",
             PlanTest::Zip({{"P-0001/project.xml", PlanTest::ProjectInformationXml("ThreeLevel")},
                            {"P-0001/0.xml", PlanTest::ProjectAddressesXml(PlanTest::SampleRows())}}));
    for (const std::string& plan : {kSampleCsv, kSampleXml, project})
    {
        const Result r = Run("gamap " + plan);
        EXPECT_EQ(r.status, 1) << plan; // the duplicate was dropped
        EXPECT_EQ(r.out, expected) << plan;
        EXPECT_EQ(r.err, warning) << plan;
    }
}

TEST_F(PlanTool, GamapExitStatus)
{
    const std::string clean = File("clean.csv", "\"Group name\",\"Address\",\"DatapointType\"\n"
                                                "\"Licht\",\"1/-/-\",\"\"\n\"A\",\"1/1/1\",\"DPST-1-1\"\n");
    const std::string twoLevel =
        File("two.xml", "<GroupAddress-Export><GroupAddress Name=\"B\" Address=\"1/515\" "
                        "DPTs=\"DPST-1-1,DPST-5-1\"/></GroupAddress-Export>");
    const std::string sealed = File("sealed.knxproj", PlanTest::Zip({{"P-0002.zip", "x"}}));
    const struct
    {
        std::string args;
        int status;
        std::string out;
        std::string err;
    } cases[] = {
        {"gamap " + clean, 0, "1/1/1     1.001   A\n", "group addresses: 1, without DPT: 0, warnings: 0\n"},
        {"gamap " + twoLevel, 0, "1/515     5.001   B\n",
         "group addresses: 1, without DPT: 0, warnings: 0\n"},
        {"gamap " + sealed, 2, "",
         "lumknx: cannot read plan '" + sealed +
             "': the project is password-protected (P-0002.zip inside): export its group addresses as CSV or "
             "XML "
             "instead\n"},
        {"gamap " + m_dir.string() + "/absent.csv", 2, "",
         "lumknx: cannot read plan '" + m_dir.string() + "/absent.csv': No such file or directory\n"},
        {"gamap", 2, "", "lumknx: gamap takes one FILE (a CSV or XML export, or a .knxproj project)\n"},
        {"trace --map", 2, "", "lumknx: --map needs a value\n"},
        {"trace --map " + sealed + " -", 2, "",
         "lumknx: cannot read plan '" + sealed +
             "': the project is password-protected (P-0002.zip inside): export its group addresses as CSV or "
             "XML "
             "instead\n"},
    };
    for (const auto& c : cases)
    {
        const Result r = RunExpecting(c.args, c.status);
        EXPECT_EQ(r.out, c.out) << c.args;
        EXPECT_EQ(r.err, c.err) << c.args;
    }
}

// The DPT comes from the line, else from the plan; without either the
// telegram prints raw and does not fail.
TEST_F(PlanTool, TraceTakesDptsAndNamesFromThePlan)
{
    const std::string trace = "time,source,destination,dpt,data,service\n"
                              "1,1.1.1,3/1/1,,0C 33\n"
                              "2,1.1.1,3/1/1,7.001,0C 33\n"
                              "3,1.1.1,6/3/1,,01 02\n"
                              "4,1.1.1,5/5/5,,01\n"
                              "5,1.1.1,1/1/1,,,read\n"
                              "6,1.1.1,1/1/1,,01,response\n";
    const Result r = Run("trace --map " + kSampleXml + " -", trace);
    EXPECT_EQ(r.status, 0) << r.err;
    std::vector<std::string> lines;
    boost::algorithm::split(lines, boost::algorithm::trim_right_copy(r.out), boost::is_any_of("\n"));
    ASSERT_EQ(lines.size(), 6u) << r.out;
    const struct
    {
        std::vector<std::string> words; // in this order, each once
        std::string end;
    } expected[] = {
        {{"3/1/1", "Wohnzimmer Ist-Temperatur", "9.001", "0C 33", "21.5 °C"}, "OK"},
        {{"3/1/1", "Wohnzimmer Ist-Temperatur", "7.001", "0C 33", "3123 pulses"}, "OK"},
        {{"6/3/1", "Codeschloss Eingabe", "-", "01 02", "-"}, "no DPT"},
        {{"5/5/5", "?", "-", "01", "-"}, "no DPT"},
        {{"1/1/1", "Küche Decke schalten", "1.001", "(read)"}, "OK"},
        {{"1/1/1", "Küche Decke schalten", "1.001", "01", "on"}, "OK (response)"},
    };
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        std::size_t at = 0;
        for (const auto& word : expected[i].words)
        {
            const auto found = lines[i].find(" " + word + " ", at);
            ASSERT_NE(found, std::string::npos) << word << " in " << lines[i];
            at = found + word.size() + 1;
        }
        EXPECT_TRUE(boost::algorithm::ends_with(lines[i], " " + expected[i].end)) << lines[i];
    }
    EXPECT_EQ(r.err.rfind("lumknx: warning: 3/1/2 listed twice", 0), 0u) << r.err;
    EXPECT_NE(r.err.find("\ntelegrams: 6, decoded: 4, failed: 0, skipped lines: 0\n"), std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("\nprinted raw for want of a DPT: 2\n"), std::string::npos) << r.err;

    // Without a plan the same trace prints raw where its lines name no DPT.
    const Result raw = Run("trace -", trace);
    EXPECT_EQ(raw.status, 0) << raw.err;
    EXPECT_NE(raw.err.find("telegrams: 6, decoded: 2, failed: 0, skipped lines: 0\n"), std::string::npos)
        << raw.err;
    EXPECT_NE(raw.err.find("\nprinted raw for want of a DPT: 4\n"), std::string::npos) << raw.err;
}

// knxd's texts and the monitor export decode to the values of the own CSV.
TEST_F(PlanTool, TraceOfEachFormPrintsTheSameValues)
{
    const std::string own = "time,source,destination,dpt,data\n,0.0.7,3/1/1,,0C 33\n,0.0.7,1/1/1,,01\n";
    const std::string forms[] = {
        "Write from 0.0.7 to 3/1/1: 0C 33 \nWrite from 0.0.7 to 1/1/1: 01\n",
        "L_Busmon: BC 00 07 19 01 E3 00 80 0C 33 00 :L_Data low from 0.0.7 to 3/1/1 hops: 06 T_Data_Group "
        "A_GroupValue_Write 0C 33 \nL_Busmon: BC 00 07 09 01 E1 00 81 2C :L_Data low from 0.0.7 to 1/1/1\n",
        "\"Source Address\";\"Destination Address\";\"Type\";\"Info\"\n"
        "\"0.0.7\";\"3/1/1\";\"Write\";\"$0C $33\"\n\"0.0.7\";\"1/1/1\";\"Write\";\"$01\"\n",
    };
    const auto values = [&](const Result& r)
    {
        std::vector<std::string> lines;
        boost::algorithm::split(lines, boost::algorithm::trim_right_copy(r.out), boost::is_any_of("\n"));
        for (auto& line : lines)
            line = boost::algorithm::trim_copy(line);
        return lines;
    };
    const Result expected = Run("trace --map " + kSampleCsv + " -", own);
    ASSERT_EQ(expected.status, 0) << expected.err;
    ASSERT_NE(expected.out.find("21.5 °C"), std::string::npos) << expected.out;
    ASSERT_NE(expected.out.find(" on "), std::string::npos) << expected.out;
    for (const std::string& form : forms)
    {
        const Result r = Run("trace --map " + kSampleCsv + " -", form);
        EXPECT_EQ(r.status, 0) << form << r.err;
        EXPECT_EQ(values(r), values(expected)) << form;
    }
}
