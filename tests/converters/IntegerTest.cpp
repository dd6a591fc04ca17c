#include "ConverterTestUtil.h"

#include <Lum/KnxConverterInteger.h>

#include <gtest/gtest.h>

#include <limits>

using namespace LumTest;
using Lum::IntegerRange;
using Lum::LongIntegerRange;

namespace
{

const Lum::KnxConverterByte8BitUnsigned kByte(IntegerRange(0, 255, 0, 255));
const Lum::KnxConverterByte8BitUnsigned kBytePercent(IntegerRange(0, 254, 0, 254));
const Lum::KnxConverterByte8BitUnsigned kByteMode(IntegerRange(0, 4, 0, 4));
const Lum::KnxConverterInteger8BitSigned kSigned8(IntegerRange(-128, 127, -128, 127));
const Lum::KnxConverterStatus8Bit kStatus(IntegerRange(0, 255, 0, 255));
const Lum::KnxConverterInteger16BitUnsigned kUnsigned16(IntegerRange(0, 65535, 0, 65535));
const Lum::KnxConverterInteger16BitSigned kSigned16(IntegerRange(-32768, 32767, -32768, 32767));
const Lum::KnxConverterInteger24BitUnsigned kUnsigned24(LongIntegerRange(0, 16777215, 0, 16777215));
const Lum::KnxConverterInteger32BitUnsigned kUnsigned32(LongIntegerRange(0, 4294967295LL, 0, 4294967295LL));
const Lum::KnxConverterInteger32BitUnsigned kUnsigned32Small(LongIntegerRange(0, 1000, 0, 1000));
const Lum::KnxConverterInteger32BitSigned kSigned32(IntegerRange(std::numeric_limits<std::int32_t>::min(),
                                                                 std::numeric_limits<std::int32_t>::max(),
                                                                 std::numeric_limits<std::int32_t>::min(),
                                                                 std::numeric_limits<std::int32_t>::max()));
const Lum::KnxConverterInteger32BitSigned kSigned32Scaled(IntegerRange(0, 100, 0, 1000));

// Value -> bytes and bytes -> value, both as the KNX standard lays them out.
struct Vector
{
    const char* name;
    const Lum::KnxConverter* conv;
    KNXDPT dpt;
    ORUVALUE value;
    Bytes bytes;
};

class IntegerVectors : public testing::TestWithParam<Vector>
{
};

TEST_P(IntegerVectors, BothDirections)
{
    const Vector& v = GetParam();
    KnxStack::GroupValue group;
    ASSERT_TRUE(v.conv->ToKnxValue(v.dpt, v.value, group));
    EXPECT_EQ(v.bytes, RawBytes(group));
    EXPECT_EQ(v.bytes.size() * 8, group.GetDefinedSize());

    ORUVALUE back = Typed(v.value.ivt, 0xDEADBEEFu);
    ASSERT_TRUE(v.conv->FromKnxValue(v.dpt, Group(v.bytes, static_cast<unsigned>(v.bytes.size() * 8)), back));
    EXPECT_EQ(v.value, back);
}

INSTANTIATE_TEST_SUITE_P(
    Knx, IntegerVectors,
    testing::Values(
        Vector{"Byte0", &kByte, Dpt(5, 1), ORUVALUE::FromByte(0), {0x00}},
        Vector{"Byte255", &kByte, Dpt(5, 1), ORUVALUE::FromByte(255), {0xFF}},
        Vector{"BytePercentNotScaled", &kByte, Dpt(5, 1), ORUVALUE::FromByte(128), {0x80}},
        Vector{"Signed8Min", &kSigned8, Dpt(6, 1), ORUVALUE::FromInteger(-128), {0x80}},
        Vector{"Signed8Minus1", &kSigned8, Dpt(6, 10), ORUVALUE::FromInteger(-1), {0xFF}},
        Vector{"Signed8Max", &kSigned8, Dpt(6, 1), ORUVALUE::FromInteger(127), {0x7F}},
        Vector{"Status6A", &kStatus, Dpt(6, 20), ORUVALUE::FromByte(0x6A), {0x6A}},
        Vector{"Status01", &kStatus, Dpt(6, 20), ORUVALUE::FromByte(0x01), {0x01}},
        Vector{"StatusFC", &kStatus, Dpt(6, 20), ORUVALUE::FromByte(0xFC), {0xFC}},
        Vector{"Unsigned16Max", &kUnsigned16, Dpt(7, 1), ORUVALUE::FromWord(65535), {0xFF, 0xFF}},
        Vector{"Unsigned16Mid", &kUnsigned16, Dpt(7, 1), ORUVALUE::FromWord(0x1234), {0x12, 0x34}},
        Vector{"Signed16Min", &kSigned16, Dpt(8, 1), ORUVALUE::FromInteger(-32768), {0x80, 0x00}},
        Vector{"Signed16Minus2", &kSigned16, Dpt(8, 1), ORUVALUE::FromInteger(-2), {0xFF, 0xFE}},
        Vector{
            "Unsigned32", &kUnsigned32, Dpt(12, 1), ORUVALUE::FromDWord(19088743u), {0x01, 0x23, 0x45, 0x67}},
        Vector{"Unsigned32Max",
               &kUnsigned32,
               Dpt(12, 1),
               ORUVALUE::FromDWord(4294967295u),
               {0xFF, 0xFF, 0xFF, 0xFF}},
        Vector{"Signed32Max",
               &kSigned32,
               Dpt(13, 1),
               ORUVALUE::FromInteger(2147483647),
               {0x7F, 0xFF, 0xFF, 0xFF}},
        Vector{"Signed32Min",
               &kSigned32,
               Dpt(13, 1),
               ORUVALUE::FromInteger(std::numeric_limits<std::int32_t>::min()),
               {0x80, 0x00, 0x00, 0x00}},
        Vector{
            "Signed32Minus1", &kSigned32, Dpt(13, 10), ORUVALUE::FromInteger(-1), {0xFF, 0xFF, 0xFF, 0xFF}},
        Vector{"Colour", &kUnsigned24, Dpt(232, 600), ORUVALUE::FromDWord(0xFF0000u), {0xFF, 0x00, 0x00}},
        Vector{"ColourBlack", &kUnsigned24, Dpt(232, 600), ORUVALUE::FromDWord(0u), {0x00, 0x00, 0x00}}),
    [](const testing::TestParamInfo<Vector>& tp) { return std::string(tp.param.name); });

struct Rejection
{
    const char* name;
    const Lum::KnxConverter* conv;
    bool toKnx;
    KNXDPT dpt;
    ORUVALUE value;
    Bytes bytes; // the group value read, or the one that must stay untouched
    std::string message;
};

class IntegerRejection : public testing::TestWithParam<Rejection>
{
};

TEST_P(IntegerRejection, LogsOnceAndWritesNothing)
{
    const Rejection& r = GetParam();
    KnxStack::GroupValue group = Group(r.bytes, static_cast<unsigned>(r.bytes.size() * 8));
    ORUVALUE value = r.value;
    LogCapture capture;
    const bool ok =
        r.toKnx ? r.conv->ToKnxValue(r.dpt, value, group) : r.conv->FromKnxValue(r.dpt, group, value);
    EXPECT_FALSE(ok);
    EXPECT_EQ(std::vector<std::string>{r.message}, capture.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL));
    EXPECT_EQ(r.bytes, RawBytes(group));
    EXPECT_EQ(r.value, value);
}

