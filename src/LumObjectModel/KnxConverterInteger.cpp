#include "KnxConverterLog.h"

#include <Lum/KnxConverterInteger.h>

namespace Lum
{

namespace
{
// Exactly one of the three mode bits of a 6.020 status byte.
bool IsValidStatusMode(unsigned mode)
{
    return mode == 1 || mode == 2 || mode == 4;
}

template <typename Range, typename T> bool WithinInternal(const Range& range, T v)
{
    return range.m_internalMin <= v && v <= range.m_internalMax;
}
} // namespace

// --- 5.x: raw byte, no percent or angle scaling -------------------------------

bool KnxConverterByte8BitUnsigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                              KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (value.ivt != ivtByte)
    {
        LUM_LOG_ERROR("Wrong oru value type (ivtByte)!");
        return false;
    }
    const std::int32_t byte = value.GetByte();
    if (dpt.mainNumber == 5 && dpt.subNumber == 6 && !WithinInternal(m_range, byte))
    {
        LUM_LOG_ERROR("Value out of raw range [0..254] for DPT 5.006: " << byte);
        return false;
    }
    group.SetAsUnsigned8(static_cast<unsigned char>(byte));
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterByte8BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    const std::int32_t byte = group.GetAsUnsigned8();
    if (!WithinInternal(m_range, byte))
    {
        LUM_LOG_ERROR("Value out of raw range " << m_range << " for DPT " << Detail::DptText{dpt}
                                                << "; value was " << byte);
        return false;
    }
    value.ivt = ivtByte;
    value.SetByte(static_cast<std::uint8_t>(byte));
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterByte8BitUnsigned::Clone() const
{
    return new KnxConverterByte8BitUnsigned(*this);
}

// --- 6.x ---------------------------------------------------------------------

bool KnxConverterInteger8BitSigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                               KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 6 || value.ivt != ivtInteger)
    {
        LUM_LOG_ERROR("Wrong oru value type (ivtInteger) or DPT main number (6.x)!");
        return false;
    }
    group.SetAsSigned8(static_cast<signed char>(value.GetInteger()));
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterInteger8BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                 ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    const std::int32_t v = group.GetAsSigned8();
    value.ivt = ivtInteger;
    value.SetInteger(v);
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterInteger8BitSigned::Clone() const
{
    return new KnxConverterInteger8BitSigned(*this);
}

// --- 6.020 -------------------------------------------------------------------

bool KnxConverterStatus8Bit::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 6 && dpt.subNumber != 20 && value.ivt != ivtByte)
    {
        LUM_LOG_ERROR("Wrong oru value type (ivtByte) or DPT main number (6.020)!");
        return false;
    }
    // The mode is read back from the group value, so the byte is written first
    // and stays written when the mode is rejected.
    group.SetAsUnsigned8(value.GetByte());
    const unsigned mode = group.GetAsUnsigned3();
    if (!IsValidStatusMode(mode))
    {
        LUM_LOG_ERROR("The internal value of DPT=" << Detail::DptText{dpt} << ", f=" << mode
                                                   << " is out of the allowed range.");
        return false;
    }
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterStatus8Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                          ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 6 && dpt.subNumber != 20)
    {
        LUM_LOG_ERROR("Wrong DPT main number (6.020)!");
        return false;
    }
    const unsigned mode = static_cast<unsigned>(group.GetAsSigned8()) & 7u;
    if (!IsValidStatusMode(mode))
    {
        LUM_LOG_ERROR("The internal value of DPT=" << Detail::DptText{dpt} << ", f=" << mode
                                                   << " is out of the allowed range.");
        return false;
    }
    const unsigned char byte = group.GetAsUnsigned8();
    value.ivt = ivtByte;
    value.SetByte(byte);
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterStatus8Bit::Clone() const
{
    return new KnxConverterStatus8Bit(*this);
}

// --- 7.x ---------------------------------------------------------------------

bool KnxConverterInteger16BitUnsigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                  KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 7 && value.ivt != ivtWord)
    {
        LUM_LOG_ERROR("Wrong DPT main number (7.x) or oru value type (ivtWord)!");
        return false;
    }
    group.SetAsUnsigned16(value.GetWord());
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterInteger16BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                    ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 7)
    {
        LUM_LOG_ERROR("Wrong DPT main number (7.x)!");
        return false;
    }
    const unsigned short word = group.GetAsUnsigned16();
    value.ivt = ivtWord;
    value.SetWord(word);
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterInteger16BitUnsigned::Clone() const
{
    return new KnxConverterInteger16BitUnsigned(*this);
}

