#include "ConverterTestUtil.h"

#include <Lum/KnxConverterString.h>

#include <gtest/gtest.h>

#include <utf8cpp/utf8.h>

using namespace LumTest;
using Lum::IntegerRange;

namespace
{

const Lum::KnxConverter8BitString kAscii(IntegerRange(0, 127, 0, 127));
const Lum::KnxConverter8BitString kLatin1(IntegerRange(0, 255, 0, 255));
const Lum::KnxConverter14ByteString kText(IntegerRange(0, 127, 0, 127));
const Lum::KnxConverter14ByteString kTextLatin1(IntegerRange(0, 255, 0, 255));
const Lum::KnxConverter14ByteString kPrintable(IntegerRange(32, 126, 32, 126));

const std::string kEAcute = Utf8({0xC3, 0xA9});
// "Gänsefüßchen" in UTF-8.
const std::string kGaensefuesschen =
    "G" + Utf8({0xC3, 0xA4}) + "nsef" + Utf8({0xC3, 0xBC, 0xC3, 0x9F}) + "chen";

std::string Text(const ORUVALUE& v)
{
    return v.GetString().str();
}

TEST(Character, KnxStandardBytes)
{
    struct Case
    {
        const Lum::KnxConverter* conv;
        std::uint16_t sub;
        std::string text;
        unsigned char byte;
    };
    const Case cases[] = {
        {&kAscii, 1, "A", 0x41},
        {&kAscii, 1, "z", 0x7A},
        {&kLatin1, 2, kEAcute, 0xE9},
        {&kLatin1, 2, "A", 0x41},
    };
    for (const Case& c : cases)
    {
        KnxStack::GroupValue group;
        ASSERT_TRUE(c.conv->ToKnxValue(Dpt(4, c.sub), ORUVALUE::FromString(c.text), group));
        EXPECT_EQ(Bytes{c.byte}, RawBytes(group));
        ORUVALUE back = Typed(ivtUnset, 0);
        ASSERT_TRUE(c.conv->FromKnxValue(Dpt(4, c.sub), Group({c.byte}, 8), back));
        EXPECT_EQ(ORUVALUE::FromString(c.text), back);
    }
}

TEST(Character, OnlyTheFirstCharacterAndEmptySendsZero)
{
    KnxStack::GroupValue group;
    LogCapture capture;
    ASSERT_TRUE(kAscii.ToKnxValue(Dpt(4, 1), ORUVALUE::FromString("Hello"), group));
    EXPECT_EQ(Bytes{'H'}, RawBytes(group));
    ASSERT_TRUE(kAscii.ToKnxValue(Dpt(4, 1), ORUVALUE::FromString(""), group));
    EXPECT_EQ(Bytes{0x00}, RawBytes(group));
    EXPECT_TRUE(capture.TextsAtLeast(log4cplus::INFO_LOG_LEVEL).empty());

    ORUVALUE back = Typed(ivtUnset, 0);
    ASSERT_TRUE(kAscii.FromKnxValue(Dpt(4, 1), Group({0x00}, 8), back));
    EXPECT_EQ(ivtString, back.ivt);
    EXPECT_EQ(std::string(1, '\0'), Text(back));
}

TEST(Text, KnxStandardBytes)
{
    struct Case
    {
        const Lum::KnxConverter* conv;
        std::string text;
        Bytes bytes;
    };
    const Case cases[] = {
        {&kText, "KNX is OK", {0x4B, 0x4E, 0x58, 0x20, 0x69, 0x73, 0x20, 0x4F, 0x4B, 0, 0, 0, 0, 0}},
        {&kText, "", Bytes(14, 0)},
        {&kTextLatin1,
         kGaensefuesschen,
         {0x47, 0xE4, 0x6E, 0x73, 0x65, 0x66, 0xFC, 0xDF, 0x63, 0x68, 0x65, 0x6E, 0, 0}},
    };
    for (const Case& c : cases)
    {
        KnxStack::GroupValue group;
        ASSERT_TRUE(c.conv->ToKnxValue(Dpt(16, 1), ORUVALUE::FromString(c.text), group));
        EXPECT_EQ(c.bytes, RawBytes(group)) << c.text;
        ORUVALUE back = Typed(ivtUnset, 0);
        LogCapture capture;
        ASSERT_TRUE(c.conv->FromKnxValue(Dpt(16, 1), Group(c.bytes, 112), back));
        EXPECT_EQ(ORUVALUE::FromString(c.text), back);
        EXPECT_TRUE(capture.TextsAtLeast(log4cplus::INFO_LOG_LEVEL).empty());
    }
}

TEST(Text, OutOfRangeBytesBecomeUnderscores)
{
    // Towards the bus: Latin-1 bytes are tested, silently.
    KnxStack::GroupValue group;
    LogCapture capture;
    ASSERT_TRUE(kText.ToKnxValue(Dpt(16, 0), ORUVALUE::FromString(kGaensefuesschen), group));
    EXPECT_EQ((Bytes{0x47, '_', 0x6E, 0x73, 0x65, 0x66, '_', '_', 0x63, 0x68, 0x65, 0x6E, 0, 0}),
              RawBytes(group));
    ASSERT_TRUE(kPrintable.ToKnxValue(Dpt(16, 0), ORUVALUE::FromString("a\tb"), group));
    EXPECT_EQ((Bytes{'a', '_', 'b', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), RawBytes(group));
    EXPECT_TRUE(capture.TextsAtLeast(log4cplus::INFO_LOG_LEVEL).empty());

    // From the bus: UTF-8 bytes are tested, so one Latin-1 character gives two
    // underscores, and one notice is logged for the whole text.
    capture.Clear();
    ORUVALUE back = Typed(ivtUnset, 0);
    ASSERT_TRUE(kPrintable.FromKnxValue(
        Dpt(16, 0), Group({'x', 0xE9, 'y', 0xE9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 112), back));
    EXPECT_EQ(ORUVALUE::FromString("x__y__"), back);
    EXPECT_EQ(std::vector<std::string>{"Invalid characters for DPT 16.0 has been replaced with _."},
              capture.Texts(log4cplus::INFO_LOG_LEVEL));
    EXPECT_TRUE(capture.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).empty());
}

TEST(Text, LongTextIsFittedByTheStack)
{
    KnxStack::GroupValue group;
    ASSERT_TRUE(kText.ToKnxValue(Dpt(16, 0), ORUVALUE::FromString("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), group));
    const Bytes expected{'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I', 'J', 'K', 'L', 'M', 'N'};
    EXPECT_EQ(expected, RawBytes(group));
    // Either main 16 or the string type suffices.
    EXPECT_TRUE(kText.ToKnxValue(Dpt(4, 1), ORUVALUE::FromString("x"), group));
    EXPECT_TRUE(kText.ToKnxValue(Dpt(16, 1), ORUVALUE::FromByte(0x41), group));
}

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

class StringRejection : public testing::TestWithParam<Rejection>
{
};

TEST_P(StringRejection, LogsOnceAndWritesNothing)
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
    All, StringRejection,
    testing::Values(Rejection{"CharNonAscii",
                              &kAscii,
                              true,
                              Dpt(4, 1),
                              ORUVALUE::FromString(kEAcute),
                              {0x11},
                              "Value out of raw range [0..127] for DPT 4.001: -23"},
                    Rejection{"CharWrongMain",
                              &kLatin1,
                              true,
                              Dpt(16, 1),
                              ORUVALUE::FromString("A"),
                              {0x11},
                              "Wrong oru value type (ivtString) or DPT main number (4.x)!"},
                    Rejection{"CharWrongType",
                              &kLatin1,
                              true,
                              Dpt(4, 2),
                              ORUVALUE::FromByte(0x41),
                              {0x11},
                              "Wrong oru value type (ivtString) or DPT main number (4.x)!"},
                    Rejection{"CharReadNonAscii",
                              &kAscii,
                              false,
                              Dpt(4, 1),
                              ORUVALUE::FromString("q"),
                              {0xE9},
                              "Value out of raw range [0..127] for DPT 4.001: 233"},
                    Rejection{"CharReadWrongMain",
                              &kLatin1,
                              false,
                              Dpt(16, 1),
                              ORUVALUE::FromString("q"),
                              {0x41},
                              "Wrong DPT main number (4.x)!"},
                    Rejection{"TextNeither",
                              &kText,
                              true,
                              Dpt(4, 1),
                              ORUVALUE::FromByte(1),
                              {0x11},
                              "Wrong DPT main number (16.x) or oru value type (ivtString)!"},
                    Rejection{"TextReadWrongMain",
                              &kText,
                              false,
                              Dpt(4, 1),
                              ORUVALUE::FromString("q"),
                              {0x41, 0x00},
                              "Wrong DPT main number (16.x)!"}),
    [](const testing::TestParamInfo<Rejection>& tp) { return std::string(tp.param.name); });

TEST(StringSweep, EveryByteGivesValidUtf8)
{
    for (unsigned b = 0; b < 256; ++b)
    {
        const auto byte = static_cast<unsigned char>(b);
        ORUVALUE ascii = Typed(ivtUnset, 0);
        EXPECT_EQ(b < 128, kAscii.FromKnxValue(Dpt(4, 1), Group({byte}, 8), ascii)) << b;

        ORUVALUE latin1 = Typed(ivtUnset, 0);
        ASSERT_TRUE(kLatin1.FromKnxValue(Dpt(4, 2), Group({byte}, 8), latin1)) << b;
        const std::string text = Text(latin1);
        ASSERT_TRUE(utf8::is_valid(text.begin(), text.end())) << b;
        ASSERT_EQ(b < 128 ? 1u : 2u, text.size());
        auto it = text.begin();
        EXPECT_EQ(b, utf8::next(it, text.end()));

        // And back to the same byte.
        KnxStack::GroupValue group;
        ASSERT_TRUE(kLatin1.ToKnxValue(Dpt(4, 2), latin1, group)) << b;
        EXPECT_EQ(Bytes{byte}, RawBytes(group));
        EXPECT_EQ(b < 128, kAscii.ToKnxValue(Dpt(4, 1), latin1, group)) << b;

        ORUVALUE text14 = Typed(ivtUnset, 0);
        Bytes fourteen(14, 0);
        fourteen[0] = byte;
        fourteen[1] = 'a';
        ASSERT_TRUE(kPrintable.FromKnxValue(Dpt(16, 0), Group(fourteen, 112), text14));
        for (char c : Text(text14))
            EXPECT_TRUE(c >= 32 && c <= 126) << b;
    }
}

TEST(StringClone, CopiesCarryTheirRange)
{
    auto* original = new Lum::KnxConverter14ByteString(IntegerRange(65, 90, 65, 90));
    auto copy = Own(original->Clone());
    delete original;
    KnxStack::GroupValue group;
    ASSERT_TRUE(copy->ToKnxValue(Dpt(16, 0), ORUVALUE::FromString("aB"), group));
    EXPECT_EQ((Bytes{'_', 'B', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), RawBytes(group));
    EXPECT_NE(nullptr, dynamic_cast<Lum::KnxConverter8BitString*>(Own(kAscii.Clone()).get()));
}

} // namespace
