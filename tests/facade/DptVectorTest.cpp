// Every registered DPT row against the KNX standard's bytes, both ways; the text-form converter.
#include "FacadeTestSupport.h"

#include <LogCapture.h>
#include <Lum/KnxValueConverter.h>
#include <Lum/LumKnxValueConverter.h>

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

using namespace FacadeTest;
using V = ORUVALUE;
using GV = KnxStack::GroupValue;

namespace
{

ORUVALUE Stamp(OruValueType type, unsigned y, unsigned mo, unsigned d, unsigned h, unsigned mi, unsigned s,
               int weekDayMask = -1)
{
    ORUTIME t; // a time of day sits on a fixed date, not in local time
    t.SetDateTime(static_cast<unsigned short>(y), static_cast<unsigned char>(mo),
                  static_cast<unsigned char>(d), static_cast<unsigned char>(h),
                  static_cast<unsigned char>(mi), static_cast<unsigned char>(s),
                  type == ivtDate || type == ivtDateTime);
    t.weekDay = weekDayMask < 0 ? t.weekDay : static_cast<std::uint16_t>(weekDayMask);
    return ORUVALUE::FromTime(type, t);
}

struct Vector
{
    KNXDPT dpt;
    ORUVALUE value;
    Bytes bytes;
    unsigned bits;
    // 'S': the value sends as the bytes, 's': it is refused; 'R': the bytes read as the value, 'r': refused.
    std::string way;
    bool Has(char c) const { return way.find(c) != std::string::npos; }
};

const std::string kGaense = "G\u00e4nsef\u00fc\u00dfchen"; // UTF-8
const Bytes kGaense14 = {0x47, 0xE4, 0x6E, 0x73, 0x65, 0x66, 0xFC, 0xDF, 0x63, 0x68, 0x65, 0x6E, 0, 0};
const Bytes kKnxIsOk = {0x4B, 0x4E, 0x58, 0x20, 0x69, 0x73, 0x20, 0x4F, 0x4B, 0, 0, 0, 0, 0};
constexpr int kTue = OruWeekDays::WEEK_DAY_TUESDAY;
const ORUVALUE k2017 = Stamp(ivtDateTime, 2017, 11, 28, 23, 7, 24);

const std::vector<Vector> kVectors = {
    {Dpt(1, 1), V::FromBool(true), {0x01}, 1, "SR"},
    // 2.x and 3.x register a value type that their converters refuse to send.
    {Dpt(2, 1), V::FromBool(true), {}, 0, "s"},
    {Dpt(2, 1), V::FromByte(3), {0x03}, 2, "R"},
    {Dpt(3, 7), V::FromFloat(50.0), {}, 0, "s"},
    {Dpt(3, 7), Typed(ivtFloat, 0x0B), {0x0B}, 4, "R"},
    {Dpt(4, 0), V::FromString("A"), {0x41}, 8, "SR"},
    {Dpt(4, 1), V::FromString("z"), {0x7A}, 8, "SR"},
    {Dpt(4, 1), V::FromString("\xC3\xA9"), {0xE9}, 8, "sr"},
    {Dpt(4, 2), V::FromString("\xC3\xA9"), {0xE9}, 8, "SR"},
    {Dpt(5, 1), V::FromByte(100), {0x64}, 8, "SR"}, // the raw byte, not scaled
    {Dpt(5, 6), V::FromByte(254), {0xFE}, 8, "SR"},
    {Dpt(5, 6), V::FromByte(255), {0xFF}, 8, "sr"},
    {Dpt(6, 1), V::FromInteger(-128), {0x80}, 8, "SR"},
    {Dpt(6, 20), V::FromByte(0x6A), {0x6A}, 8, "SR"},
    {Dpt(7, 1), V::FromWord(65535), {0xFF, 0xFF}, 16, "SR"},
    {Dpt(8, 1), V::FromInteger(-32768), {0x80, 0x00}, 16, "SR"},
    {Dpt(9, 9), V::FromFloat(20.48), {0x0C, 0x00}, 16, "SR"},
    {Dpt(9, 1), V::FromFloat(21.5), {0x0C, 0x33}, 16, "SR"},
    {Dpt(9, 1), Typed(ivtUnset), {0x7F, 0xFF}, 16, "SR"},
    {Dpt(9, 1), V::FromFloat(-274.0), {}, 0, "s"},
    {Dpt(9, 2), V::FromFloat(-30.0), {0x8A, 0x24}, 16, "SR"},
    {Dpt(9, 3), V::FromFloat(16.96), {0x06, 0xA0}, 16, "SR"},
    {Dpt(9, 4), V::FromFloat(100.0), {0x1C, 0xE2}, 16, "SR"},
    {Dpt(9, 4), V::FromFloat(-0.01), {0x87, 0xFF}, 16, "sr"},
    {Dpt(9, 5), V::FromFloat(0.29), {0x00, 0x1D}, 16, "SR"},
    {Dpt(9, 6), V::FromFloat(0.0), {0x00, 0x00}, 16, "SR"},
    {Dpt(9, 7), V::FromFloat(0.01), {0x00, 0x01}, 16, "SR"},
    {Dpt(9, 8), V::FromFloat(20.48), {0x0C, 0x00}, 16, "SR"},
    {Dpt(9, 10), V::FromFloat(-0.01), {0x87, 0xFF}, 16, "SR"},
    {Dpt(9, 11), V::FromFloat(21.0), {0x0C, 0x1A}, 16, "SR"},
    {Dpt(9, 20), V::FromFloat(670433.28), {0x7F, 0xFE}, 16, "SR"},
    {Dpt(9, 21), V::FromFloat(-30.0), {0x8A, 0x24}, 16, "SR"},
    {Dpt(9, 22), V::FromFloat(100.0), {0x1C, 0xE2}, 16, "SR"},
    {Dpt(9, 23), V::FromFloat(16.96), {0x06, 0xA0}, 16, "SR"},
    {Dpt(9, 24), V::FromFloat(0.29), {0x00, 0x1D}, 16, "SR"},
    {Dpt(9, 25), V::FromFloat(-30.0), {0x8A, 0x24}, 16, "SR"},
    {Dpt(9, 26), V::FromFloat(-671088.64), {0xF8, 0x00}, 16, "SR"},
    {Dpt(9, 27), V::FromFloat(-30.0), {0x8A, 0x24}, 16, "SR"},
    {Dpt(9, 27), V::FromFloat(-460.0), {}, 0, "s"},
    {Dpt(9, 28), V::FromFloat(670433.28), {0x7F, 0xFE}, 16, "SR"},
    // Sent as a time, read back as a time of day.
    {Dpt(10, 1), Stamp(ivtTime, 2000, 1, 1, 13, 23, 42, kTue), {0x4D, 0x17, 0x2A}, 24, "S"},
    {Dpt(10, 1), Stamp(ivtDayTime, 2000, 1, 1, 13, 23, 42, kTue), {0x4D, 0x17, 0x2A}, 24, "R"},
    {Dpt(11, 1), Stamp(ivtDate, 1990, 1, 31, 0, 0, 0), {0x1F, 0x01, 0x5A}, 24, "SR"},
    {Dpt(11, 1), Stamp(ivtDate, 2089, 12, 4, 0, 0, 0), {0x04, 0x0C, 0x59}, 24, "SR"},
    {Dpt(12, 1), V::FromDWord(4294967295u), {0xFF, 0xFF, 0xFF, 0xFF}, 32, "SR"},
    {Dpt(13, 1), V::FromInteger(-2147483647 - 1), {0x80, 0x00, 0x00, 0x00}, 32, "SR"},
    {Dpt(14, 56), V::FromFloat(397.0), {0x43, 0xC6, 0x80, 0x00}, 32, "SR"},
    {Dpt(15, 0), V::FromDWord(19088743), {0x01, 0x23, 0x45, 0x67}, 32, "SR"},
    {Dpt(16, 0), V::FromString("KNX is OK"), kKnxIsOk, 112, "SR"},
    {Dpt(16, 1), V::FromString(kGaense), kGaense14, 112, "SR"},
    // 17.x and 18.x register the integer type; their converters read bytes.
    {Dpt(17, 1), V::FromInteger(63), {0x3F}, 8, "S"},
    {Dpt(17, 1), V::FromByte(63), {0x3F}, 8, "R"},
    {Dpt(18, 1), V::FromInteger(0x80), {}, 0, "s"},
    {Dpt(18, 1), Typed(ivtInteger, 0x80), {0x80}, 8, "R"},
    // The library's own 19.001 layout when sending: byte 0 is the year's low byte, byte 6 is 20.
    {Dpt(19, 1), k2017, {0xE1, 0x0B, 0x1C, 0x17, 0x07, 0x18, 0x20, 0}, 64, "S"},
    {Dpt(19, 1), k2017, {0x75, 0x0B, 0x1C, 0x17, 0x07, 0x18, 0x24, 0}, 64, "R"},
    {Dpt(20, 1), V::FromByte(2), {0x02}, 8, "SR"},
    {Dpt(20, 102), V::FromByte(4), {0x04}, 8, "SR"},
    {Dpt(20, 102), V::FromByte(5), {0x05}, 8, "Sr"}, // only 5.006 checks its range when sending
    {Dpt(20, 103), V::FromByte(3), {0x03}, 8, "SR"},
    {Dpt(21, 1), V::FromByte(0x81), {0x81}, 8, "SR"},
    {Dpt(23, 1), V::FromByte(3), {0x03}, 8, "SR"},
    {Dpt(26, 1), V::FromByte(0x40), {0x40}, 8, "SR"},
    {Dpt(26, 1), V::FromByte(0x80), {0x80}, 8, "sr"},
    {Dpt(27, 1), V::FromDWord(0x0001FFFF), {0x00, 0x01, 0xFF, 0xFF}, 32, "SR"},
    {Dpt(236, 1), V::FromByte(5), {0x05}, 8, "SR"},
    {Dpt(232, 600), V::FromDWord(0xFF0000), {0xFF, 0x00, 0x00}, 24, "SR"},
    {Dpt(238, 600), V::FromByte(0x3F), {0x3F}, 8, "SR"},
};

// The directions of a row that do not behave as it says.
int Mismatches(const Lum::KnxValueConverter& converter, const Vector& v)
{
    const GV gv = Group(v.bytes, v.bits);
    KNXDPT to = v.dpt, from = v.dpt;
    GV sent;
    ORUVALUE read;
    const bool sendWrong =
        (v.Has('S') || v.Has('s')) &&
        (converter.ToKnxValue(to, v.value, sent) != v.Has('S') || (v.Has('S') && sent != gv));
    const bool readWrong =
        (v.Has('R') || v.Has('r')) &&
        (converter.FromKnxValue(from, gv, read) != v.Has('R') || (v.Has('R') && !(read == v.value)));
    return int{sendWrong} + int{readWrong};
}

std::string Serialised(const ORUVALUE& v, bool internalFormat = false)
{
    oru_string s;
    v.Serialize(s, internalFormat);
    return s.str();
}

} // namespace

