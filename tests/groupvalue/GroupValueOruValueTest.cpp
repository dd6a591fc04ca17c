// Group values by packed DPT: encoding against the KNX standard's bytes,
// decoding, the value-type check and the log lines callers depend on.

#include <Lum/GroupValueOruValue.h>

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace
{
using KnxStack::BinaryData;
using KnxStack::GroupValue;
using LumTest::LogCapture;

unsigned long Dpt(unsigned main, unsigned sub)
{
    return (static_cast<unsigned long>(main) << 16) | sub;
}

std::string Hex(const BinaryData& data)
{
    std::string text;
    for (std::size_t i = 0; i < data.GetSize(); ++i)
    {
        char byte[4];
        std::snprintf(byte, sizeof byte, "%02X", data.GetData()[i]);
        text += (i == 0 ? "" : " ") + std::string(byte);
    }
    return text;
}

BinaryData Bytes(const std::string& hex)
{
    std::vector<unsigned char> bytes;
    std::istringstream in(hex);
    unsigned value = 0;
    while (in >> std::hex >> value)
        bytes.push_back(static_cast<unsigned char>(value));
    return BinaryData(bytes.data(), bytes.size());
}

GroupValue Group(const std::string& hex, unsigned bits)
{
    return GroupValue(Bytes(hex), bits);
}

ORUVALUE Time(OruValueType type, unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute,
              unsigned second, std::uint16_t weekDay = 0, bool dst = false)
{
    ORUTIME t;
    t.year = static_cast<std::uint16_t>(year);
    t.month = static_cast<std::uint8_t>(month);
    t.day = static_cast<std::uint8_t>(day);
    t.hour = static_cast<std::uint8_t>(hour);
    t.minute = static_cast<std::uint8_t>(minute);
    t.second = static_cast<std::uint8_t>(second);
    t.weekDay = weekDay;
    t.isDaylightSaving = dst;
    return ORUVALUE::FromTime(type, t);
}

std::string Name(OruValueType type)
{
    return ORUVALUE::GetNameFromValueType(type);
}

// --- encoding -------------------------------------------------------------

struct EncodeRow
{
    const char* what;
    ORUVALUE value;
    unsigned long dpt;
    const char* bytes; // the KNX standard's bus bytes
    unsigned bits;
};

TEST(OruValueToGroupValue, StandardBytes)
{
    // Date and time: the reference 2017-11-28 23:07:24 is sent with "no
    // weekday" and "working day not valid" (75 0B 1C 17 07 18 24 00). This
    // encoder derives the weekday from the date, a Tuesday: weekday bits 010
    // join hour 17 (57) and NDoW is cleared, leaving NWD (24 -> 20).
    const EncodeRow rows[] = {
        {"1.001 true", ORUVALUE::FromBool(true), Dpt(1, 1), "01", 1},
        {"1.001 false", ORUVALUE::FromBool(false), Dpt(1, 1), "00", 1},
        {"2.001", ORUVALUE::FromByte(3), Dpt(2, 1), "03", 2},
        {"3.007", ORUVALUE::FromByte(0x0B), Dpt(3, 7), "0B", 4},
        {"5.001", ORUVALUE::FromByte(0xC8), Dpt(5, 1), "C8", 8},
        {"6.010 -1", ORUVALUE::FromByte(0xFF), Dpt(6, 10), "FF", 8},
        {"6.020 status 01101 mode 1", ORUVALUE::FromByte(0x6A), Dpt(6, 20), "6A", 8},
        {"7.001 max", ORUVALUE::FromWord(65535), Dpt(7, 1), "FF FF", 16},
        {"8.001 min", ORUVALUE::FromInteger(-32768), Dpt(8, 1), "80 00", 16},
        {"9.001 0", ORUVALUE::FromFloat(0.0), Dpt(9, 1), "00 00", 16},
        {"9.001 0.01", ORUVALUE::FromFloat(0.01), Dpt(9, 1), "00 01", 16},
        {"9.001 -0.01", ORUVALUE::FromFloat(-0.01), Dpt(9, 1), "87 FF", 16},
        {"9.001 20.48", ORUVALUE::FromFloat(20.48), Dpt(9, 1), "0C 00", 16},
        {"9.001 21", ORUVALUE::FromFloat(21.0), Dpt(9, 1), "0C 1A", 16},
        {"9.001 -30", ORUVALUE::FromFloat(-30.0), Dpt(9, 1), "8A 24", 16},
        {"9.001 0.29", ORUVALUE::FromFloat(0.29), Dpt(9, 1), "00 1D", 16},
        {"9.001 largest", ORUVALUE::FromFloat(670433.28), Dpt(9, 1), "7F FE", 16},
        {"9.001 smallest", ORUVALUE::FromFloat(-671088.64), Dpt(9, 1), "F8 00", 16},
        {"10.001 Tuesday", Time(ivtDayTime, 2000, 1, 1, 13, 23, 42, OruWeekDays::WEEK_DAY_TUESDAY),
         Dpt(10, 1), "4D 17 2A", 24},
        {"10.001 Sunday", Time(ivtDayTime, 2000, 1, 1, 23, 59, 59, OruWeekDays::WEEK_DAY_SUNDAY), Dpt(10, 1),
         "F7 3B 3B", 24},
        {"10.001 no day", Time(ivtDayTime, 2000, 1, 1, 0, 0, 0), Dpt(10, 1), "00 00 00", 24},
        {"11.001 2002", Time(ivtDate, 2002, 1, 4, 0, 0, 0), Dpt(11, 1), "04 01 02", 24},
        {"11.001 1990", Time(ivtDate, 1990, 1, 31, 0, 0, 0), Dpt(11, 1), "1F 01 5A", 24},
        {"11.001 2089", Time(ivtDate, 2089, 12, 4, 0, 0, 0), Dpt(11, 1), "04 0C 59", 24},
        {"12.001", ORUVALUE::FromDWord(19088743), Dpt(12, 1), "01 23 45 67", 32},
        {"12.001 max", ORUVALUE::FromDWord(4294967295u), Dpt(12, 1), "FF FF FF FF", 32},
        {"13.001 max", ORUVALUE::FromInteger(2147483647), Dpt(13, 1), "7F FF FF FF", 32},
        {"13.001 min", ORUVALUE::FromInteger(-2147483647 - 1), Dpt(13, 1), "80 00 00 00", 32},
        {"13.001 -1", ORUVALUE::FromInteger(-1), Dpt(13, 1), "FF FF FF FF", 32},
        {"14.x 397", ORUVALUE::FromFloat(397.0), Dpt(14, 0), "43 C6 80 00", 32},
        {"14.x 46", ORUVALUE::FromFloat(46.0), Dpt(14, 56), "42 38 00 00", 32},
        {"14.x 0", ORUVALUE::FromFloat(0.0), Dpt(14, 1), "00 00 00 00", 32},
        {"14.x NaN", ORUVALUE::FromFloat(std::numeric_limits<double>::quiet_NaN()), Dpt(14, 1), "7F C0 00 00",
         32},
        {"15.000", ORUVALUE::FromDWord(0x12345678), Dpt(15, 0), "12 34 56 78", 32},
        {"16.001 ASCII", ORUVALUE::FromString("KNX is OK"), Dpt(16, 1),
         "4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00", 112},
        {"16.001 empty", ORUVALUE::FromString(""), Dpt(16, 1), "00 00 00 00 00 00 00 00 00 00 00 00 00 00",
         112},
        {"16.001 Latin-1",
         ORUVALUE::FromString("G\xC3\xA4nsef\xC3\xBC\xC3\x9F"
                              "chen"),
         Dpt(16, 1), "47 E4 6E 73 65 66 FC DF 63 68 65 6E 00 00", 112},
        {"17.001 63", ORUVALUE::FromByte(63), Dpt(17, 1), "3F", 8},
        {"18.001", ORUVALUE::FromByte(0x85), Dpt(18, 1), "85", 8},
        {"19.001 Tuesday", Time(ivtDateTime, 2017, 11, 28, 23, 7, 24), Dpt(19, 1), "75 0B 1C 57 07 18 20 00",
         64},
        // The reference's second vector: 1900-01-01 was a Monday (weekday 001).
        {"19.001 1900", Time(ivtDateTime, 1900, 1, 1, 0, 0, 0), Dpt(19, 1), "00 01 01 20 00 00 20 00", 64},
        {"19.001 summer time", Time(ivtDateTime, 2017, 7, 4, 12, 30, 0, 0, true), Dpt(19, 1),
         "75 07 04 4C 1E 00 21 00", 64},
        // The weekday comes from the date (a Wednesday), not from the value's
        // weekday field.
        {"19.001 stale weekday", Time(ivtDateTime, 2155, 12, 31, 23, 59, 59, OruWeekDays::WEEK_DAY_MONDAY),
         Dpt(19, 1), "FF 0C 1F 77 3B 3B 20 00", 64},
        {"20.102", ORUVALUE::FromByte(4), Dpt(20, 102), "04", 8},
        {"27.001", ORUVALUE::FromDWord(0xA5A50F0F), Dpt(27, 1), "A5 A5 0F 0F", 32},
        {"232.600 red", ORUVALUE::FromDWord(0xFF0000), Dpt(232, 600), "FF 00 00", 24},
        {"232.600 black", ORUVALUE::FromDWord(0), Dpt(232, 600), "00 00 00", 24},
        {"232.600 low 24 bits", ORUVALUE::FromDWord(0x12345678), Dpt(232, 600), "34 56 78", 24},
        {"234.001 ZZ", ORUVALUE::FromWord(0x5A5A), Dpt(234, 1), "5A 5A", 16},
        {"238.600", ORUVALUE::FromByte(0x81), Dpt(238, 600), "81", 8},
    };
    for (const EncodeRow& row : rows)
    {
        LogCapture log;
        const auto gv = Lum::OruValueToGroupValue(row.value, row.dpt);
        ASSERT_TRUE(gv) << row.what;
        EXPECT_EQ(Hex(gv->GetRawData()), row.bytes) << row.what;
        EXPECT_EQ(gv->GetDefinedSize(), row.bits) << row.what;
        EXPECT_TRUE(log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).empty()) << row.what;
    }
}

