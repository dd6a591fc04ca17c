#pragma once

#include <Lum/Export.h>
#include <Lum/KnxValueConverter.h>

#include <string>

namespace Lum
{

// The value converter for callers that hold values in their serialised text form.
class LUM_OM_API LumKnxValueConverter
{
public:
    LumKnxValueConverter() = default;

    bool Init();

    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv);
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val);
    bool ToKnxValue(KNXDPT& dpt, const std::string& text, KnxStack::GroupValue& gv);
    // Only the low 8 bits of bitSize count.
    bool ToKnxValue(const std::string& text, unsigned long bitSize, KnxStack::GroupValue& gv);
    // text is left untouched on failure.
    bool FromKnxValue(const KnxStack::GroupValue& gv, std::string& text, bool internalFormat);

    // The same, for one initialised converter shared through a const reference.
    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv) const;
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val) const;
    bool ToKnxValue(KNXDPT& dpt, const std::string& text, KnxStack::GroupValue& gv) const;
    bool ToKnxValue(const std::string& text, unsigned long bitSize, KnxStack::GroupValue& gv) const;
    bool FromKnxValue(const KnxStack::GroupValue& gv, std::string& text, bool internalFormat) const;

private:
    const LumKnxValueConverter& AsConst() const { return *this; }

    KnxValueConverter m_converter;
};

} // namespace Lum
