#pragma once

/// @file
/// @brief Converters of DPT 1.x, 2.x and 3.x: payloads shorter than a byte.

#include <Lum/KnxConverter.h>

namespace Lum
{

// DPT 1.x, 2.x and 3.x: payloads shorter than a byte.

/// @brief Switches and other 1-bit values (1.x).
///
/// ToKnxValue() takes a boolean (type 2) for main number 1. FromKnxValue() writes the
/// boolean payload and keeps the caller's value type. Rejections stay silent: 1-bit
/// objects are polled with all kinds of values.
class LUM_OM_API KnxConverter1Bit : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

/// @brief Controlled switches (2.x), as a byte 0..3 (control bit 1, value bit 0).
///
/// ToKnxValue() takes a byte (type 6); only the low two bits are sent. FromKnxValue()
/// writes a byte and sets the value type to byte (type 6). Rejections log ERROR.
class LUM_OM_API KnxConverter2Bit : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

/// @brief Dimming and blind steps (3.x), as a byte 0..15 (direction bit 3, step code bits 0..2).
///
/// ToKnxValue() takes a byte (type 6) up to 15. FromKnxValue() writes a byte payload and
/// keeps the caller's value type. Rejections log ERROR.
class LUM_OM_API KnxConverter4Bit : public KnxConverter
{
public:
    /// @brief A converter keeping @p range (kept for callers; the conversions do not scale).
    explicit KnxConverter4Bit(const FloatIntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const FloatIntegerRange& GetRange() const { return m_range; }

private:
    FloatIntegerRange m_range;
};

} // namespace Lum
