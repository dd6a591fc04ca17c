#pragma once

#include <Lum/KnxConverter.h>

namespace Lum
{

// One character (4.x) and 14-byte texts (16.x), UTF-8 on the value side, Latin-1 on the bus.

class LUM_OM_API KnxConverter8BitString : public KnxConverter
{
public:
    explicit KnxConverter8BitString(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

class LUM_OM_API KnxConverter14ByteString : public KnxConverter
{
public:
    explicit KnxConverter14ByteString(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

} // namespace Lum
