// Runs the lumknx tool as a process: exit codes and the lines it prints.
#include "ToolProcess.h"

#include <gtest/gtest.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem.hpp>

#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <map>
#include <sys/resource.h>

namespace
{

using Result = LumTest::ToolResult;

class Lumknx : public LumTest::ToolTest
{
protected:
    Lumknx() : ToolTest(LUMKNX_COMMAND, "lumknx-%%%%-%%%%") {}

    struct Printed
    {
        const char* args;
        const char* out;
    };
    // Each command line succeeds and prints exactly its `out`.
    void ExpectPrinted(std::initializer_list<Printed> cases)
    {
        for (const Printed& c : cases)
            EXPECT_EQ(RunExpecting(c.args, 0).out, c.out) << c.args;
    }

    // A command line, the status it exits with, and a text the test matches
    // against what it printed.
    struct Exit
    {
        std::string args;
        int status;
        std::string text;
    };
    // Runs every row, expecting its status; `check` looks at the rest.
    template <typename Check> void ExpectExits(const std::vector<Exit>& cases, Check check)
    {
        for (const Exit& c : cases)
            check(c, RunExpecting(c.args, c.status));
    }
};

TEST_F(Lumknx, ConvertsSingleValues)
{
    ExpectPrinted({
        {"decode 9.001 '0C 33'", "21.5\t21.5 °C (Float)\n"},
        {"decode 9.x 0c33", "21.5\t21.5 (Float)\n"},
        {"decode 1.001 01", "true\ton (Bool)\n"},
        // What the converter wrote, every field the bytes hold, the parts of 2.x, 3.x and 18.x.
        {"decode 3.007 0B", "11\tincrease, step 3 (Byte)\n"},
        {"decode 3.008 01", "1\tup, step 1 (Byte)\n"},
        {"decode 18.001 81", "129\tlearn scene 2 (Byte)\n"},
        {"decode 2.001 02", "2\tcontrol, off (Byte)\n"},
        {"decode 10.001 'A0 00 00'", "Fri 00:00:00\tFri 00:00:00 (DayTime)\n"},
        {"decode 10.001 '0D 17 2A'", "13:23:42\t13:23:42, no day (DayTime)\n"},
        {"decode 19.001 '7E 0B 14 A0 00 00 21 80'", "2026-11-20 00:00:00\t2026-11-20 00:00:00, Fri, working "
                                                    "day unknown, summer time, clock synchronised "
                                                    "(DateTime)\n"},
        {"decode 14.056 '43 A4 19 9A'", "328.2\t328.2 W (Float)\n"},
        {"decode 5.001 80", "128\t50.2 % (Byte)\n"},
        {"decode 9.001 7FFF", "invalid\t(invalid data) (Unset)\n"},
        {"decode 16.001 '41 09 42 00 00 00 00 00 00 00 00 00 00 00'", "\"A\\tB\"\tA\\tB (String)\n"},
        {"encode 3.007 11", "0B (4 bits)\n"},
        {"encode 2.001 3", "03 (2 bits)\n"},
        {"encode 18.001 129", "81 (8 bits)\n"},
        {"encode 10.001 'Wed 13:23:42'", "6D 17 2A (24 bits)\n"},
        {"encode 9.001 invalid", "7F FF (16 bits)\n"},
        {"encode 9.001 21.5", "0C 33 (16 bits)\n"},
        {"encode 14.x 397", "43 C6 80 00 (32 bits)\n"},
        {"encode 16.001 'KNX is OK'", "4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00 (112 bits)\n"},
        {"encode 12.001 4294967295", "FF FF FF FF (32 bits)\n"},
    });
}

TEST_F(Lumknx, UsageErrorsExitTwoWithOneLine)
{
    const char* cases[] = {"",
                           "frobnicate",
                           "decode 9.001",
                           "decode nine 0C33",
                           "decode 9.001 0C3",
                           "decode 9.001 XY",
                           "encode 9.001 warm",
                           "--log-level chatty dpts",
                           "id co 1 --ld 3",
                           "id co 4096",
                           "id param colour 1",
                           "trace a b"};
    for (const char* args : cases)
    {
        const Result r = Run(args);
        EXPECT_EQ(r.status, 2) << args;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << args << ": " << r.err;
    }
}

TEST_F(Lumknx, TraceReportsBadTelegramsAndSkipsBadLines)
{
    const std::string trace = "time,source,destination,dpt,data\n"
                              "08:00:00.000,1.1.1,1/1/1,1.001,01\n"
                              "08:00:01.000,1.1.2,3/1/1,9.001,0C 33\n"
                              "08:00:02.000,1.1.2,3/1/1,9.001,0C\n"
                              "garbage line\n"
                              "08:00:03.000,1.1.3,5/3/1,6.020,00\n"
                              "08:00:04.000,1.1.3,5/3/1,9.001,ZZ\n"
                              "08:00:05.000,1.1.4,0/0/1,10.001,4D 17 2A\n";
    const Result r = Run("trace -", trace);
    ASSERT_EQ(r.status, 1) << r.err; // some telegrams failed, a line was skipped
    const auto lines = r.outLines();
    ASSERT_EQ(lines.size(), 7u) << r.out;
    EXPECT_TRUE(boost::algorithm::ends_with(lines[0], " OK")) << lines[0];
    EXPECT_NE(lines[1].find("21.5"), std::string::npos) << lines[1];
    EXPECT_TRUE(boost::algorithm::ends_with(
        lines[2],
        "FAILED: Failed to convert a GroupValue for DPT 9.1 because of unexpected bit size: 8, expected: 16"))
        << lines[2];
    EXPECT_EQ(lines[3], "line 5: skipped, 1 fields instead of 5 (time,source,destination,dpt,data)");
    EXPECT_TRUE(boost::algorithm::ends_with(
        lines[4], "FAILED: The internal value of DPT=6.20, f=0 is out of the allowed range."))
        << lines[4];
    EXPECT_TRUE(boost::algorithm::ends_with(lines[5], "FAILED: not hexadecimal bytes")) << lines[5];
    EXPECT_TRUE(boost::algorithm::ends_with(lines[6], " OK")) << lines[6];
    EXPECT_EQ(r.err.rfind("telegrams: 6, decoded: 3, failed: 3, skipped lines: 1\ntelegrams per second: ", 0),
              0u)
        << r.err;
    // The columns line up: every telegram line has its DPT and bytes at the same place.
    const std::pair<std::size_t, const char*> dpts[] = {{0, "1.001 "}, {1, "9.001 "}, {2, "9.001 "},
                                                        {4, "6.020 "}, {5, "9.001 "}, {6, "10.001 "}};
    for (const auto& d : dpts)
        EXPECT_EQ(lines[d.first].find(d.second), lines[0].find("1.001 ")) << lines[d.first];
    EXPECT_EQ(lines[6].find("4D 17 2A"), lines[0].find(" 01 ") + 1) << lines[6];
}

TEST_F(Lumknx, TraceOfTheShippedSampleDecodesAllButTheBrokenTelegrams)
{
    const Result r = Run("trace");
    ASSERT_EQ(r.status, 1) << r.err; // the sample holds broken telegrams on purpose
    unsigned telegrams = 0, decoded = 0, failed = 0, skipped = 0;
    ASSERT_EQ(std::sscanf(r.err.c_str(), "telegrams: %u, decoded: %u, failed: %u, skipped lines: %u",
                          &telegrams, &decoded, &failed, &skipped),
              4)
        << r.err;
    EXPECT_GE(telegrams, 300u);
    EXPECT_EQ(decoded + failed, telegrams);
    EXPECT_EQ(skipped, 2u);
    // The sample's malformed telegrams, and only those, fail; of its 18 odd
    // ones, 7F FF on 9.001 is the KNX invalid-data marker and decodes.
    EXPECT_EQ(failed, 17u) << r.out;
    // A 3.x step prints as what it means, never as the bits of a float.
    EXPECT_EQ(r.out.find("e-32"), std::string::npos);
    EXPECT_NE(r.out.find("(invalid data)"), std::string::npos);
}

TEST_F(Lumknx, DptsListsEverySupportedType)
{
    const Result r = Run("dpts");
    ASSERT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("\n53 datapoint types\n"), std::string::npos);
    EXPECT_NE(r.out.find("KnxConverterFloat16BitFloat"), std::string::npos);
    const Result md = Run("dpts --markdown");
    ASSERT_EQ(md.status, 0);
    EXPECT_EQ(std::count(md.out.begin(), md.out.end(), '\n'), 55);
}

