#pragma once

/// @file
/// @brief The platform's tagged value ORUVALUE, its date and time ORUTIME and its string.

#include <Platform/Export.h>

#include <cstdint>
#include <ctime>
#include <string>

/// @brief The type number of an ORUVALUE.
///
/// The platform's tagged value. The numbers of OruValueType are fixed: tables
/// of the object model refer to them. Unnamed numbers are valid values of the
/// enumeration (its underlying type is fixed).
enum OruValueType : std::int32_t
{
    ivtUnset = 0,       ///< passes every type check
    ivtEmpty = 1,       ///< no value
    ivtBool = 2,        ///< one- and two-bit values
    ivtFloat = 3,       ///< double
    ivtInteger = 4,     ///< signed 32-bit
    ivtShort = 5,       ///< signed 16-bit
    ivtByte = 6,        ///< unsigned 8-bit
    ivtWord = 7,        ///< unsigned 16-bit
    ivtDWord = 8,       ///< unsigned 32-bit
    ivtData40 = 9,      ///< five raw bytes (default of 218.000)
    ivtString = 10,     ///< UTF-8 text
    ivtDate = 11,       ///< ORUTIME, date part
    ivtTime = 12,       ///< ORUTIME, time part
    ivtDateTime = 13,   ///< ORUTIME
    ivtTimePeriod = 14, ///< signed 32-bit (default of 13.100)
    ivtDayTime = 15,    ///< ORUTIME, time of day on a fixed date
    // Known by number to the compatibility rules; payloads as noted.
    ivtUnsigned = 20,       ///< unsigned 32-bit
    ivtLocalDateTime = 102, ///< ORUTIME
    ivtLocalTime = 104,     ///< ORUTIME, time part
    ivtLocalDate = 105,     ///< ORUTIME, date part
    ivtUtcDateTime = 201,   ///< ORUTIME
    ivtPercentage = 1005,   ///< double
    ivtEnumeration = 1021,  ///< unsigned 8-bit
    ivtScaling = 1036,      ///< double
    ivtDimming = 1037,      ///< double
    ivtMeasurement = 1039,  ///< double
};

/// @brief The weekday bits of ORUTIME::weekDay.
namespace OruWeekDays
{
/// @brief One bit per day, Monday first; 0 is no day.
enum WEEK_DAY_TYPES : std::uint16_t
{
    WEEK_DAY_NONE = 0,      ///< No day.
    WEEK_DAY_MONDAY = 1,    ///< Monday.
    WEEK_DAY_TUESDAY = 2,   ///< Tuesday.
    WEEK_DAY_WEDNESDAY = 4, ///< Wednesday.
    WEEK_DAY_THURSDAY = 8,  ///< Thursday.
    WEEK_DAY_FRIDAY = 16,   ///< Friday.
    WEEK_DAY_SATURDAY = 32, ///< Saturday.
    WEEK_DAY_SUNDAY = 64,   ///< Sunday.
};
} // namespace OruWeekDays

/// @brief The value subtypes of the platform.
namespace OruDP
{
/// @brief Refines a value type; the numbers are the platform's.
enum OruValueSubType : std::int32_t
{
    ivstNone = 0,           ///< No refinement ("Generic").
    ivstSigned8Bit = 9,     ///< A signed byte.
    ivstSigned16Bit = 12,   ///< A signed 16-bit number.
    ivstSwitch = 2001,      ///< A switch (1.001).
    ivstStatus8Bit = 3001,  ///< An 8-bit status.
    ivstDimmingStep = 3002, ///< A dimming step (3.007).
    ivstFloat2Byte = 3003,  ///< A KNX 2-byte float.
    ivstSceneNumber = 4001, ///< A scene number.
    ivstAscii = 8001,       ///< ASCII text.
    ivstLatin1 = 8002,      ///< Latin-1 text.
};

/// @brief The subtype's name ("Generic" for 0); "Unknown" for a number without a name. Never null.
LUM_PLATFORM_API const char* GetNameFromValueSubType(OruValueSubType subType);
} // namespace OruDP

/// @brief The platform's string: a growable, always zero-terminated text.
///
/// A plain value type; const objects may be read from any thread.
class LUM_PLATFORM_API oru_string
{
public:
    /// @brief The empty text.
    oru_string() = default;
    /// @brief A copy of the zero-terminated @p text.
    explicit oru_string(const char* text);
    /// @brief A copy of @p text.
    explicit oru_string(const std::string& text);

    /// @brief Replaces the text with the zero-terminated @p text.
    void assign(const char* text);
    /// @brief Replaces the text with @p length bytes from @p text.
    void assign(const char* text, std::size_t length);
    /// @brief Replaces the text with the one character @p c.
    void assign(char c);
    /// @brief Appends @p c.
    void append(char c);
    /// @brief Appends the zero-terminated @p text.
    void append(const char* text);
    /// @brief Empties the text; the storage is kept.
    void clear();
    /// @brief Empties the text.
    ///
    /// Releases the storage as well.
    void Free();

