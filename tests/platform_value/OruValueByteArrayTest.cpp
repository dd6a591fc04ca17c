#include <Platform/OruValue.h>

#include <gtest/gtest.h>

#include <cstdio>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

ORUVALUE Typed(int type, double number)
{
    ORUVALUE v;
    v.ivt = static_cast<OruValueType>(type);
    v.SetFloat(number);
    return v;
}

ORUVALUE TypedInt(int type, std::int32_t number)
{
    ORUVALUE v;
    v.ivt = static_cast<OruValueType>(type);
    v.SetInteger(number);
    return v;
}

// An exact-size heap block, so that the sanitizer sees any access beyond it.
struct Exact
{
    explicit Exact(std::size_t n, unsigned char fill) : size(n), data(new unsigned char[n == 0 ? 1 : n])
    {
        std::fill(data.get(), data.get() + (n == 0 ? 1 : n), fill);
    }
    Bytes Contents() const { return Bytes(data.get(), data.get() + size); }
    std::size_t size;
    std::unique_ptr<unsigned char[]> data;
};

std::string Hex(const Bytes& b)
{
    std::string s;
    char buf[4];
    for (unsigned char c : b)
    {
        std::snprintf(buf, sizeof buf, "%02X ", c);
        s += buf;
    }
    return s;
}

} // namespace