TEST_F(Lumknx, IdDescribesAndBuildsIdentifiers)
{
    ExpectPrinted({
        {"id 1000", "1000\tthe device (also the KNX device)\n"},
        {"id 200000", "200000\tlogical KNX device 2\n"},
        {"id 100022", "100022\tapp-control event of logical device 1\n"},
        {"id 100101", "100101\tCO value 1 of logical device 1\n"},
        {"id 208288", "208288\tCO channel 4095 of logical device 2\n"},
        {"id 180601", "180601\ttext parameter value 44 of logical device 1\n"},
        {"id 99999", "99999\tno object of the object model\n"},
        {"id co 1 --ld 2", "200100\tCO channel 1 of logical device 2\n"},
        {"id co-value 4095 --ld 2", "208289\tCO value 4095 of logical device 2\n"},
        {"id param number 64 --ld 2", "270128\tnumber parameter channel 64 of logical device 2\n"},
        {"id app-control alive", "100023\tapp-control alive heartbeat of logical device 1\n"},
    });
}

TEST_F(Lumknx, ConfigPrintsTheEffectiveSettings)
{
    const std::string path = File("config.xml", R"(<LumAppHostConfig WithoutKNX="false">
  <ObjectModelConfig Path="/data/om.json"/>
  <Debugging Active="1"><AppHost DisableStartup="1" RootPath="/dbg/host"/></Debugging>
</LumAppHostConfig>)");
    const Result r = Run("config " + path);
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* line :
         {"  app host without KNX: on\n", "  app debug mode: on\n", "  app host startup disabled: on\n",
          "  app connector host startup disabled: on\n", "  object-model configuration: /data/om.json\n",
          "  root path app host: /dbg/host\n", "  root path native apps: (not set)\n"})
        EXPECT_NE(r.out.find(line), std::string::npos) << line << r.out;

    const Result missing = Run("config " + (m_dir / "absent.xml").string());
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.out.find("(not applied: App host config file cannot be read from: \""),
              std::string::npos)
        << missing.out;
    EXPECT_NE(missing.out.find("  app host without KNX: off\n"), std::string::npos);
}

