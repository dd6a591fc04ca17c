// Group values by packed DPT: the standard's bytes, the log lines callers depend on, the main-type table.

#include <Lum/GroupValueOruValue.h>
#include <Lum/KnxPelMapping.h>

#include "LogCapture.h"

#include <boost/algorithm/hex.hpp>
#include <boost/algorithm/string/erase.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace
{
using namespace KnxStack;
using LumTest::LogCapture;
using namespace Lum::KnxPelMapping;

const auto B = [](std::uint8_t v) { return ORUVALUE::FromByte(v); };
const auto D = [](std::uint32_t v) { return ORUVALUE::FromDWord(v); };
const auto I = [](std::int32_t v) { return ORUVALUE::FromInteger(v); };
const auto F = [](double v) { return ORUVALUE::FromFloat(v); };
const auto S = [](const std::string& v) { return ORUVALUE::FromString(v); };
const auto T = [](OruValueType type, const ORUTIME& t) { return ORUVALUE::FromTime(type, t); };
const auto Name = [](OruValueType type) { return std::string(ORUVALUE::GetNameFromValueType(type)); };

unsigned long Dpt(unsigned main, unsigned sub)
{
    return (static_cast<unsigned long>(main) << 16) | sub;
}

std::string Hex(const BinaryData& data)
{
    return boost::algorithm::hex(std::string(data.GetData(), data.GetData() + data.GetSize()));
}

GroupValue Group(const std::string& hex, unsigned bits)
{
    const std::string bytes = boost::algorithm::unhex(boost::algorithm::erase_all_copy(hex, " "));
    return GroupValue(BinaryData(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()), bits);
}

// The group value as bytes and size, or "none".
#define ENCODE(value, dpt)                                                                                   \
    [=]                                                                                                      \
    {                                                                                                        \
        const auto gv = Lum::OruValueToGroupValue(value, dpt);                                               \
        return gv ? Hex(gv->GetRawData()) + "/" + std::to_string(gv->GetDefinedSize()) : "none";             \
    }
#define DECODE(hex, bits, dpt)                                                                               \
    [] { return Lum::GroupValueToOruValue(Group(hex, bits), dpt) ? "value" : "none"; }

TEST(GroupValueOruValue, StandardBytesWithoutWarnings)
{
    // 19.001 2017-11-28 23:07:24: the standard sends no weekday and "working day not valid" (75 0B 1C 17 07
    // 18 24 00). This encoder takes the weekday from the date (never from the weekday field), a Tuesday: bits
    // 010 join hour 17 (57) and NDoW is cleared, leaving NWD (24 -> 20).
    const auto W = [](std::uint16_t v) { return ORUVALUE::FromWord(v); };
    const auto DT = [](const ORUTIME& t) { return ORUVALUE::FromTime(ivtDateTime, t); };
    // Encoded to the bytes and decoded back to the value ('b'), or one way only ('e', 'd').
    // clang-format off
    const struct { ORUVALUE value; unsigned long dpt; const char* bytes; unsigned bits; char way; } rows[] = {
        {ORUVALUE::FromBool(true), Dpt(1, 1), "01", 1, 'b'}, {B(3), Dpt(2, 1), "03", 2, 'b'},
        {B(0x0B), Dpt(3, 7), "0B", 4, 'b'}, {B(0xC8), Dpt(5, 1), "C8", 8, 'b'},
        {B(0xFF), Dpt(6, 10), "FF", 8, 'b'},
        {B(0x6A), Dpt(6, 20), "6A", 8, 'b'}, {W(65535), Dpt(7, 1), "FF FF", 16, 'b'},
        {I(-32768), Dpt(8, 1), "80 00", 16, 'b'}, {F(21.0), Dpt(9, 1), "0C 1A", 16, 'b'},
        {F(0.29), Dpt(9, 1), "00 1D", 16, 'e'}, {F(-20.48), Dpt(9, 1), "8C 00", 16, 'd'},
        {T(ivtDayTime, {2000, 1, 1, 13, 23, 42, 0, 2}), Dpt(10, 1), "4D 17 2A", 24, 'b'},
        {T(ivtDayTime, {2000, 1, 1, 23, 59, 59, 0, 64}), Dpt(10, 1), "F7 3B 3B", 24, 'b'},
        {T(ivtDayTime, {2000, 1, 1}), Dpt(10, 1), "00 00 00", 24, 'b'},
        {T(ivtDate, {2002, 1, 4, 0, 0, 0, 0, 16, 4}), Dpt(11, 1), "04 01 02", 24, 'b'},
        {T(ivtDate, {1990, 1, 31}), Dpt(11, 1), "1F 01 5A", 24, 'e'},
        {D(19088743), Dpt(12, 1), "01 23 45 67", 32, 'b'}, {I(INT32_MIN), Dpt(13, 1), "80 00 00 00", 32, 'b'},
        {I(-1), Dpt(13, 1), "FF FF FF FF", 32, 'b'}, {F(397.0), Dpt(14, 0), "43 C6 80 00", 32, 'b'},
        {F(std::nan("")), Dpt(14, 1), "7F C0 00 00", 32, 'b'},
        {D(0xA5A50F0F), Dpt(27, 1), "A5 A5 0F 0F", 32, 'b'},
        {S("G\xC3\xA4nsef\xC3\xBC\xC3\x9F" "chen"), Dpt(16, 1),
         "47 E4 6E 73 65 66 FC DF 63 68 65 6E 00 00", 112, 'b'},
        {B(63), Dpt(17, 1), "3F", 8, 'b'},
        {DT({2017, 11, 28, 23, 7, 24}), Dpt(19, 1), "75 0B 1C 57 07 18 20 00", 64, 'e'},
        {DT({2017, 11, 28, 23, 7, 24, 0, 2, 332}), Dpt(19, 1), "75 0B 1C 17 07 18 24 00", 64, 'd'},
        {DT({1900, 1, 1}), Dpt(19, 1), "00 01 01 20 00 00 20 00", 64, 'e'}, // Monday: weekday 001
        {DT({2017, 7, 4, 12, 30, 0, 0, 0, 0, false, true}), Dpt(19, 1), "75 07 04 4C 1E 00 21 00", 64, 'e'},
        {DT({2155, 12, 31, 23, 59, 59, 0, 1}), Dpt(19, 1), "FF 0C 1F 77 3B 3B 20 00", 64, 'e'},
        {D(0xFF0000), Dpt(232, 600), "FF 00 00", 24, 'b'},
        {D(0x12345678), Dpt(232, 600), "34 56 78", 24, 'e'},
        {W(0x5A5A), Dpt(234, 1), "5A 5A", 16, 'e'}, {B(0x81), Dpt(238, 600), "81", 8, 'e'},
        {B(5), Dpt(31, 1), "0D", 3, 'd'},
        // Typed, but not decoded here: the empty value, not none.
        {ORUVALUE(), Dpt(24, 1), "41 42 00", 24, 'd'}, {ORUVALUE(), Dpt(30, 1010), "00 00 01", 24, 'd'}};
    // clang-format on
    for (const auto& row : rows)
    {
        LogCapture log;
        const std::string hex = boost::algorithm::erase_all_copy(std::string(row.bytes), " ");
        EXPECT_TRUE(row.way == 'd' || ENCODE(row.value, row.dpt)() == hex + "/" + std::to_string(row.bits))
            << row.bytes;
        const auto decoded = [&] { return Lum::GroupValueToOruValue(Group(row.bytes, row.bits), row.dpt); };
        EXPECT_TRUE(row.way == 'e' || decoded() == row.value) << row.bytes;
        // The converter may note that it takes the main numbers it does not know as they are.
        EXPECT_TRUE(row.value.ivt == ivtEmpty || row.dpt >> 16 == 31 ||
                    log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).empty())
            << row.bytes;
    }
}

