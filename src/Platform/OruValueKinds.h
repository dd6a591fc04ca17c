#pragma once

#include <Platform/OruValue.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

namespace LumPlatformDetail
{

// How a value type number stores and prints its payload. Several numbers
// share a payload: 5 is a signed 16-bit integer, 20 an unsigned 32-bit one,
// 1021 a byte, 1005/1036/1037/1039 doubles, 102 and 201 date-times, 104 a
// time and 105 a date.
enum class Kind
{
    Unset,
    Empty,
    Bool,
    Float,
    Signed32,
    Signed16,
    Byte,
    Word,
    DWord,
    Data40,
    String,
    Date,
    Time,
    DateTime,
    DayTime,
    Unknown,
};

inline Kind KindOf(OruValueType type)
{
    switch (static_cast<std::int32_t>(type))
    {
    case 0:
        return Kind::Unset;
    case 1:
        return Kind::Empty;
    case 2:
        return Kind::Bool;
    case 3:
    case 1005:
    case 1036:
    case 1037:
    case 1039:
        return Kind::Float;
    case 4:
    case 14:
        return Kind::Signed32;
    case 5:
        return Kind::Signed16;
    case 6:
    case 1021:
        return Kind::Byte;
    case 7:
        return Kind::Word;
    case 8:
    case 20:
        return Kind::DWord;
    case 9:
        return Kind::Data40;
    case 10:
        return Kind::String;
    case 11:
    case 105:
        return Kind::Date;
    case 12:
    case 104:
        return Kind::Time;
    case 13:
    case 102:
    case 201:
        return Kind::DateTime;
    case 15:
        return Kind::DayTime;
    default:
        return Kind::Unknown;
    }
}

inline bool IsTimeKind(Kind kind)
{
    return kind == Kind::Date || kind == Kind::Time || kind == Kind::DateTime || kind == Kind::DayTime;
}

constexpr std::uint64_t kData40Mask = (std::uint64_t{1} << 40) - 1;

// The shortest text that reads back as the same double; every NaN is "nan".
inline std::string FloatText(double v)
{
    if (std::isnan(v))
        return "nan";
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, v);
    return std::string(text, result.ptr);
}

} // namespace LumPlatformDetail
