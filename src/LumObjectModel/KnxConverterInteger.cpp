#include "KnxConverterLog.h"

#include <Lum/KnxConverterInteger.h>

namespace Lum
{

namespace
{
template <typename Range, typename T> bool WithinInternal(const Range& range, T v)
{
    return range.m_internalMin <= v && v <= range.m_internalMax;
}
} // namespace

// --- 5.x: raw byte, no percent or angle scaling -------------------------------

bool KnxConverterByte8BitUnsigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                              KnxStack::GroupValue& group)
{
    return Detail::Convert(
        LUM_CONVERTER_SITE, dpt, value, {value.ivt != ivtByte, "Wrong oru value type (ivtByte)!"},
        [&](const Detail::ConverterSite& site)
        {
            const std::int32_t byte = value.GetByte();
            if (dpt.mainNumber == 5 && dpt.subNumber == 6 && !WithinInternal(m_range, byte))
                return Detail::Reject(site, "Value out of raw range [0..254] for DPT 5.006: ", byte);
            group.SetAsUnsigned8(static_cast<unsigned char>(byte));
            return true;
        });
}

bool KnxConverterByte8BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group, Detail::kTakesAll,
                           [&](const Detail::ConverterSite& site)
                           {
                               const std::int32_t byte = group.GetAsUnsigned8();
                               if (!WithinInternal(m_range, byte))
                                   return Detail::Reject(site, "Value out of raw range ", m_range,
                                                         " for DPT ", Detail::DptText{dpt}, "; value was ",
                                                         byte);
                               value.ivt = ivtByte;
                               value.SetByte(static_cast<std::uint8_t>(byte));
                               return true;
                           });
}

KnxConverter* KnxConverterByte8BitUnsigned::Clone() const
{
    return new KnxConverterByte8BitUnsigned(*this);
}

// --- 6.x ---------------------------------------------------------------------

bool KnxConverterInteger8BitSigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                               KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 6 || value.ivt != ivtInteger,
                            "Wrong oru value type (ivtInteger) or DPT main number (6.x)!"},
                           [&] { group.SetAsSigned8(static_cast<signed char>(value.GetInteger())); });
}

bool KnxConverterInteger8BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                 ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group, Detail::kTakesAll,
                           [&]
                           {
                               const std::int32_t v = group.GetAsSigned8();
                               value.ivt = ivtInteger;
                               value.SetInteger(v);
                           });
}

KnxConverter* KnxConverterInteger8BitSigned::Clone() const
{
    return new KnxConverterInteger8BitSigned(*this);
}

// --- 6.020 -------------------------------------------------------------------

namespace
{
bool IsValidStatusMode(const Detail::ConverterSite& site, const KNXDPT& dpt, unsigned mode)
{
    // Exactly one of the three mode bits.
    if (mode == 1 || mode == 2 || mode == 4)
        return true;
    return Detail::Reject(site, "The internal value of DPT=", Detail::DptText{dpt}, ", f=", mode,
                          " is out of the allowed range.");
}
} // namespace

bool KnxConverterStatus8Bit::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 6 && dpt.subNumber != 20 && value.ivt != ivtByte,
                            "Wrong oru value type (ivtByte) or DPT main number (6.020)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               // The mode is read back from the group value, so the byte is written
                               // first and stays written when the mode is rejected.
                               group.SetAsUnsigned8(value.GetByte());
                               return IsValidStatusMode(site, dpt, group.GetAsUnsigned3());
                           });
}

bool KnxConverterStatus8Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                          ORUVALUE& value)
{
    return Detail::Convert(
        LUM_CONVERTER_SITE, dpt, group,
        {dpt.mainNumber != 6 && dpt.subNumber != 20, "Wrong DPT main number (6.020)!"},
        [&](const Detail::ConverterSite& site)
        {
            if (!IsValidStatusMode(site, dpt, static_cast<unsigned>(group.GetAsSigned8()) & 7u))
                return false;
            const unsigned char byte = group.GetAsUnsigned8();
            value.ivt = ivtByte;
            value.SetByte(byte);
            return true;
        });
}

KnxConverter* KnxConverterStatus8Bit::Clone() const
{
    return new KnxConverterStatus8Bit(*this);
}

// --- 7.x ---------------------------------------------------------------------

bool KnxConverterInteger16BitUnsigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                  KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 7 && value.ivt != ivtWord,
                            "Wrong DPT main number (7.x) or oru value type (ivtWord)!"},
                           [&] { group.SetAsUnsigned16(value.GetWord()); });
}

bool KnxConverterInteger16BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                    ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group,
                           {dpt.mainNumber != 7, "Wrong DPT main number (7.x)!"},
                           [&]
                           {
                               const unsigned short word = group.GetAsUnsigned16();
                               value.ivt = ivtWord;
                               value.SetWord(word);
                           });
}

