// How the tool splits its command line: which word is an option, which a
// value, and the one line a wrong command line gets.
#include "CommandLine.h"

#include <gtest/gtest.h>

using namespace LumKnx;

namespace
{

int Run(const Arguments&)
{
    return 0;
}

const std::vector<Command>& Commands()
{
    static const std::vector<Command> commands = {
        {"monitor", "", "", Run, {{"--dpt", "D"}, {"--count", "N"}, {"--csv", nullptr}, {"--json", nullptr}}},
        {"write", "", "", Run, {{"--dpt", "D"}, {"--map", "FILE"}}, 2},
        {"trace", "", "", Run, {{"--map", "PLAN"}}},
    };
    return commands;
}

CommandLine Parse(const std::vector<std::string>& argv)
{
    return ParseCommandLine(Commands(), argv);
}

// The one line of the UsageError that `step` throws.
template <typename Step> std::string UsageErrorOf(Step step)
{
    try
    {
        step();
    }
    catch (const UsageError& e)
    {
        return e.what();
    }
    return "(accepted)";
}

} // namespace

TEST(CommandLine, SplitsOptionsFromArguments)
{
    const CommandLine line = Parse({"--log-level", "debug", "monitor", "local:/s", "--dpt", "9.001", "-5",
                                    "--count=3", "--csv", "--log-detail"});
    ASSERT_NE(line.command, nullptr);
    EXPECT_STREQ(line.command->name, "monitor");
    EXPECT_EQ(line.level, "debug");
    EXPECT_TRUE(line.detail);
    EXPECT_FALSE(line.help);
    EXPECT_EQ(line.args.positional, (std::vector<std::string>{"local:/s", "-5"}));
    EXPECT_EQ(line.args.values.at("--dpt"), "9.001");
    EXPECT_EQ(line.args.Number("--count", 10), 3u);
    EXPECT_TRUE(line.args.Has("--csv"));
    EXPECT_FALSE(line.args.Has("--json"));
    EXPECT_EQ(line.args.Number("--timeout", 10), std::nullopt);
}

// Where a value belongs, a word that looks like an option is that value.
TEST(CommandLine, ValuesThatLookLikeOptions)
{
    struct Case
    {
        std::vector<std::string> argv;
        std::vector<std::string> positional;
        bool help;
        std::string map;
    } const cases[] = {
        {{"write", "u", "1/1/1", "-h"}, {"u", "1/1/1", "-h"}, false, ""},
        {{"write", "u", "1/1/1", "--dpt", "16.001", "-h"}, {"u", "1/1/1", "-h"}, false, ""},
        {{"write", "u", "1/1/1", "-h", "--dpt", "16.001"}, {"u", "1/1/1", "-h"}, false, ""},
        {{"write", "u", "-h"}, {"u"}, true, ""},
        {{"write", "u", "1/1/1", "--help"}, {"u", "1/1/1"}, true, ""},
        {{"write", "u", "1/1/1", "--", "--help"}, {"u", "1/1/1", "--help"}, false, ""},
        {{"--", "write", "u", "1/1/1", "-h"}, {"u", "1/1/1", "-h"}, false, ""},
        {{"trace", "--map", "-h"}, {}, false, "-h"},
        {{"trace", "--", "--map", "-"}, {"--map", "-"}, false, ""},
        {{"trace", "-", "--map=p.csv"}, {"-"}, false, "p.csv"},
        {{"trace", "monitor"}, {"monitor"}, false, ""},
    };
    for (const auto& c : cases)
    {
        const CommandLine line = Parse(c.argv);
        const std::string shown = c.argv[0] + " " + c.argv[1];
        ASSERT_NE(line.command, nullptr) << shown;
        EXPECT_EQ(line.args.positional, c.positional) << shown;
        EXPECT_EQ(line.help, c.help) << shown;
        EXPECT_EQ(line.args.values.count("--map") != 0 ? line.args.values.at("--map") : "", c.map) << shown;
    }
}

TEST(CommandLine, HelpAndVersion)
{
    EXPECT_TRUE(Parse({"-h"}).help);
    EXPECT_EQ(Parse({"-h"}).command, nullptr);
    EXPECT_TRUE(Parse({"help"}).help);
    const CommandLine topic = Parse({"help", "trace"});
    EXPECT_TRUE(topic.help);
    ASSERT_NE(topic.command, nullptr);
    EXPECT_STREQ(topic.command->name, "trace");
    EXPECT_TRUE(Parse({"--log-level", "off", "--version"}).version);
    // Help wins over a wrong rest of the line.
    EXPECT_TRUE(Parse({"monitor", "--help", "--bogus"}).help);
    EXPECT_EQ(Parse({}).command, nullptr);
}

TEST(CommandLine, RefusesWrongCommandLines)
{
    struct Case
    {
        std::vector<std::string> argv;
        const char* error;
    } const cases[] = {
        {{"monitor", "u", "--bogus"}, "unknown option '--bogus'"},
        {{"monitor", "u", "--bogus=1"}, "unknown option '--bogus'"},
        {{"monitor", "u", "-x"}, "unknown option '-x'"},
        {{"monitor", "u", "--dpt"}, "--dpt needs a value"},
        {{"monitor", "u", "--count=", "--csv"}, "--count needs a value"},
        {{"--log-level"}, "--log-level needs a value"},
        {{"monitor", "u", "--csv=1"}, "--csv takes no value"},
        {{"monitor", "u", "--dpt", "1.001", "--dpt=2.001"}, "--dpt is given twice"},
        {{"monitor", "u", "--csv", "--csv"}, "--csv is given twice"},
        {{"frobnicate"}, "unknown command 'frobnicate'; see 'lumknx --help'"},
        {{"help", "frobnicate"}, "unknown command 'frobnicate'; see 'lumknx --help'"},
        {{"help", "trace", "monitor"}, "help takes one COMMAND"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(UsageErrorOf([&] { Parse(c.argv); }), c.error) << c.argv.back();
}

TEST(CommandLine, NumbersOfOptions)
{
    for (const std::string count : {"0", "11", "2x", "-1"})
    {
        const CommandLine line = Parse({"monitor", "u", "--count=" + count});
        EXPECT_EQ(UsageErrorOf([&] { line.args.Number("--count", 10); }),
                  "--count takes a number of 1..10, not '" + count + "'");
    }
}
