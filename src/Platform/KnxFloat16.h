#pragma once

#include <cstdint>

namespace KnxStack
{
namespace Detail
{

// The KNX 2-byte float: value = 0.01 * M * 2^E, bits MEEEEMMM MMMMMMMM with M
// a 12-bit two's-complement mantissa whose sign is the top bit.
//
// Encoding rounds to the nearest representable value, ties away from zero,
// decided on the value scaled to hundredths (so a decimal tie such as 0.005
// goes up), and uses the smallest exponent that holds the mantissa. A
// negative value that rounds to zero gives 00 00. Out of span it saturates at
// F8 00 and 7F FE. NaN and the constant 32767.0 give the invalid marker 7F FF.
std::uint16_t EncodeKnxFloat16(double value);

// Accepts non-normalised forms; 7F FF decodes by the formula (670760.96).
double DecodeKnxFloat16(std::uint16_t raw);

} // namespace Detail
} // namespace KnxStack
