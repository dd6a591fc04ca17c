// The bus commands' shared parts: options, JSON strings, timestamps.
#include "BusCommon.h"

#include <gtest/gtest.h>

using namespace LumKnx;

TEST(BusCommon, SplitsOptionsFromArguments)
{
    const BusArgs a = ParseBusArgs({"local:/s", "--dpt", "9.001", "-5", "--count=3", "--csv"},
                                   {"--dpt", "--count"}, {"--csv"});
    EXPECT_EQ(a.positional, (std::vector<std::string>{"local:/s", "-5"}));
    EXPECT_EQ(a.values.at("--dpt"), "9.001");
    EXPECT_EQ(a.Number("--count", 10), 3u);
    EXPECT_TRUE(a.Has("--csv"));
    EXPECT_FALSE(a.Has("--json"));
    EXPECT_EQ(a.Number("--timeout", 10), std::nullopt);
}

TEST(BusCommon, RefusesBadOptions)
{
    struct Case
    {
        std::vector<std::string> args;
        const char* error;
    } const cases[] = {
        {{"--bogus"}, "unknown option '--bogus'"},
        {{"--dpt"}, "--dpt needs a value"},
        {{"--csv=1"}, "--csv takes no value"},
        {{"--dpt", "1.001", "--dpt=2.001"}, "--dpt is given twice"},
        {{"--count", "0"}, "--count takes a number of 1..10, not '0'"},
        {{"--count", "11"}, "--count takes a number of 1..10, not '11'"},
        {{"--count", "2x"}, "--count takes a number of 1..10, not '2x'"},
        {{"--count", "-1"}, "--count takes a number of 1..10, not '-1'"},
        {{"--count="}, "--count takes a number of 1..10, not ''"},
    };
    for (const auto& c : cases)
    {
        try
        {
            ParseBusArgs(c.args, {"--dpt", "--count"}, {"--csv"}).Number("--count", 10);
            ADD_FAILURE() << "accepted " << c.args[0];
        }
        catch (const UsageError& e)
        {
            EXPECT_STREQ(e.what(), c.error);
        }
    }
}

TEST(BusCommon, JsonStrings)
{
    struct Case
    {
        std::string in;
        const char* out;
    } const cases[] = {
        {"21.5 °C", "21.5 °C"},
        {"\"KNX\"", "\\\"KNX\\\""},
        {"a\\b", "a\\\\b"},
        {"A\tB\n", "A\\u0009B\\u000a"},
        {std::string("x\0y", 3), "x\\u0000y"},
        {"\x7F", "\\u007f"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(JsonEscaped(c.in), c.out);
}

TEST(BusCommon, TimestampsAreUtcWithMilliseconds)
{
    using namespace std::chrono;
    // 2026-11-20T00:00:00Z is 1795132800 s after the epoch.
    EXPECT_EQ(UtcTimestamp(system_clock::time_point(seconds(1795132800))), "2026-11-20T00:00:00.000");
    EXPECT_EQ(UtcTimestamp(system_clock::time_point(milliseconds(1795132800000LL + 86399999))),
              "2026-11-20T23:59:59.999");
    EXPECT_EQ(UtcTimestamp(system_clock::time_point(milliseconds(0))), "1970-01-01T00:00:00.000");
}

TEST(BusCommon, GroupAddressArguments)
{
    EXPECT_EQ(GroupAddressArgument("1/0/1"), 2049);
    EXPECT_EQ(GroupAddressArgument("1/515"), 0x0A03);
    EXPECT_THROW(GroupAddressArgument("1/8/1"), UsageError);
    EXPECT_THROW(GroupAddressArgument(""), UsageError);
}
