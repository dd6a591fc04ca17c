#include "ConverterTestUtil.h"

#include <Lum/KnxConverterScene.h>

#include <gtest/gtest.h>

using namespace LumTest;
using Lum::IntegerRange;

namespace
{

const Lum::KnxConverterSceneNumber kNumber(IntegerRange(0, 63, 0, 63));
const Lum::KnxConverterSceneControl kControl(IntegerRange(0, 63, 0, 63));
const Lum::KnxConverterSceneInfo kInfo(IntegerRange(-64, 64, 0, 255));

struct Pass
{
    const char* name;
    const Lum::KnxConverter* conv;
    KNXDPT dpt;
    unsigned char byte;
};

class ScenePasses : public testing::TestWithParam<Pass>
{
};

TEST_P(ScenePasses, ByteUnchangedBothWays)
{
    const Pass& p = GetParam();
    KnxStack::GroupValue group;
    ASSERT_TRUE(p.conv->ToKnxValue(p.dpt, ORUVALUE::FromByte(p.byte), group));
    EXPECT_EQ(Bytes{p.byte}, RawBytes(group));
    ORUVALUE back = Typed(ivtByte, 0xFF);
    ASSERT_TRUE(p.conv->FromKnxValue(p.dpt, Group({p.byte}, 8), back));
    EXPECT_EQ(ORUVALUE::FromByte(p.byte), back);
}

INSTANTIATE_TEST_SUITE_P(All, ScenePasses,
                         testing::Values(Pass{"Number0", &kNumber, Dpt(17, 1), 0},
                                         Pass{"Number63", &kNumber, Dpt(17, 1), 63},
                                         Pass{"ControlLearn0", &kControl, Dpt(18, 1), 0x80},
                                         Pass{"ControlActivate63", &kControl, Dpt(18, 1), 0x3F},
                                         Pass{"ControlLearn63", &kControl, Dpt(18, 1), 0xBF},
                                         Pass{"InfoInactive0", &kInfo, Dpt(26, 1), 0x40},
                                         Pass{"InfoActive63", &kInfo, Dpt(26, 1), 0x3F}),
                         [](const testing::TestParamInfo<Pass>& tp) { return std::string(tp.param.name); });

struct Rejection
{
    const char* name;
    const Lum::KnxConverter* conv;
    bool toKnx;
    KNXDPT dpt;
    ORUVALUE value;
    Bytes bytes;
    std::string message;
};

class SceneRejection : public testing::TestWithParam<Rejection>
{
};

TEST_P(SceneRejection, LogsOnceAndWritesNothing)
{
    const Rejection& r = GetParam();
    KnxStack::GroupValue group = Group(r.bytes, 8);
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
    All, SceneRejection,
    testing::Values(Rejection{"Number64",
                              &kNumber,
                              true,
                              Dpt(17, 1),
                              ORUVALUE::FromByte(64),
                              {0x11},
                              "Scene number is out of range (>63) for SceneNumber: 64"},
                    Rejection{"NumberNegative",
                              &kNumber,
                              true,
                              Dpt(17, 1),
                              ORUVALUE::FromInteger(-1),
                              {0x11},
                              "Scene number is out of range (>63) for SceneNumber: -1"},
                    Rejection{"NumberWrongEverything",
                              &kNumber,
                              true,
                              Dpt(18, 2),
                              ORUVALUE::FromInteger(1),
                              {0x11},
                              "Wrong DPT main number (17.001) or oru value type (ivtByte)!"},
                    Rejection{"NumberReadWrongDpt",
                              &kNumber,
                              false,
                              Dpt(18, 2),
                              ORUVALUE::FromByte(1),
                              {0x01},
                              "Wrong DPT main number (17.001)!"},
                    Rejection{"ControlBit6",
                              &kControl,
                              true,
                              Dpt(18, 1),
                              ORUVALUE::FromByte(0x40),
                              {0x11},
                              "Scene number is out of range (>63) for SceneControl: 64"},
                    Rejection{"ControlLearnBit6",
                              &kControl,
                              true,
                              Dpt(18, 1),
                              ORUVALUE::FromByte(0xC1),
                              {0x11},
                              "Scene number is out of range (>63) for SceneControl: 65"},
                    Rejection{"ControlSub2",
                              &kControl,
                              true,
                              Dpt(18, 2),
                              ORUVALUE::FromByte(1),
                              {0x11},
                              "Wrong DPT for Scene number (18.001) or oru value type (ivtByte)."},
                    Rejection{"ControlWrongType",
                              &kControl,
                              true,
                              Dpt(18, 1),
                              ORUVALUE::FromInteger(1),
                              {0x11},
                              "Wrong DPT for Scene number (18.001) or oru value type (ivtByte)."},
                    Rejection{"ControlReadSub2",
                              &kControl,
                              false,
                              Dpt(18, 2),
                              ORUVALUE::FromByte(1),
                              {0x01},
                              "Wrong DPT for Scene number, only 18.001 is valid."},
                    Rejection{"ControlReadBit6",
                              &kControl,
                              false,
                              Dpt(18, 1),
                              ORUVALUE::FromByte(1),
                              {0x40},
                              "Reserved bit is used for scene number in DPT scene control!"},
                    Rejection{"InfoBit7",
                              &kInfo,
                              true,
                              Dpt(26, 1),
                              ORUVALUE::FromByte(0x80),
                              {0x11},
                              "Reserved bit 8 is set for SceneInfo; skipped."},
                    Rejection{"InfoSub2",
                              &kInfo,
                              true,
                              Dpt(26, 2),
                              ORUVALUE::FromByte(1),
                              {0x11},
                              "Wrong DPT for Scene number (26.001) or oru value type (ivtByte)."},
                    Rejection{"InfoReadSub2",
                              &kInfo,
                              false,
                              Dpt(26, 2),
                              ORUVALUE::FromByte(1),
                              {0x01},
                              "Wrong DPT for Scene number, only 26.001 is valid."},
                    Rejection{"InfoReadBit7",
                              &kInfo,
                              false,
                              Dpt(26, 1),
                              ORUVALUE::FromByte(1),
                              {0x80},
                              "Reserved bit is used for scene number in DPT scene control!"}),
    [](const testing::TestParamInfo<Rejection>& tp) { return std::string(tp.param.name); });

TEST(SceneNumber, LooseAcceptanceAndByteOnAnyDpt)
{
    KnxStack::GroupValue group;
    // A byte value on 5.001 still passes: the type alone suffices.
    ASSERT_TRUE(kNumber.ToKnxValue(Dpt(5, 1), ORUVALUE::FromByte(12), group));
    EXPECT_EQ(Bytes{12}, RawBytes(group));
    EXPECT_TRUE(kNumber.ToKnxValue(Dpt(17, 9), ORUVALUE::FromInteger(5), group));
    EXPECT_TRUE(kNumber.ToKnxValue(Dpt(99, 1), ORUVALUE::FromInteger(5), group));
}

TEST(SceneNumber, RejectedReadKeepsTheNumber)
{
    ORUVALUE value = Typed(ivtWord, 0);
    const auto errors =
        ErrorsOf([&] { EXPECT_FALSE(kNumber.FromKnxValue(Dpt(17, 1), Group({200}, 8), value)); });
    EXPECT_EQ(std::vector<std::string>{"Scene number is out of range (>63) for SceneNumber: 200"}, errors);
    EXPECT_EQ(ivtWord, value.ivt);
    EXPECT_EQ(200, value.GetInteger());
}

TEST(SceneSweep, EveryByteFollowsTheBitRules)
{
    for (unsigned b = 0; b < 256; ++b)
    {
        const auto byte = static_cast<unsigned char>(b);
        ORUVALUE v = Typed(ivtUnset, 0);
        EXPECT_EQ(b <= 63, kNumber.FromKnxValue(Dpt(17, 1), Group({byte}, 8), v)) << b;
        v = Typed(ivtByte, 0);
        const bool control = kControl.FromKnxValue(Dpt(18, 1), Group({byte}, 8), v);
        EXPECT_EQ((b & 0x40) == 0, control) << b;
        if (control)
        {
            EXPECT_EQ(byte, v.GetByte());
        }
        v = Typed(ivtByte, 0);
        EXPECT_EQ((b & 0x80) == 0, kInfo.FromKnxValue(Dpt(26, 1), Group({byte}, 8), v)) << b;

        KnxStack::GroupValue group;
        EXPECT_EQ(b <= 63, kNumber.ToKnxValue(Dpt(17, 1), ORUVALUE::FromByte(byte), group)) << b;
        EXPECT_EQ((b & 0x40) == 0, kControl.ToKnxValue(Dpt(18, 1), ORUVALUE::FromByte(byte), group)) << b;
        EXPECT_EQ((b & 0x80) == 0, kInfo.ToKnxValue(Dpt(26, 1), ORUVALUE::FromByte(byte), group)) << b;
    }
}

TEST(SceneClone, CopiesCarryTheirRange)
{
    auto* original = new Lum::KnxConverterSceneNumber(IntegerRange(1, 10, 1, 10));
    auto copy = Own(original->Clone());
    delete original;
    KnxStack::GroupValue group;
    EXPECT_FALSE(copy->ToKnxValue(Dpt(17, 1), ORUVALUE::FromByte(0), group));
    EXPECT_TRUE(copy->ToKnxValue(Dpt(17, 1), ORUVALUE::FromByte(10), group));
    EXPECT_EQ(typeid(kControl), typeid(*Own(kControl.Clone())));
    EXPECT_EQ(typeid(kInfo), typeid(*Own(kInfo.Clone())));
}

} // namespace
