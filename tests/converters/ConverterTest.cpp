#include "ConverterCases.h"

#include <gtest/gtest.h>

#include <utf8cpp/utf8.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <thread>

using namespace LumTest;

namespace
{

std::vector<std::string> Errors(const LogCapture& c)
{
    return c.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL);
}

TEST(Converters, StandardBytesAndQuirks)
{
    for (const Vector& v : Vectors())
    {
        SCOPED_TRACE(testing::Message()
                     << v.dpt.mainNumber << '.' << v.dpt.subNumber << ' ' << v.value.ToString());
        const unsigned bits = v.dpt.bitSize;
        LogCapture capture;
        KnxStack::GroupValue group;
        if (v.way != FromBus)
        {
            ASSERT_TRUE(v.conv->ToKnxValue(v.dpt, v.value, group));
            EXPECT_EQ(v.bytes, RawBytes(group));
            EXPECT_EQ(bits ? bits : v.bytes.size() * 8, group.GetDefinedSize());
        }
        if (v.way != ToBus)
        {
            const bool keeps = kKeepsType.count(v.conv) != 0;
            ORUVALUE back = Typed(keeps ? ivtWord : ivtUnset, 0xDEADBEEFu);
            ASSERT_TRUE(v.conv->FromKnxValue(v.dpt, Group(v.bytes, bits), back));
            EXPECT_EQ(keeps ? ivtWord : v.value.ivt, back.ivt);
            back.ivt = v.value.ivt;
            EXPECT_TRUE(v.value.ivt == ivtFloat ? std::abs(v.value.GetFloat() - back.GetFloat()) < 1e-9
                                                : v.value == back)
                << back.ToString();
        }
        EXPECT_TRUE(capture.TextsAtLeast(log4cplus::INFO_LOG_LEVEL).empty());
    }
}

struct Rejection
{
    const Lum::KnxConverter* conv;
    bool to;
    KNXDPT dpt;
    ORUVALUE value;
    std::string bytes;   // read from the bus; towards it, empty: 11
    std::string message; // empty: rejected without a line
};

