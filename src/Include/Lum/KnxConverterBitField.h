#pragma once

#include <Lum/KnxConverter.h>

namespace Lum
{

// DPT 1.x, 2.x and 3.x: payloads shorter than a byte.

class LUM_OM_API KnxConverter1Bit : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

class LUM_OM_API KnxConverter2Bit : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

class LUM_OM_API KnxConverter4Bit : public KnxConverter
{
public:
    explicit KnxConverter4Bit(const FloatIntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const FloatIntegerRange& GetRange() const { return m_range; }

private:
    FloatIntegerRange m_range;
};

} // namespace Lum