TEST(OruValueToGroupValue, ClampsSixteenBitValues)
{
    ORUVALUE big;
    big.ivt = ivtWord;
    big.SetDWord(65536);
    ORUVALUE huge;
    huge.ivt = ivtWord;
    huge.SetDWord(4294967295u);
    struct Row
    {
        ORUVALUE value;
        unsigned long dpt;
        const char* message;
        const char* bytes;
    };
    const Row rows[] = {
        {big, Dpt(7, 1), "Value out of range: 65536 (DPT 7)", "FF FF"},
        {huge, Dpt(237, 600), "Value out of range: 4294967295 (DPT 237)", "FF FF"},
        {big, Dpt(22, 101), "Value out of range: 65536 (DPT 22)", "FF FF"},
        {ORUVALUE::FromInteger(-40000), Dpt(8, 1), "Value out of range: -40000 (DPT 8)", "80 00"},
        {ORUVALUE::FromInteger(40000), Dpt(8, 10), "Value out of range: 40000 (DPT 8)", "7F FF"},
        {ORUVALUE::FromInteger(-32769), Dpt(8, 1), "Value out of range: -32769 (DPT 8)", "80 00"},
        {ORUVALUE::FromInteger(32768), Dpt(8, 1), "Value out of range: 32768 (DPT 8)", "7F FF"},
    };
    for (const Row& row : rows)
    {
        LogCapture log;
        const auto gv = Lum::OruValueToGroupValue(row.value, row.dpt);
        ASSERT_TRUE(gv) << row.message;
        EXPECT_EQ(Hex(gv->GetRawData()), row.bytes) << row.message;
        EXPECT_EQ(log.Texts(log4cplus::ERROR_LOG_LEVEL), std::vector<std::string>{row.message});
    }
    // The bounds themselves pass silently.
    LogCapture log;
    EXPECT_EQ(Hex(Lum::OruValueToGroupValue(ORUVALUE::FromInteger(32767), Dpt(8, 1))->GetRawData()), "7F FF");
    EXPECT_EQ(Hex(Lum::OruValueToGroupValue(ORUVALUE::FromInteger(-32768), Dpt(8, 1))->GetRawData()),
              "80 00");
    EXPECT_TRUE(log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).empty());
}

