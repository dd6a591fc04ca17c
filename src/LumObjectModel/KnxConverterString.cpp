#include "KnxConverterLog.h"

#include <Lum/KnxConverterString.h>
#include <Platform/Text.h>

#include <string>

namespace Lum
{

namespace
{
std::string Latin1ToUtf8(const std::string& latin1)
{
    return getUTF8FromLatin1(KnxStyleString(latin1)).str();
}

void AssignText(ORUVALUE& value, const std::string& text)
{
    value.GetString().assign(text.data(), text.size());
}

bool IsAllowedCharacter(const IntegerRange& range, unsigned char c)
{
    const std::int32_t v = c;
    return range.m_internalMin <= v && v <= range.m_internalMax;
}
} // namespace

// --- 4.x ---------------------------------------------------------------------

bool KnxConverter8BitString::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 4 || value.ivt != ivtString)
    {
        LUM_LOG_ERROR("Wrong oru value type (ivtString) or DPT main number (4.x)!");
        return false;
    }
    // The payload need not be valid UTF-8, so the lossy byte walk is used as is.
    const std::string latin1 = getLatin1FromUTF8Lossy(value.GetString().str());
    const char ch = latin1.empty() ? '\0' : latin1[0];
    if (dpt.subNumber == 1 && static_cast<unsigned char>(ch) >= 128)
    {
        LUM_LOG_ERROR("Value out of raw range [0..127] for DPT 4.001: "
                      << static_cast<int>(static_cast<signed char>(ch)));
        return false;
    }
    group.SetAsChar(ch);
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverter8BitString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                          ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 4)
    {
        LUM_LOG_ERROR("Wrong DPT main number (4.x)!");
        return false;
    }
    const unsigned char b = group.GetAsUnsigned8();
    if (dpt.subNumber == 1 && b >= 128)
    {
        LUM_LOG_ERROR("Value out of raw range [0..127] for DPT 4.001: " << static_cast<unsigned>(b));
        return false;
    }
    AssignText(value, Latin1ToUtf8(std::string(1, static_cast<char>(b))));
    value.ivt = ivtString;
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverter8BitString::Clone() const
{
    return new KnxConverter8BitString(*this);
}

// --- 16.x --------------------------------------------------------------------

bool KnxConverter14ByteString::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                          KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 16 && value.ivt != ivtString)
    {
        LUM_LOG_ERROR("Wrong DPT main number (16.x) or oru value type (ivtString)!");
        return false;
    }
    std::string text = getLatin1FromUTF8Lossy(value.GetString().str());
    for (char& c : text)
    {
        if (!IsAllowedCharacter(m_range, static_cast<unsigned char>(c)))
            c = '_';
    }
    group.SetAsString14(text);
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverter14ByteString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                            ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 16)
    {
        LUM_LOG_ERROR("Wrong DPT main number (16.x)!");
        return false;
    }
    // Tested on the UTF-8 bytes: with an ASCII-only range every other
    // character becomes two underscores.
    std::string text = Latin1ToUtf8(group.GetAsString14());
    bool replaced = false;
    for (char& c : text)
    {
        if (!IsAllowedCharacter(m_range, static_cast<unsigned char>(c)))
        {
            c = '_';
            replaced = true;
        }
    }
    if (replaced)
        LUM_LOG_INFO("Invalid characters for DPT " << Detail::DptText{dpt} << " has been replaced with _.");
    value.ivt = ivtString;
    AssignText(value, text);
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverter14ByteString::Clone() const
{
    return new KnxConverter14ByteString(*this);
}

} // namespace Lum
