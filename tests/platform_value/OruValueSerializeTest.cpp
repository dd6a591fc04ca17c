#include <Platform/OruValue.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace
{

ORUVALUE Typed(OruValueType type, void (*fill)(ORUVALUE&))
{
    ORUVALUE v;
    v.ivt = type;
    fill(v);
    return v;
}

ORUTIME FullTime()
{
    ORUTIME t;
    t.year = 2024;
    t.month = 2;
    t.day = 29;
    t.hour = 23;
    t.minute = 59;
    t.second = 58;
    t.hundredths = 99;
    t.weekDay = OruWeekDays::WEEK_DAY_THURSDAY;
    t.dayOfYear = 60;
    t.isLocalTime = true;
    t.isDaylightSaving = true;
    return t;
}

ORUTIME ExtremeTime()
{
    // Not a calendar date at all: every field at its largest.
    ORUTIME t;
    t.year = 65535;
    t.month = t.day = t.hour = t.minute = t.second = t.hundredths = 255;
    t.weekDay = t.dayOfYear = 65535;
    t.isLocalTime = false;
    t.isDaylightSaving = true;
    return t;
}

struct RoundTripCase
{
    const char* name;
    ORUVALUE value;
};

std::vector<RoundTripCase> RoundTripCases()
{
    using std::numeric_limits;
    return {
        {"unset", Typed(ivtUnset, [](ORUVALUE&) {})},
        {"empty", ORUVALUE()},
        {"bool true", ORUVALUE::FromBool(true)},
        {"bool false", ORUVALUE::FromBool(false)},
        {"float 21.5", ORUVALUE::FromFloat(21.5)},
        {"float 0.1", ORUVALUE::FromFloat(0.1)},
        {"float 1/3", ORUVALUE::FromFloat(1.0 / 3.0)},
        {"float -0", ORUVALUE::FromFloat(-0.0)},
        {"float min", ORUVALUE::FromFloat(numeric_limits<double>::min())},
        {"float denorm", ORUVALUE::FromFloat(numeric_limits<double>::denorm_min())},
        {"float max", ORUVALUE::FromFloat(numeric_limits<double>::max())},
        {"float lowest", ORUVALUE::FromFloat(numeric_limits<double>::lowest())},
        {"float -273.15", ORUVALUE::FromFloat(-273.15)},
        {"float inf", ORUVALUE::FromFloat(numeric_limits<double>::infinity())},
        {"float -inf", ORUVALUE::FromFloat(-numeric_limits<double>::infinity())},
        {"float nan", ORUVALUE::FromFloat(numeric_limits<double>::quiet_NaN())},
        {"percentage 1005", Typed(static_cast<OruValueType>(1005), [](ORUVALUE& v) { v.SetFloat(99.5); })},
        {"scaling 1036", Typed(static_cast<OruValueType>(1036), [](ORUVALUE& v) { v.SetFloat(1e-300); })},
        {"dimming 1037", Typed(static_cast<OruValueType>(1037), [](ORUVALUE& v) { v.SetFloat(-7); })},
        {"measurement 1039",
         Typed(static_cast<OruValueType>(1039), [](ORUVALUE& v) { v.SetFloat(6.02e23); })},
        {"integer min", ORUVALUE::FromInteger(numeric_limits<std::int32_t>::min())},
        {"integer max", ORUVALUE::FromInteger(numeric_limits<std::int32_t>::max())},
        {"integer -1", ORUVALUE::FromInteger(-1)},
        {"time period", Typed(ivtTimePeriod, [](ORUVALUE& v) { v.SetInteger(-86400); })},
        {"short min", Typed(static_cast<OruValueType>(5), [](ORUVALUE& v) { v.SetInteger(-32768); })},
        {"short max", Typed(static_cast<OruValueType>(5), [](ORUVALUE& v) { v.SetInteger(32767); })},
        {"byte 0", ORUVALUE::FromByte(0)},
        {"byte 255", ORUVALUE::FromByte(255)},
        {"enumeration 1021", Typed(static_cast<OruValueType>(1021), [](ORUVALUE& v) { v.SetByte(200); })},
        {"word max", ORUVALUE::FromWord(65535)},
        {"dword max", ORUVALUE::FromDWord(4294967295u)},
        {"unsigned 20", Typed(static_cast<OruValueType>(20), [](ORUVALUE& v) { v.SetDWord(70000); })},
        {"data40", Typed(ivtData40, [](ORUVALUE& v) { v.SetData40(0x0102A3B4C5); })},
        {"data40 max", Typed(ivtData40, [](ORUVALUE& v) { v.SetData40(0xFFFFFFFFFF); })},
        {"string empty", ORUVALUE::FromString("")},
        {"string colons", ORUVALUE::FromString("a:b::c:")},
        {"string format-like", ORUVALUE::FromString("10.7:x %s %n")},
        {"string utf8", ORUVALUE::FromString("Wohnzimmer \xC3\xA9\xE2\x82\xAC")},
        {"string raw bytes", ORUVALUE::FromString(std::string("\x01\xFF\x80\n\r\t x", 9))},
        {"string embedded zero", ORUVALUE::FromString(std::string("a\0b", 3))},
        {"date", ORUVALUE::FromTime(ivtDate, FullTime())},
        {"time", ORUVALUE::FromTime(ivtTime, FullTime())},
        {"datetime", ORUVALUE::FromTime(ivtDateTime, FullTime())},
        {"daytime", ORUVALUE::FromTime(ivtDayTime, FullTime())},
        {"local datetime 102", ORUVALUE::FromTime(static_cast<OruValueType>(102), FullTime())},
        {"local time 104", ORUVALUE::FromTime(static_cast<OruValueType>(104), ExtremeTime())},
        {"local date 105", ORUVALUE::FromTime(static_cast<OruValueType>(105), ORUTIME())},
        {"utc datetime 201", ORUVALUE::FromTime(static_cast<OruValueType>(201), ExtremeTime())},
    };
}

void ExpectSameBits(const ORUVALUE& expected, const ORUVALUE& actual)
{
    // Equality treats 0.0 and -0.0 alike; the text must keep the sign too.
    if (expected.ivt == ivtFloat && !std::isnan(expected.GetFloat()))
    {
        EXPECT_EQ(std::signbit(expected.GetFloat()), std::signbit(actual.GetFloat()));
    }
}

} // namespace

