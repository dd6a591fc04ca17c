#pragma once

/// @file
/// @brief The KNX stack's datapoint type, raw bytes and group values.

#include <Platform/Export.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/container/small_vector.hpp>

/// @brief A KNX datapoint type (DPT): main 0 means no DPT given, sub 0 means main.x.
struct KNXDPT
{
    std::uint8_t bitSize = 0;     ///< Size of the group value in bits; 0 when not given.
    std::uint16_t mainNumber = 0; ///< Main number (9 of 9.001); 0 when no DPT is given.
    std::uint16_t subNumber = 0;  ///< Sub number (1 of 9.001); 0 means the whole main number.
};

/// @brief The platform's KNX stack: raw bytes and group values.
namespace KnxStack
{

/// @brief The one exception type of the KNX stack: misuse of a group value.
class LUM_PLATFORM_API GroupValueException : public std::runtime_error
{
public:
    /// @brief An exception whose what() is @p what.
    explicit GroupValueException(const std::string& what);
};

/// @brief Weekday of the 3-byte time of day: 0 no day, 1 Monday .. 7 Sunday.
enum class DayOfWeek : std::uint8_t
{
    NoDay = 0,     ///< No day given.
    Monday = 1,    ///< Monday.
    Tuesday = 2,   ///< Tuesday.
    Wednesday = 3, ///< Wednesday.
    Thursday = 4,  ///< Thursday.
    Friday = 5,    ///< Friday.
    Saturday = 6,  ///< Saturday.
    Sunday = 7,    ///< Sunday.
};

/// @brief The bytes of a group value. A plain value type; const objects may be read from any thread.
class LUM_PLATFORM_API BinaryData
{
public:
    /// @brief No bytes.
    BinaryData() = default;
    /// @brief A copy of @p length bytes from @p bytes.
    /// @throws GroupValueException when @p bytes is null and @p length is not 0.
    BinaryData(const unsigned char* bytes, std::size_t length);

    /// @brief The number of bytes.
    std::size_t GetSize() const { return m_bytes.size(); }
    /// @brief The bytes; valid until the object changes or ends.
    const unsigned char* GetData() const { return m_bytes.data(); }

    /// @brief The byte at @p index.
    ///
    /// Big-endian reads starting at index. A read that runs past the end uses
    /// the bytes that are there (a 3-byte buffer read as 32 bits gives its
    /// 24-bit number); an index at or past the end throws GroupValueException.
    std::uint8_t GetUInt8Value(std::size_t index) const;
    /// @brief Three bytes from @p index, big-endian; see GetUInt8Value() for short buffers.
    /// @throws GroupValueException for an index at or past the end.
    std::uint32_t GetUInt24Value(std::size_t index) const;
    /// @brief Four bytes from @p index, big-endian; see GetUInt8Value() for short buffers.
    /// @throws GroupValueException for an index at or past the end.
    std::uint32_t GetUInt32Value(std::size_t index) const;
    /// @brief Writes the byte at @p index.
    ///
    /// Grows the buffer when index is past its end.
    /// @throws GroupValueException for an index of 65536 or more.
    void SetUInt8Value(std::size_t index, std::uint8_t value);

    /// @brief Hexadecimal bytes separated by blanks, e.g. "0C 1A".
    std::string ToString() const;

    /// @brief Whether both hold the same bytes.
    bool operator==(const BinaryData& other) const { return m_bytes == other.m_bytes; }
    /// @brief Whether the bytes differ.
    bool operator!=(const BinaryData& other) const { return !(*this == other); }

    /// @brief Bytes held without allocating.
    ///
    /// Bus payloads of up to 14 bytes (every fixed-size DPT) live inline: no
    /// conversion allocates.
    static constexpr std::size_t kInlineBytes = 14;

private:
    boost::container::small_vector<unsigned char, kInlineBytes> m_bytes;
};

/// @brief A group value as the bus carries it: bytes plus a defined size in bits.
///
/// Values shorter than a byte sit in the low bits of the first byte. Every
/// setter replaces data and size; getters throw GroupValueException when the
/// data holds too few bytes. A plain value type; const objects may be read from any thread.
class LUM_PLATFORM_API GroupValue
{
public:
    /// @brief No bytes, defined size 0.
    GroupValue() = default;
    /// @brief The bytes @p data with the defined size @p bitSize, taken as given (not checked).
    GroupValue(const BinaryData& data, unsigned bitSize);

    /// @brief The bytes.
    const BinaryData& GetRawData() const { return m_data; }
    /// @brief Replaces the bytes.
    ///
    /// Also sets the defined size to 8 bits per byte.
    void SetRawData(const BinaryData& data);
    /// @brief The defined size in bits.
    unsigned GetDefinedSize() const { return m_bitSize; }