TEST(OruValueToGroupValue, RejectsWithOneLine)
{
    ORUTIME badTime;
    badTime.year = 2000;
    badTime.month = 1;
    badTime.day = 2;
    badTime.hour = 25;
    badTime.minute = 'A';
    badTime.weekDay = 3; // two days
    badTime.dayOfYear = 2;
    badTime.isLocalTime = true;
    const std::string badTimeText = "Could not convert ORUTIME 2000 \x01 \x02 \x19 A " +
                                    std::string(1, '\0') + " " + std::string(1, '\0') +
                                    " 3 2 1 0 to TimeOfDay";

    const ORUVALUE textValue = ORUVALUE::FromString("abc");
    ORUVALUE emptyValue;
    struct Row
    {
        const char* what;
        ORUVALUE value;
        unsigned long dpt;
        std::string message; // empty: no line at all
    };
    const Row rows[] = {
        {"byte for 9.001", ORUVALUE::FromByte(1), Dpt(9, 1),
         "Value type mismatch: Expected '" + Name(ivtFloat) + "', got '" + Name(ivtByte) + "'"},
        {"integer for 7.001", ORUVALUE::FromInteger(1), Dpt(7, 1),
         "Value type mismatch: Expected '" + Name(ivtWord) + "', got '" + Name(ivtInteger) + "'"},
        {"string for 4.001 (typed empty)", textValue, Dpt(4, 1),
         "Value type mismatch: Expected '" + Name(ivtEmpty) + "', got '" + Name(ivtString) + "'"},
        {"string for 99.001", textValue, Dpt(99, 1),
         "Value type mismatch: Expected '" + Name(ivtEmpty) + "', got '" + Name(ivtString) + "'"},
        {"64 for 17.001", ORUVALUE::FromByte(64), Dpt(17, 1), ""},
        {"255 for 17.001", ORUVALUE::FromByte(255), Dpt(17, 1), ""},
        {"+inf for 9.001", ORUVALUE::FromFloat(std::numeric_limits<double>::infinity()), Dpt(9, 1), ""},
        {"-inf for 9.001", ORUVALUE::FromFloat(-std::numeric_limits<double>::infinity()), Dpt(9, 1), ""},
        {"NaN for 9.001", ORUVALUE::FromFloat(std::numeric_limits<double>::quiet_NaN()), Dpt(9, 1), ""},
        {"bad time of day", ORUVALUE::FromTime(ivtDayTime, badTime), Dpt(10, 1), badTimeText},
        {"30 February", Time(ivtDate, 2021, 2, 30, 0, 0, 0), Dpt(11, 1), "Not a valid date: 2021 \x02 \x1E"},
        {"non-UTF-8 text", ORUVALUE::FromString("a\xFF"), Dpt(16, 1),
         "Got ORUVALUE that contains a non-UTF8 string"},
        {"text for 24.001", textValue, Dpt(24, 1),
         "Value type " + Name(ivtString) +
             " not supported (dwDPT=1572865 with value='ivt: 10, ToString(): abc')."},
        {"empty for 99.001", emptyValue, Dpt(99, 1),
         "Value type " + Name(ivtEmpty) + " not supported (dwDPT=6488065 with value='ivt: 1, ToString(): " +
             emptyValue.ToString() + "')."},
        {"byte for 31.x (decoded only)", ORUVALUE::FromByte(1), Dpt(31, 0),
         "Value type " + Name(ivtByte) + " not supported (dwDPT=2031616 with value='ivt: 6, ToString(): " +
             ORUVALUE::FromByte(1).ToString() + "')."},
    };
    for (const Row& row : rows)
    {
        LogCapture log;
        EXPECT_FALSE(Lum::OruValueToGroupValue(row.value, row.dpt)) << row.what;
        const std::vector<std::string> expected =
            row.message.empty() ? std::vector<std::string>{} : std::vector<std::string>{row.message};
        EXPECT_EQ(log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL), expected) << row.what;
        if (!row.message.empty())
        {
            EXPECT_EQ(log.Texts(log4cplus::ERROR_LOG_LEVEL).size(), 1u) << row.what;
        }
    }
}

