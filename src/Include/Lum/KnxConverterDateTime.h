#pragma once

#include <Lum/KnxConverter.h>

namespace Lum
{

// Date (11.001), time of day (10.001) and date with time (19.001).

class LUM_OM_API KnxConverterDate : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

class LUM_OM_API KnxConverterTimeOfDay : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

class LUM_OM_API KnxConverterDateTime : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

} // namespace Lum
