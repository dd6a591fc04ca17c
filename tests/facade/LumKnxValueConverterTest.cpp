// The text-form converter's own rules (the byte vectors run in DptVectorTest).
#include "FacadeTestSupport.h"

#include <LogCapture.h>
#include <Lum/LumKnxValueConverter.h>

#include <gtest/gtest.h>

#include <string>

using namespace FacadeTest;

namespace
{

std::string Serialised(const ORUVALUE& v, bool internalFormat)
{
    oru_string s;
    v.Serialize(s, internalFormat);
    return s.str();
}

class LumKnxValueConverterTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_converter.Init()); }
    Lum::LumKnxValueConverter m_converter;
};

} // namespace

TEST_F(LumKnxValueConverterTest, SizeTakingToKnxValueUsesOnlyTheLowEightBits)
{
    // A word has no default DPT of its own, so the size decides.
    const std::string word = Serialised(ORUVALUE::FromWord(7), false);
    struct Case
    {
        unsigned long bitSize;
        std::vector<std::pair<log4cplus::LogLevel, std::string>> log;
    };
    const Case cases[] = {
        {511, {{log4cplus::INFO_LOG_LEVEL, "Could not find DPT for bit size 255"}}},
        {255, {{log4cplus::INFO_LOG_LEVEL, "Could not find DPT for bit size 255"}}},
        // 272 acts as 16: the 9.x default, which a word does not fit.
        {272, {{log4cplus::ERROR_LOG_LEVEL, "Invalid value type found for DPT = 9.0 val.ivt=7"}}},
    };
    for (const Case& c : cases)
    {
        KnxStack::GroupValue gv;
        LumTest::LogCapture log;
        log.SetLevel(log4cplus::INFO_LOG_LEVEL);
        EXPECT_FALSE(m_converter.ToKnxValue(word, c.bitSize, gv)) << c.bitSize;
        const auto lines = log.Lines();
        ASSERT_EQ(lines.size(), c.log.size()) << c.bitSize;
        for (std::size_t i = 0; i < lines.size(); ++i)
        {
            EXPECT_EQ(lines[i].level, c.log[i].first);
            EXPECT_EQ(lines[i].text, c.log[i].second);
        }
    }
}

TEST_F(LumKnxValueConverterTest, SizeTakingToKnxValuePrefersTheValueTypesDefault)
{
    KnxStack::GroupValue gv;
    // A float with size 16 goes to 9.000: 21.5 is 0C 33.
    EXPECT_TRUE(m_converter.ToKnxValue(Serialised(ORUVALUE::FromFloat(21.5), false), 16, gv));
    EXPECT_EQ(gv, Group({0x0C, 0x33}, 16));
    // A boolean goes to 1.001 whatever the size.
    EXPECT_TRUE(m_converter.ToKnxValue(Serialised(ORUVALUE::FromBool(true), true), 8, gv));
    EXPECT_EQ(gv, Group({0x01}, 1));
}

TEST_F(LumKnxValueConverterTest, OneBitGroupValueReadsAsABoolean)
{
    for (const bool internalFormat : {false, true})
    {
        std::string text;
        EXPECT_TRUE(m_converter.FromKnxValue(Group({0x01}, 1), text, internalFormat));
        EXPECT_EQ(text, Serialised(ORUVALUE::FromBool(true), internalFormat));
    }
}

TEST_F(LumKnxValueConverterTest, FailedReadLeavesTheTextAlone)
{
    const KnxStack::GroupValue failing[] = {
        Group({0xF7, 0x3B, 0x3C}, 24), // 10.001 with second 60
        Group({0x01}, 3),              // no DPT for 3 bits
        KnxStack::GroupValue(KnxStack::BinaryData(), 16),
    };
    for (const auto& gv : failing)
    {
        std::string text = "before";
        EXPECT_FALSE(m_converter.FromKnxValue(gv, text, false)) << gv.GetRawData().ToString();
        EXPECT_EQ(text, "before");
    }
}

TEST_F(LumKnxValueConverterTest, MalformedTextIsAnEmptyValue)
{
    KNXDPT dpt = Dpt(9, 1);
    KnxStack::GroupValue gv;
    LumTest::LogCapture log;
    EXPECT_FALSE(m_converter.ToKnxValue(dpt, std::string("no value here"), gv));
    EXPECT_EQ(log.Texts(), std::vector<std::string>{"Invalid value type found for DPT = 9.1 val.ivt=1"});
}

TEST_F(LumKnxValueConverterTest, ValueOverloadsForward)
{
    KNXDPT dpt = Dpt(0, 0);
    KnxStack::GroupValue gv;
    EXPECT_TRUE(m_converter.ToKnxValue(dpt, ORUVALUE::FromByte(100), gv));
    EXPECT_EQ(dpt.mainNumber, 5);
    EXPECT_EQ(gv, Group({0x64}, 8));

    KNXDPT back = Dpt(5, 1);
    ORUVALUE value;
    EXPECT_TRUE(m_converter.FromKnxValue(back, gv, value));
    EXPECT_TRUE(value == ORUVALUE::FromByte(100));
}

TEST(LumKnxValueConverterUninitialised, AcceptsEverythingBeforeInit)
{
    Lum::LumKnxValueConverter converter;
    std::string text = "before";
    LumTest::LogCapture log;
    EXPECT_TRUE(converter.FromKnxValue(Group({0x0C, 0x33}, 16), text, false));
    // The value stays the fresh empty value, and that is what is serialised.
    ORUVALUE empty;
    empty.ivt = ivtEmpty;
    empty.GetTime().Clear(true);
    EXPECT_EQ(text, Serialised(empty, false));
    EXPECT_EQ(log.Texts().back(), "Assume validity and accept value!");
}
