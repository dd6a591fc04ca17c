#include "KnxFloat16.h"

#include <cmath>

namespace KnxStack
{
namespace Detail
{

namespace
{
constexpr std::uint16_t kInvalid = 0x7FFF;
constexpr std::uint16_t kLargest = 0x7FFE;  // 670433.28
constexpr std::uint16_t kSmallest = 0xF800; // -671088.64
constexpr int kMaxExponent = 15;
constexpr double kMinMantissa = -2048.0;
constexpr double kMaxMantissa = 2047.0;

// 2^-e: multiplying by it is exact, as ldexp is, and costs no library call.
constexpr double kInversePowersOfTwo[kMaxExponent + 1] = {
    1.0,       1.0 / 2,   1.0 / 4,    1.0 / 8,    1.0 / 16,   1.0 / 32,   1.0 / 64,    1.0 / 128,
    1.0 / 256, 1.0 / 512, 1.0 / 1024, 1.0 / 2048, 1.0 / 4096, 1.0 / 8192, 1.0 / 16384, 1.0 / 32768};

// The value callers pass to ask for the invalid marker.
constexpr double kInvalidRequest = 32767.0;
} // namespace

std::uint16_t EncodeKnxFloat16(double value)
{
    if (std::isnan(value) || value == kInvalidRequest)
    {
        return kInvalid;
    }

    const double hundredths = value * 100.0;
    for (int exponent = 0; exponent <= kMaxExponent; ++exponent)
    {
        // Scaling by a power of two is exact, so only the rounding decides;
        // std::round breaks ties away from zero. Rounding up may overflow the
        // mantissa, which then needs the next exponent.
        const double mantissa = std::round(hundredths * kInversePowersOfTwo[exponent]);
        if (mantissa < kMinMantissa || mantissa > kMaxMantissa)
        {
            continue;
        }
        auto m = static_cast<std::int32_t>(mantissa);
        int e = exponent;
        // Rounding below -2048 at the previous exponent can land on -1024
        // here, which the previous exponent holds as -2048.
        if (m == -1024 && e > 0)
        {
            m = -2048;
            --e;
        }
        if (m == 0)
        {
            return 0; // also for a negative value that rounds to zero
        }
        if (e == kMaxExponent && m == 2047)
        {
            return kLargest; // 7F FF would be the invalid marker
        }
        const auto bits = static_cast<std::uint16_t>(static_cast<std::uint32_t>(m) & 0x0FFFu);
        return static_cast<std::uint16_t>((bits & 0x0800u) << 4 | static_cast<unsigned>(e) << 11 |
                                          (bits & 0x07FFu));
    }
    // Infinities land here too.
    return hundredths > 0.0 ? kLargest : kSmallest;
}

double DecodeKnxFloat16(std::uint16_t raw)
{
    const int exponent = (raw >> 11) & 0x0F;
    int mantissa = raw & 0x07FF;
    if ((raw & 0x8000u) != 0)
    {
        mantissa -= 2048;
    }
    // The scaled mantissa fits 27 bits, so the integer product is exact and
    // equals ldexp's. Dividing (rather than multiplying by 0.01) gives the
    // double nearest to the decimal value, so 0C 1A reads as exactly 21.
    return static_cast<double>(mantissa * (std::int32_t{1} << exponent)) / 100.0;
}

} // namespace Detail
} // namespace KnxStack