TEST(Converters, EveryRejectionLogsOnceAndWritesNothing)
{
    ORUVALUE hour24 = TimeV(24, 0, 0, 1);
    hour24.GetTime().hundredths = 7;
    hour24.GetTime().isDaylightSaving = true;
    const std::string range = "Cannot convert the date outside of the range [1990...2089]: year=";
    const Rejection rows[] = {
        {&k1Bit, To, Dpt(1, 1), B(1), "", ""},
        {&k1Bit, To, Dpt(2, 1), ORUVALUE::FromBool(true), "", ""},
        {&k1Bit, From, Dpt(2, 1), B(9), "01", ""},
        {&k2Bit, To, Dpt(1, 1), B(1), "", "Wrong oru value type (ivtByte) or DPT main number (2.x)!"},
        {&k2Bit, From, Dpt(3, 1), B(5), "01", "Wrong DPT main number (2.x)!"},
        {&k4Bit, To, Dpt(3, 7), B(16), "", "Value out of raw range [0..15]: 16"},
        {&k4Bit, To, Dpt(3, 7), I(1), "", "Wrong oru value type (ivtByte) or DPT main number (3.x)!"},
        {&k4Bit, From, Dpt(2, 1), B(5), "01", "Wrong DPT main number (3.x)!"},
        {&kByte, To, Dpt(5, 1), I(3), "", "Wrong oru value type (ivtByte)!"},
        {&kPercent, To, Dpt(5, 6), B(255), "", "Value out of raw range [0..254] for DPT 5.006: 255"},
        {&kPercent, From, Dpt(5, 6), B(1), "FF",
         "Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 5.6; value was 255"},
        {&kSigned8, To, Dpt(6, 1), B(1), "", "Wrong oru value type (ivtInteger) or DPT main number (6.x)!"},
        {&kStatus, To, Dpt(5, 1), I(1), "", "Wrong oru value type (ivtByte) or DPT main number (6.020)!"},
        {&kStatus, From, Dpt(5, 1), B(7), "01", "Wrong DPT main number (6.020)!"},
        {&kStatus, From, Dpt(6, 20), B(7), "03",
         "The internal value of DPT=6.20, f=3 is out of the allowed range."},
        {&kStatus, From, Dpt(6, 20), B(7), "00",
         "The internal value of DPT=6.20, f=0 is out of the allowed range."},
        {&kU16, To, Dpt(8, 1), I(1), "", "Wrong DPT main number (7.x) or oru value type (ivtWord)!"},
        {&kU16, From, Dpt(8, 1), W(1), "11 22", "Wrong DPT main number (7.x)!"},
        {&kS16, To, Dpt(7, 1), W(1), "", "Wrong DPT main number (8.x) or oru value type (ivtInteger)!"},
        {&kS16, From, Dpt(7, 1), I(1), "11 22", "Wrong DPT main number (8.x)!"},
        {&kU32, To, Dpt(12, 1), I(1), "", "Wrong oru value type (ivtDWord)!"},
        {&kU32Small, To, Dpt(12, 1), D(1001), "",
         "The internal value of DPT=12.1, ivt=8 is out of range: 1001"},
        {&kU32Small, From, Dpt(12, 1), W(3), "FF FF FF FF",
         "The internal value of DPT=12.1, ivt=7 is out of range: 4294967295"},
        {&kS32, To, Dpt(12, 1), D(1), "", "Wrong DPT main number (13.x) or oru value type (ivtInteger)!"},
        {&kS32Scaled, To, Dpt(13, 1), I(-1), "", "The internal value of DPT=13.1, ivt=4 is out of range: -1"},
        {&kS32, From, Dpt(12, 1), I(1), "00 00 00 01", "Wrong DPT main number (13.x)!"},
        {&kS32Scaled, From, Dpt(13, 1), I(1), "FF FF FF FE",
         "The group value of DPT=13.1 is out of range: -2"},
        {&kF16, To, Dpt(5, 1), B(1), "", "Wrong DPT main number (9.x) or oru value type (ivtFloat)!"},
        {&kTemp, To, Dpt(9, 1), F(-274.0), "",
         "The internal value of DPT=9.1, f=-274 is out of the allowed range."},
        {&kF16, To, Dpt(9, 28), F(std::nan("")), "",
         "The internal value of DPT=9.28, f=nan is out of the allowed range."},
        {&kF32, To, Dpt(9, 1), I(1), "", "Wrong DPT main number (14.x) or oru value type (ivtFloat)!"},
        {&kF32, From, Dpt(9, 1), F(1.0), "00 00 00 00", "Wrong DPT main number (14.x)!"},
        {&kAscii, To, Dpt(4, 1), S(kEAcute), "", "Value out of raw range [0..127] for DPT 4.001: -23"},
        {&kLatin1, To, Dpt(4, 2), B(0x41), "", "Wrong oru value type (ivtString) or DPT main number (4.x)!"},
        {&kAscii, From, Dpt(4, 1), S("q"), "E9", "Value out of raw range [0..127] for DPT 4.001: 233"},
        {&kLatin1, From, Dpt(16, 1), S("q"), "41", "Wrong DPT main number (4.x)!"},
        {&kText, To, Dpt(4, 1), B(1), "", "Wrong DPT main number (16.x) or oru value type (ivtString)!"},
        {&kText, From, Dpt(4, 1), S("q"), "41 00", "Wrong DPT main number (16.x)!"},
        {&kDate, To, Dpt(11, 1), DateV(2090, 1, 1), "", range + "2090, month=1, day=1"},
        {&kDate, To, Dpt(11, 1), DateV(1989, 12, 31), "", range + "1989, month=12, day=31"},
        {&kDate, To, Dpt(10, 2), TimeV(1, 2, 3, 0), "",
         "Wrong DPT main number (10.001) or oru value type (ivtDayTime)!"},
        {&kDate, From, Dpt(10, 2), I(0), "04 01 02", "Wrong DPT main number (11.001)!"},
        {&kDate, From, Dpt(11, 1), I(0), "04 01 82", "No valid Date datagram, reserved fields are not zero!"},
        {&kDate, From, Dpt(11, 1), I(0), "1E 02 02",
         "Cannot convert invalid date: year=2002, month=2, day=30"},
        {&kDate, From, Dpt(11, 1), I(0), "04", "Exception caught during conversion of date: "},
        {&kTime, To, Dpt(11, 2), DateV(2000, 1, 1), "",
         "Wrong DPT main number (10.001) or oru value type (ivtDayTime)!"},
        {&kTime, To, Dpt(10, 1), hour24, "",
         "Could not convert ORUTIME 2000 1 1 24 0 0 7 1 1 0 1 to TimeOfDay"},
        {&kTime, From, Dpt(11, 2), I(0), "00 00 00", "Wrong DPT main number (10.001)!"},
        {&kTime, From, Dpt(10, 1), I(0), "00 40 00",
         "No valid TimeOfDay datagram, reserved fields are not zero!"},
        {&kTime, From, Dpt(10, 1), I(0), "00 3C 00", "No valid TimeOfDay (10.001)!"},
        {&kDateTime, To, Dpt(19, 1), DT(2156, 1, 1), "", range + "2156"},
        {&kDateTime, To, Dpt(19, 1), DT(1899, 12, 31), "", range + "1899"},
        {&kDateTime, From, Dpt(19, 1), I(0), "75 00 1C 17 07 18 24 00",
         "Cannot convert invalid date and time: year=2017, month=0, day=28, hour=23, minute=7, second=24"},
        {&kDateTime, From, Dpt(19, 1), I(0), "75 0B",
         "Exception caught during conversion of date and time: "},
        {&kNumber, To, Dpt(17, 1), B(64), "", "Scene number is out of range (>63) for SceneNumber: 64"},
        {&kNumber, To, Dpt(18, 2), I(1), "", "Wrong DPT main number (17.001) or oru value type (ivtByte)!"},
        {&kNumber, From, Dpt(18, 2), B(1), "01", "Wrong DPT main number (17.001)!"},
        {&kControl, To, Dpt(18, 1), B(0x40), "", "Scene number is out of range (>63) for SceneControl: 64"},
        {&kControl, To, Dpt(18, 2), B(1), "",
         "Wrong DPT for Scene number (18.001) or oru value type (ivtByte)."},
        {&kControl, From, Dpt(18, 2), B(1), "01", "Wrong DPT for Scene number, only 18.001 is valid."},
        {&kControl, From, Dpt(18, 1), B(1), "40",
         "Reserved bit is used for scene number in DPT scene control!"},
        {&kInfo, To, Dpt(26, 1), B(0x80), "", "Reserved bit 8 is set for SceneInfo; skipped."},
        {&kInfo, To, Dpt(26, 2), B(1), "",
         "Wrong DPT for Scene number (26.001) or oru value type (ivtByte)."},
        {&kInfo, From, Dpt(26, 2), B(1), "01", "Wrong DPT for Scene number, only 26.001 is valid."},
        {&kInfo, From, Dpt(26, 1), B(1), "80", "Reserved bit is used for scene number in DPT scene control!"},
    };
    for (const Rejection& r : rows)
    {
        SCOPED_TRACE(r.message);
        const Bytes pre = Hex(r.bytes.empty() ? "11" : r.bytes);
        KnxStack::GroupValue group = Group(pre);
        ORUVALUE value = r.value;
        LogCapture capture;
        EXPECT_FALSE(Convert(*r.conv, r.to, r.dpt, value, group));
        std::vector<std::string> errors = Errors(capture);
        // An exception's message goes on with the stack's own words.
        if (r.message.size() > 2 && r.message.substr(r.message.size() - 2) == ": " && errors.size() == 1)
            errors[0].resize(std::min(errors[0].size(), r.message.size()));
        EXPECT_EQ(r.message.empty() ? std::vector<std::string>{} : std::vector<std::string>{r.message},
                  errors);
        EXPECT_EQ(Group(pre), group);
        EXPECT_EQ(r.value, value);
    }
}