TEST(OruValueToGroupValue, OutOfRangeDatesFailCleanly)
{
    // Dates the calendar or the KNX layouts cannot carry: one ERROR line, no
    // exception, no group value.
    const ORUVALUE values[] = {
        Time(ivtDateTime, 1899, 12, 31, 0, 0, 0), Time(ivtDateTime, 2156, 1, 1, 0, 0, 0),
        Time(ivtDateTime, 2017, 13, 1, 0, 0, 0),  Time(ivtDateTime, 2017, 2, 29, 0, 0, 0),
        Time(ivtDateTime, 0, 0, 0, 0, 0, 0),      Time(ivtDateTime, 2017, 1, 1, 24, 0, 0),
        Time(ivtDateTime, 2017, 1, 1, 0, 60, 0),
    };
    for (const ORUVALUE& value : values)
    {
        LogCapture log;
        EXPECT_FALSE(Lum::OruValueToGroupValue(value, Dpt(19, 1))) << value.ToString();
        EXPECT_EQ(log.Texts(log4cplus::ERROR_LOG_LEVEL).size(), 1u) << value.ToString();
    }
    // A valid date outside the years of DPT 11.001.
    LogCapture log;
    EXPECT_FALSE(Lum::OruValueToGroupValue(Time(ivtDate, 1989, 12, 31, 0, 0, 0), Dpt(11, 1)));
    EXPECT_EQ(log.Texts(log4cplus::ERROR_LOG_LEVEL).size(), 1u);
}

