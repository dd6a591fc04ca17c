#include "OruValueKinds.h"

#include <Platform/OruValue.h>

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <string>

using LumPlatformDetail::FloatText;
using LumPlatformDetail::Kind;
using LumPlatformDetail::KindOf;

namespace
{

// Revision of the internal form; readers accept any.
constexpr const char* kInternalRevision = ".7";

// A time carries every field so that it reads back unchanged:
// "2024-01-02 03:04:05.00 wd=2 yd=2 local=1 dst=0".
std::string TimeText(const ORUTIME& t)
{
    char text[96];
    const int n =
        std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%02u wd=%u yd=%u local=%u dst=%u",
                      t.year, t.month, t.day, t.hour, t.minute, t.second, t.hundredths, t.weekDay,
                      t.dayOfYear, t.isLocalTime ? 1u : 0u, t.isDaylightSaving ? 1u : 0u);
    return n > 0 ? std::string(text, static_cast<std::size_t>(n)) : std::string();
}

class Reader
{
public:
    Reader(const char* begin, const char* end) : m_pos(begin), m_end(end) {}

    bool AtEnd() const { return m_pos == m_end; }

    bool Literal(const char* text)
    {
        const char* p = m_pos;
        for (; *text != '\0'; ++text, ++p)
        {
            if (p == m_end || *p != *text)
                return false;
        }
        m_pos = p;
        return true;
    }

    // Digits only: no sign, no blanks.
    template <typename T>
    bool Unsigned(T& out, std::uint64_t max = std::numeric_limits<T>::max(), int base = 10)
    {
        if (m_pos == m_end || *m_pos == '-' || *m_pos == '+')
            return false;
        std::uint64_t v = 0;
        const auto result = std::from_chars(m_pos, m_end, v, base);
        if (result.ec != std::errc() || v > max)
            return false;
        m_pos = result.ptr;
        out = static_cast<T>(v);
        return true;
    }

    bool Signed(std::int64_t& out, std::int64_t min, std::int64_t max)
    {
        if (m_pos == m_end || *m_pos == '+')
            return false;
        std::int64_t v = 0;
        const auto result = std::from_chars(m_pos, m_end, v);
        if (result.ec != std::errc() || v < min || v > max)
            return false;
        m_pos = result.ptr;
        out = v;
        return true;
    }

    bool Double(double& out)
    {
        if (m_pos == m_end || *m_pos == '+')
            return false;
        const auto result = std::from_chars(m_pos, m_end, out);
        if (result.ec != std::errc())
            return false;
        m_pos = result.ptr;
        return true;
    }

    bool Flag(bool& out)
    {
        unsigned v = 0;
        if (!Unsigned(v, 1))
            return false;
        out = v != 0;
        return true;
    }

private:
    const char* m_pos;
    const char* m_end;
};

// A number in the payload setter's range, stored through it; the value is
// kept only when the whole payload reads.
template <typename T>
bool ReadUnsigned(Reader& r, ORUVALUE& value, void (ORUVALUE::*set)(T),
                  std::uint64_t max = std::numeric_limits<T>::max(), int base = 10)
{
    T v = 0;
    const bool ok = r.Unsigned(v, max, base);
    (value.*set)(v);
    return ok;
}

// A signed number in T's range, stored as a 32-bit integer.
template <typename T> bool ReadSigned(Reader& r, ORUVALUE& value)
{
    std::int64_t v = 0;
    const bool ok = r.Signed(v, std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
    value.SetInteger(static_cast<std::int32_t>(v));
    return ok;
}

bool ReadTime(Reader& r, ORUTIME& t)
{
    return r.Unsigned(t.year) && r.Literal("-") && r.Unsigned(t.month) && r.Literal("-") &&
           r.Unsigned(t.day) && r.Literal(" ") && r.Unsigned(t.hour) && r.Literal(":") &&
           r.Unsigned(t.minute) && r.Literal(":") && r.Unsigned(t.second) && r.Literal(".") &&
           r.Unsigned(t.hundredths) && r.Literal(" wd=") && r.Unsigned(t.weekDay) && r.Literal(" yd=") &&
           r.Unsigned(t.dayOfYear) && r.Literal(" local=") && r.Flag(t.isLocalTime) && r.Literal(" dst=") &&
           r.Flag(t.isDaylightSaving);
}

// "<type>" or "<type>.<revision>" before the first colon.
bool ReadHeader(const char* begin, const char* end, OruValueType& type)
{
    Reader r(begin, end);
    std::int32_t number = 0;
    if (!r.Unsigned(number))
        return false;
    if (r.Literal("."))
    {
        std::uint64_t revision = 0;
        if (!r.Unsigned(revision))
            return false;
    }
    if (!r.AtEnd())
        return false;
    type = static_cast<OruValueType>(number);
    return true;
}

} // namespace

