#include "ConverterTestUtil.h"

#include <Lum/KnxConverterBitField.h>

#include <gtest/gtest.h>

using namespace LumTest;

namespace
{

const Lum::KnxConverter1Bit k1Bit;
const Lum::KnxConverter2Bit k2Bit;
const Lum::KnxConverter4Bit k4Bit(Lum::FloatIntegerRange(-100.0, 100.0, 0, 15));

TEST(OneBit, WritesAndReadsTheBit)
{
    for (bool on : {false, true})
    {
        KnxStack::GroupValue group;
        ASSERT_TRUE(k1Bit.ToKnxValue(Dpt(1, 1, 1), ORUVALUE::FromBool(on), group));
        EXPECT_EQ(1u, group.GetDefinedSize());
        EXPECT_EQ(Bytes{static_cast<unsigned char>(on)}, RawBytes(group));

        ORUVALUE value = Typed(ivtBool, on ? 0u : 1u);
        ASSERT_TRUE(k1Bit.FromKnxValue(Dpt(1, 2), Group({static_cast<unsigned char>(on)}, 1), value));
        EXPECT_EQ(on, value.GetBool());
        EXPECT_EQ(ivtBool, value.ivt);
    }
}

TEST(OneBit, RejectsSilentlyAndLeavesTypeAlone)
{
    LogCapture capture;
    KnxStack::GroupValue group = Group({0x55}, 8);
    EXPECT_FALSE(k1Bit.ToKnxValue(Dpt(1, 1), ORUVALUE::FromByte(1), group));
    EXPECT_FALSE(k1Bit.ToKnxValue(Dpt(2, 1), ORUVALUE::FromBool(true), group));
    ORUVALUE value = ORUVALUE::FromByte(9);
    EXPECT_FALSE(k1Bit.FromKnxValue(Dpt(2, 1), Group({1}, 1), value));
    EXPECT_EQ(Bytes{0x55}, RawBytes(group));
    EXPECT_EQ(ORUVALUE::FromByte(9), value);
    EXPECT_TRUE(capture.TextsAtLeast(log4cplus::INFO_LOG_LEVEL).empty());

    // Reading keeps whatever type the caller prepared.
    ASSERT_TRUE(k1Bit.FromKnxValue(Dpt(1, 1), Group({1}, 1), value));
    EXPECT_EQ(ivtByte, value.ivt);
}

TEST(TwoBit, PassesTheWholeByteToTheStack)
{
    KnxStack::GroupValue group;
    ASSERT_TRUE(k2Bit.ToKnxValue(Dpt(2, 1, 2), ORUVALUE::FromByte(7), group));
    KnxStack::GroupValue expected;
    expected.SetAsUnsigned2(7);
    EXPECT_EQ(expected, group);

    ORUVALUE value = Typed(ivtUnset, 0);
    ASSERT_TRUE(k2Bit.FromKnxValue(Dpt(2, 2), Group({0x03}, 2), value));
    EXPECT_EQ(ivtByte, value.ivt); // the only bit-field read that sets the type
    EXPECT_EQ(3, value.GetByte());
}

TEST(FourBit, RawRangeOnlyTowardsTheBus)
{
    KnxStack::GroupValue group;
    ASSERT_TRUE(k4Bit.ToKnxValue(Dpt(3, 7, 4), ORUVALUE::FromByte(15), group));
    EXPECT_EQ(15, group.GetAsUnsigned4());

    ORUVALUE value = ORUVALUE::FromByte(0);
    ASSERT_TRUE(k4Bit.FromKnxValue(Dpt(3, 8), Group({0x0B}, 4), value));
    EXPECT_EQ(ivtByte, value.ivt);
    EXPECT_EQ(11, value.GetByte());
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

class BitFieldRejection : public testing::TestWithParam<Rejection>
{
};

TEST_P(BitFieldRejection, LogsOnceAndWritesNothing)
{
    const Rejection& r = GetParam();
    KnxStack::GroupValue group = Group({0x01}, 8);
    ORUVALUE value = r.value;
    LogCapture capture;
    const bool ok =
        r.toKnx ? r.conv->ToKnxValue(r.dpt, value, group) : r.conv->FromKnxValue(r.dpt, group, value);
    EXPECT_FALSE(ok);
    EXPECT_EQ(std::vector<std::string>{r.message}, capture.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL));
    EXPECT_EQ(Group({0x01}, 8), group);
    EXPECT_EQ(r.value, value);
}

INSTANTIATE_TEST_SUITE_P(
    All, BitFieldRejection,
    testing::Values(Rejection{"TwoBitWrongMain", &k2Bit, true, Dpt(1, 1), ORUVALUE::FromByte(1),
                              "Wrong oru value type (ivtByte) or DPT main number (2.x)!"},
                    Rejection{"TwoBitWrongType", &k2Bit, true, Dpt(2, 1), ORUVALUE::FromBool(true),
                              "Wrong oru value type (ivtByte) or DPT main number (2.x)!"},
                    Rejection{"TwoBitReadWrongMain", &k2Bit, false, Dpt(3, 1), ORUVALUE::FromByte(5),
                              "Wrong DPT main number (2.x)!"},
                    Rejection{"FourBitSixteen", &k4Bit, true, Dpt(3, 7), ORUVALUE::FromByte(16),
                              "Value out of raw range [0..15]: 16"},
                    Rejection{"FourBitMax", &k4Bit, true, Dpt(3, 7), ORUVALUE::FromByte(255),
                              "Value out of raw range [0..15]: 255"},
                    Rejection{"FourBitWrongMain", &k4Bit, true, Dpt(5, 1), ORUVALUE::FromByte(1),
                              "Wrong oru value type (ivtByte) or DPT main number (3.x)!"},
                    Rejection{"FourBitWrongType", &k4Bit, true, Dpt(3, 7), ORUVALUE::FromInteger(1),
                              "Wrong oru value type (ivtByte) or DPT main number (3.x)!"},
                    Rejection{"FourBitReadWrongMain", &k4Bit, false, Dpt(2, 1), ORUVALUE::FromByte(5),
                              "Wrong DPT main number (3.x)!"}),
    [](const testing::TestParamInfo<Rejection>& tp) { return std::string(tp.param.name); });

TEST(BitFieldSweep, EveryByteStaysWithinTheFieldWidth)
{
    for (unsigned b = 0; b < 256; ++b)
    {
        const Bytes raw{static_cast<unsigned char>(b)};
        ORUVALUE v1 = Typed(ivtBool, 0);
        ASSERT_TRUE(k1Bit.FromKnxValue(Dpt(1, 1), Group(raw, 1), v1));
        ORUVALUE v2 = Typed(ivtByte, 0);
        ASSERT_TRUE(k2Bit.FromKnxValue(Dpt(2, 1), Group(raw, 2), v2));
        EXPECT_LE(v2.GetByte(), 3);
        ORUVALUE v4 = Typed(ivtByte, 0);
        ASSERT_TRUE(k4Bit.FromKnxValue(Dpt(3, 7), Group(raw, 4), v4));
        EXPECT_LE(v4.GetByte(), 15);

        // Every byte towards the bus: accepted exactly below 16.
        KnxStack::GroupValue group;
        EXPECT_EQ(b < 16,
                  k4Bit.ToKnxValue(Dpt(3, 7), ORUVALUE::FromByte(static_cast<std::uint8_t>(b)), group))
            << b;
    }
}

TEST(BitFieldClone, CopiesAreIndependent)
{
    auto* original = new Lum::KnxConverter4Bit(Lum::FloatIntegerRange(-1.0, 1.0, 0, 7));
    auto copy = Own(original->Clone());
    delete original;
    auto* typed = dynamic_cast<Lum::KnxConverter4Bit*>(copy.get());
    ASSERT_NE(nullptr, typed);
    EXPECT_EQ("FloatIntegerRange(-1, 1, 0, 7)", typed->GetRange().ToString());
    KnxStack::GroupValue group;
    EXPECT_TRUE(copy->ToKnxValue(Dpt(3, 7), ORUVALUE::FromByte(9), group));
    EXPECT_NE(nullptr, dynamic_cast<Lum::KnxConverter1Bit*>(Own(k1Bit.Clone()).get()));
    EXPECT_NE(nullptr, dynamic_cast<Lum::KnxConverter2Bit*>(Own(k2Bit.Clone()).get()));
}

} // namespace
