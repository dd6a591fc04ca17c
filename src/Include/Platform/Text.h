#pragma once

/// @file
/// @brief Checked UTF-8 text, KNX's Latin-1 text and the conversions between them.

#include <Platform/Export.h>

#include <boost/optional.hpp>

#include <string>

namespace Lum
{

/// @brief Text that is known to be valid UTF-8.
///
/// A plain value type; const objects may be read from any thread.
class LUM_PLATFORM_API UTF8String
{
public:
    /// @brief The text as UTF8String.
    ///
    /// Nothing when text is not valid UTF-8. Does not log.
    static boost::optional<UTF8String> Create(std::string text);

    /// @brief The text, valid UTF-8.
    const std::string& str() const { return m_text; }

private:
    explicit UTF8String(std::string text) : m_text(std::move(text)) {}
    std::string m_text;
};

/// @brief Text as KNX carries it: one byte per character, Latin-1.
///
/// Any bytes are accepted. A plain value type.
class LUM_PLATFORM_API KnxStyleString
{
public:
    /// @brief The empty text.
    KnxStyleString() = default;
    /// @brief Takes @p latin1 as it is.
    explicit KnxStyleString(std::string latin1) : m_text(std::move(latin1)) {}

    /// @brief The Latin-1 bytes.
    const std::string& str() const { return m_text; }

private:
    std::string m_text;
};

/// @brief The Latin-1 form of a UTF-8 text.
///
/// A two-byte UTF-8 sequence folds into one byte, every other byte is copied:
/// lossy by design for code points beyond U+00FF. Does not log.
LUM_PLATFORM_API KnxStyleString getLatin1FromUTF8Lossy(const UTF8String& text);
/// @brief The same for text that is not known to be UTF-8; the byte after a two-byte lead is
/// folded in whatever it is.
LUM_PLATFORM_API std::string getLatin1FromUTF8Lossy(const std::string& text);
/// @brief The UTF-8 form of a Latin-1 text; exact, every byte becomes one character.
LUM_PLATFORM_API UTF8String getUTF8FromLatin1(const KnxStyleString& text);

} // namespace Lum
