#pragma once

/// @file
/// @brief Converters of the 2-byte KNX float (9.x) and the IEEE 754 single (14.x).

#include <Lum/KnxConverter.h>

namespace Lum
{

// The 2-byte KNX float (9.x) and the IEEE 754 single (14.x).

/// @brief The 2-byte KNX float (9.x).
///
/// ToKnxValue() takes a float (type 3) inside the range's internal bounds; an unset value
/// (type 0) sends the invalid-data marker 7F FF. FromKnxValue() gives an unset value
/// (type 0) for 7F FF; otherwise it writes the number, keeping the caller's value type,
/// and fails (the number already written) when it is outside the range. Failures log
/// ERROR.
class LUM_OM_API KnxConverterFloat16BitFloat : public KnxConverter
{
public:
    /// @brief A converter accepting values inside @p range's internal bounds.
    explicit KnxConverterFloat16BitFloat(const FloatRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const FloatRange& GetRange() const { return m_range; }

private:
    FloatRange m_range;
};

/// @brief The IEEE 754 single (14.x).
///
/// ToKnxValue() sends the number as a single (an unset value, type 0, as NaN); the range is
/// not checked. FromKnxValue() writes the number and sets the value type to float (type 3).
class LUM_OM_API KnxConverterFloat32BitFloat : public KnxConverter
{
public:
    /// @brief A converter keeping @p range.
    explicit KnxConverterFloat32BitFloat(const FloatRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const FloatRange& GetRange() const { return m_range; }

private:
    FloatRange m_range;
};

} // namespace Lum
