#include "KnxConverterLog.h"

#include <Lum/KnxConverterBitField.h>

namespace Lum
{

// --- 1.x ---------------------------------------------------------------------
// Rejections stay silent: 1-bit objects are polled with all kinds of values.

bool KnxConverter1Bit::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 1 || value.ivt != ivtBool)
        return false;
    group.SetAsBoolean(value.GetBool());
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverter1Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value)
try
{
    if (dpt.mainNumber != 1)
        return false;
    value.SetBool(group.GetAsBoolean());
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverter1Bit::Clone() const
{
    return new KnxConverter1Bit(*this);
}

// --- 2.x ---------------------------------------------------------------------

bool KnxConverter2Bit::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 2 || value.ivt != ivtByte)
    {
        LUM_LOG_ERROR("Wrong oru value type (ivtByte) or DPT main number (2.x)!");
        return false;
    }
    group.SetAsUnsigned2(value.GetByte());
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverter2Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 2)
    {
        LUM_LOG_ERROR("Wrong DPT main number (2.x)!");
        return false;
    }
    const unsigned char bits = group.GetAsUnsigned2();
    value.ivt = ivtByte;
    value.SetByte(bits);
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverter2Bit::Clone() const
{
    return new KnxConverter2Bit(*this);
}

// --- 3.x ---------------------------------------------------------------------

bool KnxConverter4Bit::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 3 || value.ivt != ivtByte)
    {
        LUM_LOG_ERROR("Wrong oru value type (ivtByte) or DPT main number (3.x)!");
        return false;
    }
    const unsigned char byte = value.GetByte();
    if (byte >= 16)
    {
        LUM_LOG_ERROR("Value out of raw range [0..15]: " << static_cast<unsigned>(byte));
        return false;
    }
    group.SetAsUnsigned4(byte);
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverter4Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 3)
    {
        LUM_LOG_ERROR("Wrong DPT main number (3.x)!");
        return false;
    }
    value.SetByte(group.GetAsUnsigned4());
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverter4Bit::Clone() const
{
    return new KnxConverter4Bit(*this);
}

} // namespace Lum
