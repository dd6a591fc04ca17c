#include <Platform/OruValue.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace
{

const double inf = std::numeric_limits<double>::infinity();
const double qnan = std::numeric_limits<double>::quiet_NaN();
const auto F = [](double v) { return ORUVALUE::FromFloat(v); };
const auto I = [](std::int32_t v) { return ORUVALUE::FromInteger(v); };
const auto S = [](const std::string& v) { return ORUVALUE::FromString(v); };
const auto B = [](std::uint8_t v) { return ORUVALUE::FromByte(v); };
const auto D = [](std::uint32_t v) { return ORUVALUE::FromDWord(v); };
const auto T = [](int type, const ORUTIME& t)
{ return ORUVALUE::FromTime(static_cast<OruValueType>(type), t); };

// The same payload under another type number.
ORUVALUE As(int type, ORUVALUE v)
{
    v.ivt = static_cast<OruValueType>(type);
    return v;
}

ORUVALUE Data40(std::uint64_t bits)
{
    ORUVALUE v = As(ivtData40, ORUVALUE());
    v.SetData40(bits);
    return v;
}

std::string Serialized(const ORUVALUE& v, bool internal)
{
    oru_string text;
    v.Serialize(text, internal);
    return text.str();
}

using Bytes = std::vector<unsigned char>;

// Exactly n bytes on the heap (one for n = 0), so that the sanitizer sees any access beyond them.
Bytes Block(std::size_t n, unsigned char fill)
{
    return Bytes(std::max<std::size_t>(n, 1), fill);
}

ORUVALUE Deserialized(const std::string& text)
{
    ORUVALUE v = S("previous");
    v.GetTime().SetDate(2024, 1, 1, true);
    v.Deserialize(oru_string(text));
    return v;
}

} // namespace

TEST(OruValueSerialize, EveryTypeRoundTripsInBothForms)
{
    ORUTIME full;
    full.SetDateTime(2024, 2, 29, 23, 59, 58, true);
    full.hundredths = 99;
    full.isDaylightSaving = true;
    ORUTIME extreme; // not a calendar date: every field at its largest
    extreme.year = extreme.weekDay = extreme.dayOfYear = 65535;
    extreme.month = extreme.day = extreme.hour = extreme.minute = extreme.second = extreme.hundredths = 255;
    extreme.isDaylightSaving = true;
    using L = std::numeric_limits<double>;
    // clang-format off
    const ORUVALUE values[] = {
        As(ivtUnset, ORUVALUE()), ORUVALUE(), ORUVALUE::FromBool(true), ORUVALUE::FromBool(false),
        F(21.5), F(0.1), F(1.0 / 3.0), F(-0.0), F(L::min()), F(L::denorm_min()), F(L::max()), F(L::lowest()),
        F(inf), F(-inf), F(qnan), As(1005, F(99.5)), As(1036, F(1e-300)), As(1037, F(-7)),
        As(1039, F(6.02e23)), I(INT32_MIN), I(INT32_MAX), I(-1), As(ivtTimePeriod, I(-86400)),
        As(5, I(-32768)), As(5, I(32767)), ORUVALUE::FromByte(0), ORUVALUE::FromByte(255),
        As(1021, ORUVALUE::FromByte(200)), ORUVALUE::FromWord(65535), ORUVALUE::FromDWord(4294967295u),
        As(20, ORUVALUE::FromDWord(70000)), Data40(0x0102A3B4C5), Data40(0xFFFFFFFFFF), S(""), S("a:b::c:"),
        S("10.7:x %s %n"), S("Wohnzimmer \xC3\xA9\xE2\x82\xAC"), S(std::string("\x01\xFF\x80\n\r\t x", 9)),
        S(std::string("a\0b", 3)), T(ivtDate, full), T(ivtTime, full), T(ivtDateTime, full),
        T(ivtDayTime, full), T(102, full), T(104, extreme), T(105, ORUTIME()), T(201, extreme)};
    // clang-format on
    for (const ORUVALUE& value : values)
    {
        for (const bool internal : {false, true})
        {
            const std::string text = Serialized(value, internal);
            const ORUVALUE back = Deserialized(text);
            EXPECT_EQ(value.ivt, back.ivt) << text;
            EXPECT_TRUE(value == back) << text;
            // Equality takes 0.0 for -0.0; the text must keep the sign.
            if (value.ivt == ivtFloat)
            {
                EXPECT_EQ(std::signbit(value.GetFloat()), std::signbit(back.GetFloat())) << text;
            }
        }
    }
}

