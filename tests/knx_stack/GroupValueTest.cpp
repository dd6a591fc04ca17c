#include "KnxTestBytes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

using KnxStack::BinaryData;
using KnxStack::DayOfWeek;
using KnxStack::GroupValue;
using KnxStack::GroupValueException;
using KnxTest::FromHex;
using KnxTest::GroupFromHex;
using KnxTest::Hex;

namespace
{

struct EncodeCase
{
    const char* name;
    std::function<void(GroupValue&)> set;
    const char* bytes;
    unsigned bits;
};

void ExpectEncodings(const std::vector<EncodeCase>& cases)
{
    for (const EncodeCase& c : cases)
    {
        SCOPED_TRACE(c.name);
        GroupValue value = GroupFromHex("AA BB CC DD EE FF 11 22 33 44 55 66 77 88 99"); // replaced wholesale
        c.set(value);
        EXPECT_EQ(Hex(value.GetRawData()), c.bytes);
        EXPECT_EQ(value.GetDefinedSize(), c.bits);
    }
}

TEST(GroupValueEncoding, BitFieldsSitInTheLowBitsAndAreMasked)
{
    ExpectEncodings({
        {"Boolean true", [](GroupValue& v) { v.SetAsBoolean(true); }, "01", 1},
        {"Boolean false", [](GroupValue& v) { v.SetAsBoolean(false); }, "00", 1},
        {"Unsigned2 control=1 value=0", [](GroupValue& v) { v.SetAsUnsigned2(2); }, "02", 2},
        {"Unsigned2 3", [](GroupValue& v) { v.SetAsUnsigned2(3); }, "03", 2},
        {"Unsigned2 7 masked", [](GroupValue& v) { v.SetAsUnsigned2(7); }, "03", 2},
        {"Unsigned2 0xFC masked", [](GroupValue& v) { v.SetAsUnsigned2(0xFC); }, "00", 2},
        {"Unsigned4 0x0B", [](GroupValue& v) { v.SetAsUnsigned4(0x0B); }, "0B", 4},
        {"Unsigned4 0xF9 masked", [](GroupValue& v) { v.SetAsUnsigned4(0xF9); }, "09", 4},
    });
}

TEST(GroupValueEncoding, IntegersAreBigEndian)
{
    ExpectEncodings({
        {"Unsigned8 255", [](GroupValue& v) { v.SetAsUnsigned8(255); }, "FF", 8},
        {"Signed8 -128", [](GroupValue& v) { v.SetAsSigned8(-128); }, "80", 8},
        {"Signed8 -1", [](GroupValue& v) { v.SetAsSigned8(-1); }, "FF", 8},
        {"Signed8 127", [](GroupValue& v) { v.SetAsSigned8(127); }, "7F", 8},
        {"7.x 65535", [](GroupValue& v) { v.SetAsUnsigned16(65535); }, "FF FF", 16},
        {"7.x 0x1234", [](GroupValue& v) { v.SetAsUnsigned16(0x1234); }, "12 34", 16},
        {"8.x -32768", [](GroupValue& v) { v.SetAsSigned16(-32768); }, "80 00", 16},
        {"8.x -2", [](GroupValue& v) { v.SetAsSigned16(-2); }, "FF FE", 16},
        {"12.x 19088743", [](GroupValue& v) { v.SetAsUnsigned32(19088743ul); }, "01 23 45 67", 32},
        {"12.x 4294967295", [](GroupValue& v) { v.SetAsUnsigned32(4294967295ul); }, "FF FF FF FF", 32},
        // On x86-64 the argument is 64 bits wide: only the low 32 are sent.
        {"12.x wide argument",
         [](GroupValue& v) { v.SetAsUnsigned32(static_cast<unsigned long>(0x123456789ull)); }, "23 45 67 89",
         32},
        {"13.x 2147483647", [](GroupValue& v) { v.SetAsSigned32(2147483647l); }, "7F FF FF FF", 32},
        {"13.x -2147483648", [](GroupValue& v) { v.SetAsSigned32(-2147483647l - 1); }, "80 00 00 00", 32},
        {"13.x -1", [](GroupValue& v) { v.SetAsSigned32(-1l); }, "FF FF FF FF", 32},
        {"13.x wide argument", [](GroupValue& v) { v.SetAsSigned32(static_cast<long>(-0x100000001ll)); },
         "FF FF FF FF", 32},
    });
}

TEST(GroupValueEncoding, CharactersFloat32AndStrings)
{
    ExpectEncodings({
        {"4.x A", [](GroupValue& v) { v.SetAsChar('A'); }, "41", 8},
        {"4.x z", [](GroupValue& v) { v.SetAsChar('z'); }, "7A", 8},
        {"4.002 e acute", [](GroupValue& v) { v.SetAsChar('\xE9'); }, "E9", 8},
        {"14.x 397", [](GroupValue& v) { v.SetAsFloat32(397.0f); }, "43 C6 80 00", 32},
        {"14.x 46", [](GroupValue& v) { v.SetAsFloat32(46.0f); }, "42 38 00 00", 32},
        {"14.x 0", [](GroupValue& v) { v.SetAsFloat32(0.0f); }, "00 00 00 00", 32},
        {"14.x quiet NaN", [](GroupValue& v) { v.SetAsFloat32(std::numeric_limits<float>::quiet_NaN()); },
         "7F C0 00 00", 32},
        {"14.x negative NaN",
         [](GroupValue& v) { v.SetAsFloat32(std::copysign(std::numeric_limits<float>::quiet_NaN(), -1.0f)); },
         "7F C0 00 00", 32},
        {"16.x KNX is OK", [](GroupValue& v) { v.SetAsString14("KNX is OK"); },
         "4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00", 112},
        {"16.x empty", [](GroupValue& v) { v.SetAsString14(""); },
         "00 00 00 00 00 00 00 00 00 00 00 00 00 00", 112},
        {"16.x Latin-1",
         [](GroupValue& v)
         {
             v.SetAsString14("G\xE4nsef\xFC\xDF"
                             "chen");
         },
         "47 E4 6E 73 65 66 FC DF 63 68 65 6E 00 00", 112},
        {"16.x cut at 14", [](GroupValue& v) { v.SetAsString14("ABCDEFGHIJKLMNOPQRS"); },
         "41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E", 112},
    });
}

TEST(GroupValueEncoding, TimeOfDayAndDate)
{
    ExpectEncodings({
        {"Tuesday 13:23:42", [](GroupValue& v) { v.SetAsTimeOfDay(13, 23, 42, DayOfWeek::Tuesday); },
         "4D 17 2A", 24},
        {"Sunday 23:59:59", [](GroupValue& v) { v.SetAsTimeOfDay(23, 59, 59, DayOfWeek::Sunday); },
         "F7 3B 3B", 24},
        {"no day 00:00:00", [](GroupValue& v) { v.SetAsTimeOfDay(0, 0, 0, DayOfWeek::NoDay); }, "00 00 00",
         24},
        {"Monday 01:02:03", [](GroupValue& v) { v.SetAsTimeOfDay(1, 2, 3, DayOfWeek::Monday); }, "21 02 03",
         24},
        {"2002-01-04", [](GroupValue& v) { v.SetAsDate(4, 1, 2002); }, "04 01 02", 24},
        {"1990-01-31", [](GroupValue& v) { v.SetAsDate(31, 1, 1990); }, "1F 01 5A", 24},
        {"2089-12-04", [](GroupValue& v) { v.SetAsDate(4, 12, 2089); }, "04 0C 59", 24},
        {"1999-12-31", [](GroupValue& v) { v.SetAsDate(31, 12, 1999); }, "1F 0C 63", 24},
        {"2000-01-01", [](GroupValue& v) { v.SetAsDate(1, 1, 2000); }, "01 01 00", 24},
    });
}

TEST(GroupValueEncoding, OutOfRangeDatesAndTimesThrowAndLeaveTheValue)
{
    const struct
    {
        const char* name;
        std::function<void(GroupValue&)> set;
        const char* text;
    } cases[] = {
        {"2090", [](GroupValue& v) { v.SetAsDate(1, 1, 2090); },
         "SetAsDate: year 2090 is outside 1990..2089"},
        {"1989", [](GroupValue& v) { v.SetAsDate(31, 12, 1989); },
         "SetAsDate: year 1989 is outside 1990..2089"},
        {"day 0", [](GroupValue& v) { v.SetAsDate(0, 1, 2000); }, "SetAsDate: day 0 is outside 1..31"},
        {"day 32", [](GroupValue& v) { v.SetAsDate(32, 1, 2000); }, "SetAsDate: day 32 is outside 1..31"},
        {"month 0", [](GroupValue& v) { v.SetAsDate(4, 0, 2089); }, "SetAsDate: month 0 is outside 1..12"},
        {"month 13", [](GroupValue& v) { v.SetAsDate(4, 13, 2089); }, "SetAsDate: month 13 is outside 1..12"},
        {"hour 24", [](GroupValue& v) { v.SetAsTimeOfDay(24, 0, 0, DayOfWeek::NoDay); },
         "SetAsTimeOfDay: hour 24 is outside 0..23"},
        {"hour -1", [](GroupValue& v) { v.SetAsTimeOfDay(-1, 0, 0, DayOfWeek::NoDay); },
         "SetAsTimeOfDay: hour -1 is outside 0..23"},
        {"minute 60", [](GroupValue& v) { v.SetAsTimeOfDay(0, 60, 0, DayOfWeek::NoDay); },
         "SetAsTimeOfDay: minute 60 is outside 0..59"},
        {"second 60", [](GroupValue& v) { v.SetAsTimeOfDay(23, 59, 60, DayOfWeek::Sunday); },
         "SetAsTimeOfDay: second 60 is outside 0..59"},
        {"weekday 8", [](GroupValue& v) { v.SetAsTimeOfDay(1, 1, 1, static_cast<DayOfWeek>(8)); },
         "SetAsTimeOfDay: weekday 8 is outside 0..7"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        GroupValue value = GroupFromHex("12 34 56");
        try
        {
            c.set(value);
            ADD_FAILURE() << "no exception";
        }
        catch (const GroupValueException& e)
        {
            EXPECT_STREQ(e.what(), c.text);
        }
        EXPECT_EQ(value, GroupFromHex("12 34 56"));
    }
}

TEST(GroupValueDecoding, Integers)
{
    EXPECT_EQ(GroupFromHex("80").GetAsSigned8(), -128);
    EXPECT_EQ(GroupFromHex("7F").GetAsSigned8(), 127);
    EXPECT_EQ(GroupFromHex("FF").GetAsUnsigned8(), 255);
    EXPECT_EQ(GroupFromHex("FF FF").GetAsUnsigned16(), 65535);
    EXPECT_EQ(GroupFromHex("80 00").GetAsSigned16(), -32768);
    EXPECT_EQ(GroupFromHex("FF FE").GetAsSigned16(), -2);
    EXPECT_EQ(GroupFromHex("01 23 45 67").GetAsUnsigned32(), 19088743ul);
    EXPECT_EQ(GroupFromHex("FF FF FF FF").GetAsUnsigned32(), 4294967295ul);
    EXPECT_EQ(GroupFromHex("7F FF FF FF").GetAsSigned32(), 2147483647l);
    EXPECT_EQ(GroupFromHex("80 00 00 00").GetAsSigned32(), -2147483647l - 1);
    EXPECT_EQ(GroupFromHex("FF FF FF FF").GetAsSigned32(), -1l);
    // Getters read the leading bytes of longer data.
    EXPECT_EQ(GroupFromHex("12 34 56").GetAsUnsigned16(), 0x1234);
}

TEST(GroupValueDecoding, BitFieldsMaskTheFirstByte)
{
    const struct
    {
        const char* bytes;
        bool boolean;
        unsigned u2, u3, u4;
    } cases[] = {
        {"00", false, 0, 0, 0},     {"01", true, 1, 1, 1},  {"FF", true, 3, 7, 15},
        {"FE 01", false, 2, 6, 14}, {"0B", true, 3, 3, 11},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.bytes);
        const GroupValue value = GroupFromHex(c.bytes);
        EXPECT_EQ(value.GetAsBoolean(), c.boolean);
        EXPECT_EQ(value.GetAsUnsigned2(), c.u2);
        EXPECT_EQ(value.GetAsUnsigned3(), c.u3);
        EXPECT_EQ(value.GetAsUnsigned4(), c.u4);
    }
}

// 6.020: status in bits 7-3, mode one-hot in bits 2-0, read from the whole byte.
TEST(GroupValueDecoding, StatusWithModeReadsTheModeBits)
{
    const struct
    {
        unsigned char byte;
        unsigned mode;
        bool valid;
    } cases[] = {{0x6A, 2, true}, {0x01, 1, true}, {0xFC, 4, true}, {0xFF, 7, false}, {0x00, 0, false}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(static_cast<int>(c.byte));
        GroupValue value;
        value.SetAsUnsigned8(c.byte);
        const unsigned mode = value.GetAsUnsigned3();
        EXPECT_EQ(mode, c.mode);
        EXPECT_EQ(mode == 1 || mode == 2 || mode == 4, c.valid);
        EXPECT_EQ(value.GetAsUnsigned8(), c.byte);
    }
}

TEST(GroupValueDecoding, Float32)
{
    EXPECT_EQ(GroupFromHex("43 C6 80 00").GetAsFloat32(), 397.0f);
    EXPECT_EQ(GroupFromHex("42 38 00 00").GetAsFloat32(), 46.0f);
    EXPECT_EQ(GroupFromHex("C2 38 00 00").GetAsFloat32(), -46.0f);
    EXPECT_TRUE(std::isnan(GroupFromHex("7F C0 00 00").GetAsFloat32()));
    EXPECT_TRUE(std::isinf(GroupFromHex("7F 80 00 00").GetAsFloat32()));
}

TEST(GroupValueDecoding, String14StopsAtTheFirstZero)
{
    const struct
    {
        const char* bytes;
        std::string text;
    } cases[] = {
        {"4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00", "KNX is OK"},
        {"00 00 00 00 00 00 00 00 00 00 00 00 00 00", ""},
        {"47 E4 6E 73 65 66 FC DF 63 68 65 6E 00 00", "G\xE4nsef\xFC\xDF"
                                                      "chen"},
        {"41 00 42 00 00 00 00 00 00 00 00 00 00 00", "A"},
        {"41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E", "ABCDEFGHIJKLMN"},
        {"41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E 4F 50", "ABCDEFGHIJKLMN"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(GroupFromHex(c.bytes).GetAsString14(), c.text);
    }
}

TEST(GroupValueDecoding, TimeOfDayMasksWithoutValidating)
{
    const struct
    {
        const char* bytes;
        int hour, minute, second;
        DayOfWeek day;
    } cases[] = {
        {"4D 17 2A", 13, 23, 42, DayOfWeek::Tuesday},
        {"F7 3B 3B", 23, 59, 59, DayOfWeek::Sunday},
        {"00 00 00", 0, 0, 0, DayOfWeek::NoDay},
        {"F7 3B 3C", 23, 59, 60, DayOfWeek::Sunday}, // invalid second: the caller judges
        {"FF FF FF", 31, 63, 63, DayOfWeek::Sunday},
        {"D8 C0 C0", 24, 0, 0, DayOfWeek::Saturday},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.bytes);
        int hour = -1, minute = -1, second = -1;
        DayOfWeek day = static_cast<DayOfWeek>(99);
        GroupFromHex(c.bytes).GetAsTimeOfDay(&hour, &minute, &second, &day);
        EXPECT_EQ(hour, c.hour);
        EXPECT_EQ(minute, c.minute);
        EXPECT_EQ(second, c.second);
        EXPECT_EQ(day, c.day);
    }
}

TEST(GroupValueDecoding, DateAppliesTheCenturyRule)
{
    const struct
    {
        const char* bytes;
        int day, month, year;
    } cases[] = {
        {"04 01 02", 4, 1, 2002},   {"1F 01 5A", 31, 1, 1990},
        {"04 0C 59", 4, 12, 2089},  {"1F 0C 63", 31, 12, 1999},
        {"01 01 00", 1, 1, 2000},   {"04 00 59", 4, 0, 2089}, // month 0 passed on
        {"FF FF E3", 31, 15, 1999}, {"01 01 80", 1, 1, 2000},
        {"01 01 64", 1, 1, 2100}, // 100: never a valid date
        {"01 01 7F", 1, 1, 2127},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.bytes);
        int day = -1, month = -1, year = -1;
        GroupFromHex(c.bytes).GetAsDate(&day, &month, &year);
        EXPECT_EQ(day, c.day);
        EXPECT_EQ(month, c.month);
        EXPECT_EQ(year, c.year);
    }
}

