#include <Lum/LumKnxValueConverter.h>

#include <cstdint>

namespace Lum
{

namespace
{

// An empty value with its time part cleared, as the serialised form is read into.
ORUVALUE FreshValue()
{
    ORUVALUE value;
    value.ivt = ivtEmpty;
    value.GetTime().Clear(true);
    return value;
}

ORUVALUE ValueFromText(const std::string& text)
{
    ORUVALUE value = FreshValue();
    value.Deserialize(oru_string(text));
    return value;
}

} // namespace

bool LumKnxValueConverter::Init()
{
    return m_converter.Init();
}

bool LumKnxValueConverter::ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv) const
{
    return m_converter.ToKnxValue(dpt, val, gv);
}

bool LumKnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val) const
{
    return m_converter.FromKnxValue(dpt, gv, val);
}

bool LumKnxValueConverter::ToKnxValue(KNXDPT& dpt, const std::string& text, KnxStack::GroupValue& gv) const
{
    return m_converter.ToKnxValue(dpt, ValueFromText(text), gv);
}

bool LumKnxValueConverter::ToKnxValue(const std::string& text, unsigned long bitSize,
                                      KnxStack::GroupValue& gv) const
{
    KNXDPT dpt;
    dpt.bitSize = static_cast<std::uint8_t>(bitSize);
    return m_converter.ToKnxValue(dpt, ValueFromText(text), gv);
}

bool LumKnxValueConverter::FromKnxValue(const KnxStack::GroupValue& gv, std::string& text,
                                        bool internalFormat) const
{
    KNXDPT dpt;
    dpt.bitSize = static_cast<std::uint8_t>(gv.GetDefinedSize());
    ORUVALUE value = FreshValue();
    if (!m_converter.FromKnxValue(dpt, gv, value))
    {
        return false;
    }
    oru_string serialised;
    value.Serialize(serialised, internalFormat);
    text = serialised.str();
    return true;
}

bool LumKnxValueConverter::ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv)
{
    return AsConst().ToKnxValue(dpt, val, gv);
}

bool LumKnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val)
{
    return AsConst().FromKnxValue(dpt, gv, val);
}

bool LumKnxValueConverter::ToKnxValue(KNXDPT& dpt, const std::string& text, KnxStack::GroupValue& gv)
{
    return AsConst().ToKnxValue(dpt, text, gv);
}

bool LumKnxValueConverter::ToKnxValue(const std::string& text, unsigned long bitSize,
                                      KnxStack::GroupValue& gv)
{
    return AsConst().ToKnxValue(text, bitSize, gv);
}

bool LumKnxValueConverter::FromKnxValue(const KnxStack::GroupValue& gv, std::string& text,
                                        bool internalFormat)
{
    return AsConst().FromKnxValue(gv, text, internalFormat);
}

} // namespace Lum