TEST(Converters, WritesBeforeOrDespiteRejecting)
{
    KnxStack::GroupValue g;
    EXPECT_FALSE(kStatus.ToKnxValue(Dpt(6, 20), B(0xFB), g)); // mode 011, tested after writing
    EXPECT_EQ(Hex("FB"), RawBytes(g));
    ORUVALUE v = Typed(ivtInteger, 0);
    EXPECT_FALSE(kTemp.FromKnxValue(Dpt(9, 1), Group(Hex("F8 00")), v)); // below -273
    EXPECT_EQ(ivtInteger, v.ivt);
    EXPECT_NEAR(-671088.64, v.GetFloat(), 1e-9);
    v = Typed(ivtWord, 0);
    EXPECT_FALSE(kNumber.FromKnxValue(Dpt(17, 1), Group(Hex("C8")), v));
    EXPECT_EQ(Typed(ivtWord, 200), v);

    // Read from the bus, UTF-8 bytes are tested: a Latin-1 character out of range gives two "_".
    LogCapture capture;
    ASSERT_TRUE(kPrintable.FromKnxValue(Dpt(16, 0), Group(Padded("x\xE9y\xE9")), v));
    EXPECT_EQ(S("x__y__"), v);
    EXPECT_EQ(std::vector<std::string>{"Invalid characters for DPT 16.0 has been replaced with _."},
              capture.TextsAtLeast(log4cplus::INFO_LOG_LEVEL));
}