TEST(DptVectors, EveryRowSendsAndReadsTheStandardBytes)
{
    Lum::KnxValueConverter converter;
    ASSERT_TRUE(converter.Init());
    std::set<const Lum::DptValueEntry*> sent, read;
    for (const Vector& v : kVectors)
    {
        SCOPED_TRACE(Show(v.dpt) + " " + v.way + " " + Group(v.bytes, v.bits).GetRawData().ToString());
        // Rows that only send or only read count once, for that direction.
        (v.Has('S') || v.Has('s') ? sent : read).insert(&converter.GetEntry(v.dpt));
        (v.Has('R') || v.Has('r') ? read : sent).insert(&converter.GetEntry(v.dpt));
        LumTest::LogCapture log;
        EXPECT_EQ(Mismatches(converter, v), 0);
        // A refusal says why; a conversion that works says nothing.
        EXPECT_EQ(log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).empty(), !v.Has('s') && !v.Has('r'));
    }
    EXPECT_EQ(sent.size(), 53u);
    EXPECT_EQ(read.size(), 53u);
}

TEST(DptVectors, OneConverterServesManyThreads)
{
    Lum::KnxValueConverter converter;
    ASSERT_TRUE(converter.Init());
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 4; ++t)
    {
        threads.emplace_back(
            [&converter, &wrong, t]
            {
                for (std::size_t i = 0; i < 40 * kVectors.size(); ++i)
                {
                    wrong += Mismatches(converter, kVectors[(i + t * 7) % kVectors.size()]);
                }
            });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST(LumKnxValueConverter, TextFormEdges)
{
    Lum::LumKnxValueConverter converter;
    ASSERT_TRUE(converter.Init());
    const std::string word = Serialised(V::FromWord(7)); // no default DPT of its own
    GV gv;
    LumTest::LogCapture log;
    log.SetLevel(log4cplus::INFO_LOG_LEVEL);
    EXPECT_FALSE(converter.ToKnxValue(word, 511, gv)); // only the low 8 bits of the size count
    EXPECT_FALSE(converter.ToKnxValue(word, 272, gv));
    EXPECT_FALSE(converter.ToKnxValue("not a value", 16, gv));
    EXPECT_EQ(Logged(log), (std::vector<std::string>{"20000 Could not find DPT for bit size 255",
                                                     "Invalid value type found for DPT = 9.0 val.ivt=7",
                                                     "Invalid value type found for DPT = 9.0 val.ivt=1"}));
    EXPECT_TRUE(converter.ToKnxValue(Serialised(V::FromBool(true), true), 8, gv)); // 1.001 whatever the size
    EXPECT_EQ(gv, Group({0x01}, 1));

    std::string text;
    for (const bool internalFormat : {false, true})
    {
        EXPECT_TRUE(converter.FromKnxValue(Group({0x01}, 1), text, internalFormat));
        EXPECT_EQ(text, Serialised(V::FromBool(true), internalFormat));
    }
    text = "before";
    EXPECT_FALSE(converter.FromKnxValue(Group({0xF7, 0x3B, 0x3C}, 24), text, false)); // 10.001, second 60
    EXPECT_FALSE(converter.FromKnxValue(Group({}, 16), text, false));                 // no bytes at all
    EXPECT_EQ(text, "before");
}
