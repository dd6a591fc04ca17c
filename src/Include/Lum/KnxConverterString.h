#pragma once

/// @file
/// @brief Converters of one character (4.x) and 14-byte texts (16.x).

#include <Lum/KnxConverter.h>

namespace Lum
{

// One character (4.x) and 14-byte texts (16.x), UTF-8 on the value side, Latin-1 on the bus.

/// @brief One character (4.x): UTF-8 on the value side, Latin-1 on the bus.
///
/// ToKnxValue() takes a text (type 10) and sends its first character folded to
/// Latin-1; 4.001 allows ASCII only. FromKnxValue() writes the character as UTF-8 and
/// sets the value type to text (type 10). Failures log ERROR.
class LUM_OM_API KnxConverter8BitString : public KnxConverter
{
public:
    /// @brief A converter keeping @p range.
    explicit KnxConverter8BitString(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

/// @brief Texts of up to 14 bytes (16.x): UTF-8 on the value side, Latin-1 on the bus.
///
/// ToKnxValue() takes a text (type 10), folds it to Latin-1, replaces every character
/// outside the range by '_' and cuts it at 14 bytes. FromKnxValue() writes the text as
/// UTF-8, replacing every byte outside the range by '_' (one INFO line when it does),
/// and sets the value type to text (type 10).
class LUM_OM_API KnxConverter14ByteString : public KnxConverter
{
public:
    /// @brief A converter allowing the characters in @p range.
    explicit KnxConverter14ByteString(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    /// @brief The range given on construction.
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

} // namespace Lum