TEST(OruValueSerialize, Spellings)
{
    ORUTIME t;
    t.SetDateTime(2024, 1, 2, 3, 4, 5, true);
    // The internal form adds ".7" after the type number.
    // clang-format off
    const std::pair<ORUVALUE, std::string> cases[] = {
        {F(21.5), "3:21.5"}, {F(0.1), "3:0.1"}, {F(qnan), "3:nan"}, {F(-qnan), "3:nan"}, {F(inf), "3:inf"},
        {F(-inf), "3:-inf"}, {ORUVALUE::FromBool(true), "2:true"}, {I(-42), "4:-42"},
        {ORUVALUE::FromByte(1), "6:1"}, {ORUVALUE::FromWord(23130), "7:23130"},
        {ORUVALUE::FromDWord(4294967295u), "8:4294967295"}, {S("a:b"), "10:a:b"}, {S(""), "10:"},
        {ORUVALUE(), "1:"}, {T(ivtDayTime, t), "15:2024-01-02 03:04:05.00 wd=2 yd=2 local=1 dst=0"}};
    // clang-format on
    for (const auto& c : cases)
    {
        const std::size_t colon = c.second.find(':');
        EXPECT_EQ(c.second, Serialized(c.first, false));
        EXPECT_EQ(c.second.substr(0, colon) + ".7" + c.second.substr(colon), Serialized(c.first, true));
    }
}

// NaN equals NaN under the value's own equality.
TEST(OruValueSerialize, ReaderAcceptsNanSpellingsAnyRevisionAndNumericBool)
{
    // clang-format off
    const std::pair<const char*, ORUVALUE> cases[] = {
        {"3.7:nan", F(qnan)}, {"3:nan", F(qnan)}, {"3.12:nan", F(qnan)}, {"3:-nan", F(qnan)},
        {"3:inf", F(inf)}, {"3.7:-inf", F(-inf)}, {"3:infinity", F(inf)}, {"3:1e5", F(1e5)},
        {"3:-0.5", F(-0.5)}, {"2:1", ORUVALUE::FromBool(true)}, {"2.0:0", ORUVALUE::FromBool(false)},
        {"6.123:255", ORUVALUE::FromByte(255)}, {"4:-2147483648", I(INT32_MIN)},
        {"8:007", ORUVALUE::FromDWord(7)}, {"10:\xFF\xFE", S("\xFF\xFE")}};
    // clang-format on
    for (const auto& c : cases)
    {
        const ORUVALUE v = Deserialized(c.first);
        EXPECT_EQ(c.second.ivt, v.ivt) << c.first;
        EXPECT_TRUE(c.second == v) << c.first << " -> " << v.ToString();
    }
}

TEST(OruValueSerialize, MalformedTextLeavesEmptyValue)
{
    // clang-format off
    const char* const cases[] = {
        "", ":", "3", "nan", "21.5", "x:1", "-3:1", "+3:1", " 3:1", "3 :1", "3.:1", "3.x:1", "3.7.7:1",
        "99:1", "2147483648:1", "3:", "3:1.5x", "3: 1.5", "3:+1.5", "3:0x10", "3:1e999", "2:yes", "2:2",
        "2:truex", "4:2147483648", "4:-2147483649", "4:1.0", "14:abc", "5:32768", "5:-32769", "6:256",
        "6:-1", "1021:256", "7:65536", "8:4294967296", "8:-0", "20:-5", "9:10000000000", "9:xyz", "9:",
        "1:junk", "0:junk", "11:2024-01-02", "11:2024-01-02 03:04:05.00 wd=2 yd=2 local=1 dst=0 ",
        "13:2024-01-02 03:04:05.00 wd=2 yd=2 local=2 dst=0",
        "13:2024-13-02 03:04:05.00 wd=2 yd=2 local=1 dst=-0",
        "13:65536-01-02 03:04:05.00 wd=2 yd=2 local=1 dst=0", "12:garbage",
        "15:2024-01-02 03:256:05.00 wd=2 yd=2 local=1 dst=0",
        "15:2024/01/02 03:04:05.00 wd=2 yd=2 local=1 dst=0"};
    // clang-format on
    for (const char* text : cases)
    {
        const ORUVALUE v = Deserialized(text);
        EXPECT_EQ(ivtEmpty, v.ivt) << '"' << text << '"';
        EXPECT_TRUE(v == ORUVALUE() && v.GetString().empty() && v.GetTime() == ORUTIME() && v.GetDWord() == 0)
            << '"' << text << '"';
    }
}

