#include "KnxTestBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

using KnxStack::GroupValue;
using KnxTest::GroupFromHex;
using KnxTest::Hex;

namespace
{

std::uint16_t Encode(double value)
{
    GroupValue group;
    group.SetAsFloat16(value);
    const auto& raw = group.GetRawData();
    EXPECT_EQ(raw.GetSize(), 2u);
    EXPECT_EQ(group.GetDefinedSize(), 16u);
    return static_cast<std::uint16_t>(raw.GetData()[0] << 8 | raw.GetData()[1]);
}

double Decode(std::uint16_t pattern)
{
    const unsigned char bytes[] = {static_cast<unsigned char>(pattern >> 8),
                                   static_cast<unsigned char>(pattern)};
    return GroupValue(KnxStack::BinaryData(bytes, 2), 16).GetAsFloat16();
}

// Field access written from the bit layout MEEEEMMM MMMMMMMM.
int Exponent(std::uint16_t pattern)
{
    return (pattern >> 11) & 0x0F;
}

int Mantissa(std::uint16_t pattern)
{
    const int low = pattern & 0x07FF;
    return (pattern & 0x8000) != 0 ? low - 2048 : low;
}

// Smallest exponent: at one exponent less the mantissa would have to double.
bool IsNormalised(std::uint16_t pattern)
{
    const int m = Mantissa(pattern);
    return Exponent(pattern) == 0 || m < -1024 || m > 1023;
}

std::string Hex16(std::uint16_t pattern)
{
    const unsigned char bytes[] = {static_cast<unsigned char>(pattern >> 8),
                                   static_cast<unsigned char>(pattern)};
    return Hex(KnxStack::BinaryData(bytes, 2));
}

TEST(KnxFloat16, EncodesTheStandardVectors)
{
    const struct
    {
        double value;
        const char* bytes;
    } cases[] = {
        {0.0, "00 00"},
        {0.01, "00 01"},
        {-0.01, "87 FF"},
        {20.48, "0C 00"},
        {21.0, "0C 1A"},
        {-30.0, "8A 24"},
        {16.96, "06 A0"},
        {100.0, "1C E2"},
        {0.29, "00 1D"},
        {735.763, "34 7E"},
        {670433.28, "7F FE"},
        {-671088.64, "F8 00"},
        {-20.48, "80 00"},
        {20.47, "07 FF"},
        {-273.0, "A1 56"},
        // Ties go away from zero.
        {0.005, "00 01"},
        {-0.005, "87 FF"},
        {20.49, "0C 01"},
        {-20.49, "8B FF"},
        // 2047.9 rounds to 2048 at exponent 1, which needs exponent 2.
        {40.958, "14 00"},
        // A negative value that rounds to zero has no sign.
        {-0.0, "00 00"},
        {-0.001, "00 00"},
        {-0.0049, "00 00"},
        // Saturation.
        {670433.29, "7F FE"},
        {670600.0, "7F FE"},
        {670760.96, "7F FE"},
        {1e12, "7F FE"},
        {std::numeric_limits<double>::max(), "7F FE"},
        {std::numeric_limits<double>::infinity(), "7F FE"},
        {-671088.65, "F8 00"},
        {-1e12, "F8 00"},
        {std::numeric_limits<double>::lowest(), "F8 00"},
        {-std::numeric_limits<double>::infinity(), "F8 00"},
        // The invalid marker, asked for by value; neighbours encode normally.
        {32767.0, "7F FF"},
        {std::numeric_limits<double>::quiet_NaN(), "7F FF"},
        {32767.01, "5E 40"},
        {32766.99, "5E 40"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.value);
        EXPECT_EQ(Hex16(Encode(c.value)), c.bytes);
    }
}

TEST(KnxFloat16, DecodesTheStandardVectorsAndNonNormalisedForms)
{
    const struct
    {
        const char* bytes;
        double value;
    } cases[] = {
        {"00 00", 0.0},    {"00 01", 0.01},      {"87 FF", -0.01},      {"0C 00", 20.48},
        {"0C 1A", 21.0},   {"8A 24", -30.0},     {"06 A0", 16.96},      {"1C E2", 100.0},
        {"00 1D", 0.29},   {"34 7E", 736.0},     {"7F FE", 670433.28},  {"F8 00", -671088.64},
        {"80 00", -20.48}, {"8C 00", -20.48},    {"08 00", 0.0},        {"78 00", 0.0},
        {"18 00", 0.0},    {"7F FF", 670760.96}, {"0C 1A FF 00", 21.0}, {"88 00", -40.96},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.bytes);
        EXPECT_DOUBLE_EQ(GroupFromHex(c.bytes).GetAsFloat16(), c.value);
    }
}

