#include "KnxConverterLog.h"

#include <Lum/KnxConverterFloat.h>

#include <cstdint>
#include <cstring>

namespace Lum
{

namespace
{
// The stack's setter turns exactly this number into the KNX invalid marker 7F FF.
constexpr double kFloat16InvalidMarker = 32767.0;
constexpr unsigned short kFloat16InvalidPattern = 0x7FFF;

float QuietNaN()
{
    const std::uint32_t bits = 0x7FC00000u;
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

// The marker test reads the two bytes in place; too short a value still goes
// through the stack's getter, for its exception.
bool IsFloat16InvalidMarker(const KnxStack::GroupValue& group)
{
    const KnxStack::BinaryData& raw = group.GetRawData();
    if (raw.GetSize() < 2)
        return group.GetAsUnsigned16() == kFloat16InvalidPattern;
    return (raw.GetData()[0] << 8 | raw.GetData()[1]) == kFloat16InvalidPattern;
}

// NaN fails both comparisons, so it is out of range.
bool WithinInternal(const FloatRange& range, double d)
{
    return range.m_internalMin <= d && d <= range.m_internalMax;
}
} // namespace

// --- 9.x ---------------------------------------------------------------------

bool KnxConverterFloat16BitFloat::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                             KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 9 && value.ivt != ivtUnset && value.ivt != ivtFloat)
    {
        LUM_LOG_ERROR("Wrong DPT main number (9.x) or oru value type (ivtFloat)!");
        return false;
    }
    if (value.ivt == ivtUnset)
    {
        group.SetAsFloat16(kFloat16InvalidMarker);
        return true;
    }
    const double d = value.GetFloat();
    if (!WithinInternal(m_range, d))
    {
        LUM_LOG_ERROR("The internal value of DPT=" << Detail::DptText{dpt} << ", f=" << d
                                                   << " is out of the allowed range.");
        return false;
    }
    group.SetAsFloat16(d);
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterFloat16BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                               ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (IsFloat16InvalidMarker(group))
    {
        value.ivt = ivtUnset;
        return true;
    }
    // The decoded number is stored before the range test and stays on rejection.
    const double d = group.GetAsFloat16();
    value.SetFloat(d);
    if (!WithinInternal(m_range, d))
    {
        LUM_LOG_ERROR("The internal value of DPT=" << Detail::DptText{dpt} << ", f=" << d
                                                   << " is out of the allowed range.");
        return false;
    }
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterFloat16BitFloat::Clone() const
{
    return new KnxConverterFloat16BitFloat(*this);
}

// --- 14.x --------------------------------------------------------------------

bool KnxConverterFloat32BitFloat::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                             KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 14 && value.ivt != ivtUnset && value.ivt != ivtFloat)
    {
        LUM_LOG_ERROR("Wrong DPT main number (14.x) or oru value type (ivtFloat)!");
        return false;
    }
    if (value.ivt == ivtUnset)
        group.SetAsFloat32(QuietNaN());
    else
        group.SetAsFloat32(static_cast<float>(value.GetFloat()));
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterFloat32BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                               ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 14)
    {
        LUM_LOG_ERROR("Wrong DPT main number (14.x)!");
        return false;
    }
    const double d = static_cast<double>(group.GetAsFloat32());
    value.SetFloat(d);
    value.ivt = ivtFloat;
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterFloat32BitFloat::Clone() const
{
    return new KnxConverterFloat32BitFloat(*this);
}

} // namespace Lum
