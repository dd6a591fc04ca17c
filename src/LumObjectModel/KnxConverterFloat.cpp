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

namespace
{
bool IsInternalValue(const Detail::ConverterSite& site, const KNXDPT& dpt, const FloatRange& range, double d)
{
    if (WithinInternal(range, d))
        return true;
    return Detail::Reject(site, "The internal value of DPT=", Detail::DptText{dpt}, ", f=", d,
                          " is out of the allowed range.");
}
} // namespace

bool KnxConverterFloat16BitFloat::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                             KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 9 && value.ivt != ivtUnset && value.ivt != ivtFloat,
                            "Wrong DPT main number (9.x) or oru value type (ivtFloat)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               if (value.ivt == ivtUnset)
                               {
                                   group.SetAsFloat16(kFloat16InvalidMarker);
                                   return true;
                               }
                               const double d = value.GetFloat();
                               if (!IsInternalValue(site, dpt, m_range, d))
                                   return false;
                               group.SetAsFloat16(d);
                               return true;
                           });
}

bool KnxConverterFloat16BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                               ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group, Detail::kTakesAll,
                           [&](const Detail::ConverterSite& site)
                           {
                               if (IsFloat16InvalidMarker(group))
                               {
                                   value.ivt = ivtUnset;
                                   return true;
                               }
                               // The decoded number is stored before the range test and stays on rejection.
                               const double d = group.GetAsFloat16();
                               value.SetFloat(d);
                               return IsInternalValue(site, dpt, m_range, d);
                           });
}

KnxConverter* KnxConverterFloat16BitFloat::Clone() const
{
    return new KnxConverterFloat16BitFloat(*this);
}

// --- 14.x --------------------------------------------------------------------

bool KnxConverterFloat32BitFloat::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                             KnxStack::GroupValue& group)
{
    return Detail::Convert(
        LUM_CONVERTER_SITE, dpt, value,
        {dpt.mainNumber != 14 && value.ivt != ivtUnset && value.ivt != ivtFloat,
         "Wrong DPT main number (14.x) or oru value type (ivtFloat)!"},
        [&]
        { group.SetAsFloat32(value.ivt == ivtUnset ? QuietNaN() : static_cast<float>(value.GetFloat())); });
}

bool KnxConverterFloat32BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                               ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group,
                           {dpt.mainNumber != 14, "Wrong DPT main number (14.x)!"},
                           [&]
                           {
                               value.SetFloat(static_cast<double>(group.GetAsFloat32()));
                               value.ivt = ivtFloat;
                           });
}

KnxConverter* KnxConverterFloat32BitFloat::Clone() const
{
    return new KnxConverterFloat32BitFloat(*this);
}

} // namespace Lum