INSTANTIATE_TEST_SUITE_P(
    All, IntegerRejection,
    testing::Values(Rejection{"ByteWrongType",
                              &kByte,
                              true,
                              Dpt(5, 1),
                              ORUVALUE::FromInteger(3),
                              {0x11},
                              "Wrong oru value type (ivtByte)!"},
                    Rejection{"BytePercent255",
                              &kBytePercent,
                              true,
                              Dpt(5, 6),
                              ORUVALUE::FromByte(255),
                              {0x11},
                              "Value out of raw range [0..254] for DPT 5.006: 255"},
                    Rejection{
                        "BytePercentRead255",
                        &kBytePercent,
                        false,
                        Dpt(5, 6),
                        ORUVALUE::FromByte(1),
                        {0xFF},
                        "Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 5.6; value was 255"},
                    Rejection{"ByteModeRead5",
                              &kByteMode,
                              false,
                              Dpt(20, 102),
                              ORUVALUE::FromByte(1),
                              {0x05},
                              "Value out of raw range IntegerRange(0, 4, 0, 4) for DPT 20.102; value was 5"},
                    Rejection{"Signed8WrongMain",
                              &kSigned8,
                              true,
                              Dpt(5, 1),
                              ORUVALUE::FromInteger(1),
                              {0x11},
                              "Wrong oru value type (ivtInteger) or DPT main number (6.x)!"},
                    Rejection{"Signed8WrongType",
                              &kSigned8,
                              true,
                              Dpt(6, 1),
                              ORUVALUE::FromByte(1),
                              {0x11},
                              "Wrong oru value type (ivtInteger) or DPT main number (6.x)!"},
                    Rejection{"StatusWrongEverything",
                              &kStatus,
                              true,
                              Dpt(5, 1),
                              ORUVALUE::FromInteger(1),
                              {0x11},
                              "Wrong oru value type (ivtByte) or DPT main number (6.020)!"},
                    Rejection{"StatusReadWrongDpt",
                              &kStatus,
                              false,
                              Dpt(5, 1),
                              ORUVALUE::FromByte(7),
                              {0x01},
                              "Wrong DPT main number (6.020)!"},
                    Rejection{"StatusReadModeNone",
                              &kStatus,
                              false,
                              Dpt(6, 20),
                              ORUVALUE::FromByte(7),
                              {0x00},
                              "The internal value of DPT=6.20, f=0 is out of the allowed range."},
                    Rejection{"StatusReadModeAll",
                              &kStatus,
                              false,
                              Dpt(6, 20),
                              ORUVALUE::FromByte(7),
                              {0xFF},
                              "The internal value of DPT=6.20, f=7 is out of the allowed range."},
                    Rejection{"StatusReadModeThree",
                              &kStatus,
                              false,
                              Dpt(6, 20),
                              ORUVALUE::FromByte(7),
                              {0x03},
                              "The internal value of DPT=6.20, f=3 is out of the allowed range."},
                    Rejection{"Unsigned16Neither",
                              &kUnsigned16,
                              true,
                              Dpt(8, 1),
                              ORUVALUE::FromInteger(1),
                              {0x11, 0x22},
                              "Wrong DPT main number (7.x) or oru value type (ivtWord)!"},
                    Rejection{"Unsigned16ReadWrongMain",
                              &kUnsigned16,
                              false,
                              Dpt(8, 1),
                              ORUVALUE::FromWord(1),
                              {0x11, 0x22},
                              "Wrong DPT main number (7.x)!"},
                    Rejection{"Signed16Neither",
                              &kSigned16,
                              true,
                              Dpt(7, 1),
                              ORUVALUE::FromWord(1),
                              {0x11, 0x22},
                              "Wrong DPT main number (8.x) or oru value type (ivtInteger)!"},
                    Rejection{"Signed16ReadWrongMain",
                              &kSigned16,
                              false,
                              Dpt(7, 1),
                              ORUVALUE::FromInteger(1),
                              {0x11, 0x22},
                              "Wrong DPT main number (8.x)!"},
                    Rejection{"Unsigned32WrongType",
                              &kUnsigned32,
                              true,
                              Dpt(12, 1),
                              ORUVALUE::FromInteger(1),
                              {0x11, 0x22, 0x33, 0x44},
                              "Wrong oru value type (ivtDWord)!"},
                    Rejection{"Unsigned32OutOfRange",
                              &kUnsigned32Small,
                              true,
                              Dpt(12, 1),
                              ORUVALUE::FromDWord(1001),
                              {0x11, 0x22, 0x33, 0x44},
                              "The internal value of DPT=12.1, ivt=8 is out of range: 1001"},
                    Rejection{"Unsigned32ReadOutOfRange",
                              &kUnsigned32Small,
                              false,
                              Dpt(12, 1),
                              ORUVALUE::FromWord(3),
                              {0xFF, 0xFF, 0xFF, 0xFF},
                              "The internal value of DPT=12.1, ivt=7 is out of range: 4294967295"},
                    Rejection{"Signed32Neither",
                              &kSigned32,
                              true,
                              Dpt(12, 1),
                              ORUVALUE::FromDWord(1),
                              {0x11, 0x22, 0x33, 0x44},
                              "Wrong DPT main number (13.x) or oru value type (ivtInteger)!"},
                    Rejection{"Signed32OutOfRange",
                              &kSigned32Scaled,
                              true,
                              Dpt(13, 1),
                              ORUVALUE::FromInteger(101),
                              {0x11, 0x22, 0x33, 0x44},
                              "The internal value of DPT=13.1, ivt=4 is out of range: 101"},
                    Rejection{"Signed32BelowRange",
                              &kSigned32Scaled,
                              true,
                              Dpt(13, 1),
                              ORUVALUE::FromInteger(-1),
                              {0x11, 0x22, 0x33, 0x44},
                              "The internal value of DPT=13.1, ivt=4 is out of range: -1"},
                    Rejection{"Signed32ReadWrongMain",
                              &kSigned32,
                              false,
                              Dpt(12, 1),
                              ORUVALUE::FromInteger(1),
                              {0x11, 0x22, 0x33, 0x44},
                              "Wrong DPT main number (13.x)!"},
                    Rejection{"Signed32ReadOutOfRange",
                              &kSigned32Scaled,
                              false,
                              Dpt(13, 1),
                              ORUVALUE::FromInteger(1),
                              {0xFF, 0xFF, 0xFF, 0xFE},
                              "The group value of DPT=13.1 is out of range: -2"}),
    [](const testing::TestParamInfo<Rejection>& tp) { return std::string(tp.param.name); });

