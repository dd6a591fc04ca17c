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

TEST(Converters, StandardBytesAndQuirksThroughClones)
{
    for (const Vector& v : Vectors())
    {
        SCOPED_TRACE(&v - Vectors().data());
        // Through a copy whose source is gone: Clone copies the range too.
        const std::unique_ptr<Lum::KnxConverter> copy(
            std::unique_ptr<Lum::KnxConverter>(v.conv->Clone())->Clone());
        const unsigned bits = v.dpt.bitSize;
        LogCapture capture;
        KnxStack::GroupValue group;
        if (v.way != FromBus)
        {
            ASSERT_TRUE(copy->ToKnxValue(v.dpt, v.value, group));
            EXPECT_EQ(v.bytes, RawBytes(group));
            EXPECT_EQ(bits ? bits : v.bytes.size() * 8, group.GetDefinedSize());
        }
        if (v.way != ToBus)
        {
            const bool keeps = kKeepsType.count(v.conv) != 0;
            ORUVALUE back = Typed(keeps ? ivtWord : ivtUnset, D(0xDEADBEEFu));
            ASSERT_TRUE(copy->FromKnxValue(v.dpt, Group(v.bytes, bits), back));
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
    Lum::KnxConverter* conv;
    KNXDPT dpt;
    ORUVALUE value;      // sent, or prepared for reading
    std::string bytes;   // read from the bus; none: the value is sent
    std::string message; // empty: rejected without a line
};

TEST(Converters, EveryRejectionLogsOnceAndWritesNothing)
{
    ORUVALUE hour24 = TimeV(24, 0, 0, 1);
    hour24.GetTime().hundredths = 7;
    hour24.GetTime().isDaylightSaving = true;
    const std::string range = "Cannot convert the date outside of the range [1990...2089]: year=";
    const std::string wrong = "Exception caught during conversion of GroupValue for DPT ";
    const Rejection rows[] = {
        {&k1Bit, Dpt(1, 1), B(1), "", ""},
        {&k1Bit, Dpt(2, 1), B(9), "01", ""},
        {&k2Bit, Dpt(1, 1), B(1), "", "Wrong oru value type (ivtByte) or DPT main number (2.x)!"},
        {&k2Bit, Dpt(3, 1), B(5), "01", "Wrong DPT main number (2.x)!"},
        {&k4Bit, Dpt(3, 7), B(16), "", "Value out of raw range [0..15]: 16"},
        {&k4Bit, Dpt(3, 7), I(1), "", "Wrong oru value type (ivtByte) or DPT main number (3.x)!"},
        {&k4Bit, Dpt(2, 1), B(5), "01", "Wrong DPT main number (3.x)!"},
        {&kByte, Dpt(5, 1), I(3), "", "Wrong oru value type (ivtByte)!"},
        {&kPercent, Dpt(5, 6), B(255), "", "Value out of raw range [0..254] for DPT 5.006: 255"},
        {&kPercent, Dpt(5, 6), B(1), "FF",
         "Value out of raw range IntegerRange(0, 254, 0, 254) for DPT 5.6; value was 255"},
        {&kSigned8, Dpt(6, 1), B(1), "", "Wrong oru value type (ivtInteger) or DPT main number (6.x)!"},
        {&kStatus, Dpt(5, 1), I(1), "", "Wrong oru value type (ivtByte) or DPT main number (6.020)!"},
        {&kStatus, Dpt(5, 1), B(7), "01", "Wrong DPT main number (6.020)!"},
        {&kStatus, Dpt(6, 20), B(7), "03",
         "The internal value of DPT=6.20, f=3 is out of the allowed range."},
        {&kU16, Dpt(8, 1), I(1), "", "Wrong DPT main number (7.x) or oru value type (ivtWord)!"},
        {&kU16, Dpt(8, 1), W(1), "11 22", "Wrong DPT main number (7.x)!"},
        {&kS16, Dpt(7, 1), W(1), "", "Wrong DPT main number (8.x) or oru value type (ivtInteger)!"},
        {&kS16, Dpt(7, 1), I(1), "11 22", "Wrong DPT main number (8.x)!"},
        {&kU32, Dpt(12, 1), I(1), "", "Wrong oru value type (ivtDWord)!"},
        {&kU32Small, Dpt(12, 1), D(1001), "", "The internal value of DPT=12.1, ivt=8 is out of range: 1001"},
        {&kU32Small, Dpt(12, 1), W(3), "FF FF FF FF",
         "The internal value of DPT=12.1, ivt=7 is out of range: 4294967295"},
        {&kS32, Dpt(12, 1), D(1), "", "Wrong DPT main number (13.x) or oru value type (ivtInteger)!"},
        {&kS32Scaled, Dpt(13, 1), I(-1), "", "The internal value of DPT=13.1, ivt=4 is out of range: -1"},
        {&kS32, Dpt(12, 1), I(1), "00 00 00 01", "Wrong DPT main number (13.x)!"},
        {&kS32Scaled, Dpt(13, 1), I(1), "FF FF FF FE", "The group value of DPT=13.1 is out of range: -2"},
        {&kF16, Dpt(5, 1), B(1), "", "Wrong DPT main number (9.x) or oru value type (ivtFloat)!"},
        {&kTemp, Dpt(9, 1), F(-274.0), "",
         "The internal value of DPT=9.1, f=-274 is out of the allowed range."},
        {&kF16, Dpt(9, 28), F(std::nan("")), "",
         "The internal value of DPT=9.28, f=nan is out of the allowed range."},
        {&kF32, Dpt(9, 1), I(1), "", "Wrong DPT main number (14.x) or oru value type (ivtFloat)!"},
        {&kF32, Dpt(9, 1), F(1.0), "00 00 00 00", "Wrong DPT main number (14.x)!"},
        {&kAscii, Dpt(4, 1), S("\xC3\xA9"), "", "Value out of raw range [0..127] for DPT 4.001: -23"},
        {&kLatin1, Dpt(4, 2), B(0x41), "", "Wrong oru value type (ivtString) or DPT main number (4.x)!"},
        {&kAscii, Dpt(4, 1), S("q"), "E9", "Value out of raw range [0..127] for DPT 4.001: 233"},
        {&kLatin1, Dpt(16, 1), S("q"), "41", "Wrong DPT main number (4.x)!"},
        {&kText, Dpt(4, 1), B(1), "", "Wrong DPT main number (16.x) or oru value type (ivtString)!"},
        {&kText, Dpt(4, 1), S("q"), "41 00", "Wrong DPT main number (16.x)!"},
        {&kDate, Dpt(11, 1), DateV(2090, 1, 1), "", range + "2090, month=1, day=1"},
        {&kDate, Dpt(11, 1), DateV(1989, 12, 31), "", range + "1989, month=12, day=31"},
        {&kDate, Dpt(10, 2), TimeV(1, 2, 3, 0), "",
         "Wrong DPT main number (10.001) or oru value type (ivtDayTime)!"},
        {&kDate, Dpt(10, 2), I(0), "04 01 02", "Wrong DPT main number (11.001)!"},
        {&kDate, Dpt(11, 1), I(0), "04 01 82", "No valid Date datagram, reserved fields are not zero!"},
        {&kDate, Dpt(11, 1), I(0), "1E 02 02", "Cannot convert invalid date: year=2002, month=2, day=30"},
        {&kDate, Dpt(11, 1), I(0), "04", "Exception caught during conversion of date: "},
        {&kTime, Dpt(11, 2), DateV(2000, 1, 1), "",
         "Wrong DPT main number (10.001) or oru value type (ivtDayTime)!"},
        {&kTime, Dpt(10, 1), hour24, "", "Could not convert ORUTIME 2000 1 1 24 0 0 7 1 1 0 1 to TimeOfDay"},
        {&kTime, Dpt(11, 2), I(0), "00 00 00", "Wrong DPT main number (10.001)!"},
        {&kTime, Dpt(10, 1), I(0), "00 40 00", "No valid TimeOfDay datagram, reserved fields are not zero!"},
        {&kTime, Dpt(10, 1), I(0), "00 3C 00", "No valid TimeOfDay (10.001)!"},
        {&kDateTime, Dpt(19, 1), DT(2156, 1, 1), "", range + "2156"},
        {&kDateTime, Dpt(19, 1), DT(1899, 12, 31), "", range + "1899"},
        {&kDateTime, Dpt(19, 1), I(0), "75 00 1C 17 07 18 24 00",
         "Cannot convert invalid date and time: year=2017, month=0, day=28, hour=23, minute=7, second=24"},
        {&kDateTime, Dpt(19, 1), I(0), "75 0B", "Exception caught during conversion of date and time: "},
        {&kNumber, Dpt(17, 1), B(64), "", "Scene number is out of range (>63) for SceneNumber: 64"},
        {&kNumber, Dpt(18, 2), I(1), "", "Wrong DPT main number (17.001) or oru value type (ivtByte)!"},
        {&kNumber, Dpt(18, 2), B(1), "01", "Wrong DPT main number (17.001)!"},
        {&kControl, Dpt(18, 1), B(0x40), "", "Scene number is out of range (>63) for SceneControl: 64"},
        {&kControl, Dpt(18, 2), B(1), "", "Wrong DPT for Scene number (18.001) or oru value type (ivtByte)."},
        {&kControl, Dpt(18, 2), B(1), "01", "Wrong DPT for Scene number, only 18.001 is valid."},
        {&kControl, Dpt(18, 1), B(1), "40", "Reserved bit is used for scene number in DPT scene control!"},
        {&kInfo, Dpt(26, 1), B(0x80), "", "Reserved bit 8 is set for SceneInfo; skipped."},
        {&kInfo, Dpt(26, 2), B(1), "", "Wrong DPT for Scene number (26.001) or oru value type (ivtByte)."},
        {&kInfo, Dpt(26, 2), B(1), "01", "Wrong DPT for Scene number, only 26.001 is valid."},
        {&kInfo, Dpt(26, 1), B(1), "80", "Reserved bit is used for scene number in DPT scene control!"},
        // Seven bits carry the year; 100..127 are no years of this type.
        {&kDate, Dpt(11, 1), I(0), "01 01 64", "Cannot convert invalid date: year=2100, month=1, day=1"},
        {&kDate, Dpt(11, 1), I(0), "01 01 7F", "Cannot convert invalid date: year=2127, month=1, day=1"},
        // Called directly with a value of the wrong size: rejected in the converter's name, never thrown.
        {&kU16, Dpt(7, 1), I(0), "01", wrong + "7.1, bytes = 01: "},
        {&kS16, Dpt(8, 1), I(0), "01", wrong + "8.1, bytes = 01: "},
        {&kU32, Dpt(12, 1), I(0), "01 02", wrong + "12.1, bytes = 01 02: "},
        {&kS32, Dpt(13, 1), I(0), "01 02", wrong + "13.1, bytes = 01 02: "},
        {&kF16, Dpt(9, 1), I(0), "0C", wrong + "9.1, bytes = 0C: "},
        {&kF32, Dpt(14, 56), I(0), "01 02", wrong + "14.56, bytes = 01 02: "},
        {&kText, Dpt(16, 0), I(0), "41 42", wrong + "16.0, bytes = 41 42: "},
    };
    for (const Rejection& r : rows)
    {
        SCOPED_TRACE(r.message);
        const Bytes pre = Hex(r.bytes.empty() ? "11" : r.bytes);
        KnxStack::GroupValue group = Group(pre);
        ORUVALUE value = r.value;
        const std::unique_ptr<Lum::KnxConverter> copy(r.conv->Clone()); // the bounds go with it
        LogCapture capture;
        EXPECT_FALSE(r.bytes.empty() ? copy->ToKnxValue(r.dpt, value, group)
                                     : copy->FromKnxValue(r.dpt, group, value));
        std::vector<std::string> errors = capture.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL);
        // An exception's message goes on with the stack's own words.
        if (r.message.size() > 2 && r.message.substr(r.message.size() - 2) == ": " && errors.size() == 1)
            errors[0].resize(std::min(errors[0].size(), r.message.size()));
        EXPECT_EQ(r.message.empty() ? std::vector<std::string>{} : std::vector<std::string>{r.message},
                  errors);
        EXPECT_EQ(Group(pre), group);
        EXPECT_EQ(r.value, value);
    }
}

TEST(Converters, EveryConverterRefusesAValueWithoutBytesInItsOwnName)
{
    // What a caller that skips the facade's size check may hand over: no exception escapes.
    const std::pair<Lum::KnxConverter*, KNXDPT> converters[] = {
        {&k1Bit, Dpt(1, 1)},     {&k2Bit, Dpt(2, 1)},    {&k4Bit, Dpt(3, 7)},  {&kByte, Dpt(5, 1)},
        {&kSigned8, Dpt(6, 1)},  {&kStatus, Dpt(6, 20)}, {&kU16, Dpt(7, 1)},   {&kS16, Dpt(8, 1)},
        {&kU24, Dpt(232, 1)},    {&kU32, Dpt(12, 1)},    {&kS32, Dpt(13, 1)},  {&kF16, Dpt(9, 1)},
        {&kF32, Dpt(14, 56)},    {&kLatin1, Dpt(4, 2)},  {&kText, Dpt(16, 0)}, {&kNumber, Dpt(17, 1)},
        {&kControl, Dpt(18, 1)}, {&kInfo, Dpt(26, 1)},   {&kTime, Dpt(10, 1)},
    };
    for (const auto& [converter, dpt] : converters)
    {
        SCOPED_TRACE(std::to_string(dpt.mainNumber) + "." + std::to_string(dpt.subNumber));
        ORUVALUE value = I(7);
        LogCapture capture;
        EXPECT_FALSE(converter->FromKnxValue(dpt, KnxStack::GroupValue(), value));
        EXPECT_EQ(I(7), value);
        const std::vector<LogLine> errors = [&]
        {
            std::vector<LogLine> found;
            for (const LogLine& l : capture.Lines())
                if (l.level >= log4cplus::ERROR_LOG_LEVEL)
                    found.push_back(l);
            return found;
        }();
        ASSERT_EQ(1u, errors.size());
        EXPECT_EQ(0u, errors[0].line.rfind("FromKnxValue (", 0)) << errors[0].line;
        EXPECT_EQ(0u, errors[0].text.rfind("Exception caught during conversion of GroupValue for DPT " +
                                               std::to_string(dpt.mainNumber) + "." +
                                               std::to_string(dpt.subNumber) + ", bytes = : ",
                                           0))
            << errors[0].text;
    }
}

TEST(Converters, WritesBeforeOrDespiteRejecting)
{
    KnxStack::GroupValue g;
    EXPECT_FALSE(kStatus.ToKnxValue(Dpt(6, 20), B(0xFB), g)); // mode 011, tested after writing
    EXPECT_EQ(Hex("FB"), RawBytes(g));
    ORUVALUE v = Typed(ivtInteger, D(0));
    EXPECT_FALSE(kTemp.FromKnxValue(Dpt(9, 1), Group(Hex("F8 00")), v)); // below -273
    EXPECT_EQ(ivtInteger, v.ivt);
    EXPECT_NEAR(-671088.64, v.GetFloat(), 1e-9);
    v = Typed(ivtWord, D(0));
    EXPECT_FALSE(kNumber.FromKnxValue(Dpt(17, 1), Group(Hex("C8")), v));
    EXPECT_EQ(Typed(ivtWord, D(200)), v);

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
        const auto byte = static_cast<std::uint8_t>(b);
        const bool oneMode = (b & 7) == 1 || (b & 7) == 2 || (b & 7) == 4;
        KnxStack::GroupValue g;
        ORUVALUE v = Typed(ivtUnset, D(0));
        EXPECT_TRUE(k4Bit.FromKnxValue(Dpt(3, 7), Group({byte}, 4), v));
        EXPECT_EQ(b < 16, k4Bit.ToKnxValue(Dpt(3, 7), B(byte), g));
        EXPECT_EQ(b < 255, kPercent.FromKnxValue(Dpt(5, 6), Group({byte}), v));
        EXPECT_EQ(b < 255, kPercent.ToKnxValue(Dpt(5, 6), B(byte), g));
        EXPECT_EQ(oneMode, kStatus.FromKnxValue(Dpt(6, 20), Group({byte}), v));
        EXPECT_EQ(oneMode, kStatus.ToKnxValue(Dpt(6, 20), B(byte), g));
        EXPECT_EQ(b < 64, kNumber.FromKnxValue(Dpt(17, 1), Group({byte}), v));
        EXPECT_EQ(b < 64, kNumber.ToKnxValue(Dpt(17, 1), B(byte), g));
        EXPECT_EQ(!(b & 0x40), kControl.FromKnxValue(Dpt(18, 1), Group({byte}), v));
        EXPECT_EQ(!(b & 0x40), kControl.ToKnxValue(Dpt(18, 1), B(byte), g));
        EXPECT_EQ(!(b & 0x80), kInfo.FromKnxValue(Dpt(26, 1), Group({byte}), v));
        EXPECT_EQ(!(b & 0x80), kInfo.ToKnxValue(Dpt(26, 1), B(byte), g));
        ASSERT_TRUE(k2Bit.FromKnxValue(Dpt(2, 1), Group({byte}, 2), v));
        EXPECT_EQ(B(b & 3), v);
        ASSERT_TRUE(kSigned8.FromKnxValue(Dpt(6, 1), Group({byte}), v));
        EXPECT_EQ(I(static_cast<std::int8_t>(byte)), v);
        EXPECT_EQ(b < 128, kAscii.FromKnxValue(Dpt(4, 1), Group({byte}), v));
        ASSERT_TRUE(kLatin1.FromKnxValue(Dpt(4, 2), Group({byte}), v)); // valid UTF-8, and back
        const std::string text = v.GetString().str();
        auto it = text.begin();
        EXPECT_TRUE(utf8::next(it, text.end()) == b && it == text.end());
        ASSERT_TRUE(kLatin1.ToKnxValue(Dpt(4, 2), v, g));
        EXPECT_EQ(Bytes{byte}, RawBytes(g));
        EXPECT_EQ(b < 128, kAscii.ToKnxValue(Dpt(4, 1), v, g));
    }
}

