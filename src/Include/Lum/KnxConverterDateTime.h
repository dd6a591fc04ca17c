#pragma once

/// @file
/// @brief Converters of date (11.001), time of day (10.001) and date with time (19.001).

#include <Lum/KnxConverter.h>

namespace Lum
{

// Date (11.001), time of day (10.001) and date with time (19.001).

/// @brief Dates (11.001), years 1990 .. 2089.
///
/// ToKnxValue() writes the date part of the value's ORUTIME. FromKnxValue() rejects
/// reserved bits and invalid dates, fills the ORUTIME's date (local time, time of day
/// cleared) and sets the value type to date (type 11). Failures log ERROR.
class LUM_OM_API KnxConverterDate : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

/// @brief Times of day with weekday (10.001).
///
/// ToKnxValue() writes the time and weekday of the value's ORUTIME (a weekday mask with
/// other than one bit set is sent as no day; an invalid time is refused). FromKnxValue()
/// rejects reserved bits and invalid times, writes the time on 2000-01-01 (not local time)
/// with the weekday mask and sets the value type to time of day (type 15). Failures log
/// ERROR.
/// Unlike the other converters, FromKnxValue() called directly with a group value of
/// fewer than 3 bytes lets KnxStack::GroupValueException through; KnxValueConverter
/// checks the size first and catches it.
class LUM_OM_API KnxConverterTimeOfDay : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

/// @brief Dates with time (19.001).
///
/// Neither direction checks the DPT or logs an entry trace. ToKnxValue() takes years
/// 1900 .. 2155 and writes 8 bytes: the low byte of the year, month, day, hour, minute,
/// second, then 20 00 (no weekday). FromKnxValue() rejects invalid fields, writes the
/// date and time (local time) and keeps the caller's value type. Failures log ERROR.
class LUM_OM_API KnxConverterDateTime : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

} // namespace Lum