    /// @brief The zero-terminated text; valid until the object changes or ends.
    const char* c_str() const { return m_text.c_str(); }
    /// @brief The number of bytes.
    std::size_t length() const { return m_text.size(); }
    /// @brief Whether the text is empty.
    bool empty() const { return m_text.empty(); }
    /// @brief A copy of the text.
    std::string str() const { return m_text; }

    /// @brief Whether both hold the same bytes.
    bool operator==(const oru_string& other) const { return m_text == other.m_text; }
    /// @brief Whether the bytes differ.
    bool operator!=(const oru_string& other) const { return !(*this == other); }

private:
    std::string m_text;
};

/// @brief The platform's date and time.
///
/// Fields in this order; callers write them directly. A plain value type; no field is
/// checked when written.
struct LUM_PLATFORM_API ORUTIME
{
    std::uint16_t year = 0;        ///< The year, e.g. 2026.
    std::uint8_t month = 0;        ///< 1 = January .. 12.
    std::uint8_t day = 0;          ///< Day of the month, from 1.
    std::uint8_t hour = 0;         ///< 0 .. 23.
    std::uint8_t minute = 0;       ///< 0 .. 59.
    std::uint8_t second = 0;       ///< 0 .. 59.
    std::uint8_t hundredths = 0;   ///< Hundredths of a second.
    std::uint16_t weekDay = 0;     ///< OruWeekDays::WEEK_DAY_TYPES mask
    std::uint16_t dayOfYear = 0;   ///< 1 = 1 January, 0 = unknown
    bool isLocalTime = false;      ///< Local time rather than UTC.
    bool isDaylightSaving = false; ///< Daylight-saving time in force.

    /// @brief Zeroes every field; the flag becomes isLocalTime.
    void Clear(bool localTime);
    /// @brief Sets a date.
    ///
    /// Clears the time of day; fills weekday and day of year when the date is valid.
    void SetDate(unsigned short year, unsigned char month, unsigned char day, bool localTime);
    /// @brief Sets date and time as SetDate() does, then the time of day (not checked).
    void SetDateTime(unsigned short year, unsigned char month, unsigned char day, unsigned char hour,
                     unsigned char minute, unsigned char second, bool localTime);
    /// @brief Sets the time from a count of seconds.
    ///
    /// Seconds since 1970-01-01 UTC, broken down in UTC. A count whose year does not fit
    /// leaves every field cleared.
    ORUTIME& operator=(std::time_t seconds);
    /// @brief The fields as a struct tm; weekday and day of year from the fields or, when
    /// those are unset, from a valid date.
    operator struct tm() const;

    /// @brief Whether the date exists.
    ///
    /// Gregorian calendar, years 1400 to 9999.
    static bool IsValidDate(unsigned short year, unsigned char month, unsigned char day);
    /// @brief Whether hour < 24, minute < 60 and second < 60.
    static bool IsValidTime(unsigned char hour, unsigned char minute, unsigned char second);

    /// @brief Whether every field is equal.
    bool operator==(const ORUTIME& other) const;
    /// @brief Whether any field differs.
    bool operator!=(const ORUTIME& other) const { return !(*this == other); }
};

/// @brief The platform's tagged value: a type number and a payload for that type.
///
/// The payload setters write only the payload; the type stays as the caller
/// set it. A number written through a narrower setter keeps only its low bits.
/// A plain value type: copies are independent, and const objects may be read from any
/// thread (ToString() included).
class LUM_PLATFORM_API ORUVALUE
{
public:
    /// @brief The value's type; callers set it directly.
    OruValueType ivt = ivtEmpty;

    /// @brief An empty value (type 1).
    ORUVALUE() = default;
    /// @brief Copies type and payload.
    ORUVALUE(const ORUVALUE&) = default;
    /// @brief Moves type and payload.
    ORUVALUE(ORUVALUE&&) noexcept = default;
    /// @brief Copies type and payload.
    ORUVALUE& operator=(const ORUVALUE&) = default;
    /// @brief Moves type and payload.
    ORUVALUE& operator=(ORUVALUE&&) noexcept = default;
    /// @brief Ends the value.
    ~ORUVALUE() = default;