TEST(ByteConverter, PercentLimitOnlyOnExactly5006)
{
    KnxStack::GroupValue group;
    EXPECT_TRUE(kBytePercent.ToKnxValue(Dpt(5, 1), ORUVALUE::FromByte(255), group));
    EXPECT_EQ(Bytes{0xFF}, RawBytes(group));
    // The main number is not checked at all.
    EXPECT_TRUE(kByte.ToKnxValue(Dpt(9, 1), ORUVALUE::FromByte(42), group));
    EXPECT_EQ(Bytes{42}, RawBytes(group));
    ORUVALUE value = Typed(ivtUnset, 0);
    EXPECT_TRUE(kByte.FromKnxValue(Dpt(99, 9), Group({7}, 8), value));
    EXPECT_EQ(ORUVALUE::FromByte(7), value);
}

TEST(Signed8, NoRangeCheckAndSignExtendedRead)
{
    KnxStack::GroupValue group;
    ASSERT_TRUE(kSigned8.ToKnxValue(Dpt(6, 1), ORUVALUE::FromInteger(0x1FF), group)); // low 8 bits
    EXPECT_EQ(Bytes{0xFF}, RawBytes(group));
    ORUVALUE value = Typed(ivtByte, 0);
    // No check at all in this direction, not even of the DPT.
    ASSERT_TRUE(kSigned8.FromKnxValue(Dpt(1, 1), Group({0x80}, 8), value));
    EXPECT_EQ(ORUVALUE::FromInteger(-128), value);
}