// One telegram of every DPT the table knows, decoded; its exact text fed back to encode gives the same
// bytes. The bytes are the standard's for each main number.
TEST_F(Lumknx, EveryDptDecodesToTextThatEncodesToTheSameBytes)
{
    // clang-format off
    const std::map<std::string, std::string> byMain = {
        {"1", "01"}, {"2", "03"}, {"3", "0B"}, {"4", "41"}, {"5", "80"}, {"6", "01"}, {"7", "01 2C"},
        {"8", "FF 38"}, {"9", "0C 33"}, {"10", "6D 17 2A"}, {"11", "05 03 18"}, {"12", "00 01 E2 40"},
        {"13", "FF FF FE 0C"}, {"14", "43 A4 19 9A"}, {"15", "00 12 34 56"},
        {"16", "4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00"}, {"17", "05"}, {"18", "81"},
        // 2017-11-28, a Tuesday, 23:07:24; working day unknown.
        {"19", "75 0B 1C 57 07 18 20 00"}, {"20", "01"}, {"21", "01"}, {"23", "01"}, {"26", "41"},
        {"27", "00 00 00 01"}, {"232", "01 02 03"}, {"236", "01"}, {"238", "01"}};
    // clang-format on
    const Result dpts = Run("dpts");
    ASSERT_EQ(dpts.status, 0);
    std::vector<std::string> rows;
    boost::algorithm::split(rows, dpts.out, boost::is_any_of("\n"));
    unsigned tried = 0;
    for (const std::string& row : rows)
    {
        std::string dpt = row.substr(0, row.find(' '));
        if (dpt.empty() || !std::isdigit(static_cast<unsigned char>(dpt[0])) ||
            dpt.find('.') == std::string::npos)
            continue;
        // The scene-control and scene-info converters take only sub number 1; their rows
        // serve 18.001, 26.001.
        if (dpt == "18.x" || dpt == "26.x")
            dpt.replace(dpt.size() - 1, 1, "001");
        const std::string main = dpt.substr(0, dpt.find('.'));
        ASSERT_EQ(byMain.count(main), 1u) << "no telegram for " << dpt;
        const std::string& bytes = byMain.at(main);
        const Result decoded = Run("decode " + dpt + " '" + bytes + "'");
        ASSERT_EQ(decoded.status, 0) << dpt << ": " << decoded.err;
        const std::string exact = decoded.out.substr(0, decoded.out.find('\t'));
        std::string quoted = exact;
        boost::algorithm::replace_all(quoted, "'", "'\\''");
        const Result encoded = Run("encode " + dpt + " '" + quoted + "'");
        ASSERT_EQ(encoded.status, 0) << dpt << " " << exact << ": " << encoded.err;
        EXPECT_EQ(encoded.out.substr(0, encoded.out.find(" (")), bytes) << dpt << " " << exact;
        ++tried;
    }
    EXPECT_EQ(tried, 53u);
}