TEST(GroupValueDecoding, NullOutputsAreSkipped)
{
    int hour = -1;
    GroupFromHex("4D 17 2A").GetAsTimeOfDay(&hour, nullptr, nullptr, nullptr);
    EXPECT_EQ(hour, 13);
    int year = -1;
    GroupFromHex("04 01 02").GetAsDate(nullptr, nullptr, &year);
    EXPECT_EQ(year, 2002);
}

TEST(GroupValueRaw, ConstructorKeepsBytesAndSizeSetRawDataCountsBytes)
{
    const GroupValue given(FromHex("FF 00 00"), 3);
    EXPECT_EQ(Hex(given.GetRawData()), "FF 00 00");
    EXPECT_EQ(given.GetDefinedSize(), 3u);

    // 232.600 colour: three raw bytes, read back as one number.
    GroupValue colour;
    colour.SetAsBoolean(true);
    colour.SetRawData(FromHex("FF 00 00"));
    EXPECT_EQ(Hex(colour.GetRawData()), "FF 00 00");
    EXPECT_EQ(colour.GetDefinedSize(), 24u);
    EXPECT_EQ(colour.GetRawData().GetUInt32Value(0), 0xFF0000u);
    colour.SetRawData(FromHex("00 00 00"));
    EXPECT_EQ(colour.GetRawData().GetUInt32Value(0), 0u);

    colour.SetRawData(BinaryData());
    EXPECT_EQ(colour.GetDefinedSize(), 0u);
    EXPECT_EQ(colour, GroupValue());
    EXPECT_NE(GroupValue(FromHex("01"), 1), GroupValue(FromHex("01"), 8));
}

