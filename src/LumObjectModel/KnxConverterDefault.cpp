#include "KnxConverterLog.h"

#include <Lum/KnxConverter.h>

#include <algorithm>

namespace Lum
{

namespace
{
constexpr unsigned int kMaxBytes = 24;
} // namespace

bool KnxConverterDefault::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
try
{
    unsigned int n = (static_cast<unsigned int>(dpt.bitSize) + 7u) / 8u;
    unsigned char buffer[kMaxBytes] = {};

    // These two always travel as a single byte, whatever size the DPT names.
    if (value.ivt == ivtPercentage || value.ivt == ivtDimming)
    {
        n = 1;
        if (!OruValueToByteArray(value, buffer, n))
        {
            LUM_LOG_ERROR("OruValueToByteArray failed. DPT=" << Detail::DptText{dpt});
            return false;
        }
        group.SetAsUnsigned8(buffer[0]);
        return true;
    }

    if (value.ivt == ivtBool)
    {
        if (dpt.mainNumber == 1)
            group.SetAsBoolean(value.GetBool());
        else if (dpt.mainNumber == 2)
            group.SetAsUnsigned2(static_cast<unsigned char>(value.GetBool()));
        // Any other DPT leaves the group value as it was, by design.
        return true;
    }

    if (n == 0 || n > kMaxBytes - 1)
        n = kMaxBytes;
    if (!OruValueToByteArray(value, buffer, n))
    {
        LUM_LOG_ERROR("OruValueToByteArray failed. DPT=" << Detail::DptText{dpt} << " data size =" << n);
        return false;
    }
    // The platform may report a length; never read past our buffer.
    n = std::min(n, kMaxBytes);
    if (n < 2)
        group.SetAsUnsigned8(buffer[0]);
    else
        group.SetRawData(KnxStack::BinaryData(buffer, n));
    return true;
}
LUM_CONVERTER_CATCH(dpt, value)

bool KnxConverterDefault::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value)
try
{
    const KnxStack::BinaryData& raw = group.GetRawData();
    const auto size = static_cast<unsigned int>(raw.GetSize());
    if (ByteArrayToOruValue(raw.GetData(), size, value, group.GetDefinedSize() == 1))
        return true;
    value.Reset();
    LUM_LOG_ERROR("ByteArrayToOruValue failed. DPT=" << Detail::DptText{dpt} << " data size =" << size);
    return false;
}
LUM_CONVERTER_CATCH(dpt, group)

KnxConverter* KnxConverterDefault::Clone() const
{
    return new KnxConverterDefault(*this);
}

} // namespace Lum
