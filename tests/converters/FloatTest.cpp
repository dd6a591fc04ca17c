#include "ConverterTestUtil.h"

#include <Lum/KnxConverterFloat.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace LumTest;
using Lum::FloatRange;

namespace
{

const Lum::KnxConverterFloat16BitFloat kFloat16(FloatRange(-671088.64, 670760.96, -671088.64, 670760.96));
const Lum::KnxConverterFloat16BitFloat kTemperature(FloatRange(-273.0, 670760.0, -273.0, 670760.0));
const Lum::KnxConverterFloat32BitFloat kFloat32(FloatRange(-3.4028234663852886e38, 3.4028234663852886e38,
                                                           -3.4028234663852886e38, 3.4028234663852886e38));

struct FloatVector
{
    double value;
    Bytes bytes;
    double decoded; // what the bytes read back as
};

TEST(Float16, KnxStandardBytesBothWays)
{
    const FloatVector vectors[] = {
        {0.0, {0x00, 0x00}, 0.0},
        {0.01, {0x00, 0x01}, 0.01},
        {-0.01, {0x87, 0xFF}, -0.01},
        {20.48, {0x0C, 0x00}, 20.48},
        {21.0, {0x0C, 0x1A}, 21.0},
        {-30.0, {0x8A, 0x24}, -30.0},
        {16.96, {0x06, 0xA0}, 16.96},
        {100.0, {0x1C, 0xE2}, 100.0},
        {0.29, {0x00, 0x1D}, 0.29},
        {735.763, {0x34, 0x7E}, 736.0},
        {670433.28, {0x7F, 0xFE}, 670433.28},
        {-671088.64, {0xF8, 0x00}, -671088.64},
    };
    for (const FloatVector& v : vectors)
    {
        KnxStack::GroupValue group;
        ASSERT_TRUE(kFloat16.ToKnxValue(Dpt(9, 0), ORUVALUE::FromFloat(v.value), group)) << v.value;
        EXPECT_EQ(v.bytes, RawBytes(group)) << v.value;

        ORUVALUE back = ORUVALUE::FromFloat(-1.0);
        ASSERT_TRUE(kFloat16.FromKnxValue(Dpt(9, 0), Group(v.bytes, 16), back)) << v.value;
        EXPECT_EQ(ivtFloat, back.ivt);
        EXPECT_NEAR(v.decoded, back.GetFloat(), 1e-9) << v.value;
    }
    // Non-normalised forms decode too.
    for (const Bytes& b : {Bytes{0x80, 0x00}, Bytes{0x8C, 0x00}})
    {
        ORUVALUE back = ORUVALUE::FromFloat(0.0);
        ASSERT_TRUE(kFloat16.FromKnxValue(Dpt(9, 1), Group(b, 16), back));
        EXPECT_NEAR(-20.48, back.GetFloat(), 1e-9);
    }
}

TEST(Float16, EmptyValueIsTheInvalidMarker)
{
    KnxStack::GroupValue group;
    ASSERT_TRUE(kTemperature.ToKnxValue(Dpt(9, 1), Typed(ivtUnset, 0), group));
    EXPECT_EQ((Bytes{0x7F, 0xFF}), RawBytes(group));
    KnxStack::GroupValue expected;
    expected.SetAsFloat16(32767.0);
    EXPECT_EQ(expected, group);

    // 7F FF on any DPT reads as the empty value and leaves the payload alone.
    ORUVALUE value = ORUVALUE::FromFloat(12.5);
    ASSERT_TRUE(kTemperature.FromKnxValue(Dpt(42, 7), Group({0x7F, 0xFF}, 16), value));
    EXPECT_EQ(ivtUnset, value.ivt);
    EXPECT_EQ(12.5, value.GetFloat());
}

TEST(Float16, AcceptanceIsMainOrType)
{
    KnxStack::GroupValue group;
    EXPECT_TRUE(kFloat16.ToKnxValue(Dpt(9, 1), ORUVALUE::FromInteger(5), group)); // any type on 9.x
    EXPECT_TRUE(kFloat16.ToKnxValue(Dpt(5, 1), ORUVALUE::FromFloat(5.0), group)); // a float anywhere
    EXPECT_EQ((Bytes{0x01, 0xF4}), RawBytes(group));
    EXPECT_TRUE(kFloat16.ToKnxValue(Dpt(5, 1), Typed(ivtUnset, 0), group));
}

TEST(Float16, OutOfRangeReadKeepsTheDecodedNumber)
{
    ORUVALUE value = Typed(ivtInteger, 0);
    std::vector<std::string> errors = ErrorsOf(
        [&] {
            EXPECT_FALSE(kTemperature.FromKnxValue(Dpt(9, 1), Group({0xF8, 0x00}, 16), value));
        });
    EXPECT_EQ(
        std::vector<std::string>{"The internal value of DPT=9.1, f=-671089 is out of the allowed range."},
        errors);
    EXPECT_EQ(ivtInteger, value.ivt); // type left as prepared
    EXPECT_NEAR(-671088.64, value.GetFloat(), 1e-9);
}

struct Rejection
{
    const char* name;
    const Lum::KnxConverter* conv;
    bool toKnx;
    KNXDPT dpt;
    ORUVALUE value;
    std::string message;
};

class FloatRejection : public testing::TestWithParam<Rejection>
{
};

TEST_P(FloatRejection, LogsOnceAndWritesNothing)
{
    const Rejection& r = GetParam();
    const Bytes initial{0x12, 0x34, 0x56, 0x78};
    KnxStack::GroupValue group = Group(initial, 32);
    ORUVALUE value = r.value;
    LogCapture capture;
    const bool ok =
        r.toKnx ? r.conv->ToKnxValue(r.dpt, value, group) : r.conv->FromKnxValue(r.dpt, group, value);
    EXPECT_FALSE(ok);
    EXPECT_EQ(std::vector<std::string>{r.message}, capture.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL));
    EXPECT_EQ(initial, RawBytes(group));
    EXPECT_EQ(r.value, value);
}

