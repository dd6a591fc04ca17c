#include "KnxConverterLog.h"

#include <Lum/KnxConverterBitField.h>

namespace Lum
{

// --- 1.x ---------------------------------------------------------------------
// Rejections stay silent: 1-bit objects are polled with all kinds of values.

bool KnxConverter1Bit::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 1 || value.ivt != ivtBool, nullptr},
                           [&] { group.SetAsBoolean(value.GetBool()); });
}

// Not traced either.
bool KnxConverter1Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value)
try
{
    if (dpt.mainNumber != 1)
        return false;
    value.SetBool(group.GetAsBoolean());
    return true;
}
LUM_CONVERTER_CATCH(dpt, group)

KnxConverter* KnxConverter1Bit::Clone() const
{
    return new KnxConverter1Bit(*this);
}

// --- 2.x ---------------------------------------------------------------------

bool KnxConverter2Bit::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 2 || value.ivt != ivtByte,
                            "Wrong oru value type (ivtByte) or DPT main number (2.x)!"},
                           [&] { group.SetAsUnsigned2(value.GetByte()); });
}

bool KnxConverter2Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group,
                           {dpt.mainNumber != 2, "Wrong DPT main number (2.x)!"},
                           [&]
                           {
                               const unsigned char bits = group.GetAsUnsigned2();
                               value.ivt = ivtByte;
                               value.SetByte(bits);
                           });
}

KnxConverter* KnxConverter2Bit::Clone() const
{
    return new KnxConverter2Bit(*this);
}

// --- 3.x ---------------------------------------------------------------------

bool KnxConverter4Bit::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 3 || value.ivt != ivtByte,
                            "Wrong oru value type (ivtByte) or DPT main number (3.x)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               const unsigned char byte = value.GetByte();
                               if (byte >= 16)
                                   return Detail::Reject(
                                       site, "Value out of raw range [0..15]: ", static_cast<unsigned>(byte));
                               group.SetAsUnsigned4(byte);
                               return true;
                           });
}

bool KnxConverter4Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group,
                           {dpt.mainNumber != 3, "Wrong DPT main number (3.x)!"},
                           [&] { value.SetByte(group.GetAsUnsigned4()); });
}

KnxConverter* KnxConverter4Bit::Clone() const
{
    return new KnxConverter4Bit(*this);
}

} // namespace Lum