TEST_F(Lumknx, ExitStatusTellsSuccessPartialFailureAndUnreadableInput)
{
    const std::string good =
        File("good.csv", "time,source,destination,dpt,data\n1,1.1.1,1/1/1,9.001,0C 33\n");
    const std::string junk = File("junk.bin", std::string("\x7F"
                                                          "ELF\x02\x01\0\0\xFF\xFE\n\x01\x02",
                                                          14));
    const std::string malformed = File("bad.csv", "a,b\nc\n,,,,,,\n");
    const std::string empty = File("empty.csv", "");
    // The text: a part of what standard error says.
    const std::vector<Exit> cases = {
        {"trace " + good, 0, "telegrams: 1, decoded: 1, failed: 0, skipped lines: 0"},
        {"trace " + empty, 0, "telegrams: 0"},
        {"trace " + junk, 1, "skipped lines: 2"},
        {"trace " + malformed, 1, "telegrams: 0, decoded: 0, failed: 0, skipped lines: 3"},
        {"trace " + m_dir.string(), 2, "it is a directory"},
        {"trace " + (m_dir / "absent.csv").string(), 2, "No such file or directory"},
        {"config /dev/zero", 1, ""},
        {"decode 9.001 0C", 1,
         "Failed to convert a GroupValue for DPT 9.1 because of unexpected bit size: 8, expected: 16"},
        {"encode 5.006 255", 1, "Value out of raw range [0..254] for DPT 5.006: 255"},
        {"decode 99.001 12", 1, "DPT 99.001 is not supported"},
        {"id -1", 2, "'-1' is not an identifier: identifiers are numbers from 0 to 4294967295"},
        {"id co 1 --ld 0", 2, "--ld must be 1 or 2"},
    };
    ExpectExits(cases, [](const Exit& c, const Result& r)
                { EXPECT_NE(r.err.find(c.text), std::string::npos) << c.args << "\n"
                                                                   << r.err; });
    const Result zero = Run("config /dev/zero");
    EXPECT_NE(zero.out.find("cannot be read from: \"/dev/zero\": not a regular file"), std::string::npos)
        << zero.out;
    const Result help = Run("id --help");
    EXPECT_NE(help.out.find("--ld 1|2"), std::string::npos) << help.out;
}

