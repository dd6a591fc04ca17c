#include "OruValueKinds.h"

#include <Platform/OruValue.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

using LumPlatformDetail::Kind;
using LumPlatformDetail::KindOf;

// Numbers travel big-endian in the last bytes of the buffer. An integer fits
// when it is representable in the buffer as a signed or as an unsigned
// number, so 255 and -1 both fit one byte (both as FF); a negative number is
// sign-extended over a longer buffer. A double goes as IEEE single into 4
// bytes, as IEEE double into 8, and rounded (half away from zero) into 1 or 2
// bytes under the same rule as an integer. Types without a byte form (empty,
// unset, times, unknown numbers) fail. Nothing is written on failure.

namespace
{

bool PutNumber(std::uint64_t bits, bool negative, unsigned char* buffer, unsigned int length)
{
    if (length < 8)
    {
        const unsigned width = 8 * length;
        if (negative)
        {
            // -(2^(width-1)) .. -1: the bits above width-1 are all ones.
            const std::uint64_t high = ~std::uint64_t{0} << (width - 1);
            if ((bits & high) != high)
                return false;
        }
        else if ((bits >> width) != 0)
            return false;
    }
    for (unsigned int i = 0; i < length; ++i)
    {
        const unsigned int shift = 8 * i;
        const unsigned char byte =
            shift < 64 ? static_cast<unsigned char>(bits >> shift) : (negative ? 0xFF : 0x00);
        buffer[length - 1 - i] = byte;
    }
    return true;
}

bool PutUnsigned(std::uint64_t v, unsigned char* buffer, unsigned int length)
{
    return PutNumber(v, false, buffer, length);
}

bool PutSigned(std::int64_t v, unsigned char* buffer, unsigned int length)
{
    return PutNumber(static_cast<std::uint64_t>(v), v < 0, buffer, length);
}

// The unsigned integer type of a float's or a double's bits.
template <typename T>
using BitsType = typename std::conditional<sizeof(T) == 4, std::uint32_t, std::uint64_t>::type;

template <typename T> std::uint64_t BitsOf(T v)
{
    BitsType<T> bits;
    static_assert(sizeof bits == sizeof v, "same size");
    std::memcpy(&bits, &v, sizeof v);
    return bits;
}

bool PutFloat(double v, unsigned char* buffer, unsigned int length)
{
    switch (length)
    {
    case 8:
        return PutUnsigned(BitsOf(v), buffer, length);
    case 4:
    {
        const float single = static_cast<float>(v);
        if (std::isfinite(v) && !std::isfinite(single))
            return false;
        return PutUnsigned(BitsOf(single), buffer, length);
    }
    case 1:
    case 2:
    {
        if (!std::isfinite(v))
            return false;
        const double rounded = std::round(v);
        const double lowest = -std::ldexp(1.0, static_cast<int>(8 * length - 1));
        const double highest = std::ldexp(1.0, static_cast<int>(8 * length)) - 1.0;
        if (rounded < lowest || rounded > highest)
            return false;
        return PutSigned(static_cast<std::int64_t>(rounded), buffer, length);
    }
    default:
        return false;
    }
}

std::uint64_t ReadBigEndian(const unsigned char* buffer, unsigned int length)
{
    std::uint64_t v = 0;
    for (unsigned int i = 0; i < length; ++i)
        v = (v << 8) | buffer[i];
    return v;
}

std::int64_t ReadSignedBigEndian(const unsigned char* buffer, unsigned int length)
{
    std::uint64_t v = ReadBigEndian(buffer, length);
    if (length < 8 && (buffer[0] & 0x80) != 0)
        v |= ~std::uint64_t{0} << (8 * length);
    return static_cast<std::int64_t>(v);
}

// An unsigned number of up to maxLength bytes, stored through the payload setter.
template <typename T>
bool ReadUnsigned(const unsigned char* buffer, unsigned int length, ORUVALUE& value, void (ORUVALUE::*set)(T),
                  unsigned int maxLength = sizeof(T))
{
    if (length > maxLength)
        return false;
    (value.*set)(static_cast<T>(ReadBigEndian(buffer, length)));
    return true;
}

template <typename T> T FromBits(std::uint64_t bits)
{
    const auto narrow = static_cast<BitsType<T>>(bits);
    T v;
    static_assert(sizeof narrow == sizeof v, "same size");
    std::memcpy(&v, &narrow, sizeof v);
    return v;
}

} // namespace

