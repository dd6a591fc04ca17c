#pragma once

/// @file
/// @brief Converters of scene number (17.001), scene control (18.001) and scene information (26.001).

#include <Lum/KnxConverter.h>

namespace Lum
{

// Scene number (17.001), scene control (18.001) and scene information (26.001).

/// @brief Scene numbers (17.001).
///
/// ToKnxValue() takes a byte (type 6) within the range. FromKnxValue() checks the range
/// and sets the value type to byte (type 6). Failures log ERROR.
class LUM_OM_API KnxConverterSceneNumber : public KnxConverter
{
public:
    /// @brief A converter with the value bounds @p range.
    explicit KnxConverterSceneNumber(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

/// @brief Scene control (18.001): learn bit 7 and scene number 0 .. 63.
///
/// ToKnxValue() takes the raw byte (type 6). FromKnxValue() rejects the reserved bit 6,
/// writes the raw byte and keeps the caller's value type. Only 18.001 is accepted.
/// Failures log ERROR.
class LUM_OM_API KnxConverterSceneControl : public KnxConverter
{
public:
    /// @brief A converter keeping @p range.
    explicit KnxConverterSceneControl(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

/// @brief Scene information (26.001).
///
/// ToKnxValue() takes the raw byte (type 6) without the reserved bit 7. FromKnxValue()
/// rejects the reserved bit 6, writes the raw byte and keeps the caller's value type.
/// Only 26.001 is accepted. Failures log ERROR.
class LUM_OM_API KnxConverterSceneInfo : public KnxConverter
{
public:
    /// @brief A converter keeping @p range.
    explicit KnxConverterSceneInfo(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

} // namespace Lum