TEST(Converters, EveryByteThroughTheEightBitConverters)
{
    for (unsigned b = 0; b < 256; ++b)
    {
        SCOPED_TRACE(b);
        const auto byte = static_cast<unsigned char>(b);
        const unsigned mode = b & 7u;
        const bool validMode = mode == 1 || mode == 2 || mode == 4;
        ORUVALUE v = Typed(ivtUnset, 0);
        ASSERT_TRUE(k2Bit.FromKnxValue(Dpt(2, 1), Group({byte}, 2), v));
        EXPECT_EQ(B(b & 3u), v); // sets the type, unlike 1 and 4 bits
        ASSERT_TRUE(k4Bit.FromKnxValue(Dpt(3, 7), Group({byte}, 4), v));
        EXPECT_LE(v.GetByte(), 15);
        v = Typed(ivtUnset, 0);
        ASSERT_TRUE(kByte.FromKnxValue(Dpt(5, 1), Group({byte}), v));
        EXPECT_EQ(B(byte), v);
        EXPECT_EQ(b <= 254, kPercent.FromKnxValue(Dpt(5, 6), Group({byte}), v));
        ASSERT_TRUE(kSigned8.FromKnxValue(Dpt(6, 1), Group({byte}), v));
        EXPECT_EQ(I(static_cast<signed char>(byte)), v);
        v = Typed(ivtUnset, 0);
        EXPECT_EQ(validMode, kStatus.FromKnxValue(Dpt(6, 20), Group({byte}), v));
        EXPECT_EQ(validMode ? B(byte) : Typed(ivtUnset, 0), v);
        EXPECT_EQ(b <= 63, kNumber.FromKnxValue(Dpt(17, 1), Group({byte}), v));
        EXPECT_EQ((b & 0x40) == 0, kControl.FromKnxValue(Dpt(18, 1), Group({byte}), v));
        EXPECT_EQ((b & 0x80) == 0, kInfo.FromKnxValue(Dpt(26, 1), Group({byte}), v));
        EXPECT_EQ(b < 128, kAscii.FromKnxValue(Dpt(4, 1), Group({byte}), v));
        ASSERT_TRUE(kLatin1.FromKnxValue(Dpt(4, 2), Group({byte}), v));
        const std::string text = v.GetString().str();
        ASSERT_TRUE(utf8::is_valid(text.begin(), text.end()));
        auto it = text.begin();
        EXPECT_EQ(b, utf8::next(it, text.end()));

        KnxStack::GroupValue g;
        ASSERT_TRUE(kLatin1.ToKnxValue(Dpt(4, 2), v, g)); // and back
        EXPECT_EQ(Bytes{byte}, RawBytes(g));
        EXPECT_EQ(b < 128, kAscii.ToKnxValue(Dpt(4, 1), v, g));
        EXPECT_EQ(b < 16, k4Bit.ToKnxValue(Dpt(3, 7), B(byte), g));
        EXPECT_EQ(b != 255, kPercent.ToKnxValue(Dpt(5, 6), B(byte), g));
        EXPECT_EQ(validMode, kStatus.ToKnxValue(Dpt(6, 20), B(byte), g));
        EXPECT_EQ(b <= 63, kNumber.ToKnxValue(Dpt(17, 1), B(byte), g));
        EXPECT_EQ((b & 0x40) == 0, kControl.ToKnxValue(Dpt(18, 1), B(byte), g));
        EXPECT_EQ((b & 0x80) == 0, kInfo.ToKnxValue(Dpt(26, 1), B(byte), g));
    }
}