// All normalised patterns except the invalid marker, in order of their value.
std::vector<std::uint16_t> RepresentablePatterns()
{
    std::vector<std::uint16_t> patterns;
    for (std::uint32_t p = 0; p <= 0xFFFF; ++p)
    {
        const auto pattern = static_cast<std::uint16_t>(p);
        if (pattern != 0x7FFF && IsNormalised(pattern))
        {
            patterns.push_back(pattern);
        }
    }
    std::sort(patterns.begin(), patterns.end(),
              [](std::uint16_t a, std::uint16_t b) { return Decode(a) < Decode(b); });
    return patterns;
}

TEST(KnxFloat16Sweep, EveryPatternReEncodesToItsNormalisedForm)
{
    for (std::uint32_t p = 0; p <= 0xFFFF; ++p)
    {
        const auto pattern = static_cast<std::uint16_t>(p);
        const double value = Decode(pattern);
        ASSERT_TRUE(std::isfinite(value)) << Hex16(pattern);
        // M * 2^E hundredths.
        const double hundredths = std::ldexp(Mantissa(pattern), Exponent(pattern));
        ASSERT_NEAR(value * 100.0, hundredths, std::fabs(hundredths) * 1e-15) << Hex16(pattern);
        if (pattern == 0x7FFF)
        {
            ASSERT_EQ(Encode(value), 0x7FFE);
            continue;
        }
        const std::uint16_t again = Encode(value);
        ASSERT_EQ(Decode(again), value) << Hex16(pattern) << " -> " << Hex16(again);
        ASSERT_TRUE(IsNormalised(again)) << Hex16(pattern) << " -> " << Hex16(again);
        ASSERT_EQ(again == pattern, IsNormalised(pattern)) << Hex16(pattern) << " -> " << Hex16(again);
    }
}

TEST(KnxFloat16Sweep, NormalisedFormsAreDistinctAndEncodingRoundsToTheNearest)
{
    const std::vector<std::uint16_t> patterns = RepresentablePatterns();
    // 4096 at exponent 0, 2048 for each of the other 15, less 7F FF.
    ASSERT_EQ(patterns.size(), 4096u + 15u * 2048u - 1u);
    ASSERT_EQ(patterns.front(), 0xF800);
    ASSERT_EQ(patterns.back(), 0x7FFE);
    for (std::size_t i = 1; i < patterns.size(); ++i)
    {
        const double low = Decode(patterns[i - 1]);
        const double high = Decode(patterns[i]);
        ASSERT_LT(low, high) << Hex16(patterns[i - 1]) << " " << Hex16(patterns[i]);
        const double gap = high - low;
        // Strictly on either side of the midpoint, encoding picks that side.
        ASSERT_EQ(Encode(low + 0.49 * gap), patterns[i - 1]) << Hex16(patterns[i - 1]);
        ASSERT_EQ(Encode(high - 0.49 * gap), patterns[i]) << Hex16(patterns[i]);
    }
}

TEST(KnxFloat16Sweep, RandomValuesLandOnTheNearestRepresentableValue)
{
    const std::vector<std::uint16_t> patterns = RepresentablePatterns();
    std::vector<double> values;
    for (const std::uint16_t p : patterns)
    {
        values.push_back(Decode(p));
    }

    std::mt19937_64 random(20240229);
    std::uniform_real_distribution<double> magnitude(-4.0, std::log10(670433.28)); // every exponent
    std::uniform_real_distribution<double> anywhere(-671088.64, 670433.28);
    for (int i = 0; i < 200000; ++i)
    {
        double value = anywhere(random);
        if (i % 2 == 0)
        {
            value = std::pow(10.0, magnitude(random)) * (i % 4 == 0 ? -1.0 : 1.0);
        }
        const std::uint16_t pattern = Encode(value);
        const double encoded = Decode(pattern);

        // The encoding is one of the two representable values that enclose
        // the input, within half their gap.
        const auto above = std::lower_bound(values.begin(), values.end(), value);
        ASSERT_NE(above, values.end()) << value;
        if (*above == value)
        {
            ASSERT_EQ(encoded, value);
        }
        else
        {
            ASSERT_NE(above, values.begin()) << value;
            const double lower = *(above - 1);
            const double upper = *above;
            ASSERT_TRUE(encoded == lower || encoded == upper) << value << " -> " << Hex16(pattern);
            ASSERT_LE(std::fabs(encoded - value), (upper - lower) / 2 * (1 + 1e-12))
                << value << " -> " << Hex16(pattern);
        }
        ASSERT_TRUE(IsNormalised(pattern)) << value << " -> " << Hex16(pattern);
        if (value < 0.0 && pattern != 0)
        {
            ASSERT_NE(pattern & 0x8000, 0) << value;
        }
    }
}

} // namespace