void ORUVALUE::Serialize(oru_string& out, bool internalFormat) const
{
    std::string text = std::to_string(static_cast<std::int32_t>(ivt));
    if (internalFormat)
        text += kInternalRevision;
    text += ':';

    switch (KindOf(ivt))
    {
    case Kind::Unset:
    case Kind::Empty:
    case Kind::Unknown: // only the number; it reads back as an empty value
        break;
    case Kind::Bool:
        text += GetBool() ? "true" : "false";
        break;
    case Kind::Float:
        text += FloatText(GetFloat());
        break;
    case Kind::Signed32:
        text += std::to_string(GetInteger());
        break;
    case Kind::Signed16:
        text += std::to_string(static_cast<std::int16_t>(GetWord()));
        break;
    case Kind::Byte:
        text += std::to_string(GetByte());
        break;
    case Kind::Word:
        text += std::to_string(GetWord());
        break;
    case Kind::DWord:
        text += std::to_string(GetDWord());
        break;
    case Kind::Data40:
    {
        char hex[16];
        std::snprintf(hex, sizeof hex, "%010" PRIX64, GetData40());
        text += hex;
        break;
    }
    case Kind::String:
        text.append(m_string.c_str(), m_string.length());
        break;
    case Kind::Date:
    case Kind::Time:
    case Kind::DateTime:
    case Kind::DayTime:
        text += TimeText(m_time);
        break;
    }
    out.assign(text.data(), text.size());
}

void ORUVALUE::Deserialize(const oru_string& in)
{
    Reset();
    const char* const begin = in.c_str();
    const char* const end = begin + in.length();
    const char* colon = begin;
    while (colon != end && *colon != ':')
        ++colon;
    if (colon == end)
        return;

    OruValueType type = ivtEmpty;
    if (!ReadHeader(begin, colon, type))
        return;

    ORUVALUE value;
    value.ivt = type;
    Reader r(colon + 1, end);
    bool ok = false;
    switch (KindOf(type))
    {
    case Kind::Unset:
    case Kind::Empty:
        ok = true;
        break;
    case Kind::Bool:
        if (r.Literal("true") || r.Literal("1"))
            value.SetBool(true), ok = true;
        else if (r.Literal("false") || r.Literal("0"))
            value.SetBool(false), ok = true;
        break;
    case Kind::Float:
    {
        double v = 0;
        ok = r.Double(v);
        value.SetFloat(v);
        break;
    }
    case Kind::Signed32:
        ok = ReadSigned<std::int32_t>(r, value);
        break;
    case Kind::Signed16:
        ok = ReadSigned<std::int16_t>(r, value);
        break;
    case Kind::Byte:
        ok = ReadUnsigned(r, value, &ORUVALUE::SetByte);
        break;
    case Kind::Word:
        ok = ReadUnsigned(r, value, &ORUVALUE::SetWord);
        break;
    case Kind::DWord:
        ok = ReadUnsigned(r, value, &ORUVALUE::SetDWord);
        break;
    case Kind::Data40:
        ok = ReadUnsigned(r, value, &ORUVALUE::SetData40, LumPlatformDetail::kData40Mask, 16);
        break;
    case Kind::String:
        // Any bytes, colons and zeros included.
        value.m_string.assign(colon + 1, static_cast<std::size_t>(end - (colon + 1)));
        *this = std::move(value);
        return;
    case Kind::Date:
    case Kind::Time:
    case Kind::DateTime:
    case Kind::DayTime:
        ok = ReadTime(r, value.m_time);
        break;
    case Kind::Unknown:
        break;
    }
    if (ok && r.AtEnd())
        *this = std::move(value);
}