TEST(Converters, EveryFloat16PatternDecodesWithinItsRange)
{
    for (const Lum::KnxConverterFloat16BitFloat* conv : {&kF16, &kTemp})
    {
        for (unsigned p = 0; p < 0x10000; ++p)
        {
            ORUVALUE v = F(-1.0);
            const bool ok =
                conv->FromKnxValue(Dpt(42, 7), Group({Bytes::value_type(p >> 8), Bytes::value_type(p)}), v);
            const double d = v.GetFloat();
            const bool inRange = conv->GetRange().m_internalMin <= d && d <= conv->GetRange().m_internalMax;
            // 7F FF is invalid data: the empty value, the payload untouched.
            ASSERT_TRUE(p == 0x7FFF ? ok && v.ivt == ivtUnset && d == -1.0
                                    : std::isfinite(d) && d >= -671088.64 && d <= 670760.96 && ok == inRange)
                << p << ' ' << d;
        }
    }
}

TEST(Converters, ClonesOutliveTheirOriginals)
{
    using Ptr = std::unique_ptr<Lum::KnxConverter>;
    Ptr scaled(new Lum::KnxConverterInteger32BitSigned(IntegerRange(0, 100, 0, 1000)));
    Ptr narrow(new Lum::KnxConverterFloat16BitFloat(FloatRange(0.0, 10.0, 0.0, 10.0)));
    Ptr upper(new Lum::KnxConverter14ByteString(IntegerRange(65, 90, 65, 90)));
    Ptr scene(new Lum::KnxConverterSceneNumber(IntegerRange(1, 10, 1, 10)));
    Ptr clones[] = {Ptr(scaled->Clone()), Ptr(narrow->Clone()), Ptr(upper->Clone()), Ptr(scene->Clone())};
    scaled.reset(), narrow.reset(), upper.reset(), scene.reset();
    KnxStack::GroupValue g;
    ASSERT_TRUE(clones[0]->ToKnxValue(Dpt(13, 1), I(7), g));
    EXPECT_EQ(Hex("00 00 00 46"), RawBytes(g));
    EXPECT_FALSE(clones[1]->ToKnxValue(Dpt(9, 1), F(10.5), g));
    ASSERT_TRUE(clones[2]->ToKnxValue(Dpt(16, 0), S("aB"), g));
    EXPECT_EQ(Padded("_B"), RawBytes(g));
    EXPECT_FALSE(clones[3]->ToKnxValue(Dpt(17, 1), B(0), g));
    EXPECT_FALSE(Ptr(kU32Small.Clone())->ToKnxValue(Dpt(12, 1), D(1001), g));
    for (const Vector& v : Vectors())
        EXPECT_EQ(typeid(*v.conv), typeid(*Ptr(v.conv->Clone())));
}

// One converter object serves every thread; a conversion must change nothing shared, traces included.
TEST(Converters, SharedConvertersOnManyThreads)
{
    LogCapture capture; // DEBUG on: every thread formats traces
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(
            [&failures, t]
            {
                for (int i = 0; i < 200; ++i)
                {
                    KnxStack::GroupValue g;
                    ORUVALUE v = Typed(ivtUnset, 0);
                    const double celsius = (t * 200 + i) / 10.0;
                    const bool ok =
                        kTemp.ToKnxValue(Dpt(9, 1), F(celsius), g) && kTemp.FromKnxValue(Dpt(9, 1), g, v) &&
                        std::abs(v.GetFloat() - celsius) < 0.1 &&
                        kS32Scaled.ToKnxValue(Dpt(13, 1), I(i % 101), g) &&
                        g.GetAsSigned32() == (i % 101) * 10 &&
                        kPrintable.FromKnxValue(Dpt(16, 0), Group(Padded("a\xE9")), v) &&
                        v.GetString().str() == "a__" &&
                        kTime.FromKnxValue(Dpt(10, 1), Group(Hex("4D 17 2A")), v) && v.GetTime().hour == 13;
                    failures += ok ? 0 : 1;
                }
            });
    for (std::thread& th : threads)
        th.join();
    EXPECT_EQ(0, failures.load());
    EXPECT_EQ(800u, capture.Texts(log4cplus::INFO_LOG_LEVEL).size()); // one notice per text read
}

} // namespace
