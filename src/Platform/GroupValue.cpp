#include <Platform/KnxStack.h>

#include "KnxFloat16.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>

namespace KnxStack
{

namespace
{
constexpr std::size_t kString14Length = 14;

std::string ByteCount(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

// Getters read only what the data holds; the defined size is not consulted,
// so a wider value may be read by a narrower getter (an 8-bit status byte
// through GetAsUnsigned3, for example).
[[noreturn]] __attribute__((noinline, cold)) void ThrowTooShort(const BinaryData& data, std::size_t needed,
                                                                const char* function)
{
    throw GroupValueException(std::string(function) + ": group value holds " + ByteCount(data.GetSize()) +
                              ", " + std::to_string(needed) + " needed");
}

// Every read goes through here: the check stays inline, the message out of line.
inline const unsigned char* Require(const BinaryData& data, std::size_t needed, const char* function)
{
    if (__builtin_expect(data.GetSize() < needed, 0))
        ThrowTooShort(data, needed, function);
    return data.GetData();
}

BinaryData Bytes(std::initializer_list<unsigned char> bytes)
{
    return BinaryData(bytes.begin(), bytes.size());
}

unsigned char Byte(unsigned value)
{
    return static_cast<unsigned char>(value & 0xFFu);
}

std::uint16_t ReadUInt16(const unsigned char* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint32_t ReadUInt32(const unsigned char* bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

BinaryData UInt16Bytes(std::uint16_t value)
{
    return Bytes({Byte(value >> 8u), Byte(value)});
}

BinaryData UInt32Bytes(std::uint32_t value)
{
    return Bytes({Byte(value >> 24u), Byte(value >> 16u), Byte(value >> 8u), Byte(value)});
}

// Two's complement read without relying on implementation-defined narrowing.
std::int32_t ToSigned32(std::uint32_t raw)
{
    return raw < 0x80000000u ? static_cast<std::int32_t>(raw)
                             : static_cast<std::int32_t>(static_cast<std::int64_t>(raw) - 0x100000000LL);
}

void CheckRange(const char* function, const char* what, int value, int low, int high)
{
    if (value < low || value > high)
    {
        throw GroupValueException(std::string(function) + ": " + what + " " + std::to_string(value) +
                                  " is outside " + std::to_string(low) + ".." + std::to_string(high));
    }
}
} // namespace

GroupValue::GroupValue(const BinaryData& data, unsigned bitSize) : m_data(data), m_bitSize(bitSize) {}

// Raw data comes in whole bytes: the defined size follows the byte count.
void GroupValue::SetRawData(const BinaryData& data)
{
    m_data = data;
    m_bitSize = static_cast<unsigned>(data.GetSize() * 8);
}

void GroupValue::SetAsBoolean(bool value)
{
    *this = GroupValue(Bytes({value ? Byte(1) : Byte(0)}), 1);
}

void GroupValue::SetAsUnsigned2(unsigned char value)
{
    *this = GroupValue(Bytes({Byte(value & 0x03u)}), 2);
}

void GroupValue::SetAsUnsigned4(unsigned char value)
{
    *this = GroupValue(Bytes({Byte(value & 0x0Fu)}), 4);
}

void GroupValue::SetAsUnsigned8(unsigned char value)
{
    SetRawData(Bytes({value}));
}

void GroupValue::SetAsSigned8(signed char value)
{
    SetRawData(Bytes({static_cast<unsigned char>(value)}));
}

void GroupValue::SetAsChar(char value)
{
    SetRawData(Bytes({static_cast<unsigned char>(value)}));
}

void GroupValue::SetAsUnsigned16(unsigned short value)
{
    SetRawData(UInt16Bytes(value));
}

void GroupValue::SetAsSigned16(short value)
{
    SetRawData(UInt16Bytes(static_cast<std::uint16_t>(value)));
}

void GroupValue::SetAsFloat16(double value)
{
    SetRawData(UInt16Bytes(Detail::EncodeKnxFloat16(value)));
}

// unsigned long and long are 64 bits wide on x86-64: only the low 32 count.
void GroupValue::SetAsUnsigned32(unsigned long value)
{
    SetRawData(UInt32Bytes(static_cast<std::uint32_t>(value & 0xFFFFFFFFul)));
}

void GroupValue::SetAsSigned32(long value)
{
    *this = GroupValue(
        UInt32Bytes(static_cast<std::uint32_t>(static_cast<std::int64_t>(value) & 0xFFFFFFFFll)), 32);
}

void GroupValue::SetAsFloat32(float value)
{
    // One quiet NaN for every NaN: x86 and ARM produce different ones.
    std::uint32_t bits = 0x7FC00000u;
    if (!std::isnan(value))
    {
        static_assert(sizeof bits == sizeof value, "IEEE 754 single expected");
        std::memcpy(&bits, &value, sizeof bits);
    }
    SetRawData(UInt32Bytes(bits));
}

void GroupValue::SetAsString14(const std::string& latin1)
{
    unsigned char bytes[kString14Length] = {};
    std::memcpy(bytes, latin1.data(), std::min(latin1.size(), kString14Length));
    *this = GroupValue(BinaryData(bytes, kString14Length), kString14Length * 8);
}

void GroupValue::SetAsDate(int day, int month, int year)
{
    CheckRange("SetAsDate", "day", day, 1, 31);
    CheckRange("SetAsDate", "month", month, 1, 12);
    CheckRange("SetAsDate", "year", year, 1990, 2089);
    const int twoDigitYear = year < 2000 ? year - 1900 : year - 2000;
    *this = GroupValue(Bytes({Byte(static_cast<unsigned>(day)), Byte(static_cast<unsigned>(month)),
                              Byte(static_cast<unsigned>(twoDigitYear))}),
                       24);
}

void GroupValue::SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek day)
{
    CheckRange("SetAsTimeOfDay", "hour", hour, 0, 23);
    CheckRange("SetAsTimeOfDay", "minute", minute, 0, 59);
    CheckRange("SetAsTimeOfDay", "second", second, 0, 59);
    const auto weekday = static_cast<unsigned>(day);
    CheckRange("SetAsTimeOfDay", "weekday", static_cast<int>(weekday), 0, 7);
    *this = GroupValue(Bytes({Byte(weekday << 5 | static_cast<unsigned>(hour)),
                              Byte(static_cast<unsigned>(minute)), Byte(static_cast<unsigned>(second))}),
                       24);
}

bool GroupValue::GetAsBoolean() const
{
    return (Require(m_data, 1, "GetAsBoolean")[0] & 0x01u) != 0;
}

unsigned char GroupValue::GetAsUnsigned2() const
{
    return static_cast<unsigned char>(Require(m_data, 1, "GetAsUnsigned2")[0] & 0x03u);
}

unsigned char GroupValue::GetAsUnsigned3() const
{
    return static_cast<unsigned char>(Require(m_data, 1, "GetAsUnsigned3")[0] & 0x07u);
}

unsigned char GroupValue::GetAsUnsigned4() const
{
    return static_cast<unsigned char>(Require(m_data, 1, "GetAsUnsigned4")[0] & 0x0Fu);
}

unsigned char GroupValue::GetAsUnsigned8() const
{
    return Require(m_data, 1, "GetAsUnsigned8")[0];
}

signed char GroupValue::GetAsSigned8() const
{
    const unsigned char raw = Require(m_data, 1, "GetAsSigned8")[0];
    return static_cast<signed char>(raw < 0x80u ? raw : raw - 0x100);
}

unsigned short GroupValue::GetAsUnsigned16() const
{
    return ReadUInt16(Require(m_data, 2, "GetAsUnsigned16"));
}

short GroupValue::GetAsSigned16() const
{
    const std::uint16_t raw = ReadUInt16(Require(m_data, 2, "GetAsSigned16"));
    return static_cast<short>(raw < 0x8000u ? raw : raw - 0x10000);
}

double GroupValue::GetAsFloat16() const
{
    return Detail::DecodeKnxFloat16(ReadUInt16(Require(m_data, 2, "GetAsFloat16")));
}

unsigned long GroupValue::GetAsUnsigned32() const
{
    return ReadUInt32(Require(m_data, 4, "GetAsUnsigned32"));
}

long GroupValue::GetAsSigned32() const
{
    return ToSigned32(ReadUInt32(Require(m_data, 4, "GetAsSigned32")));
}

float GroupValue::GetAsFloat32() const
{
    const std::uint32_t bits = ReadUInt32(Require(m_data, 4, "GetAsFloat32"));
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::string GroupValue::GetAsString14() const
{
    const auto* bytes = reinterpret_cast<const char*>(Require(m_data, kString14Length, "GetAsString14"));
    const auto* end = std::find(bytes, bytes + kString14Length, '\0');
    return std::string(bytes, end);
}

// Reserved bits are masked off here; callers that care test the raw bytes.
// Two-digit years 90..99 are the 1990s, all others count from 2000, so a
// year byte above 99 reads as 2100 or later and never aliases a valid date.
void GroupValue::GetAsDate(int* day, int* month, int* year) const
{
    const unsigned char* bytes = Require(m_data, 3, "GetAsDate");
    const int twoDigitYear = bytes[2] & 0x7F;
    if (day != nullptr)
    {
        *day = bytes[0] & 0x1F;
    }
    if (month != nullptr)
    {
        *month = bytes[1] & 0x0F;
    }
    if (year != nullptr)
    {
        *year = (twoDigitYear >= 90 && twoDigitYear <= 99 ? 1900 : 2000) + twoDigitYear;
    }
}

// No validation: minute 60 and the like are passed on for the caller to judge.
void GroupValue::GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* day) const
{
    const unsigned char* bytes = Require(m_data, 3, "GetAsTimeOfDay");
    if (hour != nullptr)
    {
        *hour = bytes[0] & 0x1F;
    }
    if (minute != nullptr)
    {
        *minute = bytes[1] & 0x3F;
    }
    if (second != nullptr)
    {
        *second = bytes[2] & 0x3F;
    }
    if (day != nullptr)
    {
        *day = static_cast<DayOfWeek>(bytes[0] >> 5);
    }
}

} // namespace KnxStack