// --- 8.x ---------------------------------------------------------------------

bool KnxConverterInteger16BitSigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 8 && value.ivt != ivtInteger)
    {
        LUM_LOG_ERROR("Wrong DPT main number (8.x) or oru value type (ivtInteger)!");
        return false;
    }
    group.SetAsSigned16(static_cast<short>(value.GetInteger()));
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterInteger16BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                  ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 8)
    {
        LUM_LOG_ERROR("Wrong DPT main number (8.x)!");
        return false;
    }
    const std::int32_t v = group.GetAsSigned16();
    value.ivt = ivtInteger;
    value.SetInteger(v);
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterInteger16BitSigned::Clone() const
{
    return new KnxConverterInteger16BitSigned(*this);
}

// --- 24-bit counters ---------------------------------------------------------

bool KnxConverterInteger24BitUnsigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                  KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    const std::uint32_t v = value.GetDWord();
    const unsigned char bytes[3] = {static_cast<unsigned char>((v >> 16) & 0xFFu),
                                    static_cast<unsigned char>((v >> 8) & 0xFFu),
                                    static_cast<unsigned char>(v & 0xFFu)};
    group = KnxStack::GroupValue(KnxStack::BinaryData(bytes, sizeof bytes), 24);
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterInteger24BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                    ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    value.SetDWord(group.GetRawData().GetUInt32Value(0));
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterInteger24BitUnsigned::Clone() const
{
    return new KnxConverterInteger24BitUnsigned(*this);
}

// --- 12.x --------------------------------------------------------------------

bool KnxConverterInteger32BitUnsigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                  KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (value.ivt != ivtDWord)
    {
        LUM_LOG_ERROR("Wrong oru value type (ivtDWord)!");
        return false;
    }
    const std::int64_t v = value.GetDWord();
    if (!WithinInternal(m_range, v))
    {
        LUM_LOG_ERROR("The internal value of DPT=" << Detail::DptText{dpt}
                                                   << ", ivt=" << static_cast<int>(value.ivt)
                                                   << " is out of range: " << v);
        return false;
    }
    group.SetAsUnsigned32(static_cast<std::uint32_t>(v));
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterInteger32BitUnsigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                    ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    // Through uint32_t: unsigned long is 64 bits wide on x86-64 only.
    const std::int64_t v = static_cast<std::uint32_t>(group.GetAsUnsigned32());
    if (!WithinInternal(m_range, v))
    {
        LUM_LOG_ERROR("The internal value of DPT=" << Detail::DptText{dpt}
                                                   << ", ivt=" << static_cast<int>(value.ivt)
                                                   << " is out of range: " << v);
        return false;
    }
    value.SetDWord(static_cast<std::uint32_t>(v));
    value.ivt = ivtDWord;
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterInteger32BitUnsigned::Clone() const
{
    return new KnxConverterInteger32BitUnsigned(*this);
}

// --- 13.x: the one integer family that scales, and only towards the bus -------

bool KnxConverterInteger32BitSigned::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                                KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 13 && value.ivt != ivtInteger)
    {
        LUM_LOG_ERROR("Wrong DPT main number (13.x) or oru value type (ivtInteger)!");
        return false;
    }
    const std::int32_t v = value.GetInteger();
    if (!WithinInternal(m_range, v))
    {
        LUM_LOG_ERROR("The internal value of DPT=" << Detail::DptText{dpt}
                                                   << ", ivt=" << static_cast<int>(value.ivt)
                                                   << " is out of range: " << v);
        return false;
    }
    group.SetAsSigned32(ScaleToExternal(m_range, v));
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterInteger32BitSigned::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                                  ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 13)
    {
        LUM_LOG_ERROR("Wrong DPT main number (13.x)!");
        return false;
    }
    // The bus value is tested against the internal bounds and not unscaled.
    const auto v = static_cast<std::int32_t>(group.GetAsSigned32());
    if (!WithinInternal(m_range, v))
    {
        LUM_LOG_ERROR("The group value of DPT=" << Detail::DptText{dpt} << " is out of range: " << v);
        return false;
    }
    value.SetInteger(v);
    value.ivt = ivtInteger;
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterInteger32BitSigned::Clone() const
{
    return new KnxConverterInteger32BitSigned(*this);
}

} // namespace Lum
