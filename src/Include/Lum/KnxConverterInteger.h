#pragma once

/// @file
/// @brief Converters of 8-, 16-, 24- and 32-bit integers and the 6.020 status byte.

#include <Lum/KnxConverter.h>

namespace Lum
{

// 8-, 16-, 24- and 32-bit integers and the 6.020 status byte.

/// @brief Unsigned bytes (5.x).
///
/// ToKnxValue() takes a byte (type 6) and sends it as it is; for 5.006 it must lie
/// within the range. FromKnxValue() checks the byte against the range and sets the
/// value type to byte (type 6). Failures log ERROR.
class LUM_OM_API KnxConverterByte8BitUnsigned : public KnxConverter
{
public:
    /// @brief A converter with the value bounds @p range.
    explicit KnxConverterByte8BitUnsigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

/// @brief Signed bytes (6.x).
///
/// ToKnxValue() takes an integer (type 4) for main number 6 and sends its low byte.
/// FromKnxValue() sets the value type to integer (type 4). Failures log ERROR.
class LUM_OM_API KnxConverterInteger8BitSigned : public KnxConverter
{
public:
    /// @brief A converter with the value bounds @p range.
    explicit KnxConverterInteger8BitSigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

/// @brief The status byte with mode (6.020).
///
/// ToKnxValue() takes a byte (type 6) and writes it before checking the mode in its low
/// three bits, so a rejected byte stays written. FromKnxValue() checks the mode and sets
/// the value type to byte (type 6). Failures log ERROR.
class LUM_OM_API KnxConverterStatus8Bit : public KnxConverter
{
public:
    /// @brief A converter with the value bounds @p range.
    explicit KnxConverterStatus8Bit(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

/// @brief Unsigned 16-bit numbers (7.x).
///
/// ToKnxValue() takes a word (type 7). FromKnxValue() sets the value type to word
/// (type 7). Failures log ERROR.
class LUM_OM_API KnxConverterInteger16BitUnsigned : public KnxConverter
{
public:
    /// @brief A converter with the value bounds @p range.
    explicit KnxConverterInteger16BitUnsigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

/// @brief Signed 16-bit numbers (8.x).
///
/// ToKnxValue() takes an integer (type 4) and sends its low 16 bits. FromKnxValue() sets
/// the value type to integer (type 4). Failures log ERROR.
class LUM_OM_API KnxConverterInteger16BitSigned : public KnxConverter
{
public:
    /// @brief A converter with the value bounds @p range.
    explicit KnxConverterInteger16BitSigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

/// @brief Unsigned 24-bit numbers.
///
/// ToKnxValue() sends the low 24 bits of the number payload whatever the value type;
/// it neither checks nor logs. FromKnxValue() writes the number payload and keeps the
/// caller's value type.
class LUM_OM_API KnxConverterInteger24BitUnsigned : public KnxConverter
{
public:
    /// @brief A converter keeping @p range (not used by the conversions).
    explicit KnxConverterInteger24BitUnsigned(const LongIntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const LongIntegerRange& GetRange() const { return m_range; }

private:
    LongIntegerRange m_range;
};

/// @brief Unsigned 32-bit numbers (12.x).
///
/// ToKnxValue() takes a double word (type 8) within the range. FromKnxValue() checks
/// the range and sets the value type to double word (type 8). Failures log ERROR.
class LUM_OM_API KnxConverterInteger32BitUnsigned : public KnxConverter
{
public:
    /// @brief A converter with the value bounds @p range.
    explicit KnxConverterInteger32BitUnsigned(const LongIntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const LongIntegerRange& GetRange() const { return m_range; }

private:
    LongIntegerRange m_range;
};

/// @brief Signed 32-bit numbers (13.x).
///
/// ToKnxValue() takes an integer (type 4) within the range's internal bounds and sends
/// it scaled with ScaleToExternal(). FromKnxValue() checks the bus value against the
/// internal bounds without scaling it back and sets the value type to integer (type 4).
/// Failures log ERROR.
class LUM_OM_API KnxConverterInteger32BitSigned : public KnxConverter
{
public:
    /// @brief A converter with the value bounds @p range.
    explicit KnxConverterInteger32BitSigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

} // namespace Lum
