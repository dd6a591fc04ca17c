#pragma once

// Converters and the KNX standard's bytes for each family, shared by the
// conversion and the trace tests.

#include <Lum/KnxConverterBitField.h>
#include <Lum/KnxConverterDateTime.h>
#include <Lum/KnxConverterFloat.h>
#include <Lum/KnxConverterInteger.h>
#include <Lum/KnxConverterScene.h>
#include <Lum/KnxConverterString.h>

#include <LogCapture.h>

#include <cstdint>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace LumTest
{
using namespace Lum;
using Bytes = std::vector<unsigned char>;

inline const auto Dpt = [](int main, int sub, int bits = 0) {
    return KNXDPT{std::uint8_t(bits), std::uint16_t(main), std::uint16_t(sub)};
};
// "0C 1A": bytes in bus order.
inline Bytes Hex(const std::string& text)
{
    Bytes out;
    std::istringstream in(text);
    for (unsigned b = 0; in >> std::hex >> b;)
        out.push_back(static_cast<unsigned char>(b));
    return out;
}
// A text's bytes padded with zeros, as a 14-byte string.
inline const auto Padded = [](std::string t) { return t.resize(14, '\0'), Bytes(t.begin(), t.end()); };
inline KnxStack::GroupValue Group(const Bytes& b, unsigned bits = 0)
{
    return KnxStack::GroupValue(KnxStack::BinaryData(b.data(), b.size()),
                                bits ? bits : static_cast<unsigned>(b.size() * 8));
}
inline Bytes RawBytes(const KnxStack::GroupValue& g)
{
    return Bytes(g.GetRawData().GetData(), g.GetRawData().GetData() + g.GetRawData().GetSize());
}
inline const auto B = [](std::uint8_t v) { return ORUVALUE::FromByte(v); };
inline const auto I = [](std::int32_t v) { return ORUVALUE::FromInteger(v); };
inline const auto W = [](std::uint16_t v) { return ORUVALUE::FromWord(v); };
inline const auto D = [](std::uint32_t v) { return ORUVALUE::FromDWord(v); };
// The payload under another type code.
inline const auto Typed = [](int type, ORUVALUE v)
{
    v.ivt = OruValueType(type);
    return v;
};
inline const auto F = [](double v) { return ORUVALUE::FromFloat(v); };
inline const auto S = [](const std::string& v) { return ORUVALUE::FromString(v); };
inline ORUVALUE DT(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, OruValueType type = ivtDateTime)
{
    ORUTIME t;
    t.Clear(true);
    t.SetDateTime(std::uint16_t(y), std::uint8_t(mo), std::uint8_t(d), std::uint8_t(h), std::uint8_t(mi),
                  std::uint8_t(s), true);
    return ORUVALUE::FromTime(type, t);
}
inline const auto DateV = [](int y, int mo, int d) { return DT(y, mo, d, 0, 0, 0, ivtDate); };
// A time of day as the time-of-day converter reads it: on 1 January 2000.
inline ORUVALUE TimeV(int h, int mi, int s, int weekMask)
{
    ORUVALUE v = DT(2000, 1, 1, h, mi, s, ivtDayTime);
    v.GetTime().weekDay = std::uint16_t(weekMask);
    v.GetTime().isLocalTime = false;
    return v;
}

inline KnxConverterDefault kDefault;
inline KnxConverter1Bit k1Bit;
inline KnxConverter2Bit k2Bit;
inline KnxConverter4Bit k4Bit(Lum::FloatIntegerRange(-100.0, 100.0, 0, 15));
inline KnxConverterByte8BitUnsigned kByte(IntegerRange(0, 255, 0, 255));
inline KnxConverterByte8BitUnsigned kPercent(IntegerRange(0, 254, 0, 254));
inline KnxConverterInteger8BitSigned kSigned8(IntegerRange(-128, 127, -128, 127));
inline KnxConverterStatus8Bit kStatus(IntegerRange(0, 255, 0, 255));
inline KnxConverterInteger16BitUnsigned kU16(IntegerRange(0, 65535, 0, 65535));
inline KnxConverterInteger16BitSigned kS16(IntegerRange(-32768, 32767, -32768, 32767));
inline KnxConverterInteger24BitUnsigned kU24(LongIntegerRange(0, 16777215, 0, 16777215));
inline KnxConverterInteger32BitUnsigned kU32(LongIntegerRange(0, 4294967295LL, 0, 4294967295LL));
inline KnxConverterInteger32BitUnsigned kU32Small(LongIntegerRange(0, 1000, 0, 1000));
inline KnxConverterInteger32BitSigned kS32(IntegerRange(INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX));
inline KnxConverterInteger32BitSigned kS32Scaled(IntegerRange(0, 100, 0, 1000));
inline KnxConverterFloat16BitFloat kF16(FloatRange(-671088.64, 670760.96, -671088.64, 670760.96));
inline KnxConverterFloat16BitFloat kTemp(FloatRange(-273.0, 670760.0, -273.0, 670760.0));
inline KnxConverterFloat32BitFloat kF32(FloatRange(-3.4e38, 3.4e38, -3.4e38, 3.4e38));
inline KnxConverter8BitString kAscii(IntegerRange(0, 127, 0, 127));
inline KnxConverter8BitString kLatin1(IntegerRange(0, 255, 0, 255));
inline KnxConverter14ByteString kText(IntegerRange(0, 127, 0, 127));
inline KnxConverter14ByteString kTextLatin1(IntegerRange(0, 255, 0, 255));
inline KnxConverter14ByteString kPrintable(IntegerRange(32, 126, 32, 126));
inline KnxConverterDate kDate;
inline KnxConverterTimeOfDay kTime;
inline KnxConverterDateTime kDateTime;
inline KnxConverterSceneNumber kNumber(IntegerRange(0, 63, 0, 63));
inline KnxConverterSceneControl kControl(IntegerRange(0, 63, 0, 63));
inline KnxConverterSceneInfo kInfo(IntegerRange(-64, 64, 0, 255));

// Reading with these writes only the payload; the value type stays the caller's.
inline const std::set<const KnxConverter*> kKeepsType = {&k1Bit,    &k4Bit, &kU24,     &kF16,
                                                         &kControl, &kInfo, &kDateTime};

enum Way
{
    Both,
    ToBus,
    FromBus
};
struct Vector
{
    KnxConverter* conv;
    Way way;
    KNXDPT dpt; // a bit size, where given, is the group value's
    ORUVALUE value;
    Bytes bytes;
};

// Both ways the standard's bytes; one way the deliberate quirks.
inline const std::vector<Vector>& Vectors()
{
    static const std::vector<Vector> v = {
        {&kDefault, ToBus, Dpt(1, 1, 1), ORUVALUE::FromBool(true), Hex("01")},
        {&kDefault, ToBus, Dpt(2, 1, 2), ORUVALUE::FromBool(true), Hex("01")},
        {&kDefault, ToBus, Dpt(232, 600, 32), D(0x12345678u), Hex("12 34 56 78")},
        {&kDefault, ToBus, Dpt(250, 1, 8), B(0xA5), Hex("A5")},
        {&kDefault, ToBus, Dpt(5, 1), Typed(ivtPercentage, F(80.0)),
         Hex("50")}, // one byte, whatever the size
        {&kDefault, ToBus, Dpt(5, 1), Typed(ivtDimming, F(80.0)), Hex("50")},
        {&k1Bit, Both, Dpt(1, 1, 1), ORUVALUE::FromBool(true), Hex("01")},
        {&k2Bit, Both, Dpt(2, 1, 2), B(3), Hex("03")},
        {&k2Bit, ToBus, Dpt(2, 1, 2), B(7), Hex("03")}, // handed to the stack unmasked
        {&k4Bit, Both, Dpt(3, 7, 4), B(0x0B), Hex("0B")},
        {&kByte, Both, Dpt(5, 1), B(128), Hex("80")}, // raw: no percent scaling
        {&kPercent, Both, Dpt(5, 6), B(254), Hex("FE")},
        {&kPercent, ToBus, Dpt(5, 1), B(255), Hex("FF")}, // the limit holds for 5.006 only
        {&kByte, ToBus, Dpt(9, 1), B(42), Hex("2A")},     // main number not checked
        {&kSigned8, Both, Dpt(6, 10), I(-128), Hex("80")},
        {&kSigned8, ToBus, Dpt(6, 1), I(0x1FF), Hex("FF")}, // low 8 bits, no range test
        {&kSigned8, FromBus, Dpt(1, 1), I(-1), Hex("FF")},  // nothing checked
        {&kStatus, Both, Dpt(6, 20), B(0x6A), Hex("6A")},
        {&kStatus, ToBus, Dpt(9, 1), B(0x02), Hex("02")}, // main 6, sub 20 or a byte suffices
        {&kStatus, ToBus, Dpt(99, 20), Typed(ivtWord, D(0x01)), Hex("01")},
        {&kU16, Both, Dpt(7, 1), W(65535), Hex("FF FF")},
        {&kU16, ToBus, Dpt(9, 1), W(0xABCD), Hex("AB CD")}, // main or type suffices
        {&kU16, ToBus, Dpt(7, 1), B(0x12), Hex("00 12")},
        {&kS16, Both, Dpt(8, 1), I(-32768), Hex("80 00")},
        {&kS16, ToBus, Dpt(8, 1), I(0x18000), Hex("80 00")}, // no range test
        {&kU24, Both, Dpt(232, 600), D(0xFF0000u), Hex("FF 00 00")},
        {&kU24, ToBus, Dpt(1, 1), Typed(ivtWord, D(0xAB123456u)), Hex("12 34 56")}, // top byte dropped
        {&kU32, Both, Dpt(12, 1), D(19088743), Hex("01 23 45 67")},
        {&kU32, Both, Dpt(99, 1), D(4294967295u), Hex("FF FF FF FF")}, // DPT not checked
        {&kS32, Both, Dpt(13, 10), I(INT32_MIN), Hex("80 00 00 00")},
        {&kS32, ToBus, Dpt(14, 1), I(-1), Hex("FF FF FF FF")},      // main or type suffices
        {&kS32Scaled, ToBus, Dpt(13, 1), I(5), Hex("00 00 00 32")}, // scaled towards the bus only
        {&kS32Scaled, FromBus, Dpt(13, 1), I(50), Hex("00 00 00 32")},
        {&kF16, Both, Dpt(9, 1), F(20.48), Hex("0C 00")},
        {&kF16, Both, Dpt(9, 1), F(0.29), Hex("00 1D")},
        {&kF16, Both, Dpt(9, 1), F(670433.28), Hex("7F FE")},
        {&kF16, Both, Dpt(9, 1), F(-671088.64), Hex("F8 00")},
        {&kF16, ToBus, Dpt(9, 1), F(735.763), Hex("34 7E")},
        {&kF16, FromBus, Dpt(9, 1), F(736.0), Hex("34 7E")},
        {&kF16, FromBus, Dpt(9, 1), F(-20.48), Hex("80 00")}, // not normalised
        {&kF16, FromBus, Dpt(9, 1), F(-20.48), Hex("8C 00")},
        {&kTemp, ToBus, Dpt(9, 1), Typed(ivtUnset, D(0)), Hex("7F FF")}, // empty: the invalid marker
        {&kF16, ToBus, Dpt(5, 1), F(5.0), Hex("01 F4")},                 // a float anywhere, any type on 9.x
        {&kF16, ToBus, Dpt(9, 1), Typed(777, D(0)), Hex("00 00")},       // a type without a text form
        {&kF32, Both, Dpt(14, 68), F(397.0), Hex("43 C6 80 00")},
        {&kF32, ToBus, Dpt(14, 1), Typed(ivtUnset, D(0)), Hex("7F C0 00 00")}, // quiet NaN
        {&kF32, ToBus, Dpt(14, 1), F(0.1), Hex("3D CC CC CD")},                // rounded to nearest
        {&kF32, ToBus, Dpt(14, 1), F(1e39), Hex("7F 80 00 00")},               // beyond the range: no test
        {&kAscii, Both, Dpt(4, 1), S("A"), Hex("41")},
        {&kAscii, Both, Dpt(4, 1), S(std::string(1, '\0')), Hex("00")},
        {&kAscii, ToBus, Dpt(4, 1), S(""), Hex("00")},
        {&kAscii, ToBus, Dpt(4, 1), S("Hello"), Hex("48")}, // the first character only
        {&kLatin1, Both, Dpt(4, 2), S("\xC3\xA9"), Hex("E9")},
        {&kText, Both, Dpt(16, 0), S("KNX is OK"), Hex("4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00")},
        {&kText, Both, Dpt(16, 0), S(""), Padded("")},
        {&kTextLatin1, Both, Dpt(16, 1), S("G\303\244nsef\303\274\303\237chen"),
         Hex("47 E4 6E 73 65 66 FC DF 63 68 65 6E 00 00")},
        {&kPrintable, ToBus, Dpt(16, 0), S("a\tb"), Padded("a_b")}, // silently
        {&kText, ToBus, Dpt(4, 1), S("x"), Padded("x")},            // main or type suffices
        {&kDate, Both, Dpt(11, 1), DateV(1990, 1, 31), Hex("1F 01 5A")},
        {&kDate, Both, Dpt(11, 1), DateV(2089, 12, 31), Hex("1F 0C 59")},
        {&kDate, ToBus, Dpt(12, 2), DateV(2000, 2, 29), Hex("1D 02 00")}, // main 11, sub 1 or the date type
        {&kDate, ToBus, Dpt(99, 1), DT(2000, 2, 29), Hex("1D 02 00")},
        {&kTime, Both, Dpt(10, 1), TimeV(13, 23, 42, OruWeekDays::WEEK_DAY_TUESDAY), Hex("4D 17 2A")},
        {&kTime, Both, Dpt(10, 1), TimeV(23, 59, 59, OruWeekDays::WEEK_DAY_SUNDAY), Hex("F7 3B 3B")},
        {&kTime, ToBus, Dpt(10, 1), TimeV(13, 0, 0, 3), Hex("0D 00 00")}, // two weekdays: no day
        // 19.001 sends the year's own low byte (2024: E8), which reads back as 2132.
        {&kDateTime, ToBus, Dpt(1, 1), DT(2024, 5, 6, 7, 8, 9), Hex("E8 05 06 07 08 09 20 00")},
        {&kDateTime, FromBus, Dpt(1, 1), DT(2132, 5, 6, 7, 8, 9), Hex("E8 05 06 07 08 09 20 00")},
        {&kDateTime, FromBus, Dpt(19, 1), DT(2017, 11, 28, 23, 7, 24), Hex("75 0B 1C 17 07 18 24 00")},
        {&kDateTime, FromBus, Dpt(19, 1), DT(2017, 11, 28, 23, 7, 24), Hex("75 0B 1C F7 07 18 FF FF")},
        {&kNumber, Both, Dpt(17, 1), B(63), Hex("3F")},
        {&kNumber, ToBus, Dpt(5, 1), B(12), Hex("0C")},    // the byte type alone suffices
        {&kControl, Both, Dpt(18, 1), B(0x80), Hex("80")}, // learn scene 0
        {&kInfo, Both, Dpt(26, 1), B(0x40), Hex("40")},    // scene 0 inactive
    };
    return v;
}

} // namespace LumTest
