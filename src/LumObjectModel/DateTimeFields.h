#pragma once
// The date-and-time fields of DPT 19.001, read in one place for the converter
// and the group-value decoder. Reserved bits, the weekday and the flags share
// these bytes; only the fields are taken.
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

namespace Lum
{
namespace Detail
{

struct DateTimeFields
{
    unsigned year; // byte 0 is the offset from 1900
    unsigned month;
    unsigned day;
    unsigned hour;
    unsigned minute;
    unsigned second;

    bool IsValid() const
    {
        return ORUTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                                    static_cast<unsigned char>(day)) &&
               ORUTIME::IsValidTime(static_cast<unsigned char>(hour), static_cast<unsigned char>(minute),
                                    static_cast<unsigned char>(second));
    }
};

// Throws GroupValueException when the data holds fewer than six bytes.
inline DateTimeFields ReadDateTimeFields(const KnxStack::BinaryData& raw)
{
    return DateTimeFields{raw.GetUInt8Value(0) + 1900u, raw.GetUInt8Value(1) & 0x0Fu,
                          raw.GetUInt8Value(2) & 0x1Fu, raw.GetUInt8Value(3) & 0x1Fu,
                          raw.GetUInt8Value(4) & 0x3Fu, raw.GetUInt8Value(5) & 0x3Fu};
}

} // namespace Detail
} // namespace Lum
