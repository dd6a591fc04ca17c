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

    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv) const;
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val) const;

    bool ToKnxValue(KNXDPT& dpt, const std::string& text, KnxStack::GroupValue& gv) const;
    // Only the low 8 bits of bitSize count.
    bool ToKnxValue(const std::string& text, unsigned long bitSize, KnxStack::GroupValue& gv) const;
    // text is left untouched on failure.
    bool FromKnxValue(const KnxStack::GroupValue& gv, std::string& text, bool internalFormat) const;

private:
    KnxValueConverter m_converter;
};

} // namespace Lum
