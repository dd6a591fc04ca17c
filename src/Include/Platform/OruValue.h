#pragma once

#include <Platform/Export.h>

#include <cstdint>
#include <ctime>
#include <string>

// The platform's tagged value. The numbers of OruValueType are fixed: tables
// of the object model refer to them. Unnamed numbers are valid values of the
// enumeration (its underlying type is fixed).
enum OruValueType : std::int32_t
{
    ivtUnset = 0,      // passes every type check
    ivtEmpty = 1,      // no value
    ivtBool = 2,       // one- and two-bit values
    ivtFloat = 3,      // double
    ivtInteger = 4,    // signed 32-bit
    ivtShort = 5,      // signed 16-bit
    ivtByte = 6,       // unsigned 8-bit
    ivtWord = 7,       // unsigned 16-bit
    ivtDWord = 8,      // unsigned 32-bit
    ivtData40 = 9,     // five raw bytes (default of 218.000)
    ivtString = 10,    // UTF-8 text
    ivtDate = 11,      // ORUTIME, date part
    ivtTime = 12,      // ORUTIME, time part
    ivtDateTime = 13,  // ORUTIME
    ivtTimePeriod = 14,// signed 32-bit (default of 13.100)
    ivtDayTime = 15,   // ORUTIME, time of day on a fixed date
    // Known by number to the compatibility rules; payloads as noted.
    ivtUnsigned = 20,       // unsigned 32-bit
    ivtLocalDateTime = 102, // ORUTIME
    ivtLocalTime = 104,     // ORUTIME, time part
    ivtLocalDate = 105,     // ORUTIME, date part
    ivtUtcDateTime = 201,   // ORUTIME
    ivtPercentage = 1005,   // double
    ivtEnumeration = 1021,  // unsigned 8-bit
    ivtScaling = 1036,      // double
    ivtDimming = 1037,      // double
    ivtMeasurement = 1039,  // double
};

namespace OruWeekDays
{
// One bit per day, Monday first; 0 is no day.
enum WEEK_DAY_TYPES : std::uint16_t
{
    WEEK_DAY_NONE = 0,
    WEEK_DAY_MONDAY = 1,
    WEEK_DAY_TUESDAY = 2,
    WEEK_DAY_WEDNESDAY = 4,
    WEEK_DAY_THURSDAY = 8,
    WEEK_DAY_FRIDAY = 16,
    WEEK_DAY_SATURDAY = 32,
    WEEK_DAY_SUNDAY = 64,
};
} // namespace OruWeekDays

namespace OruDP
{
// Refines a value type; the numbers are the platform's.
enum OruValueSubType : std::int32_t
{
    ivstNone = 0,
    ivstSigned8Bit = 9,
    ivstSigned16Bit = 12,
    ivstSwitch = 2001,
    ivstStatus8Bit = 3001,
    ivstDimmingStep = 3002,
    ivstFloat2Byte = 3003,
    ivstSceneNumber = 4001,
    ivstAscii = 8001,
    ivstLatin1 = 8002,
};

LUM_PLATFORM_API const char* GetNameFromValueSubType(OruValueSubType subType);
} // namespace OruDP

// The platform's string: a growable, always zero-terminated text.
class LUM_PLATFORM_API oru_string
{
public:
    oru_string() = default;
    explicit oru_string(const char* text);
    explicit oru_string(const std::string& text);

    void assign(const char* text);
    void assign(const char* text, std::size_t length);
    void assign(char c);
    void append(char c);
    void append(const char* text);
    void clear();
    // Releases the storage as well.
    void Free();

    const char* c_str() const { return m_text.c_str(); }
    std::size_t length() const { return m_text.size(); }
    bool empty() const { return m_text.empty(); }
    std::string str() const { return m_text; }

    bool operator==(const oru_string& other) const { return m_text == other.m_text; }
    bool operator!=(const oru_string& other) const { return !(*this == other); }

private:
    std::string m_text;
};

// The platform's date and time. Fields in this order; callers write them
// directly.
struct LUM_PLATFORM_API ORUTIME
{
    std::uint16_t year = 0;
    std::uint8_t month = 0;
    std::uint8_t day = 0;
    std::uint8_t hour = 0;
    std::uint8_t minute = 0;
    std::uint8_t second = 0;
    std::uint8_t hundredths = 0;
    std::uint16_t weekDay = 0;   // OruWeekDays::WEEK_DAY_TYPES mask
    std::uint16_t dayOfYear = 0; // 1 = 1 January, 0 = unknown
    bool isLocalTime = false;
    bool isDaylightSaving = false;