// Each failure ends with its own line at ERROR, once (or logs nothing where the row says so); a 16-bit value
// out of range is clamped after its line and still sent.
TEST(GroupValueOruValue, LinesOnce)
{
    const ORUTIME badTime{2000, 1, 2, 25, 'A', 0, 0, 3, 2, true}; // two weekday bits
    ORUVALUE big = D(65536), huge = D(4294967295u);
    big.ivt = huge.ivt = ivtWord;
    const std::string nul(1, '\0'), empty = ORUVALUE().ToString();
    // clang-format off
    const struct { std::function<std::string()> call; const char* result; std::string message; } rows[] = {
        {ENCODE(big, Dpt(7, 1)), "FFFF/16", "Value out of range: 65536 (DPT 7)"},
        {ENCODE(huge, Dpt(237, 600)), "FFFF/16", "Value out of range: 4294967295 (DPT 237)"},
        {ENCODE(I(-40000), Dpt(8, 1)), "8000/16", "Value out of range: -40000 (DPT 8)"},
        {ENCODE(I(32768), Dpt(8, 1)), "7FFF/16", "Value out of range: 32768 (DPT 8)"},
        {ENCODE(B(1), Dpt(9, 1)), "none",
         "Value type mismatch: Expected '" + Name(ivtFloat) + "', got '" + Name(ivtByte) + "'"},
        {ENCODE(S("abc"), Dpt(4, 1)), "none",
         "Value type mismatch: Expected '" + Name(ivtEmpty) + "', got '" + Name(ivtString) + "'"},
        {ENCODE(B(64), Dpt(17, 1)), "none", ""}, {ENCODE(F(HUGE_VAL), Dpt(9, 1)), "none", ""},
        {ENCODE(F(std::nan("")), Dpt(9, 1)), "none", ""},
        {ENCODE(T(ivtDayTime, badTime), Dpt(10, 1)), "none",
         "Could not convert ORUTIME 2000 \x01 \x02 \x19 A " + nul + " " + nul + " 3 2 1 0 to TimeOfDay"},
        {ENCODE(T(ivtDate, {2021, 2, 30}), Dpt(11, 1)), "none", "Not a valid date: 2021 \x02 \x1E"},
        {ENCODE(S("a\xFF"), Dpt(16, 1)), "none", "Got ORUVALUE that contains a non-UTF8 string"},
        {ENCODE(S("abc"), Dpt(24, 1)), "none",
         "Value type " + Name(ivtString) + " not supported (dwDPT=1572865 with value='ivt: 10, ToString(): "
         "abc')."},
        {ENCODE(ORUVALUE(), Dpt(99, 1)), "none",
         "Value type " + Name(ivtEmpty) + " not supported (dwDPT=6488065 with value='ivt: 1, ToString(): " +
             empty + "')."},
        // Dates that the calendar or the DPT layouts cannot carry: one line of the date library's.
        {ENCODE(T(ivtDateTime, {1899, 12, 31}), Dpt(19, 1)), "none", "*"},
        {ENCODE(T(ivtDateTime, {2156, 1, 1}), Dpt(19, 1)), "none", "*"},
        {ENCODE(T(ivtDate, {1989, 12, 31}), Dpt(11, 1)), "none", "*"},
        {DECODE("41", 8, Dpt(4, 1)), "none", "Unsupported DPT: 4.1"},
        {DECODE("00 00 0C 1A", 32, Dpt(9, 1)), "none", "Received invalid value 00 00 0C 1A for DPT 9.1"},
        {DECODE("F7 3B 3C", 24, Dpt(10, 1)), "none", "Received invalid value F7 3B 3C for DPT 10.1"},
        {DECODE("04 00 59", 24, Dpt(11, 1)), "none", "Received invalid value 04 00 59 for DPT 11.1"}};
    // clang-format on
    for (const auto& row : rows)
    {
        LogCapture log;
        EXPECT_EQ(row.call(), row.result) << row.message;
        const std::vector<std::string> lines = log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL);
        const bool any = row.message == "*" && lines.size() == 1;
        EXPECT_EQ(any || lines.empty() ? "" : lines.back(), any ? "" : row.message);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), row.message),
                  row.message.empty() || row.message == "*" ? 0 : 1);
        // The row's own line comes from the function the caller called, not from a helper of it.
        const std::vector<LumTest::LogLine> all = log.Lines();
        if (!row.message.empty() && !all.empty())
        {
            const std::string& line = all.back().line;
            EXPECT_TRUE(line.rfind("OruValueToGroupValue (", 0) == 0 ||
                        line.rfind("GroupValueToOruValue (", 0) == 0)
                << line;
        }
    }
}

