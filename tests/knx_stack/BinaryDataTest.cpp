#include "KnxTestBytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using KnxStack::BinaryData;
using KnxStack::GroupValueException;
using KnxTest::FromHex;
using KnxTest::Hex;

namespace
{

struct ReadCase
{
    const char* bytes;
    int width; // 8, 24 or 32
    std::size_t index;
    std::uint32_t expected;
};

std::uint32_t Read(const BinaryData& data, int width, std::size_t index)
{
    switch (width)
    {
    case 8:
        return data.GetUInt8Value(index);
    case 24:
        return data.GetUInt24Value(index);
    default:
        return data.GetUInt32Value(index);
    }
}

TEST(BinaryData, ReadsBigEndianAndShortensAtTheEnd)
{
    const ReadCase cases[] = {
        {"12 34 56 78 9A", 8, 0, 0x12},
        {"12 34 56 78 9A", 8, 4, 0x9A},
        {"12 34 56 78 9A", 24, 0, 0x123456},
        {"12 34 56 78 9A", 24, 2, 0x56789A},
        {"12 34 56 78 9A", 32, 0, 0x12345678},
        {"12 34 56 78 9A", 32, 1, 0x3456789A},
        // Past the end: the bytes that are there, as a smaller number.
        {"12 34 56 78 9A", 32, 2, 0x56789A},
        {"12 34 56 78 9A", 32, 4, 0x9A},
        {"12 34 56 78 9A", 24, 3, 0x789A},
        // A 24-bit counter (232.x) read as 32 bits.
        {"12 34 56", 32, 0, 0x123456},
        {"FF 00 00", 32, 0, 0xFF0000},
        {"00 00 00", 32, 0, 0},
        {"FF FF FF FF", 32, 0, 0xFFFFFFFF},
        {"AB", 24, 0, 0xAB},
    };
    for (const ReadCase& c : cases)
    {
        SCOPED_TRACE(std::string(c.bytes) + " width " + std::to_string(c.width) + " index " +
                     std::to_string(c.index));
        EXPECT_EQ(Read(FromHex(c.bytes), c.width, c.index), c.expected);
    }
}

TEST(BinaryData, ReadAtOrPastTheEndThrowsNamingTheRead)
{
    const struct
    {
        const char* bytes;
        int width;
        std::size_t index;
        const char* text;
    } cases[] = {
        {"", 8, 0, "GetUInt8Value: index 0 is not inside the 0-byte buffer"},
        {"", 24, 0, "GetUInt24Value: index 0 is not inside the 0-byte buffer"},
        {"", 32, 0, "GetUInt32Value: index 0 is not inside the 0-byte buffer"},
        {"12 34 56", 8, 3, "GetUInt8Value: index 3 is not inside the 3-byte buffer"},
        {"12 34 56", 32, 3, "GetUInt32Value: index 3 is not inside the 3-byte buffer"},
        {"12", 24, std::numeric_limits<std::size_t>::max(), nullptr},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.bytes);
        try
        {
            Read(FromHex(c.bytes), c.width, c.index);
            ADD_FAILURE() << "no exception";
        }
        catch (const GroupValueException& e)
        {
            if (c.text != nullptr)
            {
                EXPECT_STREQ(e.what(), c.text);
            }
        }
    }
}

TEST(BinaryData, SetUInt8ValueGrowsWithZeroBytes)
{
    BinaryData data;
    data.SetUInt8Value(2, 0xAB);
    EXPECT_EQ(Hex(data), "00 00 AB");
    data.SetUInt8Value(0, 0x01);
    EXPECT_EQ(Hex(data), "01 00 AB");
    data.SetUInt8Value(3, 0xFF);
    EXPECT_EQ(Hex(data), "01 00 AB FF");

    EXPECT_THROW(data.SetUInt8Value(std::numeric_limits<std::size_t>::max(), 1), GroupValueException);
    EXPECT_THROW(data.SetUInt8Value(1u << 30, 1), GroupValueException);
    EXPECT_EQ(Hex(data), "01 00 AB FF");
}

TEST(BinaryData, ToStringIsUpperCaseHexSeparatedByBlanks)
{
    const struct
    {
        const char* bytes;
        const char* text;
    } cases[] = {
        {"", ""}, {"0A", "0A"}, {"0C 1A", "0C 1A"}, {"00 FF 7F ab", "00 FF 7F AB"}, {"e4 fc df", "E4 FC DF"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(FromHex(c.bytes).ToString(), c.text);
    }
}

TEST(BinaryData, ConstructionCopiesTheBytes)
{
    unsigned char bytes[] = {0x12, 0x34};
    const BinaryData data(bytes, sizeof bytes);
    bytes[0] = 0;
    EXPECT_EQ(Hex(data), "12 34");
    EXPECT_EQ(BinaryData(nullptr, 0).GetSize(), 0u);
    EXPECT_THROW(BinaryData(nullptr, 3), GroupValueException);
    EXPECT_NE(FromHex("12 34"), FromHex("12 34 00"));
    EXPECT_EQ(FromHex("12 34"), data);
}

} // namespace
