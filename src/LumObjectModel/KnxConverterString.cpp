#include "KnxConverterLog.h"
#include "LogAs.h"

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

// Replaces every byte outside the range with '_'; true when any was.
bool ReplaceDisallowed(const IntegerRange& range, std::string& text)
{
    bool replaced = false;
    for (char& c : text)
    {
        const std::int32_t v = static_cast<unsigned char>(c);
        if (v < range.m_internalMin || v > range.m_internalMax)
        {
            c = '_';
            replaced = true;
        }
    }
    return replaced;
}
} // namespace

// --- 4.x ---------------------------------------------------------------------

bool KnxConverter8BitString::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 4 || value.ivt != ivtString,
                            "Wrong oru value type (ivtString) or DPT main number (4.x)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               // The payload need not be valid UTF-8, so the lossy byte walk is used as is.
                               const std::string latin1 = getLatin1FromUTF8Lossy(value.GetString().str());
                               const char ch = latin1.empty() ? '\0' : latin1[0];
                               if (dpt.subNumber == 1 && static_cast<unsigned char>(ch) >= 128)
                                   return Detail::Reject(site,
                                                         "Value out of raw range [0..127] for DPT 4.001: ",
                                                         static_cast<int>(static_cast<signed char>(ch)));
                               group.SetAsChar(ch);
                               return true;
                           });
}

bool KnxConverter8BitString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                          ORUVALUE& value)
{
    return Detail::Convert(
        LUM_CONVERTER_SITE, dpt, group, {dpt.mainNumber != 4, "Wrong DPT main number (4.x)!"},
        [&](const Detail::ConverterSite& site)
        {
            const unsigned char b = group.GetAsUnsigned8();
            if (dpt.subNumber == 1 && b >= 128)
                return Detail::Reject(
                    site, "Value out of raw range [0..127] for DPT 4.001: ", static_cast<unsigned>(b));
            AssignText(value, Latin1ToUtf8(std::string(1, static_cast<char>(b))));
            value.ivt = ivtString;
            return true;
        });
}

KnxConverter* KnxConverter8BitString::Clone() const
{
    return new KnxConverter8BitString(*this);
}

// --- 16.x --------------------------------------------------------------------

bool KnxConverter14ByteString::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                          KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 16 && value.ivt != ivtString,
                            "Wrong DPT main number (16.x) or oru value type (ivtString)!"},
                           [&]
                           {
                               std::string text = getLatin1FromUTF8Lossy(value.GetString().str());
                               ReplaceDisallowed(m_range, text);
                               group.SetAsString14(text);
                           });
}

bool KnxConverter14ByteString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                            ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group,
                           {dpt.mainNumber != 16, "Wrong DPT main number (16.x)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               // Tested on the UTF-8 bytes: with an ASCII-only range every other
                               // character becomes two underscores.
                               std::string text = Latin1ToUtf8(group.GetAsString14());
                               if (ReplaceDisallowed(m_range, text))
                                   LUM_LOG_AS(log4cplus::INFO_LOG_LEVEL, site.function,
                                              "Invalid characters for DPT " << Detail::DptText{dpt}
                                                                            << " has been replaced with _.");
                               value.ivt = ivtString;
                               AssignText(value, text);
                               return true;
                           });
}

KnxConverter* KnxConverter14ByteString::Clone() const
{
    return new KnxConverter14ByteString(*this);
}

} // namespace Lum