// Hostile sizes never crash nor read past the bytes; the check builds the converter.
TEST(GroupValueOruValue, ShortDataAndTheCheck)
{
    // The check through the converter refuses a short date before the decoder's own length test.
    LogCapture log;
    EXPECT_FALSE(Lum::GroupValueToOruValue(Group("04 01", 24), Dpt(11, 1)));
    EXPECT_EQ(log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).back(),
              "Received invalid value 04 01 for DPT 11.1");
    for (unsigned main = 1; main < 256; ++main)
    {
        for (const unsigned bits : {0u, 1u, 8u, 16u, 24u, 32u, 64u, 112u})
        {
            log.Clear();
            const auto value = Lum::GroupValueToOruValue(GroupValue(BinaryData(), bits), Dpt(main, 1));
            EXPECT_TRUE(value ? value->ivt == ivtEmpty : !log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL).empty())
                << main << " " << bits;
        }
    }
    EXPECT_TRUE(Lum::CheckGroupValue(Group("0C 1A", 16), Dpt(9, 1)));
    EXPECT_TRUE(log.Contains(log4cplus::DEBUG_LOG_LEVEL, "DPT is 9.1 with bit size 16"));
    EXPECT_FALSE(Lum::CheckGroupValue(Group("FF", 8), Dpt(6, 20)));    // mode 111
    EXPECT_TRUE(Lum::CheckGroupValue(Group("12 34", 16), Dpt(99, 1))); // unknown to the converter: as it is
}

