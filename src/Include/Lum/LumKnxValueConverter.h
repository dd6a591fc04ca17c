#pragma once

/// @file
/// @brief The value converter for values held in their serialised text form.

#include <Lum/Export.h>
#include <Lum/KnxValueConverter.h>

#include <string>

namespace Lum
{

/// @brief The value converter for callers that hold values in their serialised text form.
///
/// A facade over KnxValueConverter: the same rules, the same logging, never throws.
/// Texts are those of ORUVALUE::Serialize() ("<type>:<text>" or "<type>.7:<exact text>");
/// a malformed text is read as an empty value (type 1), which the conversion then refuses.
/// Call Init() once before converting and before sharing the object; afterwards it is
/// read-only and several threads may convert through a const reference at once.
class LUM_OM_API LumKnxValueConverter
{
public:
    /// @brief An empty converter; call Init() before converting.
    LumKnxValueConverter() = default;

    /// @brief Fills the DPT map; call once before converting. Always true.
    bool Init();

    /// @brief As KnxValueConverter::ToKnxValue(): @p dpt is in/out (a default DPT is written
    /// into it when its main number is 0).
    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv);
    /// @brief As KnxValueConverter::FromKnxValue(): @p dpt is in/out (a default DPT is written
    /// into it when its main number is 0), and `val.ivt` is set to the entry's value type
    /// unless the converter sets its own.
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val);
    /// @brief Writes the serialised value @p text as the group value of @p dpt (in/out as above).
    bool ToKnxValue(KNXDPT& dpt, const std::string& text, KnxStack::GroupValue& gv);
    /// @brief Writes the serialised value @p text with the default DPT of its type and @p bitSize.
    ///
    /// Only the low 8 bits of bitSize count.
    bool ToKnxValue(const std::string& text, unsigned long bitSize, KnxStack::GroupValue& gv);
    /// @brief The serialised value of @p gv, with the default DPT of its defined size.
    ///
    /// text is left untouched on failure.
    /// @param gv the group value (in).
    /// @param text out: ORUVALUE::Serialize()'s form of the value.
    /// @param internalFormat true for the exact internal form ("<type>.7:...").
    bool FromKnxValue(const KnxStack::GroupValue& gv, std::string& text, bool internalFormat);

    /// @brief The same as the non-const overload, for a shared initialised converter.
    ///
    /// The same, for one initialised converter shared through a const reference.
    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv) const;
    /// @brief The same as the non-const overload, for a shared initialised converter.
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val) const;
    /// @brief The same as the non-const overload, for a shared initialised converter.
    bool ToKnxValue(KNXDPT& dpt, const std::string& text, KnxStack::GroupValue& gv) const;
    /// @brief The same as the non-const overload, for a shared initialised converter.
    bool ToKnxValue(const std::string& text, unsigned long bitSize, KnxStack::GroupValue& gv) const;
    /// @brief The same as the non-const overload, for a shared initialised converter.
    bool FromKnxValue(const KnxStack::GroupValue& gv, std::string& text, bool internalFormat) const;

private:
    const LumKnxValueConverter& AsConst() const { return *this; }

    KnxValueConverter m_converter;
};

} // namespace Lum
