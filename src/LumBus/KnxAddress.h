#pragma once
// Group and individual addresses as integrators write them. The 16 bits are
// what travels on the bus; the text forms are only ways of printing them.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace LumBus
{

// How a project prints its group addresses: main/middle/sub (5/3/8 bits),
// main/sub (5/11 bits) or one number.
enum class GroupAddressStyle
{
    ThreeLevel,
    TwoLevel,
    Free
};

// "1/2/3", "1/515" or "2563"; none for anything else, out-of-range parts included.
std::optional<std::uint16_t> ParseGroupAddress(std::string_view text);

std::string FormatGroupAddress(std::uint16_t address,
                               GroupAddressStyle style = GroupAddressStyle::ThreeLevel);

// "1.1.5" (area 4 bits, line 4 bits, device 8 bits).
std::optional<std::uint16_t> ParseIndividualAddress(std::string_view text);

std::string FormatIndividualAddress(std::uint16_t address);

} // namespace LumBus