TEST(OruValueSerialize, EveryTypeRoundTripsInBothForms)
{
    for (const RoundTripCase& c : RoundTripCases())
    {
        for (const bool internal : {false, true})
        {
            SCOPED_TRACE(std::string(c.name) + (internal ? " internal" : " plain"));
            oru_string text;
            c.value.Serialize(text, internal);
            ORUVALUE back;
            back.Deserialize(text);
            EXPECT_EQ(c.value.ivt, back.ivt) << text.str();
            EXPECT_TRUE(c.value == back) << text.str();
            ExpectSameBits(c.value, back);
            if (c.value.ivt == ivtString)
            {
                EXPECT_EQ(c.value.GetString().str(), back.GetString().str());
            }
        }
    }
}

TEST(OruValueSerialize, Spellings)
{
    struct Case
    {
        ORUVALUE value;
        const char* plain;
        const char* internal;
    };
    ORUTIME t;
    t.SetDateTime(2024, 1, 2, 3, 4, 5, true);
    const Case cases[] = {
        {ORUVALUE::FromFloat(21.5), "3:21.5", "3.7:21.5"},
        {ORUVALUE::FromFloat(0.1), "3:0.1", "3.7:0.1"},
        {ORUVALUE::FromFloat(std::numeric_limits<double>::quiet_NaN()), "3:nan", "3.7:nan"},
        {ORUVALUE::FromFloat(-std::numeric_limits<double>::quiet_NaN()), "3:nan", "3.7:nan"},
        {ORUVALUE::FromFloat(std::numeric_limits<double>::infinity()), "3:inf", "3.7:inf"},
        {ORUVALUE::FromFloat(-std::numeric_limits<double>::infinity()), "3:-inf", "3.7:-inf"},
        {ORUVALUE::FromBool(true), "2:true", "2.7:true"},
        {ORUVALUE::FromInteger(-42), "4:-42", "4.7:-42"},
        {ORUVALUE::FromByte(1), "6:1", "6.7:1"},
        {ORUVALUE::FromWord(23130), "7:23130", "7.7:23130"},
        {ORUVALUE::FromDWord(4294967295u), "8:4294967295", "8.7:4294967295"},
        {ORUVALUE::FromString("a:b"), "10:a:b", "10.7:a:b"},
        {ORUVALUE::FromString(""), "10:", "10.7:"},
        {ORUVALUE(), "1:", "1.7:"},
        {ORUVALUE::FromTime(ivtDayTime, t), "15:2024-01-02 03:04:05.00 wd=2 yd=2 local=1 dst=0",
         "15.7:2024-01-02 03:04:05.00 wd=2 yd=2 local=1 dst=0"},
    };
    for (const Case& c : cases)
    {
        oru_string plain, internal;
        c.value.Serialize(plain, false);
        c.value.Serialize(internal, true);
        EXPECT_EQ(c.plain, plain.str());
        EXPECT_EQ(c.internal, internal.str());
    }
}

