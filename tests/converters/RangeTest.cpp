#include "ConverterTestUtil.h"

#include <Lum/KnxConverter.h>
#include <Lum/KnxConverterRange.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>

using namespace LumTest;
using Lum::FloatIntegerRange;
using Lum::FloatRange;
using Lum::IntegerRange;
using Lum::LongIntegerRange;

namespace
{

struct ScaleCase
{
    const char* name;
    std::function<double()> make; // builds the range, returns its scale factor
    double scale;
    std::string error; // empty: no line at all
};

class ScaleFactor : public testing::TestWithParam<ScaleCase>
{
};

TEST_P(ScaleFactor, FactorAndMessage)
{
    const ScaleCase& c = GetParam();
    LogCapture capture;
    const double scale = c.make();
    EXPECT_DOUBLE_EQ(c.scale, scale);
    const auto lines = capture.Lines();
    if (c.error.empty())
    {
        EXPECT_TRUE(lines.empty());
    }
    else
    {
        ASSERT_EQ(1u, lines.size());
        EXPECT_EQ(log4cplus::ERROR_LOG_LEVEL, lines[0].level);
        EXPECT_EQ(c.error, lines[0].text);
    }
}

constexpr std::int32_t kI32Min = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kI32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kI64Min = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kI64Max = std::numeric_limits<std::int64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Ranges, ScaleFactor,
    testing::Values(
        ScaleCase{"IntEqual", [] { return IntegerRange(0, 255, 0, 255).m_scaleFactor; }, 1.0, ""},
        ScaleCase{"IntTenfold", [] { return IntegerRange(0, 100, 0, 1000).m_scaleFactor; }, 10.0, ""},
        ScaleCase{"IntUnordered", [] { return IntegerRange(10, 0, 0, 100).m_scaleFactor; }, -10.0, ""},
        ScaleCase{"IntSceneInfo", [] { return IntegerRange(-64, 64, 0, 255).m_scaleFactor; }, 255.0 / 128.0,
                  ""},
        ScaleCase{"IntFullSpan",
                  [] { return IntegerRange(kI32Min, kI32Max, kI32Min, kI32Max).m_scaleFactor; }, 1.0, ""},
        ScaleCase{"IntEmptyInternal", [] { return IntegerRange(5, 5, 0, 10).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid internal range [5, 5]."},
        ScaleCase{"IntEmptyExternal", [] { return IntegerRange(0, 10, 3, 3).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid external range [3, 3]."},
        ScaleCase{"IntBothEmpty", [] { return IntegerRange(-1, -1, 3, 3).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid internal range [-1, -1]."},
        ScaleCase{"LongCounter",
                  [] { return LongIntegerRange(0, 4294967295LL, 0, 4294967295LL).m_scaleFactor; }, 1.0, ""},
        ScaleCase{"LongHalf", [] { return LongIntegerRange(0, 16777216LL, 0, 8388608LL).m_scaleFactor; }, 0.5,
                  ""},
        ScaleCase{"LongEmptyInternal", [] { return LongIntegerRange(7, 7, 0, 1).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid internal range [7, 7]."},
        ScaleCase{"LongEmptyExternal",
                  [] { return LongIntegerRange(0, 1, 4294967296LL, 4294967296LL).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid external range [4294967296, "
                  "4294967296]."},
        // Spans beyond 64 bits must not be undefined behaviour; the result only has to be finite.
        ScaleCase{"LongExtreme", [] { return LongIntegerRange(kI64Min, kI64Max, 0, 1).m_scaleFactor; },
                  -1.0 / 1.0, ""},
        ScaleCase{"FloatIntStep", [] { return FloatIntegerRange(-100.0, 100.0, 0, 15).m_scaleFactor; },
                  15.0 / 200.0, ""},
        ScaleCase{"FloatIntDefault", [] { return FloatIntegerRange().m_scaleFactor; },
                  4294967295.0 / (670760.96 + 671088.64), ""},
        ScaleCase{"FloatIntEmptyDouble", [] { return FloatIntegerRange(1.5, 1.5, 0, 10).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid double range [1.5, 1.5]."},
        ScaleCase{"FloatIntEmptyInteger", [] { return FloatIntegerRange(0.0, 1.0, 7, 7).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid integer range [7, 7]."},
        ScaleCase{"FloatIntZeroQuotient", [] { return FloatIntegerRange(-1e308, 1e308, 0, 1).m_scaleFactor; },
                  1.0,
                  "Failed to calculate the scale factor because of invalid double range [-1e+308, 1e+308] or "
                  "because "
                  "invalid integer range [0, 1]."},
        ScaleCase{"FloatOrdered", [] { return FloatRange(-273.0, 670760.0, -273.0, 670760.0).m_scaleFactor; },
                  1.0, ""},
        ScaleCase{"FloatUnordered", [] { return FloatRange(10.0, 0.0, 0.0, 100.0).m_scaleFactor; }, 10.0, ""},
        ScaleCase{"FloatBothReversed", [] { return FloatRange(4.0, 0.0, 2.0, 0.0).m_scaleFactor; }, 0.5, ""},
        ScaleCase{"FloatEmptyInternal", [] { return FloatRange(1.0, 1.0, 0.0, 5.0).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid double range [1, 1]."},
        ScaleCase{"FloatEmptyExternal", [] { return FloatRange(0.0, 1.0, 2.5, 2.5).m_scaleFactor; }, 1.0,
                  "Failed to calculate the scale factor because of invalid external range [2.5, 2.5]."},
        ScaleCase{
            "FloatZeroQuotient", [] { return FloatRange(0.0, 1e300, 0.0, 1e-300).m_scaleFactor; }, 1.0,
            "Failed to calculate the scale factor because of invalid double range [0, 1e+300] or because "
            "invalid external range [0, 1e-300]."}),
    [](const testing::TestParamInfo<ScaleCase>& tp) { return std::string(tp.param.name); });

TEST(RangePrint, FormsAndPrefixes)
{
    struct Case
    {
        std::string printed;
        std::string expected;
    };
    const Case cases[] = {
        {IntegerRange(0, 254, 0, 254).ToString(), "IntegerRange(0, 254, 0, 254)"},
        {IntegerRange(-64, 64, 0, 255).ToString(), "IntegerRange(-64, 64, 0, 255)"},
        // Same prefix as the 32-bit range, deliberately.
        {LongIntegerRange(0, 4294967295LL, 0, 4294967295LL).ToString(),
         "IntegerRange(0, 4294967295, 0, 4294967295)"},
        {FloatIntegerRange(-100.0, 100.0, 0, 15).ToString(), "FloatIntegerRange(-100, 100, 0, 15)"},
        // Six significant digits: the 2-byte float limits print rounded.
        {FloatRange(-671088.64, 670760.96, -671088.64, 670760.96).ToString(),
         "FloatRange(-671089, 670761, -671089, 670761)"},
        {FloatRange(-459.6, 670760.0, -459.6, 670760.0).ToString(),
         "FloatRange(-459.6, 670760, -459.6, 670760)"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, c.printed);

    std::ostringstream os;
    os << IntegerRange(1, 2, 3, 4) << '|' << FloatRange(0.5, 1, 2, 3);
    EXPECT_EQ("IntegerRange(1, 2, 3, 4)|FloatRange(0.5, 1, 2, 3)", os.str());
}

TEST(ScaleToExternal, RoundsHalfAwayFromZero)
{
    struct Case
    {
        IntegerRange range;
        std::int32_t value;
        std::int32_t expected;
    };
    const Case cases[] = {
        {IntegerRange(0, 100, 0, 1000), 5, 50},
        {IntegerRange(0, 100, 0, 1000), 0, 0},
        {IntegerRange(0, 2, 0, 1), 1, 1},   // +0.5 -> 1
        {IntegerRange(0, 2, 0, -1), 1, -1}, // -0.5 -> -1
        {IntegerRange(0, 4, 0, 1), 1, 0},   // 0.25
        {IntegerRange(0, 4, 0, 1), 3, 1},   // 0.75
        {IntegerRange(0, 4, 0, -1), 1, 0},  // -0.25
        {IntegerRange(0, 4, 0, -1), 3, -1}, // -0.75
        {IntegerRange(10, 20, 100, 200), 15, 150},
        {IntegerRange(-64, 64, 0, 255), -64, 0},
        {IntegerRange(-64, 64, 0, 255), 64, 255},
        {IntegerRange(-64, 64, 0, 255), 0, 128}, // 127.5 rounds up
        {IntegerRange(kI32Min, kI32Max, kI32Min, kI32Max), kI32Min, kI32Min},
        {IntegerRange(kI32Min, kI32Max, kI32Min, kI32Max), kI32Max, kI32Max},
        // Out of the signed 32-bit range: saturates the same on every target.
        {IntegerRange(0, 1, 0, kI32Max), 2, kI32Max},
        {IntegerRange(0, 1, 0, kI32Max), -2, kI32Min},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, Lum::ScaleToExternal(c.range, c.value))
            << c.range.ToString() << " value " << c.value;
}

// --- The byte-array fallback ---------------------------------------------------

TEST(DefaultConverter, BooleanOnOtherMainWritesNothing)
{
    Lum::KnxConverterDefault conv;
    KnxStack::GroupValue group = Group({0xAB, 0xCD}, 16);
    const KnxStack::GroupValue before = group;
    LogCapture capture;
    EXPECT_TRUE(conv.ToKnxValue(Dpt(3, 7, 4), ORUVALUE::FromBool(true), group));
    EXPECT_EQ(before, group);
    EXPECT_TRUE(capture.Lines().empty()); // no trace either
}

TEST(DefaultConverter, BooleanOnOneAndTwoBitDpts)
{
    Lum::KnxConverterDefault conv;
    KnxStack::GroupValue g1;
    ASSERT_TRUE(conv.ToKnxValue(Dpt(1, 1, 1), ORUVALUE::FromBool(true), g1));
    EXPECT_EQ(1u, g1.GetDefinedSize());
    EXPECT_TRUE(g1.GetAsBoolean());
    KnxStack::GroupValue g2;
    ASSERT_TRUE(conv.ToKnxValue(Dpt(2, 1, 2), ORUVALUE::FromBool(true), g2));
    EXPECT_EQ(2u, g2.GetDefinedSize());
    EXPECT_EQ(1, g2.GetAsUnsigned2());
}

TEST(DefaultConverter, SizeIsCappedAtTwentyFourBytes)
{
    Lum::KnxConverterDefault conv;
    struct Case
    {
        std::uint8_t bits;
        std::size_t bytes;
    };
    // 0 and anything above 23 bytes become 24.
    for (const Case c : {Case{240, 24}, Case{0, 24}, Case{192, 24}, Case{184, 23}, Case{32, 4}, Case{17, 3}})
    {
        KnxStack::GroupValue group;
        ASSERT_TRUE(conv.ToKnxValue(Dpt(250, 1, c.bits), ORUVALUE::FromDWord(0x010203u), group))
            << int(c.bits);
        EXPECT_EQ(c.bytes, group.GetRawData().GetSize()) << int(c.bits);
    }
}

TEST(DefaultConverter, RoundTripsThroughThePlatformByteForm)
{
    Lum::KnxConverterDefault conv;
    KnxStack::GroupValue group;
    ASSERT_TRUE(conv.ToKnxValue(Dpt(232, 600, 32), ORUVALUE::FromDWord(0x12345678u), group));
    ORUVALUE back = Typed(ivtDWord, 0);
    ASSERT_TRUE(conv.FromKnxValue(Dpt(232, 600, 32), group, back));
    EXPECT_EQ(ORUVALUE::FromDWord(0x12345678u), back);
}

TEST(DefaultConverter, OneByteEnumerationTypesUseOneByte)
{
    Lum::KnxConverterDefault conv;
    for (const auto type : {ivtPercentage, ivtDimming})
    {
        ORUVALUE value = ORUVALUE::FromFloat(80.0);
        value.ivt = type;
        KnxStack::GroupValue group;
        // The DPT's 16 bits do not matter: one byte is written.
        ASSERT_TRUE(conv.ToKnxValue(Dpt(5, 1, 16), value, group));
        EXPECT_EQ(Bytes{0x50}, RawBytes(group));
        EXPECT_EQ(8u, group.GetDefinedSize());

        value.SetFloat(300.0);
        group = Group({0x11}, 8);
        EXPECT_EQ(std::vector<std::string>{"OruValueToByteArray failed. DPT=5.1"},
                  ErrorsOf([&] { EXPECT_FALSE(conv.ToKnxValue(Dpt(5, 1, 16), value, group)); }));
        EXPECT_EQ(Group({0x11}, 8), group);
    }
}

TEST(DefaultConverter, FailuresAreLoggedAndResetTheValue)
{
    Lum::KnxConverterDefault conv;
    KnxStack::GroupValue group = Group({0x11}, 8);
    EXPECT_EQ(
        std::vector<std::string>{"OruValueToByteArray failed. DPT=250.1 data size =2"},
        ErrorsOf([&]
                 { EXPECT_FALSE(conv.ToKnxValue(Dpt(250, 1, 16), ORUVALUE::FromDWord(0x10000u), group)); }));
    EXPECT_EQ(Group({0x11}, 8), group);

    ORUVALUE value = ORUVALUE::FromByte(9);
    EXPECT_EQ(std::vector<std::string>{"ByteArrayToOruValue failed. DPT=250.1 data size =2"},
              ErrorsOf(
                  [&] {
                      EXPECT_FALSE(conv.FromKnxValue(Dpt(250, 1, 16), Group({1, 2}, 16), value));
                  }));
    EXPECT_EQ(ORUVALUE(), value);
    EXPECT_EQ(ivtEmpty, value.ivt);
}

TEST(DefaultConverter, OneBitGroupValueReadsAsBoolean)
{
    Lum::KnxConverterDefault conv;
    ORUVALUE value = ORUVALUE::FromByte(0);
    ASSERT_TRUE(conv.FromKnxValue(Dpt(250, 1, 1), Group({0x01}, 1), value));
    EXPECT_EQ(ORUVALUE::FromBool(true), value);
    // A one-byte value is written with the 8-bit setter, longer ones as raw data.
    KnxStack::GroupValue group;
    ASSERT_TRUE(conv.ToKnxValue(Dpt(250, 1, 8), ORUVALUE::FromByte(0xA5), group));
    EXPECT_EQ(Bytes{0xA5}, RawBytes(group));
}

TEST(DefaultConverter, CloneIsIndependent)
{
    std::unique_ptr<Lum::KnxConverter> original(new Lum::KnxConverterDefault);
    auto copy = Own(original->Clone());
    ASSERT_NE(nullptr, dynamic_cast<Lum::KnxConverterDefault*>(copy.get()));
    original.reset();
    KnxStack::GroupValue group;
    EXPECT_TRUE(copy->ToKnxValue(Dpt(1, 1, 1), ORUVALUE::FromBool(true), group));
}

} // namespace
