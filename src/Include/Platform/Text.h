#pragma once

#include <Platform/Export.h>

#include <boost/optional.hpp>

#include <string>

namespace Lum
{

// Text that is known to be valid UTF-8.
class LUM_PLATFORM_API UTF8String
{
public:
    // Nothing when text is not valid UTF-8.
    static boost::optional<UTF8String> Create(std::string text);

    const std::string& str() const { return m_text; }

private:
    explicit UTF8String(std::string text) : m_text(std::move(text)) {}
    std::string m_text;
};

// Text as KNX carries it: one byte per character, Latin-1.
class LUM_PLATFORM_API KnxStyleString
{
public:
    KnxStyleString() = default;
    explicit KnxStyleString(std::string latin1) : m_text(std::move(latin1)) {}

    const std::string& str() const { return m_text; }

private:
    std::string m_text;
};

// A two-byte UTF-8 sequence folds into one byte, every other byte is copied:
// lossy by design for code points beyond U+00FF.
LUM_PLATFORM_API KnxStyleString getLatin1FromUTF8Lossy(const UTF8String& text);
LUM_PLATFORM_API std::string getLatin1FromUTF8Lossy(const std::string& text);
LUM_PLATFORM_API UTF8String getUTF8FromLatin1(const KnxStyleString& text);

} // namespace Lum