INSTANTIATE_TEST_SUITE_P(
    All, FloatRejection,
    testing::Values(Rejection{"F16WrongMainAndType", &kFloat16, true, Dpt(5, 1), ORUVALUE::FromByte(1),
                              "Wrong DPT main number (9.x) or oru value type (ivtFloat)!"},
                    Rejection{"F16BelowAbsoluteZero", &kTemperature, true, Dpt(9, 1),
                              ORUVALUE::FromFloat(-274.0),
                              "The internal value of DPT=9.1, f=-274 is out of the allowed range."},
                    Rejection{"F16AboveRange", &kTemperature, true, Dpt(9, 1), ORUVALUE::FromFloat(670800.0),
                              "The internal value of DPT=9.1, f=670800 is out of the allowed range."},
                    Rejection{"F16NaN", &kFloat16, true, Dpt(9, 28), ORUVALUE::FromFloat(std::nan("")),
                              "The internal value of DPT=9.28, f=nan is out of the allowed range."},
                    Rejection{"F16Infinite", &kFloat16, true, Dpt(9, 2),
                              ORUVALUE::FromFloat(std::numeric_limits<double>::infinity()),
                              "The internal value of DPT=9.2, f=inf is out of the allowed range."},
                    Rejection{"F32WrongMainAndType", &kFloat32, true, Dpt(9, 1), ORUVALUE::FromInteger(1),
                              "Wrong DPT main number (14.x) or oru value type (ivtFloat)!"},
                    Rejection{"F32ReadWrongMain", &kFloat32, false, Dpt(9, 1), ORUVALUE::FromFloat(1.0),
                              "Wrong DPT main number (14.x)!"}),
    [](const testing::TestParamInfo<Rejection>& tp) { return std::string(tp.param.name); });