// --- decoding -------------------------------------------------------------

struct DecodeRow
{
    const char* what;
    const char* bytes;
    unsigned bits;
    unsigned long dpt;
    ORUVALUE expected;
    bool knownToConverter = true; // else the converter logs that it accepts blindly
};

TEST(GroupValueToOruValue, StandardBytes)
{
    ORUTIME tuesday;
    tuesday.year = 2000;
    tuesday.month = 1;
    tuesday.day = 1;
    tuesday.hour = 13;
    tuesday.minute = 23;
    tuesday.second = 42;
    tuesday.weekDay = OruWeekDays::WEEK_DAY_TUESDAY;
    // Dates carry their weekday mask and day of the year.
    const ORUVALUE date2002 = Time(ivtDate, 2002, 1, 4, 0, 0, 0, OruWeekDays::WEEK_DAY_FRIDAY);
    ORUVALUE date2002WithDay = date2002;
    date2002WithDay.GetTime().dayOfYear = 4;
    ORUVALUE dateTime2017 = Time(ivtDateTime, 2017, 11, 28, 23, 7, 24, OruWeekDays::WEEK_DAY_TUESDAY);
    dateTime2017.GetTime().dayOfYear = 332;

    const DecodeRow rows[] = {
        {"1.001", "01", 1, Dpt(1, 1), ORUVALUE::FromBool(true)},
        {"2.001", "02", 2, Dpt(2, 1), ORUVALUE::FromByte(2)},
        {"3.007", "0B", 4, Dpt(3, 7), ORUVALUE::FromByte(0x0B)},
        {"5.001", "C8", 8, Dpt(5, 1), ORUVALUE::FromByte(0xC8)},
        {"6.010 -1", "FF", 8, Dpt(6, 10), ORUVALUE::FromByte(0xFF)},
        {"6.020", "6A", 8, Dpt(6, 20), ORUVALUE::FromByte(0x6A)},
        {"7.001", "FF FF", 16, Dpt(7, 1), ORUVALUE::FromWord(65535)},
        {"8.001", "80 00", 16, Dpt(8, 1), ORUVALUE::FromInteger(-32768)},
        {"9.001 21", "0C 1A", 16, Dpt(9, 1), ORUVALUE::FromFloat(21.0)},
        {"9.001 -30", "8A 24", 16, Dpt(9, 1), ORUVALUE::FromFloat(-30.0)},
        {"9.001 non-normalised", "8C 00", 16, Dpt(9, 1), ORUVALUE::FromFloat(-20.48)},
        {"10.001 Tuesday", "4D 17 2A", 24, Dpt(10, 1), ORUVALUE::FromTime(ivtDayTime, tuesday)},
        {"11.001", "04 01 02", 24, Dpt(11, 1), date2002WithDay},
        {"12.001", "01 23 45 67", 32, Dpt(12, 1), ORUVALUE::FromDWord(19088743)},
        {"13.001", "80 00 00 00", 32, Dpt(13, 1), ORUVALUE::FromInteger(-2147483647 - 1)},
        {"14.x", "43 C6 80 00", 32, Dpt(14, 0), ORUVALUE::FromFloat(397.0)},
        {"15.000", "12 34 56 78", 32, Dpt(15, 0), ORUVALUE::FromDWord(0x12345678)},
        {"16.001", "47 E4 6E 73 65 66 FC DF 63 68 65 6E 00 00", 112, Dpt(16, 1),
         ORUVALUE::FromString("G\xC3\xA4nsef\xC3\xBC\xC3\x9F"
                              "chen")},
        {"17.001", "3F", 8, Dpt(17, 1), ORUVALUE::FromByte(63)},
        {"19.001", "75 0B 1C 17 07 18 24 00", 64, Dpt(19, 1), dateTime2017},
        {"27.001", "A5 A5 0F 0F", 32, Dpt(27, 1), ORUVALUE::FromDWord(0xA5A50F0F)},
        {"232.600", "FF 00 00", 24, Dpt(232, 600), ORUVALUE::FromDWord(0xFF0000)},
        {"31.x (three bits)", "0D", 3, Dpt(31, 1), ORUVALUE::FromByte(5), false},
        // Typed, but not decoded here: the empty value, not none.
        {"24.001", "41 42 00", 24, Dpt(24, 1), ORUVALUE(), false},
        {"25.1000", "12", 8, Dpt(25, 1000), ORUVALUE(), false},
        {"28.001", "41 00", 16, Dpt(28, 1), ORUVALUE(), false},
        {"30.1010", "00 00 01", 24, Dpt(30, 1010), ORUVALUE(), false},
        {"200.100", "00 01", 16, Dpt(200, 100), ORUVALUE(), false},
    };
    for (const DecodeRow& row : rows)
    {
        LogCapture log;
        const auto value = Lum::GroupValueToOruValue(Group(row.bytes, row.bits), row.dpt);
        ASSERT_TRUE(value) << row.what;
        EXPECT_EQ(*value, row.expected) << row.what << ": " << value->ToString();
        EXPECT_EQ(value->ivt, row.expected.ivt) << row.what;
        if (row.knownToConverter)
        {
            EXPECT_TRUE(log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).empty()) << row.what;
        }
    }
}