struct Getter
{
    const char* name;
    std::size_t needed;
    std::function<void(const GroupValue&)> call;
};

std::string Holds(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

TEST(GroupValueMisuse, EveryGetterThrowsOnTooFewBytes)
{
    int i = 0;
    DayOfWeek day = DayOfWeek::NoDay;
    const Getter getters[] = {
        {"GetAsBoolean", 1, [](const GroupValue& v) { v.GetAsBoolean(); }},
        {"GetAsUnsigned2", 1, [](const GroupValue& v) { v.GetAsUnsigned2(); }},
        {"GetAsUnsigned3", 1, [](const GroupValue& v) { v.GetAsUnsigned3(); }},
        {"GetAsUnsigned4", 1, [](const GroupValue& v) { v.GetAsUnsigned4(); }},
        {"GetAsUnsigned8", 1, [](const GroupValue& v) { v.GetAsUnsigned8(); }},
        {"GetAsSigned8", 1, [](const GroupValue& v) { v.GetAsSigned8(); }},
        {"GetAsUnsigned16", 2, [](const GroupValue& v) { v.GetAsUnsigned16(); }},
        {"GetAsSigned16", 2, [](const GroupValue& v) { v.GetAsSigned16(); }},
        {"GetAsFloat16", 2, [](const GroupValue& v) { v.GetAsFloat16(); }},
        {"GetAsUnsigned32", 4, [](const GroupValue& v) { v.GetAsUnsigned32(); }},
        {"GetAsSigned32", 4, [](const GroupValue& v) { v.GetAsSigned32(); }},
        {"GetAsFloat32", 4, [](const GroupValue& v) { v.GetAsFloat32(); }},
        {"GetAsString14", 14, [](const GroupValue& v) { v.GetAsString14(); }},
        {"GetAsDate", 3, [&](const GroupValue& v) { v.GetAsDate(&i, &i, &i); }},
        {"GetAsTimeOfDay", 3, [&](const GroupValue& v) { v.GetAsTimeOfDay(&i, &i, &i, &day); }},
    };
    for (const Getter& g : getters)
    {
        for (std::size_t size = 0; size <= g.needed; ++size)
        {
            SCOPED_TRACE(std::string(g.name) + " on " + Holds(size));
            // The defined size claims enough bits: only the bytes count.
            const GroupValue value(BinaryData(std::vector<unsigned char>(size, 0x55).data(), size),
                                   static_cast<unsigned>(g.needed * 8));
            if (size == g.needed)
            {
                EXPECT_NO_THROW(g.call(value));
                continue;
            }
            try
            {
                g.call(value);
                ADD_FAILURE() << "no exception";
            }
            catch (const GroupValueException& e)
            {
                EXPECT_EQ(std::string(e.what()), std::string(g.name) + ": group value holds " + Holds(size) +
                                                     ", " + std::to_string(g.needed) + " needed");
            }
        }
    }
    // The one-byte case as a caller sees it in a log.
    try
    {
        GroupFromHex("0C").GetAsUnsigned16();
        ADD_FAILURE() << "no exception";
    }
    catch (const GroupValueException& e)
    {
        EXPECT_STREQ(e.what(), "GetAsUnsigned16: group value holds 1 byte, 2 needed");
    }
}

} // namespace