TEST(Converters, EveryFloat16PatternDecodesWithinItsRange)
{
    for (unsigned p = 0; p < 0x10000; ++p)
    {
        ORUVALUE v = F(-1.0);
        const bool ok =
            kTemp.FromKnxValue(Dpt(42, 7), Group({Bytes::value_type(p >> 8), Bytes::value_type(p)}), v);
        const double d = v.GetFloat();
        // 7F FF is invalid data: the empty value, the payload untouched. -273 is the bound.
        ASSERT_TRUE(p == 0x7FFF
                        ? ok && v.ivt == ivtUnset && d == -1.0
                        : std::isfinite(d) && d >= -671088.64 && d <= 670760.96 && ok == (d >= -273.0))
            << p << ' ' << d;
    }
}

// One converter object serves every thread; a conversion changes nothing shared, traces included.
TEST(Converters, SharedConvertersOnManyThreads)
{
    LogCapture capture; // DEBUG on: every thread formats traces
    std::atomic<int> failures{0};
    const auto work = [&failures]
    {
        for (int i = 0; i < 20; ++i)
        {
            for (const Vector& v : Vectors())
            {
                KnxStack::GroupValue g;
                ORUVALUE value = v.value;
                failures +=
                    v.way != FromBus && !(v.conv->ToKnxValue(v.dpt, v.value, g) && RawBytes(g) == v.bytes);
                failures +=
                    v.way != ToBus && !v.conv->FromKnxValue(v.dpt, Group(v.bytes, v.dpt.bitSize), value);
            }
        }
    };
    std::thread threads[] = {std::thread(work), std::thread(work), std::thread(work), std::thread(work)};
    for (std::thread& th : threads)
        th.join();
    EXPECT_EQ(0, failures.load());
}

} // namespace