KnxConverter* KnxConverterInteger16BitUnsigned::Clone() const
{
    return new KnxConverterInteger16BitUnsigned(*this);
}

// --- 8.x ---------------------------------------------------------------------

bool KnxConverterInteger16BitSigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 8 && value.ivt != ivtInteger,
                            "Wrong DPT main number (8.x) or oru value type (ivtInteger)!"},
                           [&] { group.SetAsSigned16(static_cast<short>(value.GetInteger())); });
}

bool KnxConverterInteger16BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                  ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group,
                           {dpt.mainNumber != 8, "Wrong DPT main number (8.x)!"},
                           [&]
                           {
                               const std::int32_t v = group.GetAsSigned16();
                               value.ivt = ivtInteger;
                               value.SetInteger(v);
                           });
}

KnxConverter* KnxConverterInteger16BitSigned::Clone() const
{
    return new KnxConverterInteger16BitSigned(*this);
}

// --- 24-bit counters ---------------------------------------------------------

bool KnxConverterInteger24BitUnsigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                  KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value, Detail::kTakesAll,
                           [&]
                           {
                               const std::uint32_t v = value.GetDWord();
                               const unsigned char bytes[3] = {static_cast<unsigned char>((v >> 16) & 0xFFu),
                                                               static_cast<unsigned char>((v >> 8) & 0xFFu),
                                                               static_cast<unsigned char>(v & 0xFFu)};
                               group = KnxStack::GroupValue(KnxStack::BinaryData(bytes, sizeof bytes), 24);
                           });
}

bool KnxConverterInteger24BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                    ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group, Detail::kTakesAll,
                           [&] { value.SetDWord(group.GetRawData().GetUInt32Value(0)); });
}

KnxConverter* KnxConverterInteger24BitUnsigned::Clone() const
{
    return new KnxConverterInteger24BitUnsigned(*this);
}

// --- 12.x and 13.x -----------------------------------------------------------

namespace
{
template <typename Range, typename T>
bool IsInternalValue(const Detail::ConverterSite& site, const KNXDPT& dpt, const ORUVALUE& value,
                     const Range& range, T v)
{
    if (WithinInternal(range, v))
        return true;
    return Detail::Reject(site, "The internal value of DPT=", Detail::DptText{dpt},
                          ", ivt=", static_cast<int>(value.ivt), " is out of range: ", v);
}
} // namespace

bool KnxConverterInteger32BitUnsigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                  KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {value.ivt != ivtDWord, "Wrong oru value type (ivtDWord)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               const std::int64_t v = value.GetDWord();
                               if (!IsInternalValue(site, dpt, value, m_range, v))
                                   return false;
                               group.SetAsUnsigned32(static_cast<std::uint32_t>(v));
                               return true;
                           });
}

bool KnxConverterInteger32BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                    ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group, Detail::kTakesAll,
                           [&](const Detail::ConverterSite& site)
                           {
                               // Through uint32_t: unsigned long is 64 bits wide on x86-64 only.
                               const std::int64_t v = static_cast<std::uint32_t>(group.GetAsUnsigned32());
                               if (!IsInternalValue(site, dpt, value, m_range, v))
                                   return false;
                               value.SetDWord(static_cast<std::uint32_t>(v));
                               value.ivt = ivtDWord;
                               return true;
                           });
}

KnxConverter* KnxConverterInteger32BitUnsigned::Clone() const
{
    return new KnxConverterInteger32BitUnsigned(*this);
}

// 13.x: the one integer family that scales, and only towards the bus.

bool KnxConverterInteger32BitSigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 13 && value.ivt != ivtInteger,
                            "Wrong DPT main number (13.x) or oru value type (ivtInteger)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               const std::int32_t v = value.GetInteger();
                               if (!IsInternalValue(site, dpt, value, m_range, v))
                                   return false;
                               group.SetAsSigned32(ScaleToExternal(m_range, v));
                               return true;
                           });
}

bool KnxConverterInteger32BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                  ORUVALUE& value)
{
    return Detail::Convert(
        LUM_CONVERTER_SITE, dpt, group, {dpt.mainNumber != 13, "Wrong DPT main number (13.x)!"},
        [&](const Detail::ConverterSite& site)
        {
            // The bus value is tested against the internal bounds and not unscaled.
            const auto v = static_cast<std::int32_t>(group.GetAsSigned32());
            if (!WithinInternal(m_range, v))
                return Detail::Reject(site, "The group value of DPT=", Detail::DptText{dpt},
                                      " is out of range: ", v);
            value.SetInteger(v);
            value.ivt = ivtInteger;
            return true;
        });
}

KnxConverter* KnxConverterInteger32BitSigned::Clone() const
{
    return new KnxConverterInteger32BitSigned(*this);
}

} // namespace Lum