bool OruValueToByteArray(const ORUVALUE& value, unsigned char* buffer, unsigned int& length)
{
    if (buffer == nullptr || length == 0)
        return false;
    switch (KindOf(value.ivt))
    {
    case Kind::Bool:
        std::memset(buffer, 0, length);
        buffer[length - 1] = value.GetBool() ? 1 : 0;
        return true;
    case Kind::Float:
        return PutFloat(value.GetFloat(), buffer, length);
    case Kind::Signed32:
        return PutSigned(value.GetInteger(), buffer, length);
    case Kind::Signed16:
        return PutSigned(static_cast<std::int16_t>(value.GetWord()), buffer, length);
    case Kind::Byte:
        return PutUnsigned(value.GetByte(), buffer, length);
    case Kind::Word:
        return PutUnsigned(value.GetWord(), buffer, length);
    case Kind::DWord:
        return PutUnsigned(value.GetDWord(), buffer, length);
    case Kind::Data40:
        return PutUnsigned(value.GetData40(), buffer, length);
    case Kind::String:
    {
        const oru_string& text = value.GetString();
        if (text.length() > length)
            return false;
        std::memcpy(buffer, text.c_str(), text.length());
        std::memset(buffer + text.length(), 0, length - text.length());
        return true;
    }
    default: // no byte form: unset, empty, the times, unknown
        break;
    }
    return false;
}

// The caller's type selects the reading; a type without a byte form fails,
// except that an unset or empty value takes up to four bytes as a double
// word. Signed types are sign-extended from their first byte. The value is
// left unchanged on failure.
bool ByteArrayToOruValue(const unsigned char* buffer, unsigned int length, ORUVALUE& value, bool isBit)
{
    if (buffer == nullptr || length == 0)
        return false;
    if (isBit)
    {
        value.ivt = ivtBool;
        value.SetBool((buffer[0] & 1) != 0);
        return true;
    }
    switch (KindOf(value.ivt))
    {
    case Kind::Unset:
    case Kind::Empty:
        if (length > 4)
            return false;
        value.ivt = ivtDWord;
        value.SetDWord(static_cast<std::uint32_t>(ReadBigEndian(buffer, length)));
        return true;
    case Kind::Bool:
        if (length > 1)
            return false;
        value.SetBool((buffer[0] & 1) != 0);
        return true;
    case Kind::Float:
        switch (length)
        {
        case 8:
            value.SetFloat(FromBits<double>(ReadBigEndian(buffer, length)));
            return true;
        case 4:
            value.SetFloat(static_cast<double>(FromBits<float>(ReadBigEndian(buffer, length))));
            return true;
        case 1:
        case 2:
            value.SetFloat(static_cast<double>(ReadBigEndian(buffer, length)));
            return true;
        default:
            return false;
        }
    case Kind::Signed32:
    case Kind::Signed16:
    {
        const unsigned int maxLength = KindOf(value.ivt) == Kind::Signed32 ? 4 : 2;
        if (length > maxLength)
            return false;
        value.SetInteger(static_cast<std::int32_t>(ReadSignedBigEndian(buffer, length)));
        return true;
    }
    case Kind::Byte:
        return ReadUnsigned(buffer, length, value, &ORUVALUE::SetByte);
    case Kind::Word:
        return ReadUnsigned(buffer, length, value, &ORUVALUE::SetWord);
    case Kind::DWord:
        return ReadUnsigned(buffer, length, value, &ORUVALUE::SetDWord);
    case Kind::Data40:
        return ReadUnsigned(buffer, length, value, &ORUVALUE::SetData40, 5);
    case Kind::String:
    {
        const void* zero = std::memchr(buffer, 0, length);
        const std::size_t n = zero != nullptr
                                  ? static_cast<std::size_t>(static_cast<const unsigned char*>(zero) - buffer)
                                  : length;
        value.GetString().assign(reinterpret_cast<const char*>(buffer), n);
        return true;
    }
    default: // no byte form: the times, unknown
        break;
    }
    return false;
}
