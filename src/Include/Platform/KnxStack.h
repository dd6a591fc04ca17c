#pragma once

#include <Platform/Export.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/container/small_vector.hpp>

// A KNX datapoint type: main 0 means no DPT given, sub 0 means main.x.
struct KNXDPT
{
    std::uint8_t bitSize = 0;
    std::uint16_t mainNumber = 0;
    std::uint16_t subNumber = 0;
};

namespace KnxStack
{

// The one exception type of the KNX stack: misuse of a group value.
class LUM_PLATFORM_API GroupValueException : public std::runtime_error
{
public:
    explicit GroupValueException(const std::string& what);
};

// Weekday of the 3-byte time of day: 0 no day, 1 Monday .. 7 Sunday.
enum class DayOfWeek : std::uint8_t
{
    NoDay = 0,
    Monday = 1,
    Tuesday = 2,
    Wednesday = 3,
    Thursday = 4,
    Friday = 5,
    Saturday = 6,
    Sunday = 7,
};

class LUM_PLATFORM_API BinaryData
{
public:
    BinaryData() = default;
    BinaryData(const unsigned char* bytes, std::size_t length);

    std::size_t GetSize() const { return m_bytes.size(); }
    const unsigned char* GetData() const { return m_bytes.data(); }

    // Big-endian reads starting at index. A read that runs past the end uses
    // the bytes that are there (a 3-byte buffer read as 32 bits gives its
    // 24-bit number); an index at or past the end throws GroupValueException.
    std::uint8_t GetUInt8Value(std::size_t index) const;
    std::uint32_t GetUInt24Value(std::size_t index) const;
    std::uint32_t GetUInt32Value(std::size_t index) const;
    // Grows the buffer when index is past its end.
    void SetUInt8Value(std::size_t index, std::uint8_t value);

    // Hexadecimal bytes separated by blanks, e.g. "0C 1A".
    std::string ToString() const;

    bool operator==(const BinaryData& other) const { return m_bytes == other.m_bytes; }
    bool operator!=(const BinaryData& other) const { return !(*this == other); }

    // Bus payloads of up to 14 bytes (every fixed-size DPT) live inline: no
    // conversion allocates.
    static constexpr std::size_t kInlineBytes = 14;

private:
    boost::container::small_vector<unsigned char, kInlineBytes> m_bytes;
};

// A group value as the bus carries it: bytes plus a defined size in bits.
// Values shorter than a byte sit in the low bits of the first byte. Every
// setter replaces data and size; getters throw GroupValueException when the
// data holds too few bytes.
class LUM_PLATFORM_API GroupValue
{
public:
    GroupValue() = default;
    GroupValue(const BinaryData& data, unsigned bitSize);

    const BinaryData& GetRawData() const { return m_data; }
    // Also sets the defined size to 8 bits per byte.
    void SetRawData(const BinaryData& data);
    unsigned GetDefinedSize() const { return m_bitSize; }

    // Setters mask their argument to the width they write.
    void SetAsBoolean(bool value);
    void SetAsUnsigned2(unsigned char value);
    void SetAsUnsigned4(unsigned char value);
    void SetAsUnsigned8(unsigned char value);
    void SetAsSigned8(signed char value);
    void SetAsChar(char value);
    void SetAsUnsigned16(unsigned short value);
    void SetAsSigned16(short value);
    // KNX 2-byte float, rounded to the nearest value (ties away from zero),
    // saturating at F8 00 and 7F FE; 32767.0 and NaN write the invalid
    // marker 7F FF.
    void SetAsFloat16(double value);
    void SetAsUnsigned32(unsigned long value);
    void SetAsSigned32(long value);
    // Every NaN is sent as 7F C0 00 00.
    void SetAsFloat32(float value);
    // Latin-1, cut at 14 bytes, padded with zero bytes.
    void SetAsString14(const std::string& latin1);
    // Years 1990 .. 2089, months 1 .. 12, days 1 .. 31; hours 0 .. 23, minutes
    // and seconds 0 .. 59. Anything else throws and leaves the value as it was.
    void SetAsDate(int day, int month, int year);
    void SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek day);

    bool GetAsBoolean() const;
    unsigned char GetAsUnsigned2() const;
    unsigned char GetAsUnsigned3() const;
    unsigned char GetAsUnsigned4() const;
    unsigned char GetAsUnsigned8() const;
    signed char GetAsSigned8() const;
    unsigned short GetAsUnsigned16() const;
    short GetAsSigned16() const;
    // Non-normalised forms decode too; 7F FF gives 670760.96 by the formula.
    double GetAsFloat16() const;
    unsigned long GetAsUnsigned32() const;
    long GetAsSigned32() const;
    float GetAsFloat32() const;
    // Up to the first zero byte, at most 14 bytes.
    std::string GetAsString14() const;
    // Year from the low 7 bits of the year byte: 90..99 → 1990s, 0..89 →
    // 2000..2089, 100..127 → 2100..2127. The date and time getters mask off
    // reserved bits and do not validate; null outputs are skipped.
    void GetAsDate(int* day, int* month, int* year) const;
    void GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* day) const;

    bool operator==(const GroupValue& other) const
    {
        return m_bitSize == other.m_bitSize && m_data == other.m_data;
    }
    bool operator!=(const GroupValue& other) const { return !(*this == other); }

private:
    BinaryData m_data;
    unsigned m_bitSize = 0;
};

} // namespace KnxStack