    /// @brief One bit (1.x).
    ///
    /// Setters mask their argument to the width they write.
    void SetAsBoolean(bool value);
    /// @brief Two bits (2.x), masked.
    void SetAsUnsigned2(unsigned char value);
    /// @brief Four bits (3.x), masked.
    void SetAsUnsigned4(unsigned char value);
    /// @brief One unsigned byte.
    void SetAsUnsigned8(unsigned char value);
    /// @brief One signed byte.
    void SetAsSigned8(signed char value);
    /// @brief One character byte (4.x).
    void SetAsChar(char value);
    /// @brief Two bytes, unsigned, big-endian.
    void SetAsUnsigned16(unsigned short value);
    /// @brief Two bytes, signed, big-endian.
    void SetAsSigned16(short value);
    /// @brief The KNX 2-byte float (9.x).
    ///
    /// KNX 2-byte float, rounded to the nearest value (ties away from zero),
    /// saturating at F8 00 and 7F FE; 32767.0 and NaN write the invalid
    /// marker 7F FF.
    void SetAsFloat16(double value);
    /// @brief Four bytes, unsigned, big-endian (only the low 32 bits count).
    void SetAsUnsigned32(unsigned long value);
    /// @brief Four bytes, signed, big-endian (only the low 32 bits count).
    void SetAsSigned32(long value);
    /// @brief The IEEE 754 single (14.x).
    ///
    /// Every NaN is sent as 7F C0 00 00.
    void SetAsFloat32(float value);
    /// @brief A 14-byte text (16.x).
    ///
    /// Latin-1, cut at 14 bytes, padded with zero bytes.
    void SetAsString14(const std::string& latin1);
    /// @brief A 3-byte date (11.001).
    ///
    /// Years 1990 .. 2089, months 1 .. 12, days 1 .. 31; hours 0 .. 23, minutes
    /// and seconds 0 .. 59. Anything else throws and leaves the value as it was.
    /// @throws GroupValueException for a field outside its range.
    void SetAsDate(int day, int month, int year);
    /// @brief A 3-byte time of day with weekday (10.001); ranges as for SetAsDate().
    /// @throws GroupValueException for a field outside its range; the value stays as it was.
    void SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek day);

    /// @brief The lowest bit of the first byte.
    /// @throws GroupValueException when there is no byte (as every getter does when the data is too short).
    bool GetAsBoolean() const;
    /// @brief The low two bits of the first byte.
    unsigned char GetAsUnsigned2() const;
    /// @brief The low three bits of the first byte.
    unsigned char GetAsUnsigned3() const;
    /// @brief The low four bits of the first byte.
    unsigned char GetAsUnsigned4() const;
    /// @brief The first byte, unsigned.
    unsigned char GetAsUnsigned8() const;
    /// @brief The first byte, signed.
    signed char GetAsSigned8() const;
    /// @brief Two bytes, unsigned, big-endian.
    unsigned short GetAsUnsigned16() const;
    /// @brief Two bytes, signed, big-endian.
    short GetAsSigned16() const;
    /// @brief The KNX 2-byte float.
    ///
    /// Non-normalised forms decode too; 7F FF gives 670760.96 by the formula.
    double GetAsFloat16() const;
    /// @brief Four bytes, unsigned, big-endian.
    unsigned long GetAsUnsigned32() const;
    /// @brief Four bytes, signed, big-endian.
    long GetAsSigned32() const;
    /// @brief Four bytes as an IEEE 754 single.
    float GetAsFloat32() const;
    /// @brief The Latin-1 text.
    ///
    /// Up to the first zero byte, at most 14 bytes.
    std::string GetAsString14() const;
    /// @brief The 3-byte date; each output pointer may be null.
    ///
    /// Year from the low 7 bits of the year byte: 90..99 → 1990s, 0..89 →
    /// 2000..2089, 100..127 → 2100..2127. The date and time getters mask off
    /// reserved bits and do not validate; null outputs are skipped.
    void GetAsDate(int* day, int* month, int* year) const;
    /// @brief The 3-byte time of day with weekday; each output pointer may be null; not validated.
    void GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* day) const;

    /// @brief Whether defined size and bytes are the same.
    bool operator==(const GroupValue& other) const
    {
        return m_bitSize == other.m_bitSize && m_data == other.m_data;
    }
    /// @brief Whether defined size or bytes differ.
    bool operator!=(const GroupValue& other) const { return !(*this == other); }

private:
    BinaryData m_data;
    unsigned m_bitSize = 0;
};

} // namespace KnxStack
