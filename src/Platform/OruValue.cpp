#include "NameTable.h"
#include "OruValueKinds.h"

#include <Platform/OruValue.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

using LumPlatformDetail::FloatText;
using LumPlatformDetail::Kind;
using LumPlatformDetail::KindOf;

// --- oru_string ---------------------------------------------------------------

oru_string::oru_string(const char* text) : m_text(text != nullptr ? text : "") {}

oru_string::oru_string(const std::string& text) : m_text(text) {}

void oru_string::assign(const char* text)
{
    if (text != nullptr)
        m_text.assign(text);
    else
        m_text.clear();
}

void oru_string::assign(const char* text, std::size_t length)
{
    if (text != nullptr)
        m_text.assign(text, length);
    else
        m_text.clear();
}

void oru_string::assign(char c)
{
    m_text.assign(1, c);
}

void oru_string::append(char c)
{
    m_text.push_back(c);
}

void oru_string::append(const char* text)
{
    if (text != nullptr)
        m_text.append(text);
}

void oru_string::clear()
{
    m_text.clear();
}

void oru_string::Free()
{
    std::string().swap(m_text);
}

// --- ORUVALUE payload ---------------------------------------------------------

namespace
{
// The From* factories differ only in the type tag and the payload setter.
template <typename T> ORUVALUE Tagged(OruValueType type, void (ORUVALUE::*set)(T), T v)
{
    ORUVALUE value;
    value.ivt = type;
    (value.*set)(v);
    return value;
}
} // namespace

ORUVALUE ORUVALUE::FromBool(bool v)
{
    return Tagged(ivtBool, &ORUVALUE::SetBool, v);
}

ORUVALUE ORUVALUE::FromByte(std::uint8_t v)
{
    return Tagged(ivtByte, &ORUVALUE::SetByte, v);
}

ORUVALUE ORUVALUE::FromWord(std::uint16_t v)
{
    return Tagged(ivtWord, &ORUVALUE::SetWord, v);
}

ORUVALUE ORUVALUE::FromDWord(std::uint32_t v)
{
    return Tagged(ivtDWord, &ORUVALUE::SetDWord, v);
}

ORUVALUE ORUVALUE::FromInteger(std::int32_t v)
{
    return Tagged(ivtInteger, &ORUVALUE::SetInteger, v);
}

ORUVALUE ORUVALUE::FromFloat(double v)
{
    return Tagged(ivtFloat, &ORUVALUE::SetFloat, v);
}

ORUVALUE ORUVALUE::FromString(const std::string& utf8)
{
    ORUVALUE value;
    value.ivt = ivtString;
    value.m_string.assign(utf8.data(), utf8.size());
    return value;
}

ORUVALUE ORUVALUE::FromTime(OruValueType type, const ORUTIME& t)
{
    ORUVALUE value;
    value.ivt = type;
    value.m_time = t;
    return value;
}

bool ORUVALUE::GetBool() const
{
    return m_number != 0;
}

std::uint8_t ORUVALUE::GetByte() const
{
    return static_cast<std::uint8_t>(m_number);
}

std::uint16_t ORUVALUE::GetWord() const
{
    return static_cast<std::uint16_t>(m_number);
}

std::uint32_t ORUVALUE::GetDWord() const
{
    return static_cast<std::uint32_t>(m_number);
}

std::int32_t ORUVALUE::GetInteger() const
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(m_number));
}

double ORUVALUE::GetFloat() const
{
    double v;
    std::memcpy(&v, &m_number, sizeof v);
    return v;
}

std::uint64_t ORUVALUE::GetData40() const
{
    return m_number & LumPlatformDetail::kData40Mask;
}

void ORUVALUE::SetBool(bool v)
{
    m_number = v ? 1 : 0;
}

void ORUVALUE::SetByte(std::uint8_t v)
{
    m_number = v;
}

void ORUVALUE::SetWord(std::uint16_t v)
{
    m_number = v;
}

void ORUVALUE::SetDWord(std::uint32_t v)
{
    m_number = v;
}

void ORUVALUE::SetInteger(std::int32_t v)
{
    m_number = static_cast<std::uint32_t>(v);
}

void ORUVALUE::SetFloat(double v)
{
    static_assert(sizeof(double) == sizeof(std::uint64_t), "a double must fill the number");
    std::memcpy(&m_number, &v, sizeof v);
}

void ORUVALUE::SetData40(std::uint64_t v)
{
    m_number = v & LumPlatformDetail::kData40Mask;
}

