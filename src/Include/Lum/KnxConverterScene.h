#pragma once

#include <Lum/KnxConverter.h>

namespace Lum
{

// Scene number (17.001), scene control (18.001) and scene information (26.001).

class LUM_OM_API KnxConverterSceneNumber : public KnxConverter
{
public:
    explicit KnxConverterSceneNumber(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

class LUM_OM_API KnxConverterSceneControl : public KnxConverter
{
public:
    explicit KnxConverterSceneControl(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

class LUM_OM_API KnxConverterSceneInfo : public KnxConverter
{
public:
    explicit KnxConverterSceneInfo(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

} // namespace Lum
