#include "ConverterCases.h"

#include <Lum/KnxConverter.h>

#include <gtest/gtest.h>

#include <functional>

using namespace LumTest;

namespace
{

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
        {Scale<IntegerRange>(10, 0, 0, 100), -10.0, ""}, // bounds are not ordered
        {Scale<IntegerRange>(5, 5, 0, 10), 1.0, fail + "internal range [5, 5]."},
        {Scale<IntegerRange>(0, 10, 3, 3), 1.0, fail + "external range [3, 3]."},
        {Scale<LongIntegerRange>(7LL, 7LL, 0LL, 1LL), 1.0, fail + "internal range [7, 7]."},
        {Scale<LongIntegerRange>(0LL, 1LL, 4294967296LL, 4294967296LL), 1.0,
         fail + "external range [4294967296, 4294967296]."},
        // A span beyond 64 bits wraps instead of being undefined.
        {Scale<LongIntegerRange>(std::int64_t(INT64_MIN), std::int64_t(INT64_MAX), 0LL, 1LL), -1.0, ""},
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
        const auto expected =
            c.error.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.error};
        EXPECT_EQ(expected, capture.Texts());
        EXPECT_EQ(expected, capture.Texts(log4cplus::ERROR_LOG_LEVEL));
        for (const LogLine& line : capture.Lines()) // every range class logs as CalculateScaleFactor
            EXPECT_EQ(0u, line.line.rfind("CalculateScaleFactor (KnxConverterRange.cpp:", 0)) << line.line;
    }
    EXPECT_EQ("IntegerRange(0, 4294967295, 0, 4294967295)", // the 32-bit class's prefix, deliberately
              LongIntegerRange(0, 4294967295LL, 0, 4294967295LL).ToString());
}

TEST(Range, ScaleToExternalRoundsHalfAwayFromZero)
{
    // Internal and external bounds, value, result.
    const std::int32_t cases[][6] = {
        {0, 2, 0, 1, 1, 1},
        {0, 2, 0, -1, 1, -1}, // +-0.5
        {0, 4, 0, 1, 1, 0},
        {0, 4, 0, -1, 3, -1}, // 0.25, -0.75
        {10, 20, 100, 200, 15, 150},
        {-64, 64, 0, 255, 0, 128},
        {0, 1, 0, INT32_MAX, 2, INT32_MAX}, // saturates alike on every target
        {0, 1, 0, INT32_MAX, -2, INT32_MIN},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c[5], Lum::ScaleToExternal(IntegerRange(c[0], c[1], c[2], c[3]), c[4]))
            << c[0] << ' ' << c[4];
}

TEST(DefaultConverter, Writes)
{
    auto& conv = kDefault;
    KnxStack::GroupValue g = Group(Hex("AB CD"));
    LogCapture capture;
    EXPECT_TRUE(conv.ToKnxValue(Dpt(3, 7, 4), ORUVALUE::FromBool(true), g)); // boolean off 1.x, 2.x: nothing
    EXPECT_EQ(Group(Hex("AB CD")), g);
    for (const int bits : {184, 0, 240}) // no size or above 23 bytes: 24 bytes
    {
        ASSERT_TRUE(conv.ToKnxValue(Dpt(250, 1, bits), D(0x010203u), g));
        EXPECT_EQ(bits == 184 ? 23u : 24u, g.GetRawData().GetSize());
    }
    EXPECT_FALSE(conv.ToKnxValue(Dpt(5, 1, 16), Typed(ivtPercentage, F(300.0)), g));
    EXPECT_FALSE(conv.ToKnxValue(Dpt(250, 1, 16), D(0x10000u), g));
    EXPECT_EQ(24u, g.GetRawData().GetSize()); // untouched
    EXPECT_EQ((std::vector<std::string>{"OruValueToByteArray failed. DPT=5.1",
                                        "OruValueToByteArray failed. DPT=250.1 data size =2"}),
              capture.Texts(log4cplus::ERROR_LOG_LEVEL));
    EXPECT_EQ(2u, capture.Lines().size()); // and no trace
}

TEST(DefaultConverter, Reads)
{
    Lum::KnxConverterDefault conv;
    ORUVALUE v = Typed(ivtDWord, D(0));
    ASSERT_TRUE(conv.FromKnxValue(Dpt(232, 600, 32), Group(Hex("12 34 56 78")), v));
    EXPECT_EQ(D(0x12345678u), v);
    ASSERT_TRUE(conv.FromKnxValue(Dpt(250, 1, 1), Group(Hex("01"), 1), v)); // one bit: a boolean
    EXPECT_EQ(ORUVALUE::FromBool(true), v);
    v = B(9);
    LogCapture capture;
    EXPECT_FALSE(conv.FromKnxValue(Dpt(250, 1, 16), Group(Hex("01 02")), v));
    EXPECT_EQ(std::vector<std::string>{"ByteArrayToOruValue failed. DPT=250.1 data size =2"},
              capture.Texts(log4cplus::ERROR_LOG_LEVEL));
    EXPECT_EQ(ORUVALUE(), v); // reset to the empty value
}

} // namespace