void ORUVALUE::Reset()
{
    ivt = ivtEmpty;
    m_number = 0;
    m_string.clear();
    m_time.Clear(false);
}

bool ORUVALUE::operator==(const ORUVALUE& other) const
{
    if (ivt != other.ivt)
        return false;
    switch (KindOf(ivt))
    {
    case Kind::Unset:
    case Kind::Empty:
        return true;
    case Kind::Bool:
        return GetBool() == other.GetBool();
    case Kind::Float:
    {
        // Two NaNs are the same value here; 0.0 and -0.0 are too.
        const double a = GetFloat();
        const double b = other.GetFloat();
        return a == b || (std::isnan(a) && std::isnan(b));
    }
    case Kind::Signed32:
    case Kind::DWord:
        return GetDWord() == other.GetDWord();
    case Kind::Signed16:
    case Kind::Word:
        return GetWord() == other.GetWord();
    case Kind::Byte:
        return GetByte() == other.GetByte();
    case Kind::Data40:
        return GetData40() == other.GetData40();
    case Kind::String:
        return m_string == other.m_string;
    case Kind::Date:
    case Kind::Time:
    case Kind::DateTime:
    case Kind::DayTime:
        return m_time == other.m_time;
    case Kind::Unknown:
        break;
    }
    return m_number == other.m_number && m_string == other.m_string && m_time == other.m_time;
}

// --- text for logs ------------------------------------------------------------

namespace
{

// Log lines often print two values in one expression, and threads log
// concurrently: each thread cycles through a few buffers of its own.
std::string& NextBuffer()
{
    thread_local std::array<std::string, 8> ring;
    thread_local std::size_t next = 0;
    std::string& buffer = ring[next];
    next = (next + 1) % ring.size();
    return buffer;
}

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string Format(const char* format, ...)
{
    char text[128];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return n < 0 ? std::string()
                 : std::string(text, std::min<std::size_t>(static_cast<std::size_t>(n), sizeof text - 1));
}

std::string DateText(const ORUTIME& t)
{
    return Format("%04u-%02u-%02u", t.year, t.month, t.day);
}

std::string TimeText(const ORUTIME& t)
{
    return Format("%02u:%02u:%02u", t.hour, t.minute, t.second);
}

} // namespace

const char* ORUVALUE::ToString() const
{
    const Kind kind = KindOf(ivt);
    if (kind == Kind::Unknown)
        return nullptr;

    std::string& buffer = NextBuffer();
    switch (kind)
    {
    case Kind::Unset:
        buffer = "<unset>";
        break;
    case Kind::Empty:
        buffer = "<empty>";
        break;
    case Kind::Bool:
        buffer = GetBool() ? "true" : "false";
        break;
    case Kind::Float:
        buffer = FloatText(GetFloat());
        break;
    case Kind::Signed32:
        buffer = std::to_string(GetInteger());
        break;
    case Kind::Signed16:
        buffer = std::to_string(static_cast<std::int16_t>(GetWord()));
        break;
    case Kind::Byte:
        buffer = std::to_string(GetByte());
        break;
    case Kind::Word:
        buffer = std::to_string(GetWord());
        break;
    case Kind::DWord:
        buffer = std::to_string(GetDWord());
        break;
    case Kind::Data40:
        buffer = Format("0x%010" PRIX64, GetData40());
        break;
    case Kind::String:
        buffer = m_string.str();
        break;
    case Kind::Date:
        buffer = DateText(m_time);
        break;
    case Kind::Time:
    case Kind::DayTime:
        buffer = TimeText(m_time);
        break;
    case Kind::DateTime:
        buffer = DateText(m_time) + " " + TimeText(m_time);
        break;
    case Kind::Unknown:
        break;
    }
    return buffer.c_str();
}

// --- names --------------------------------------------------------------------

const char* ORUVALUE::GetNameFromValueType(OruValueType type)
{
    const LumPlatformDetail::ValueTypeInfo* info = LumPlatformDetail::FindValueType(type);
    return info != nullptr ? info->name : "Unknown";
}

const char* OruDP::GetNameFromValueSubType(OruValueSubType subType)
{
    static constexpr LumInternal::CodeName<std::int32_t> kNames[] = {
        {0, "Generic"},       {9, "Signed8Bit"},     {12, "Signed16Bit"},  {2001, "Switch"},
        {3001, "Status8Bit"}, {3002, "DimmingStep"}, {3003, "Float2Byte"}, {4001, "SceneNumber"},
        {8001, "Ascii"},      {8002, "Latin1"}};
    return LumInternal::NameOf(kNames, static_cast<std::int32_t>(subType), "Unknown");
}
