#include "ConverterCases.h"

#include <Lum/KnxConverter.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using namespace LumTest;
using Lum::FloatIntegerRange;

namespace
{

std::vector<std::string> Errors(const LogCapture& c)
{
    return c.Texts(log4cplus::ERROR_LOG_LEVEL);
}

template <typename R, typename... A> std::function<double()> Scale(A... a)
{
    return [=] { return R(a...).m_scaleFactor; };
}

TEST(Range, ScaleFactorAndItsFailures)
{
    const std::string fail = "Failed to calculate the scale factor because of invalid ";
    struct Case
    {
        std::function<double()> make;
        double scale;
        std::string error; // empty: no line at all
    };
    const Case cases[] = {
        {Scale<IntegerRange>(0, 100, 0, 1000), 10.0, ""},
        {Scale<IntegerRange>(10, 0, 0, 100), -10.0, ""}, // bounds are not ordered
        {Scale<IntegerRange>(5, 5, 0, 10), 1.0, fail + "internal range [5, 5]."},
        {Scale<IntegerRange>(0, 10, 3, 3), 1.0, fail + "external range [3, 3]."},
        {Scale<LongIntegerRange>(0LL, 16777216LL, 0LL, 8388608LL), 0.5, ""},
        {Scale<LongIntegerRange>(7LL, 7LL, 0LL, 1LL), 1.0, fail + "internal range [7, 7]."},
        {Scale<LongIntegerRange>(0LL, 1LL, 4294967296LL, 4294967296LL), 1.0,
         fail + "external range [4294967296, 4294967296]."},
        // A span beyond 64 bits wraps instead of being undefined.
        {Scale<LongIntegerRange>(std::numeric_limits<std::int64_t>::min(),
                                 std::numeric_limits<std::int64_t>::max(), 0LL, 1LL),
         -1.0, ""},
        {Scale<FloatIntegerRange>(-100.0, 100.0, 0, 15), 15.0 / 200.0, ""},
        {[] { return FloatIntegerRange().m_scaleFactor; }, 4294967295.0 / (670760.96 + 671088.64), ""},
        {Scale<FloatIntegerRange>(1.5, 1.5, 0, 10), 1.0, fail + "double range [1.5, 1.5]."},
        {Scale<FloatIntegerRange>(0.0, 1.0, 7, 7), 1.0, fail + "integer range [7, 7]."},
        {Scale<FloatIntegerRange>(-1e308, 1e308, 0, 1), 1.0,
         fail + "double range [-1e+308, 1e+308] or because invalid integer range [0, 1]."},
        {Scale<FloatRange>(10.0, 0.0, 0.0, 100.0), 10.0, ""}, // the only class that orders its bounds
        {Scale<FloatRange>(1.0, 1.0, 0.0, 5.0), 1.0, fail + "double range [1, 1]."},
        {Scale<FloatRange>(0.0, 1.0, 2.5, 2.5), 1.0, fail + "external range [2.5, 2.5]."},
        {Scale<FloatRange>(0.0, 1e300, 0.0, 1e-300), 1.0,
         fail + "double range [0, 1e+300] or because invalid external range [0, 1e-300]."},
    };
    for (const Case& c : cases)
    {
        LogCapture capture;
        EXPECT_DOUBLE_EQ(c.scale, c.make()) << c.error;
        const auto lines = capture.Lines();
        ASSERT_EQ(c.error.empty() ? 0u : 1u, lines.size()) << c.error;
        if (!c.error.empty())
        {
            EXPECT_EQ(log4cplus::ERROR_LOG_LEVEL, lines[0].level);
            EXPECT_EQ(c.error, lines[0].text);
        }
    }
}

TEST(Range, PrintForms)
{
    EXPECT_EQ("IntegerRange(-64, 64, 0, 255)", IntegerRange(-64, 64, 0, 255).ToString());
    EXPECT_EQ("IntegerRange(0, 4294967295, 0, 4294967295)", // the same prefix, deliberately
              LongIntegerRange(0, 4294967295LL, 0, 4294967295LL).ToString());
    EXPECT_EQ("FloatIntegerRange(-100, 100, 0, 15)", FloatIntegerRange(-100.0, 100.0, 0, 15).ToString());
    EXPECT_EQ("FloatRange(-671089, 670761, -459.6, 670760)", // six significant digits
              FloatRange(-671088.64, 670760.96, -459.6, 670760.0).ToString());
}

TEST(Range, ScaleToExternalRoundsHalfAwayFromZero)
{
    struct Case
    {
        IntegerRange range;
        std::int32_t value, expected;
    };
    const Case cases[] = {
        {IntegerRange(0, 2, 0, 1), 1, 1},
        {IntegerRange(0, 2, 0, -1), 1, -1}, // +-0.5
        {IntegerRange(0, 4, 0, 1), 1, 0},
        {IntegerRange(0, 4, 0, -1), 3, -1}, // 0.25, -0.75
        {IntegerRange(10, 20, 100, 200), 15, 150},
        {IntegerRange(-64, 64, 0, 255), 0, 128},
        {IntegerRange(0, 1, 0, INT32_MAX), 2, INT32_MAX}, // saturates alike on every target
        {IntegerRange(0, 1, 0, INT32_MAX), -2, INT32_MIN},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, Lum::ScaleToExternal(c.range, c.value)) << c.range.ToString() << ' ' << c.value;
}

TEST(DefaultConverter, Writes)
{
    const Lum::KnxConverterDefault conv;
    KnxStack::GroupValue g = Group(Hex("AB CD"));
    LogCapture capture;
    EXPECT_TRUE(conv.ToKnxValue(Dpt(3, 7, 4), ORUVALUE::FromBool(true), g)); // writes nothing
    EXPECT_EQ(Group(Hex("AB CD")), g);
    EXPECT_TRUE(capture.Lines().empty()); // no trace either
    ASSERT_TRUE(conv.ToKnxValue(Dpt(1, 1, 1), ORUVALUE::FromBool(true), g));
    EXPECT_EQ(Group(Hex("01"), 1), g);
    ASSERT_TRUE(conv.ToKnxValue(Dpt(2, 1, 2), ORUVALUE::FromBool(true), g));
    EXPECT_EQ(Group(Hex("01"), 2), g);
    // No size or more than 23 bytes: 24 bytes.
    const std::pair<int, unsigned> sizes[] = {{240, 24}, {0, 24}, {184, 23}, {17, 3}};
    for (const auto& c : sizes)
    {
        ASSERT_TRUE(conv.ToKnxValue(Dpt(250, 1, std::uint8_t(c.first)), D(0x010203u), g)) << c.first;
        EXPECT_EQ(c.second, g.GetRawData().GetSize()) << c.first;
    }
    ASSERT_TRUE(conv.ToKnxValue(Dpt(250, 1, 8), B(0xA5), g));
    EXPECT_EQ(Group(Hex("A5")), g);
    for (const auto type : {ivtPercentage, ivtDimming}) // one byte whatever the DPT's size
    {
        ORUVALUE v = F(80.0);
        v.ivt = type;
        ASSERT_TRUE(conv.ToKnxValue(Dpt(5, 1, 16), v, g));
        EXPECT_EQ(Group(Hex("50")), g);
        v.SetFloat(300.0);
        capture.Clear();
        EXPECT_FALSE(conv.ToKnxValue(Dpt(5, 1, 16), v, g));
        EXPECT_EQ(std::vector<std::string>{"OruValueToByteArray failed. DPT=5.1"}, Errors(capture));
    }
    capture.Clear();
    EXPECT_FALSE(conv.ToKnxValue(Dpt(250, 1, 16), D(0x10000u), g));
    EXPECT_EQ(std::vector<std::string>{"OruValueToByteArray failed. DPT=250.1 data size =2"},
              Errors(capture));
    EXPECT_EQ(Group(Hex("50")), g);
}

TEST(DefaultConverter, Reads)
{
    const Lum::KnxConverterDefault conv;
    KnxStack::GroupValue g;
    ASSERT_TRUE(conv.ToKnxValue(Dpt(232, 600, 32), D(0x12345678u), g));
    ORUVALUE v = Typed(ivtDWord, 0);
    ASSERT_TRUE(conv.FromKnxValue(Dpt(232, 600, 32), g, v));
    EXPECT_EQ(D(0x12345678u), v);
    v = B(0);
    ASSERT_TRUE(conv.FromKnxValue(Dpt(250, 1, 1), Group(Hex("01"), 1), v)); // one bit reads as a boolean
    EXPECT_EQ(ORUVALUE::FromBool(true), v);

    v = B(9);
    LogCapture capture;
    EXPECT_FALSE(conv.FromKnxValue(Dpt(250, 1, 16), Group(Hex("01 02")), v));
    EXPECT_EQ(std::vector<std::string>{"ByteArrayToOruValue failed. DPT=250.1 data size =2"},
              Errors(capture));
    EXPECT_EQ(ORUVALUE(), v); // reset to the empty value
}

} // namespace
