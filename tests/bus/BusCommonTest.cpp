// The bus commands' shared parts: JSON strings, timestamps, group addresses.
#include "BusCommon.h"

#include <gtest/gtest.h>

using namespace LumKnx;

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
