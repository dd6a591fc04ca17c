#include <Platform/Logging.h>
#include <Platform/Text.h>

#include <utf8cpp/utf8.h>

namespace Lum
{

boost::optional<UTF8String> UTF8String::Create(std::string text)
{
    if (!utf8::is_valid(text.begin(), text.end()))
        return boost::none;
    return UTF8String(std::move(text));
}

std::string getLatin1FromUTF8Lossy(const std::string& text)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const auto byte = static_cast<unsigned char>(text[i]);
        // Only two-byte sequences fold; the byte after the lead is taken as it
        // is, whether or not it is a continuation byte. A lead at the very end
        // has no partner and is copied.
        if ((byte & 0xE0) == 0xC0 && i + 1 < text.size())
        {
            const auto next = static_cast<unsigned char>(text[i + 1]);
            result.push_back(static_cast<char>(static_cast<unsigned char>(byte << 6) | (next & 0x3F)));
            ++i;
        }
        else
            result.push_back(static_cast<char>(byte));
    }
    return result;
}

KnxStyleString getLatin1FromUTF8Lossy(const UTF8String& text)
{
    return KnxStyleString(getLatin1FromUTF8Lossy(text.str()));
}

UTF8String getUTF8FromLatin1(const KnxStyleString& text)
{
    std::string result;
    result.reserve(2 * text.str().size());
    for (const char c : text.str())
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            result.push_back(c);
        else
        {
            result.push_back(static_cast<char>(0xC0 | (byte >> 6)));
            result.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
        }
    }
    // Every byte became a complete sequence of one or two bytes.
    boost::optional<UTF8String> utf8 = UTF8String::Create(std::move(result));
    LUM_ASSERT2(utf8);
    return *utf8;
}

} // namespace Lum