TEST(GroupValueToOruValue, RejectsWithItsLine)
{
    struct Row
    {
        const char* what;
        GroupValue gv;
        unsigned long dpt;
        log4cplus::LogLevel level;
        std::string message;
    };
    const Row rows[] = {
        {"4.001", Group("41", 8), Dpt(4, 1), log4cplus::ERROR_LOG_LEVEL, "Unsupported DPT: 4.1"},
        {"99.001", Group("41", 8), Dpt(99, 1), log4cplus::ERROR_LOG_LEVEL, "Unsupported DPT: 99.1"},
        {"229.001", Group("00 00 00 00 00 00", 48), Dpt(229, 1), log4cplus::ERROR_LOG_LEVEL,
         "Unsupported DPT: 229.1"},
        {"9.001 too wide", Group("00 00 0C 1A", 32), Dpt(9, 1), log4cplus::ERROR_LOG_LEVEL,
         "Received invalid value 00 00 0C 1A for DPT 9.1"},
        {"10.001 second 60", Group("F7 3B 3C", 24), Dpt(10, 1), log4cplus::ERROR_LOG_LEVEL,
         "Received invalid value F7 3B 3C for DPT 10.1"},
        {"11.001 month 0", Group("04 00 59", 24), Dpt(11, 1), log4cplus::ERROR_LOG_LEVEL,
         "Received invalid value 04 00 59 for DPT 11.1"},
    };
    for (const Row& row : rows)
    {
        LogCapture log;
        EXPECT_FALSE(Lum::GroupValueToOruValue(row.gv, row.dpt)) << row.what;
        EXPECT_TRUE(log.Contains(row.level, row.message)) << row.what;
        const std::vector<std::string> lines = log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL);
        ASSERT_FALSE(lines.empty()) << row.what;
        EXPECT_EQ(lines.back(), row.message) << row.what;
    }
}

