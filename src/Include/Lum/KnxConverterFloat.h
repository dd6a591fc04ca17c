#pragma once

#include <Lum/KnxConverter.h>

namespace Lum
{

// The 2-byte KNX float (9.x) and the IEEE 754 single (14.x).

class LUM_OM_API KnxConverterFloat16BitFloat : public KnxConverter
{
public:
    explicit KnxConverterFloat16BitFloat(const FloatRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const FloatRange& GetRange() const { return m_range; }

private:
    FloatRange m_range;
};

class LUM_OM_API KnxConverterFloat32BitFloat : public KnxConverter
{
public:
    explicit KnxConverterFloat32BitFloat(const FloatRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const FloatRange& GetRange() const { return m_range; }

private:
    FloatRange m_range;
};

} // namespace Lum