TEST(Status, WritesBeforeItRejects)
{
    KnxStack::GroupValue group = Group({0x11}, 8);
    EXPECT_FALSE(kStatus.ToKnxValue(Dpt(6, 20), ORUVALUE::FromByte(0xFB), group)); // mode 011
    EXPECT_EQ(Bytes{0xFB}, RawBytes(group));
    EXPECT_FALSE(kStatus.ToKnxValue(Dpt(6, 20), ORUVALUE::FromByte(0x00), group));
    EXPECT_EQ(Bytes{0x00}, RawBytes(group));
    const auto errors = ErrorsOf([&] { kStatus.ToKnxValue(Dpt(6, 20), ORUVALUE::FromByte(0x03), group); });
    EXPECT_EQ(std::vector<std::string>{"The internal value of DPT=6.20, f=3 is out of the allowed range."},
              errors);
}

TEST(Status, LooseAcceptanceTowardsTheBus)
{
    KnxStack::GroupValue group;
    // Any one of main 6, sub 20 or byte type suffices.
    EXPECT_TRUE(kStatus.ToKnxValue(Dpt(9, 1), ORUVALUE::FromByte(0x02), group));
    EXPECT_TRUE(kStatus.ToKnxValue(Dpt(6, 1), Typed(ivtInteger, 0x04), group));
    EXPECT_TRUE(kStatus.ToKnxValue(Dpt(99, 20), Typed(ivtWord, 0x01), group));
    ORUVALUE value = Typed(ivtUnset, 0);
    EXPECT_TRUE(kStatus.FromKnxValue(Dpt(99, 20), Group({0x0C}, 8), value));
    EXPECT_EQ(ORUVALUE::FromByte(0x0C), value);
}