    // Zeroes every field; the flag becomes isLocalTime.
    void Clear(bool localTime);
    // Clears the time of day; fills weekday and day of year when the date is valid.
    void SetDate(unsigned short year, unsigned char month, unsigned char day, bool localTime);
    void SetDateTime(unsigned short year, unsigned char month, unsigned char day, unsigned char hour,
                     unsigned char minute, unsigned char second, bool localTime);
    // Seconds since 1970-01-01 UTC, broken down in UTC.
    ORUTIME& operator=(std::time_t seconds);
    operator struct tm() const;

    // Gregorian calendar, years 1400 to 9999.
    static bool IsValidDate(unsigned short year, unsigned char month, unsigned char day);
    static bool IsValidTime(unsigned char hour, unsigned char minute, unsigned char second);

    bool operator==(const ORUTIME& other) const;
    bool operator!=(const ORUTIME& other) const { return !(*this == other); }
};

// The platform's tagged value: a type number and a payload for that type.
// The payload setters write only the payload; the type stays as the caller
// set it. A number written through a narrower setter keeps only its low bits.
class LUM_PLATFORM_API ORUVALUE
{
public:
    OruValueType ivt = ivtEmpty;

    ORUVALUE() = default;
    ORUVALUE(const ORUVALUE&) = default;
    ORUVALUE(ORUVALUE&&) noexcept = default;
    ORUVALUE& operator=(const ORUVALUE&) = default;
    ORUVALUE& operator=(ORUVALUE&&) noexcept = default;
    ~ORUVALUE() = default;

    // Typed construction: type and payload in one step.
    static ORUVALUE FromBool(bool v);
    static ORUVALUE FromByte(std::uint8_t v);
    static ORUVALUE FromWord(std::uint16_t v);
    static ORUVALUE FromDWord(std::uint32_t v);
    static ORUVALUE FromInteger(std::int32_t v);
    static ORUVALUE FromFloat(double v);
    static ORUVALUE FromString(const std::string& utf8);
    static ORUVALUE FromTime(OruValueType type, const ORUTIME& t);

    // Payload access. Numbers share one storage.
    bool GetBool() const;
    std::uint8_t GetByte() const;
    std::uint16_t GetWord() const;
    std::uint32_t GetDWord() const;
    std::int32_t GetInteger() const;
    double GetFloat() const;
    // The five bytes of type 9 as the low 40 bits, first byte highest.
    std::uint64_t GetData40() const;
    void SetBool(bool v);
    void SetByte(std::uint8_t v);
    void SetWord(std::uint16_t v);
    void SetDWord(std::uint32_t v);
    void SetInteger(std::int32_t v);
    void SetFloat(double v);
    void SetData40(std::uint64_t v);

    const oru_string& GetString() const { return m_string; }
    oru_string& GetString() { return m_string; }
    const ORUTIME& GetTime() const { return m_time; }
    ORUTIME& GetTime() { return m_time; }

    // Back to type 1 with a zero number, a cleared time and a cleared text.
    void Reset();

    // Text for logs; null for a type the value library does not know. The
    // text stays valid until the calling thread has made a few more calls.
    const char* ToString() const;

    // internalFormat false: "<type>:<text>"; true: "<type>.7:<exact text>".
    // Both carry the type, so Deserialize restores the value exactly.
    void Serialize(oru_string& out, bool internalFormat) const;
    // Malformed text leaves an empty value (type 1).
    void Deserialize(const oru_string& in);

    static const char* GetNameFromValueType(OruValueType type);

    // Same type and same payload of that type.
    bool operator==(const ORUVALUE& other) const;
    bool operator!=(const ORUVALUE& other) const { return !(*this == other); }

private:
    std::uint64_t m_number = 0; // integers zero-extended, or the bits of a double
    oru_string m_string;
    ORUTIME m_time;
};

// The platform's byte form of a value: fills length bytes (big-endian for
// numbers) and reports whether the value fits. Neither function logs: the
// caller says what failed.
LUM_PLATFORM_API bool OruValueToByteArray(const ORUVALUE& value, unsigned char* buffer, unsigned int& length);
// Reads length bytes into value, whose type the caller has set; with isBit the
// result is a boolean (type 2) from the lowest bit.
LUM_PLATFORM_API bool ByteArrayToOruValue(const unsigned char* buffer, unsigned int length, ORUVALUE& value,
                                          bool isBit);