TEST(Float32, KnxStandardBytesBothWays)
{
    const FloatVector vectors[] = {
        {397.0, {0x43, 0xC6, 0x80, 0x00}, 397.0},
        {46.0, {0x42, 0x38, 0x00, 0x00}, 46.0},
        {0.0, {0x00, 0x00, 0x00, 0x00}, 0.0},
        {-1.5, {0xBF, 0xC0, 0x00, 0x00}, -1.5},
    };
    for (const FloatVector& v : vectors)
    {
        KnxStack::GroupValue group;
        ASSERT_TRUE(kFloat32.ToKnxValue(Dpt(14, 68), ORUVALUE::FromFloat(v.value), group));
        EXPECT_EQ(v.bytes, RawBytes(group)) << v.value;
        ORUVALUE back = Typed(ivtUnset, 0);
        ASSERT_TRUE(kFloat32.FromKnxValue(Dpt(14, 68), Group(v.bytes, 32), back));
        EXPECT_EQ(ORUVALUE::FromFloat(v.decoded), back);
    }
}

TEST(Float32, EmptyIsQuietNaNAndNoRangeTest)
{
    KnxStack::GroupValue group;
    ASSERT_TRUE(kFloat32.ToKnxValue(Dpt(14, 1), Typed(ivtUnset, 0), group));
    EXPECT_EQ((Bytes{0x7F, 0xC0, 0x00, 0x00}), RawBytes(group));

    // Narrowed to single precision with rounding to nearest.
    ASSERT_TRUE(kFloat32.ToKnxValue(Dpt(14, 1), ORUVALUE::FromFloat(0.1), group));
    EXPECT_EQ((Bytes{0x3D, 0xCC, 0xCC, 0xCD}), RawBytes(group));

    // Outside the single range: written without complaint.
    const Lum::KnxConverterFloat32BitFloat narrow(FloatRange(0.0, 1.0, 0.0, 1.0));
    LogCapture capture;
    ASSERT_TRUE(narrow.ToKnxValue(Dpt(14, 1), ORUVALUE::FromFloat(1e39), group));
    EXPECT_EQ((Bytes{0x7F, 0x80, 0x00, 0x00}), RawBytes(group));
    ORUVALUE back = Typed(ivtUnset, 0);
    ASSERT_TRUE(narrow.FromKnxValue(Dpt(14, 1), Group({0x43, 0xC6, 0x80, 0x00}, 32), back));
    EXPECT_TRUE(capture.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL).empty());
}

TEST(Float16Sweep, EveryPatternDecodesWithinTheStatedRange)
{
    const Lum::KnxConverterFloat16BitFloat* converters[] = {&kFloat16, &kTemperature};
    for (const Lum::KnxConverterFloat16BitFloat* conv : converters)
    {
        const FloatRange& range = conv->GetRange();
        for (unsigned p = 0; p < 0x10000; ++p)
        {
            const Bytes raw{static_cast<unsigned char>(p >> 8), static_cast<unsigned char>(p & 0xFF)};
            ORUVALUE value = ORUVALUE::FromFloat(-1.0);
            const bool ok = conv->FromKnxValue(Dpt(9, 1), Group(raw, 16), value);
            if (p == 0x7FFF)
            {
                EXPECT_TRUE(ok);
                EXPECT_EQ(ivtUnset, value.ivt);
                continue;
            }
            const double d = value.GetFloat();
            ASSERT_TRUE(std::isfinite(d)) << p;
            ASSERT_GE(d, -671088.64) << p;
            ASSERT_LE(d, 670760.96) << p;
            ASSERT_EQ(range.m_internalMin <= d && d <= range.m_internalMax, ok) << p << " " << d;
        }
    }
}

TEST(FloatClone, CopiesCarryTheirRange)
{
    auto* original = new Lum::KnxConverterFloat16BitFloat(FloatRange(0.0, 10.0, 0.0, 10.0));
    auto copy = Own(original->Clone());
    delete original;
    KnxStack::GroupValue group;
    EXPECT_TRUE(copy->ToKnxValue(Dpt(9, 1), ORUVALUE::FromFloat(10.0), group));
    EXPECT_FALSE(copy->ToKnxValue(Dpt(9, 1), ORUVALUE::FromFloat(10.5), group));
    auto copy32 = Own(kFloat32.Clone());
    EXPECT_NE(nullptr, dynamic_cast<Lum::KnxConverterFloat32BitFloat*>(copy32.get()));
}

} // namespace
