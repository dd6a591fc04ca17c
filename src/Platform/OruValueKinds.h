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

// Every value type number the platform knows: its name and how it stores its payload.
struct ValueTypeInfo
{
    std::int32_t number;
    const char* name;
    Kind kind;
};

inline constexpr ValueTypeInfo kValueTypes[] = {{0, "Unset", Kind::Unset},
                                                {1, "Empty", Kind::Empty},
                                                {2, "Bool", Kind::Bool},
                                                {3, "Float", Kind::Float},
                                                {4, "Integer", Kind::Signed32},
                                                {5, "Short", Kind::Signed16},
                                                {6, "Byte", Kind::Byte},
                                                {7, "Word", Kind::Word},
                                                {8, "DWord", Kind::DWord},
                                                {9, "Data40", Kind::Data40},
                                                {10, "String", Kind::String},
                                                {11, "Date", Kind::Date},
                                                {12, "Time", Kind::Time},
                                                {13, "DateTime", Kind::DateTime},
                                                {14, "TimePeriod", Kind::Signed32},
                                                {15, "DayTime", Kind::DayTime},
                                                {20, "Unsigned", Kind::DWord},
                                                {102, "LocalDateTime", Kind::DateTime},
                                                {104, "LocalTime", Kind::Time},
                                                {105, "LocalDate", Kind::Date},
                                                {201, "UtcDateTime", Kind::DateTime},
                                                {1005, "Percentage", Kind::Float},
                                                {1021, "Enumeration", Kind::Byte},
                                                {1036, "Scaling", Kind::Float},
                                                {1037, "Dimming", Kind::Float},
                                                {1039, "Measurement", Kind::Float}};

// The entry of `type`; null for a number the platform does not know.
inline const ValueTypeInfo* FindValueType(OruValueType type)
{
    // The basic types 0..15 are the first rows in order: the common case is one index.
    constexpr std::int32_t kDirect = 16;
    static_assert(kValueTypes[kDirect - 1].number == kDirect - 1, "rows 0..15 are the types 0..15");
    const auto number = static_cast<std::int32_t>(type);
    if (number >= 0 && number < kDirect)
        return &kValueTypes[number];
    for (const ValueTypeInfo& info : kValueTypes)
    {
        if (info.number == static_cast<std::int32_t>(type))
            return &info;
    }
    return nullptr;
}

inline Kind KindOf(OruValueType type)
{
    const ValueTypeInfo* info = FindValueType(type);
    return info != nullptr ? info->kind : Kind::Unknown;
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