TEST(Unsigned16, EitherMainOrTypeSuffices)
{
    KnxStack::GroupValue group;
    EXPECT_TRUE(kUnsigned16.ToKnxValue(Dpt(9, 1), ORUVALUE::FromWord(0xABCD), group));
    EXPECT_EQ((Bytes{0xAB, 0xCD}), RawBytes(group));
    EXPECT_TRUE(kUnsigned16.ToKnxValue(Dpt(7, 1), ORUVALUE::FromByte(0x12), group));
    EXPECT_EQ((Bytes{0x00, 0x12}), RawBytes(group));
}

TEST(Signed16, NoRangeCheckKeepsLowBits)
{
    KnxStack::GroupValue group;
    EXPECT_TRUE(kSigned16.ToKnxValue(Dpt(8, 1), ORUVALUE::FromInteger(0x18000), group));
    EXPECT_EQ((Bytes{0x80, 0x00}), RawBytes(group));
}

TEST(Unsigned24, DropsTheTopByteAndKeepsType)
{
    KnxStack::GroupValue group;
    // No check of type or DPT: any value type is written.
    ASSERT_TRUE(kUnsigned24.ToKnxValue(Dpt(1, 1), Typed(ivtWord, 0xAB123456u), group));
    EXPECT_EQ((Bytes{0x12, 0x34, 0x56}), RawBytes(group));
    EXPECT_EQ(24u, group.GetDefinedSize());

    ORUVALUE value = Typed(ivtWord, 0);
    ASSERT_TRUE(kUnsigned24.FromKnxValue(Dpt(1, 1), Group({0x12, 0x34, 0x56}, 24), value));
    EXPECT_EQ(ivtWord, value.ivt); // left as the caller set it
    EXPECT_EQ(0x123456u, value.GetDWord());
}

TEST(Signed32, ScalesOnlyTowardsTheBus)
{
    KnxStack::GroupValue group;
    ASSERT_TRUE(kSigned32Scaled.ToKnxValue(Dpt(13, 1), ORUVALUE::FromInteger(5), group));
    EXPECT_EQ((Bytes{0x00, 0x00, 0x00, 50}), RawBytes(group));
    ORUVALUE value = Typed(ivtUnset, 0);
    ASSERT_TRUE(kSigned32Scaled.FromKnxValue(Dpt(13, 1), group, value));
    EXPECT_EQ(ORUVALUE::FromInteger(50), value); // 50, not 5

    // Either main 13 or the integer type suffices.
    EXPECT_TRUE(kSigned32.ToKnxValue(Dpt(14, 1), ORUVALUE::FromInteger(1), group));
    EXPECT_TRUE(kSigned32.ToKnxValue(Dpt(13, 1), Typed(ivtDWord, 1), group));
}