TEST(GroupValueToOruValue, ShortDateIsRejected)
{
    // Two bytes that claim 24 bits: never read past the buffer. The length
    // test of the decoder comes after the converter's check, which already
    // refuses to read a short date, so either line may end the call.
    LogCapture log;
    EXPECT_FALSE(Lum::GroupValueToOruValue(Group("04 01", 24), Dpt(11, 1)));
    const std::vector<std::string> lines = log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL);
    ASSERT_FALSE(lines.empty());
    const std::string length =
        "Received an invalid DPT 11.001 date from the KNX: Length in bytes is 2, expected 3";
    const std::string invalid = "Received invalid value 04 01 for DPT 11.1";
    EXPECT_TRUE(lines.back() == length || lines.back() == invalid) << lines.back();
}

TEST(GroupValueToOruValue, ShortDataNeverCrashes)
{
    // Too few bytes for the claimed size, for every typed main number.
    const unsigned mains[] = {1,  2,  3,  5,  6,  7,  8,  9,  10, 11, 12,  13,  14,  15,  16,
                              17, 18, 19, 20, 21, 22, 23, 26, 27, 31, 217, 232, 234, 237, 238};
    for (const unsigned main : mains)
    {
        for (const unsigned bits : {0u, 1u, 8u, 16u, 24u, 32u, 64u, 112u})
        {
            LogCapture log;
            const auto value = Lum::GroupValueToOruValue(GroupValue(BinaryData(), bits), Dpt(main, 1));
            if (value)
            {
                EXPECT_EQ(value->ivt, ivtEmpty) << main << " " << bits;
            }
            else
            {
                EXPECT_FALSE(log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).empty()) << main << " " << bits;
            }
        }
    }
}

TEST(CheckGroupValue, UsesTheConverter)
{
    {
        LogCapture log;
        EXPECT_TRUE(Lum::CheckGroupValue(Group("0C 1A", 16), Dpt(9, 1)));
        EXPECT_TRUE(log.Contains(log4cplus::DEBUG_LOG_LEVEL, "DPT is 9.1 with bit size 16"));
    }
    {
        LogCapture log;
        EXPECT_FALSE(Lum::CheckGroupValue(Group("00 00 0C 1A", 32), Dpt(9, 1)));
        EXPECT_TRUE(log.Contains(log4cplus::DEBUG_LOG_LEVEL, "DPT is 9.1 with bit size 32"));
    }
    EXPECT_TRUE(Lum::CheckGroupValue(Group("6A", 8), Dpt(6, 20)));
    EXPECT_FALSE(Lum::CheckGroupValue(Group("FF", 8), Dpt(6, 20))); // mode 111
    EXPECT_FALSE(Lum::CheckGroupValue(Group("00", 8), Dpt(6, 20))); // no mode
    // A DPT the converter does not know is accepted as it is.
    EXPECT_TRUE(Lum::CheckGroupValue(Group("12 34", 16), Dpt(99, 1)));
}

TEST(GroupValueOruValue, RoundTrips)
{
    const std::pair<ORUVALUE, unsigned long> rows[] = {
        {ORUVALUE::FromBool(true), Dpt(1, 1)},           {ORUVALUE::FromByte(3), Dpt(2, 1)},
        {ORUVALUE::FromByte(0x80), Dpt(6, 10)},          {ORUVALUE::FromByte(200), Dpt(5, 10)},
        {ORUVALUE::FromWord(12345), Dpt(7, 1)},          {ORUVALUE::FromInteger(-1234), Dpt(8, 1)},
        {ORUVALUE::FromFloat(21.0), Dpt(9, 1)},          {ORUVALUE::FromFloat(397.0), Dpt(14, 1)},
        {ORUVALUE::FromDWord(4000000000u), Dpt(12, 1)},  {ORUVALUE::FromInteger(-123456789), Dpt(13, 1)},
        {ORUVALUE::FromString("KNX is OK"), Dpt(16, 0)}, {ORUVALUE::FromDWord(0x123456), Dpt(232, 600)},
    };
    for (const auto& row : rows)
    {
        const auto gv = Lum::OruValueToGroupValue(row.first, row.second);
        ASSERT_TRUE(gv) << row.first.ToString();
        const auto back = Lum::GroupValueToOruValue(*gv, row.second);
        ASSERT_TRUE(back) << row.first.ToString();
        EXPECT_EQ(*back, row.first) << back->ToString();
    }
}

} // namespace