// A line longer than the limit is skipped without being held: an endless one included.
TEST_F(Lumknx, LongLinesCostNoMemory)
{
    const bool emulated = std::string(LUMKNX_COMMAND).find("qemu") != std::string::npos;
    rusage before{};
    getrusage(RUSAGE_CHILDREN, &before);
    const Result r = Run("trace - < /dev/null; head -c 100000000 /dev/zero | " + std::string(LUMKNX_COMMAND) +
                         " trace - ; echo status=$?");
    rusage after{};
    getrusage(RUSAGE_CHILDREN, &after);
    EXPECT_NE(r.out.find("status=1"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("line 1: skipped, longer than 65536 bytes"), std::string::npos) << r.out;
    if (!emulated) // the emulator's own memory would be measured there
    {
        EXPECT_LT(after.ru_maxrss, 64 * 1024) << "peak RSS of a child in KiB";
    }

    const Result mixed = Run("trace -", "1,1.1.1,1/1/1,9.001,0C 33\n" + std::string(70000, 'x') +
                                            "\n2,1.1.1,1/1/1,9.001,0C 34\n");
    EXPECT_EQ(mixed.status, 1);
    EXPECT_NE(mixed.out.find("line 2: skipped, longer than 65536 bytes"), std::string::npos) << mixed.out;
    EXPECT_NE(mixed.err.find("telegrams: 2, decoded: 2, failed: 0, skipped lines: 1"), std::string::npos)
        << mixed.err;
}

TEST_F(Lumknx, ConsoleLogShowsLevelAndMessageUnlessAskedForDetail)
{
    const Result plain = Run("decode 9.001 0C");
    EXPECT_EQ(plain.out, "");
    EXPECT_NE(plain.err.find("ERROR Failed to convert a GroupValue for DPT 9.1"), std::string::npos)
        << plain.err;
    EXPECT_EQ(plain.err.find("FromKnxValue ("), std::string::npos) << plain.err;
    const Result detail = Run("--log-detail decode 9.001 0C");
    EXPECT_NE(detail.err.find("FromKnxValue (KnxValueConverter.cpp:"), std::string::npos) << detail.err;
}

TEST_F(Lumknx, ConfigPrintsControlCharactersEscaped)
{
    const std::string path = File("ctl.xml", "<LumAppHostConfig><ObjectModelConfig Path=\"/a\x1B[2Jb\tc\"/>"
                                             "</LumAppHostConfig>");
    const Result r = Run("config " + path);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("object-model configuration: /a\\x1B[2Jb\\tc\n"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find('\x1B'), std::string::npos);
}

// What is an option of the tool's and what is an argument: "-h" where a value
// belongs is that value, "--" ends the options, "help COMMAND" is "COMMAND --help".
TEST_F(Lumknx, OptionsEndWhereValuesBegin)
{
    const std::string dashH = "2D 68 00 00 00 00 00 00 00 00 00 00 00 00 (112 bits)\n";
    // The text: the whole output, or with a trailing '*' its start.
    const std::vector<Exit> cases = {
        {"--version", 0, "lumknx " LUMKNX_EXPECTED_VERSION "\n"},
        {"--log-level off --version", 0, "lumknx " LUMKNX_EXPECTED_VERSION "\n"},
        {"encode 16.001 -h", 0, dashH},
        {"encode 16.001 -- -h", 0, dashH},
        {"encode 16.001 -- --help", 0, "2D 2D 68 65 6C 70 00 00 00 00 00 00 00 00 (112 bits)\n"},
        {"encode 16.001 --help", 0, "usage: lumknx encode DPT VALUE*"},
        // "-h" after an option's value is still the text; only the connection fails.
        {"write local:/nonexistent/socket 1/1/1 --dpt 16.001 -h", 2, ""},
        {"write local:/nonexistent/socket 1/1/1 --dpt 16.001 -- -h", 2, ""},
        {"-- encode 16.001 -h", 0, dashH},
        {"encode -h", 0, "usage: lumknx encode DPT VALUE*"},
        {"decode 9.001 -h", 0, "usage: lumknx decode DPT HEX*"},
        {"help decode", 0, "usage: lumknx decode DPT HEX*"},
        {"help", 0, "usage: lumknx [OPTIONS] COMMAND*"},
        {"dpts --help", 0, "usage: lumknx dpts*"},
        {"id --help", 0, "usage: lumknx id*"},
        {"config --help", 0, "usage: lumknx config*"},
        {"-h", 0, "usage: lumknx [OPTIONS] COMMAND*"},
        {"help frobnicate", 2, ""},
        {"help decode encode", 2, ""},
        // The value of --map, not a request for help: a plan that cannot be read.
        {"trace --map -h", 2, ""},
        {"trace --help --map x", 0, "usage: lumknx trace*"},
        // A trace file named like an option.
        {"trace -- --map", 2, ""},
    };
    ExpectExits(cases,
                [](const Exit& c, const Result& r)
                {
                    if (!c.text.empty() && c.text.back() == '*')
                        EXPECT_EQ(r.out.rfind(c.text.substr(0, c.text.size() - 1), 0), 0u) << c.args << "\n"
                                                                                           << r.out;
                    else
                        EXPECT_EQ(r.out, c.text) << c.args;
                });
    EXPECT_EQ(Run("help trace").out, Run("trace --help").out);
    EXPECT_EQ(Run("help").out, Run("--help").out);
    EXPECT_NE(Run("trace -- --map").err.find("--map"), std::string::npos);
    for (const char* end : {"-h", "-- -h"})
    {
        const Result write = Run(std::string("write local:/nonexistent/socket 1/1/1 --dpt 16.001 ") + end);
        EXPECT_EQ(write.err.rfind("lumknx: no knxd at", 0), 0u) << end << ": " << write.err;
    }
}

// Installed, the sample is found in the data folder beside the program's
// folder before the source tree's.
TEST_F(Lumknx, TraceWithoutFileReadsTheSampleBesideTheInstalledProgram)
{
    const auto bin = m_dir / "usr" / "bin";
    const auto data = m_dir / "usr" / "share" / "lumknx";
    boost::filesystem::create_directories(bin);
    boost::filesystem::create_directories(data);
    boost::filesystem::copy_file(LUMKNX_BINARY, bin / "lumknx");
    boost::filesystem::permissions(bin / "lumknx", boost::filesystem::owner_all);
    std::ofstream((data / "building-day.csv").string()) << "08:00:00.000,1.1.1,1/1/1,9.001,0C 33\n";

    const Result r = Run(std::string("--version >/dev/null; ") + LUMKNX_EMULATOR + " " +
                         (bin / "lumknx").string() + " trace");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("telegrams: 1, decoded: 1, failed: 0"), std::string::npos) << r.err;
}

} // namespace