TEST(OruValue, ToStringIsNullOnlyForUnknownTypesAndPerThread)
{
    for (int type : {-1, 16, 19, 21, 100, 103, 200, 1000, 1038, 1040})
    {
        EXPECT_EQ(nullptr, As(type, ORUVALUE()).ToString()) << type;
    }
    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (int id = 0; id < 4; ++id)
    {
        threads.emplace_back(
            [id, &mismatches]
            {
                const ORUVALUE v = S("thread-" + std::to_string(id) + std::string(40, 'x'));
                for (int i = 0; i < 5000; ++i)
                    mismatches[id] += v.GetString().str() != v.ToString();
            });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(std::vector<int>(4, 0), mismatches);
}

// The expected bytes' count is the length asked for.
TEST(OruValueToByteArray, WritesBigEndianInTheLastBytes)
{
    ORUTIME date;
    date.SetDate(2024, 1, 1, false);
    // clang-format off
    const std::pair<ORUVALUE, Bytes> cases[] = {
        {B(0xAB), {0xAB}}, {B(0xAB), {0, 0, 0xAB}}, {ORUVALUE::FromWord(0x1234), {0x12, 0x34}},
        {ORUVALUE::FromWord(0xFF), {0xFF}}, {D(70000), {0x01, 0x11, 0x70}},
        {D(0xDEADBEEF), {0xDE, 0xAD, 0xBE, 0xEF}},
        {As(20, D(0x01020304)), {1, 2, 3, 4}}, {As(1021, B(7)), {7}}, {I(-1), {0xFF}}, {I(-128), {0x80}},
        {I(255), {0xFF}}, {I(-2), {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}}, {I(INT32_MIN), {0x80, 0, 0, 0}},
        {As(5, I(-300)), {0xFE, 0xD4}}, {As(ivtTimePeriod, I(1000)), {0, 0, 0x03, 0xE8}},
        {ORUVALUE::FromBool(true), {1}}, {ORUVALUE::FromBool(true), {0, 0, 1}},
        {ORUVALUE::FromBool(false), {0, 0}},
        {F(21.5), {0x41, 0xAC, 0, 0}}, {F(-0.5), {0xBF, 0, 0, 0}},
        {F(21.5), {0x40, 0x35, 0x80, 0, 0, 0, 0, 0}},
        {F(-std::numeric_limits<double>::infinity()), {0xFF, 0x80, 0, 0}}, {F(2.5), {3}}, {F(2.49), {2}},
        {F(-2.5), {0xFD}}, {F(255.4), {0xFF}}, {F(65535.0), {0xFF, 0xFF}}, {As(1037, F(9)), {9}},
        {As(1005, F(100)), {0x64}}, {Data40(0x0102030405), {1, 2, 3, 4, 5}},
        {ORUVALUE::FromString("AB"), {'A', 'B', 0, 0, 0}}, {ORUVALUE::FromString("ABC"), {'A', 'B', 'C'}},
        {ORUVALUE::FromString(""), {0}}};
    // Nothing written where the value does not fit.
    const std::pair<ORUVALUE, unsigned> refused[] = {
        {D(70000), 1}, {D(70000), 2}, {ORUVALUE::FromWord(256), 1}, {I(256), 1}, {I(-129), 1}, {I(-32769), 2},
        {Data40(0x0100000000), 4}, {F(255.5), 1}, {F(-128.5), 1}, {F(qnan), 1},
        {F(std::numeric_limits<double>::infinity()), 2}, {F(1.0), 3}, {F(1.0), 16}, {F(1e300), 4},
        {ORUVALUE::FromString("ABCD"), 3}, {ORUVALUE(), 4}, {As(ivtUnset, I(1)), 4},
        {ORUVALUE::FromTime(ivtDate, date), 3}, {As(77, I(1)), 4}, {B(1), 0}};
    // clang-format on
    for (const auto& c : cases)
    {
        Bytes buffer = Block(c.second.size(), 0x5A);
        unsigned length = static_cast<unsigned>(c.second.size());
        ASSERT_TRUE(OruValueToByteArray(c.first, buffer.data(), length))
            << c.first.ToString() << " " << length;
        EXPECT_EQ(c.second.size(), length);
        EXPECT_EQ(c.second, buffer) << c.first.ToString();
    }
    for (const auto& c : refused)
    {
        Bytes buffer = Block(c.second, 0x5A);
        unsigned length = c.second;
        EXPECT_FALSE(OruValueToByteArray(c.first, buffer.data(), length))
            << c.first.ToString() << " " << length;
        EXPECT_EQ(Block(c.second, 0x5A), buffer);
    }
    unsigned four = 4;
    EXPECT_FALSE(OruValueToByteArray(B(1), nullptr, four));
}

TEST(ByteArrayToOruValue, ReadsByTheCallersType)
{
    struct Case
    {
        int type; // as set by the caller
        Bytes bytes;
        bool isBit;
        ORUVALUE expected;
    };
    // clang-format off
    const Case cases[] = {
        {6, {0xFE}, true, ORUVALUE::FromBool(false)}, {10, {0x03, 0x00}, true, ORUVALUE::FromBool(true)},
        {2, {0x01}, false, ORUVALUE::FromBool(true)}, {2, {0x02}, false, ORUVALUE::FromBool(false)},
        {6, {0xC8}, false, B(200)}, {1021, {0x05}, false, As(1021, B(5))},
        {7, {0x12, 0x34}, false, ORUVALUE::FromWord(0x1234)}, {7, {0x34}, false, ORUVALUE::FromWord(0x34)},
        {8, {0x01, 0x11, 0x70}, false, D(70000)}, {8, {0xFF, 0xFF, 0xFF, 0xFF}, false, D(0xFFFFFFFF)},
        {20, {0x00, 0x01}, false, As(20, D(1))}, {4, {0xFF, 0xFF, 0xFF, 0xD6}, false, I(-42)},
        {4, {0x80}, false, I(-128)}, {4, {0x7F, 0xFF}, false, I(32767)},
        {5, {0xFE, 0xD4}, false, As(5, I(-300))},
        {14, {0, 0, 0x03, 0xE8}, false, As(14, I(1000))}, {3, {0x41, 0xAC, 0, 0}, false, F(21.5)},
        {3, {0x40, 0x35, 0x80, 0, 0, 0, 0, 0}, false, F(21.5)},
        {3, {0x7F, 0xC0, 0, 0}, false, F(qnan)},
        {1037, {0x09}, false, As(1037, F(9))}, {1005, {0x01, 0x00}, false, As(1005, F(256))},
        {9, {0xA1, 0xA2, 0xA3, 0xA4, 0xA5}, false, Data40(0xA1A2A3A4A5)},
        {10, {'A', 'B', 0, 'C'}, false, ORUVALUE::FromString("AB")},
        {10, {'A', 'B', 'C'}, false, ORUVALUE::FromString("ABC")},
        {10, {0, 'x'}, false, ORUVALUE::FromString("")},
        {1, {0x12, 0x34, 0x56, 0x78}, false, D(0x12345678)}, {0, {0x01}, false, D(1)}};
    // The value is left as it was where the bytes are too many for its type.
    const std::pair<int, unsigned> refused[] = {
        {2, 2}, {6, 2}, {1021, 2}, {7, 3}, {8, 5}, {4, 5}, {5, 3}, {9, 6}, {3, 3}, {3, 5}, {3, 9}, {1, 5},
        {11, 3}, {12, 3}, {15, 3}, {13, 8}, {77, 1}, {6, 0}};
    // clang-format on
    for (const Case& c : cases)
    {
        ORUVALUE v = As(c.type, ORUVALUE());
        ASSERT_TRUE(ByteArrayToOruValue(c.bytes.data(), static_cast<unsigned>(c.bytes.size()), v, c.isBit))
            << c.type << " " << c.bytes.size();
        EXPECT_EQ(c.expected.ivt, v.ivt) << c.expected.ToString();
        EXPECT_TRUE(c.expected == v) << c.expected.ToString() << " != " << v.ToString();
    }
    for (const auto& c : refused)
    {
        const Bytes buffer = Block(c.second, 0x11);
        ORUVALUE v = As(c.first, D(0xCAFE));
        EXPECT_FALSE(ByteArrayToOruValue(buffer.data(), c.second, v, false)) << c.first << " " << c.second;
        EXPECT_EQ(c.first, v.ivt);
        EXPECT_EQ(0xCAFEu, v.GetDWord()) << c.first << " " << c.second;
    }
    ORUVALUE v;
    const unsigned char one = 1;
    EXPECT_FALSE(ByteArrayToOruValue(nullptr, 4, v, false) || ByteArrayToOruValue(nullptr, 1, v, true) ||
                 ByteArrayToOruValue(&one, 0, v, true));
    EXPECT_EQ(ivtEmpty, v.ivt);
}

// Every length from one to eight bytes, through exact-size buffers.
TEST(OruValueByteArray, EveryLengthRoundTripsForWideTypes)
{
    for (unsigned n = 1; n <= 8; ++n)
    {
        const std::uint32_t ones = n >= 4 ? 0xEEEEEEEEu : 0xEEEEEEEEu >> (32 - 8 * n);
        const std::pair<ORUVALUE, unsigned> cases[] = {{D(ones), 4}, {I(-100), 4}, {F(100.0), 8}};
        for (const auto& c : cases)
        {
            Bytes buffer = Block(n, 0);
            unsigned length = n;
            const bool fits = c.first.ivt != ivtFloat || n == 1 || n == 2 || n == 4 || n == 8;
            ASSERT_EQ(fits, OruValueToByteArray(c.first, buffer.data(), length)) << c.first.ToString() << n;
            ORUVALUE back = As(c.first.ivt, ORUVALUE());
            EXPECT_EQ(fits && n <= c.second, fits && ByteArrayToOruValue(buffer.data(), n, back, false)) << n;
            EXPECT_TRUE(!fits || n > c.second || c.first == back) << c.first.ToString() << " " << n;
        }
    }
}