TEST(OruValueToByteArray, WritesBigEndianInTheLastBytes)
{
    struct Case
    {
        const char* name;
        ORUVALUE value;
        Bytes expected; // its size is the length asked for
    };
    const Case cases[] = {
        {"byte", ORUVALUE::FromByte(0xAB), {0xAB}},
        {"byte widened", ORUVALUE::FromByte(0xAB), {0x00, 0x00, 0xAB}},
        {"word", ORUVALUE::FromWord(0x1234), {0x12, 0x34}},
        {"word in one byte", ORUVALUE::FromWord(0xFF), {0xFF}},
        {"dword 70000 in three", ORUVALUE::FromDWord(70000), {0x01, 0x11, 0x70}},
        {"dword", ORUVALUE::FromDWord(0xDEADBEEF), {0xDE, 0xAD, 0xBE, 0xEF}},
        {"unsigned 20", TypedInt(20, 0x01020304), {0x01, 0x02, 0x03, 0x04}},
        {"enumeration 1021", TypedInt(1021, 7), {0x07}},
        {"integer -1 in one", ORUVALUE::FromInteger(-1), {0xFF}},
        {"integer -128 in one", ORUVALUE::FromInteger(-128), {0x80}},
        {"integer 255 in one", ORUVALUE::FromInteger(255), {0xFF}},
        {"integer -2 in six", ORUVALUE::FromInteger(-2), {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}},
        {"integer min", ORUVALUE::FromInteger(INT32_MIN), {0x80, 0x00, 0x00, 0x00}},
        {"short -300", TypedInt(5, -300), {0xFE, 0xD4}},
        {"time period", TypedInt(14, 1000), {0x00, 0x00, 0x03, 0xE8}},
        {"bool true", ORUVALUE::FromBool(true), {0x01}},
        {"bool true in three", ORUVALUE::FromBool(true), {0x00, 0x00, 0x01}},
        {"bool false", ORUVALUE::FromBool(false), {0x00, 0x00}},
        {"float single", ORUVALUE::FromFloat(21.5), {0x41, 0xAC, 0x00, 0x00}},
        {"float single negative", ORUVALUE::FromFloat(-0.5), {0xBF, 0x00, 0x00, 0x00}},
        {"float double", ORUVALUE::FromFloat(21.5), {0x40, 0x35, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00}},
        {"float double one", ORUVALUE::FromFloat(1.0), {0x3F, 0xF0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
        {"float rounded", ORUVALUE::FromFloat(2.5), {0x03}},
        {"float rounded down", ORUVALUE::FromFloat(2.49), {0x02}},
        {"float rounded negative", ORUVALUE::FromFloat(-2.5), {0xFD}},
        {"float 255 in one", ORUVALUE::FromFloat(255.4), {0xFF}},
        {"float word", ORUVALUE::FromFloat(65535.0), {0xFF, 0xFF}},
        {"dimming 1037", Typed(1037, 9.0), {0x09}},
        {"percentage 1005", Typed(1005, 100.0), {0x64}},
        {"data40",
         []
         {
             ORUVALUE v;
             v.ivt = ivtData40;
             v.SetData40(0x0102030405);
             return v;
         }(),
         {0x01, 0x02, 0x03, 0x04, 0x05}},
        {"string padded", ORUVALUE::FromString("AB"), {'A', 'B', 0, 0, 0}},
        {"string exact", ORUVALUE::FromString("ABC"), {'A', 'B', 'C'}},
        {"string empty", ORUVALUE::FromString(""), {0x00}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        Exact buffer(c.expected.size(), 0x5A);
        unsigned int length = static_cast<unsigned int>(c.expected.size());
        ASSERT_TRUE(OruValueToByteArray(c.value, buffer.data.get(), length));
        EXPECT_EQ(c.expected.size(), length);
        EXPECT_EQ(Hex(c.expected), Hex(buffer.Contents()));
    }
}

TEST(OruValueToByteArray, RefusesWhatDoesNotFitAndWritesNothing)
{
    const double inf = std::numeric_limits<double>::infinity();
    struct Case
    {
        const char* name;
        ORUVALUE value;
        unsigned int length;
    };
    ORUTIME t;
    t.SetDate(2024, 1, 1, false);
    const Case cases[] = {
        {"dword 70000 in one", ORUVALUE::FromDWord(70000), 1},
        {"dword 70000 in two", ORUVALUE::FromDWord(70000), 2},
        {"word 256 in one", ORUVALUE::FromWord(256), 1},
        {"integer 256 in one", ORUVALUE::FromInteger(256), 1},
        {"integer -129 in one", ORUVALUE::FromInteger(-129), 1},
        {"integer -32769 in two", ORUVALUE::FromInteger(-32769), 2},
        {"data40 in four",
         []
         {
             ORUVALUE v;
             v.ivt = ivtData40;
             v.SetData40(0x0100000000);
             return v;
         }(),
         4},
        {"float 256 in one", ORUVALUE::FromFloat(255.5), 1},
        {"float -129 in one", ORUVALUE::FromFloat(-128.5), 1},
        {"float nan in one", ORUVALUE::FromFloat(std::nan("")), 1},
        {"float inf in two", ORUVALUE::FromFloat(inf), 2},
        {"float three bytes", ORUVALUE::FromFloat(1.0), 3},
        {"float sixteen bytes", ORUVALUE::FromFloat(1.0), 16},
        {"float too large for single", ORUVALUE::FromFloat(1e300), 4},
        {"string too long", ORUVALUE::FromString("ABCD"), 3},
        {"empty", ORUVALUE(), 4},
        {"unset", TypedInt(0, 1), 4},
        {"date", ORUVALUE::FromTime(ivtDate, t), 3},
        {"unknown type", TypedInt(77, 1), 4},
        {"zero length", ORUVALUE::FromByte(1), 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        Exact buffer(c.length, 0x5A);
        unsigned int length = c.length;
        EXPECT_FALSE(OruValueToByteArray(c.value, buffer.data.get(), length));
        EXPECT_EQ(Bytes(c.length, 0x5A), buffer.Contents());
    }
    unsigned int four = 4;
    EXPECT_FALSE(OruValueToByteArray(ORUVALUE::FromByte(1), nullptr, four));
}

TEST(OruValueToByteArray, SingleKeepsInfinityAndNan)
{
    unsigned char b[4];
    unsigned int length = 4;
    ASSERT_TRUE(
        OruValueToByteArray(ORUVALUE::FromFloat(-std::numeric_limits<double>::infinity()), b, length));
    EXPECT_EQ(Hex({0xFF, 0x80, 0x00, 0x00}), Hex(Bytes(b, b + 4)));
    ASSERT_TRUE(OruValueToByteArray(ORUVALUE::FromFloat(std::nan("")), b, length));
    ORUVALUE back = Typed(3, 0);
    ASSERT_TRUE(ByteArrayToOruValue(b, 4, back, false));
    EXPECT_TRUE(std::isnan(back.GetFloat()));
}

TEST(ByteArrayToOruValue, ReadsByTheCallersType)
{
    struct Case
    {
        const char* name;
        int type; // as set by the caller
        Bytes bytes;
        bool isBit;
        ORUVALUE expected;
    };
    ORUVALUE data40;
    data40.ivt = ivtData40;
    data40.SetData40(0xA1A2A3A4A5);
    const Case cases[] = {
        {"bit", 6, {0xFE}, true, ORUVALUE::FromBool(false)},
        {"bit set", 10, {0x03, 0x00}, true, ORUVALUE::FromBool(true)},
        {"bool", 2, {0x01}, false, ORUVALUE::FromBool(true)},
        {"bool lowest bit", 2, {0x02}, false, ORUVALUE::FromBool(false)},
        {"byte", 6, {0xC8}, false, ORUVALUE::FromByte(200)},
        {"enumeration 1021", 1021, {0x05}, false, TypedInt(1021, 5)},
        {"word", 7, {0x12, 0x34}, false, ORUVALUE::FromWord(0x1234)},
        {"word short", 7, {0x34}, false, ORUVALUE::FromWord(0x34)},
        {"dword", 8, {0x01, 0x11, 0x70}, false, ORUVALUE::FromDWord(70000)},
        {"dword four", 8, {0xFF, 0xFF, 0xFF, 0xFF}, false, ORUVALUE::FromDWord(0xFFFFFFFF)},
        {"unsigned 20", 20, {0x00, 0x01}, false, TypedInt(20, 1)},
        {"integer", 4, {0xFF, 0xFF, 0xFF, 0xD6}, false, ORUVALUE::FromInteger(-42)},
        {"integer one byte signed", 4, {0x80}, false, ORUVALUE::FromInteger(-128)},
        {"integer two bytes", 4, {0x7F, 0xFF}, false, ORUVALUE::FromInteger(32767)},
        {"short", 5, {0xFE, 0xD4}, false, TypedInt(5, -300)},
        {"time period", 14, {0x00, 0x00, 0x03, 0xE8}, false, TypedInt(14, 1000)},
        {"float single", 3, {0x41, 0xAC, 0x00, 0x00}, false, ORUVALUE::FromFloat(21.5)},
        {"float double",
         3,
         {0x40, 0x35, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00},
         false,
         ORUVALUE::FromFloat(21.5)},
        {"float byte", 1037, {0x09}, false, Typed(1037, 9.0)},
        {"float word", 1005, {0x01, 0x00}, false, Typed(1005, 256.0)},
        {"data40", 9, {0xA1, 0xA2, 0xA3, 0xA4, 0xA5}, false, data40},
        {"string to zero", 10, {'A', 'B', 0, 'C'}, false, ORUVALUE::FromString("AB")},
        {"string unterminated", 10, {'A', 'B', 'C'}, false, ORUVALUE::FromString("ABC")},
        {"string empty", 10, {0, 'x'}, false, ORUVALUE::FromString("")},
        {"empty as dword", 1, {0x12, 0x34, 0x56, 0x78}, false, ORUVALUE::FromDWord(0x12345678)},
        {"unset as dword", 0, {0x01}, false, ORUVALUE::FromDWord(1)},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        Exact buffer(c.bytes.size(), 0);
        std::copy(c.bytes.begin(), c.bytes.end(), buffer.data.get());
        ORUVALUE v;
        v.ivt = static_cast<OruValueType>(c.type);
        ASSERT_TRUE(
            ByteArrayToOruValue(buffer.data.get(), static_cast<unsigned int>(c.bytes.size()), v, c.isBit));
        EXPECT_EQ(c.expected.ivt, v.ivt);
        EXPECT_TRUE(c.expected == v) << v.ToString();
    }
}

TEST(ByteArrayToOruValue, RefusesTooManyBytesAndLeavesTheValue)
{
    struct Case
    {
        const char* name;
        int type;
        unsigned int length;
    };
    const Case cases[] = {
        {"bool two", 2, 2},    {"byte two", 6, 2},     {"enumeration two", 1021, 2}, {"word three", 7, 3},
        {"dword five", 8, 5},  {"integer five", 4, 5}, {"short three", 5, 3},        {"data40 six", 9, 6},
        {"float three", 3, 3}, {"float five", 3, 5},   {"float nine", 3, 9},         {"empty five", 1, 5},
        {"date", 11, 3},       {"time", 12, 3},        {"daytime", 15, 3},           {"datetime", 13, 8},
        {"unknown", 77, 1},    {"zero length", 6, 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        Exact buffer(c.length, 0x11);
        ORUVALUE v;
        v.ivt = static_cast<OruValueType>(c.type);
        v.SetDWord(0xCAFE);
        const ORUVALUE before = v;
        EXPECT_FALSE(ByteArrayToOruValue(buffer.data.get(), c.length, v, false));
        EXPECT_EQ(before.ivt, v.ivt);
        EXPECT_EQ(0xCAFEu, v.GetDWord());
    }
    ORUVALUE v;
    EXPECT_FALSE(ByteArrayToOruValue(nullptr, 4, v, false));
    EXPECT_FALSE(ByteArrayToOruValue(nullptr, 1, v, true));
    const unsigned char one = 1;
    EXPECT_FALSE(ByteArrayToOruValue(&one, 0, v, true));
    EXPECT_EQ(ivtEmpty, v.ivt);
}

TEST(OruValueByteArray, EveryLengthRoundTripsForWideTypes)
{
    // Each length from one to eight bytes for the integer and float types,
    // through exact-size buffers.
    for (unsigned int n = 1; n <= 8; ++n)
    {
        SCOPED_TRACE(n);
        const struct
        {
            ORUVALUE value;
            unsigned int maxRead;
        } cases[] = {
            {ORUVALUE::FromDWord(n == 1   ? 0xEEu
                                 : n == 2 ? 0xEEEEu
                                 : n == 3 ? 0xEEEEEEu
                                          : 0xEEEEEEEEu),
             4},
            {ORUVALUE::FromInteger(-100), 4},
            {ORUVALUE::FromFloat(100.0), 8},
        };
        for (const auto& c : cases)
        {
            Exact buffer(n, 0);
            unsigned int length = n;
            const bool written = OruValueToByteArray(c.value, buffer.data.get(), length);
            if (c.value.ivt == ivtFloat && n != 1 && n != 2 && n != 4 && n != 8)
            {
                EXPECT_FALSE(written);
                continue;
            }
            ASSERT_TRUE(written) << c.value.ToString();
            ORUVALUE back;
            back.ivt = c.value.ivt;
            EXPECT_EQ(n <= c.maxRead, ByteArrayToOruValue(buffer.data.get(), n, back, false));
            if (n <= c.maxRead)
            {
                EXPECT_TRUE(c.value == back) << back.ToString();
            }
        }
    }
}