TEST(OruValueSerialize, NanAndInfinityTextsReadAsFloats)
{
    struct Case
    {
        const char* text;
        bool nan;
        double value;
    };
    const double inf = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        {"3.7:nan", true, 0},       {"3:nan", true, 0},    {"3.12:nan", true, 0},
        {"3:-nan", true, 0},        {"3:inf", false, inf}, {"3.7:-inf", false, -inf},
        {"3:infinity", false, inf}, {"3:1e5", false, 1e5}, {"3:-0.5", false, -0.5},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.text);
        ORUVALUE v;
        v.Deserialize(oru_string(c.text));
        ASSERT_EQ(ivtFloat, v.ivt);
        if (c.nan)
        {
            EXPECT_TRUE(std::isnan(v.GetFloat()));
        }
        else
        {
            EXPECT_EQ(c.value, v.GetFloat());
        }
    }
}

TEST(OruValueSerialize, MalformedTextLeavesEmptyValue)
{
    const std::string cases[] = {
        "",
        ":",
        "3",
        "nan",
        "21.5",
        "x:1",
        "-3:1",
        "+3:1",
        " 3:1",
        "3 :1",
        "3.:1",
        "3.x:1",
        "3.7.7:1",
        "99:1",         // unknown type number
        "2147483648:1", // type beyond 32 bits
        "3:",           // no number
        "3:1.5x",       // trailing garbage
        "3: 1.5",       // leading blank
        "3:+1.5",       // explicit plus
        "3:0x10",       // hex not accepted
        "3:1e999",      // out of range for a double
        "2:yes",
        "2:2",
        "2:truex",
        "4:2147483648", // one past int32
        "4:-2147483649",
        "4:1.0",
        "14:abc",
        "5:32768", // signed 16-bit
        "5:-32769",
        "6:256",
        "6:-1",
        "1021:256",
        "7:65536",
        "8:4294967296",
        "8:-0",
        "20:-5",
        "9:10000000000", // 41 bits
        "9:xyz",
        "9:",
        "1:junk",
        "0:junk",
        "11:2024-01-02", // fields missing
        "11:2024-01-02 03:04:05.00 wd=2 yd=2 local=1 dst=0 ",
        "13:2024-01-02 03:04:05.00 wd=2 yd=2 local=2 dst=0",
        "13:2024-13-02 03:04:05.00 wd=2 yd=2 local=1 dst=-0",
        "13:65536-01-02 03:04:05.00 wd=2 yd=2 local=1 dst=0",
        "15:2024-01-02 03:256:05.00 wd=2 yd=2 local=1 dst=0",
        "15:2024/01/02 03:04:05.00 wd=2 yd=2 local=1 dst=0",
        "12:garbage",
    };
    for (const std::string& text : cases)
    {
        SCOPED_TRACE("\"" + text + "\"");
        ORUVALUE v = ORUVALUE::FromString("previous");
        v.GetTime().SetDate(2024, 1, 1, true);
        v.Deserialize(oru_string(text));
        EXPECT_EQ(ivtEmpty, v.ivt);
        EXPECT_TRUE(v == ORUVALUE());
        EXPECT_TRUE(v.GetString().empty());
        EXPECT_EQ(ORUTIME(), v.GetTime());
        EXPECT_EQ(0u, v.GetDWord());
    }
}

TEST(OruValueSerialize, ReaderAcceptsAnyRevisionAndPlainNumbersForBool)
{
    struct Case
    {
        const char* text;
        ORUVALUE expected;
    };
    const Case cases[] = {
        {"2:1", ORUVALUE::FromBool(true)},
        {"2.0:0", ORUVALUE::FromBool(false)},
        {"6.123:255", ORUVALUE::FromByte(255)},
        {"4:-2147483648", ORUVALUE::FromInteger(INT32_MIN)},
        {"8:007", ORUVALUE::FromDWord(7)},
        {"10.7:", ORUVALUE::FromString("")},
        {"10:\xFF\xFE", ORUVALUE::FromString("\xFF\xFE")},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.text);
        ORUVALUE v;
        v.Deserialize(oru_string(c.text));
        EXPECT_TRUE(c.expected == v) << v.ToString();
    }
}