TEST(Unsigned32, DptIsNotChecked)
{
    KnxStack::GroupValue group;
    EXPECT_TRUE(kUnsigned32.ToKnxValue(Dpt(99, 1), ORUVALUE::FromDWord(7), group));
    ORUVALUE value = Typed(ivtUnset, 0);
    EXPECT_TRUE(kUnsigned32.FromKnxValue(Dpt(99, 1), group, value));
    EXPECT_EQ(ORUVALUE::FromDWord(7), value);
}

TEST(IntegerSweep, EveryByteThroughTheEightBitConverters)
{
    for (unsigned b = 0; b < 256; ++b)
    {
        const auto byte = static_cast<unsigned char>(b);
        const KnxStack::GroupValue group = Group({byte}, 8);

        ORUVALUE v = Typed(ivtUnset, 0);
        ASSERT_TRUE(kByte.FromKnxValue(Dpt(5, 1), group, v));
        EXPECT_EQ(ORUVALUE::FromByte(byte), v);

        v = Typed(ivtUnset, 0);
        EXPECT_EQ(b <= 254, kBytePercent.FromKnxValue(Dpt(5, 6), group, v)) << b;
        v = Typed(ivtUnset, 0);
        EXPECT_EQ(b <= 4, kByteMode.FromKnxValue(Dpt(20, 102), group, v)) << b;

        v = Typed(ivtUnset, 0);
        ASSERT_TRUE(kSigned8.FromKnxValue(Dpt(6, 1), group, v));
        EXPECT_EQ(ivtInteger, v.ivt);
        EXPECT_EQ(static_cast<std::int32_t>(static_cast<signed char>(byte)), v.GetInteger());

        const unsigned mode = b & 7u;
        const bool validMode = mode == 1 || mode == 2 || mode == 4;
        v = Typed(ivtUnset, 0);
        EXPECT_EQ(validMode, kStatus.FromKnxValue(Dpt(6, 20), group, v)) << b;
        if (validMode)
        {
            EXPECT_EQ(ORUVALUE::FromByte(byte), v);
        }

        KnxStack::GroupValue out;
        EXPECT_EQ(validMode, kStatus.ToKnxValue(Dpt(6, 20), ORUVALUE::FromByte(byte), out)) << b;
        EXPECT_EQ(Bytes{byte}, RawBytes(out)); // written either way
        EXPECT_EQ(b != 255, kBytePercent.ToKnxValue(Dpt(5, 6), ORUVALUE::FromByte(byte), out)) << b;
    }
}

TEST(IntegerClone, CopiesCarryTheirRange)
{
    auto* original = new Lum::KnxConverterInteger32BitSigned(IntegerRange(0, 100, 0, 1000));
    auto copy = Own(original->Clone());
    delete original;
    KnxStack::GroupValue group;
    ASSERT_TRUE(copy->ToKnxValue(Dpt(13, 1), ORUVALUE::FromInteger(7), group));
    EXPECT_EQ((Bytes{0, 0, 0, 70}), RawBytes(group));

    auto* longOriginal = new Lum::KnxConverterInteger32BitUnsigned(LongIntegerRange(0, 1000, 0, 1000));
    auto longCopy = Own(longOriginal->Clone());
    delete longOriginal;
    EXPECT_FALSE(longCopy->ToKnxValue(Dpt(12, 1), ORUVALUE::FromDWord(1001), group));

    const Lum::KnxConverter* all[] = {&kByte, &kSigned8, &kStatus, &kUnsigned16, &kSigned16, &kUnsigned24};
    for (const Lum::KnxConverter* c : all)
    {
        auto clone = Own(c->Clone());
        EXPECT_NE(c, clone.get());
        EXPECT_EQ(typeid(*c), typeid(*clone));
    }
}

} // namespace