    /// @brief A boolean (type 2).
    ///
    /// Typed construction: type and payload in one step.
    static ORUVALUE FromBool(bool v);
    /// @brief A byte (type 6).
    static ORUVALUE FromByte(std::uint8_t v);
    /// @brief An unsigned 16-bit number (type 7).
    static ORUVALUE FromWord(std::uint16_t v);
    /// @brief An unsigned 32-bit number (type 8).
    static ORUVALUE FromDWord(std::uint32_t v);
    /// @brief A signed 32-bit number (type 4).
    static ORUVALUE FromInteger(std::int32_t v);
    /// @brief A double (type 3).
    static ORUVALUE FromFloat(double v);
    /// @brief A text (type 10); the bytes are taken as they are, not checked for UTF-8.
    static ORUVALUE FromString(const std::string& utf8);
    /// @brief A time of the given @p type (date, time, date and time, ...).
    static ORUVALUE FromTime(OruValueType type, const ORUTIME& t);

    /// @brief The number as a boolean.
    ///
    /// Payload access. Numbers share one storage.
    bool GetBool() const;
    /// @brief The number's low 8 bits.
    std::uint8_t GetByte() const;
    /// @brief The number's low 16 bits.
    std::uint16_t GetWord() const;
    /// @brief The number's low 32 bits.
    std::uint32_t GetDWord() const;
    /// @brief The number's low 32 bits, signed.
    std::int32_t GetInteger() const;
    /// @brief The number as a double.
    double GetFloat() const;
    /// @brief The five bytes of type 9.
    ///
    /// The five bytes of type 9 as the low 40 bits, first byte highest.
    std::uint64_t GetData40() const;
    /// @brief Writes a boolean payload; the type stays.
    void SetBool(bool v);
    /// @brief Writes a byte payload; the type stays.
    void SetByte(std::uint8_t v);
    /// @brief Writes a 16-bit payload; the type stays.
    void SetWord(std::uint16_t v);
    /// @brief Writes a 32-bit payload; the type stays.
    void SetDWord(std::uint32_t v);
    /// @brief Writes a signed 32-bit payload; the type stays.
    void SetInteger(std::int32_t v);
    /// @brief Writes a double payload; the type stays.
    void SetFloat(double v);
    /// @brief Writes the five bytes of type 9 (the low 40 bits); the type stays.
    void SetData40(std::uint64_t v);

    /// @brief The text payload.
    const oru_string& GetString() const { return m_string; }
    /// @brief The text payload, for writing; the type stays.
    oru_string& GetString() { return m_string; }
    /// @brief The time payload.
    const ORUTIME& GetTime() const { return m_time; }
    /// @brief The time payload, for writing; the type stays.
    ORUTIME& GetTime() { return m_time; }

    /// @brief Empties the value.
    ///
    /// Back to type 1 with a zero number, a cleared time and a cleared text.
    void Reset();

    /// @brief The value as text for log lines.
    ///
    /// Text for logs; null for a type the value library does not know. The
    /// text stays valid until the calling thread has made a few more calls.
    /// The text is kept per thread, so calls on other threads do not disturb it.
    const char* ToString() const;

    /// @brief Writes type and payload as text into @p out.
    ///
    /// internalFormat false: "<type>:<text>"; true: "<type>.7:<exact text>".
    /// Both carry the type, so Deserialize restores the value exactly.
    void Serialize(oru_string& out, bool internalFormat) const;
    /// @brief Reads type and payload from the text Serialize() writes.
    ///
    /// Malformed text leaves an empty value (type 1).
    void Deserialize(const oru_string& in);

    /// @brief The type's name, e.g. "Float"; "Unknown" for a number without a name. Never null.
    static const char* GetNameFromValueType(OruValueType type);

    /// @brief Whether both are equal.
    ///
    /// Same type and same payload of that type.
    bool operator==(const ORUVALUE& other) const;
    /// @brief Whether they differ in type or payload.
    bool operator!=(const ORUVALUE& other) const { return !(*this == other); }

private:
    std::uint64_t m_number = 0; // integers zero-extended, or the bits of a double
    oru_string m_string;
    ORUTIME m_time;
};

/// @brief The platform's byte form of a value.
///
/// The platform's byte form of a value: fills length bytes (big-endian for
/// numbers) and reports whether the value fits. Neither function logs: the
/// caller says what failed.
/// @param value the value to write.
/// @param buffer receives exactly @p length bytes.
/// @param length the number of bytes to fill; not changed.
/// @return whether the value fits; false for a null buffer or a length of 0.
LUM_PLATFORM_API bool OruValueToByteArray(const ORUVALUE& value, unsigned char* buffer, unsigned int& length);
/// @brief The value of a byte form.
///
/// Reads length bytes into value, whose type the caller has set; with isBit the
/// result is a boolean (type 2) from the lowest bit. Does not log.
/// @return whether the bytes fit the value's type.
LUM_PLATFORM_API bool ByteArrayToOruValue(const unsigned char* buffer, unsigned int length, ORUVALUE& value,
                                          bool isBit);