// The main-type table behind the value-type check: its edge cases and deliberate oddities.
TEST(MainTypeTable, EdgeCasesAndQuirks)
{
    const auto Default = [](unsigned long dpt, bool flag)
    { return GetDefaultValueFromDpt(dpt, flag).value_or("none"); };
    const auto Text = [](const ORUVALUE& v, bool flag)
    {
        oru_string text;
        v.Serialize(text, flag);
        return text.str();
    };
    const auto Ivt = [](unsigned long dpt)
    { return std::to_string(GetIvtFromDpt(static_cast<unsigned>(dpt))); };
    const auto Sub = [](int sub)
    { return std::string(OruDP::GetNameFromValueSubType(static_cast<OruDP::OruValueSubType>(sub))); };
    const unsigned long high = static_cast<unsigned long>(0xFFFFFFFFu) + 1ul; // 0 where long has 32 bits
    for (const bool f : {false, true})
    {
        // clang-format off
        const std::pair<std::string, std::string> rows[] = {
            {Ivt(589825) + Ivt(393236) + Ivt(Dpt(4, 1)) + Ivt(Dpt(99, 1)) + Ivt(Dpt(19, 0xFFFF)), "361113"},
            {GetIvtFromMainType(9), Name(ivtFloat)}, {GetIvtFromMainType(10), Name(ivtDayTime)},
            {GetIvtFromMainType(0) + GetIvtFromMainType(32) + GetIvtFromMainType(Dpt(9, 1)),
             "EmptyEmptyEmpty"},
            {GetIstFromMainType(1) + GetIstFromMainType(6) + GetIstFromMainType(8),
             Sub(2001) + Sub(9) + Sub(12)},
            {GetIstFromMainType(9) + GetIstFromMainType(33), "GenericGeneric"},
            {Default(393236, f), Text(B(1), f)}, {Default(Dpt(6, 10), f), Text(B(0), f)},
            {Default(Dpt(234, 1), f), Text(ORUVALUE::FromWord(23130), f)},
            {Default(Dpt(4, 1), f), Text(ORUVALUE(), f)},
            {Default(Dpt(10, 1), f), Text(T(ivtDayTime, {2000, 1, 1}), f)},
            // 1990-01-01 and 1900-01-01 were Mondays (mask 1).
            {Default(Dpt(11, 1), f), Text(T(ivtDate, {1990, 1, 1, 0, 0, 0, 0, 1, 1}), f)},
            {Default(Dpt(19, 1), f), Text(T(ivtDateTime, {1900, 1, 1, 0, 0, 0, 0, 1, 1}), f)},
            {Default(Dpt(16, 0), f) + Default(Dpt(16, 1), f), Text(S(""), f) + Text(S(""), f)},
            {Default(Dpt(33, 1), f), "none"}, {Default(high + Dpt(9, 1), f), Text(F(0), f)}};
        // clang-format on
        for (const auto& row : rows)
            EXPECT_EQ(row.first, row.second);
    }
    int count = 0; // exactly the table's 43 main numbers, nothing borrowed from a neighbour
    for (unsigned main = 0; main <= 0xFFFF; ++main)
        count += GetDefaultValueFromDpt(Dpt(main, 1), false) ? 1 : 0;
    EXPECT_EQ(count, 43);
}

} // namespace
