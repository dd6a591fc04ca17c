#include "KnxAddress.h"

#include <array>
#include <charconv>

namespace LumBus
{
namespace
{

// Splits `text` at `separator` into at most N unsigned decimal parts, each
// checked against its own limit. Signs, spaces and empty parts are refused.
template <std::size_t N>
std::optional<std::uint16_t> ParseParts(std::string_view text, char separator, std::size_t count,
                                        const std::array<unsigned, N>& limits,
                                        const std::array<unsigned, N>& shifts)
{
    unsigned value = 0;
    const char* p = text.data();
    const char* const end = text.data() + text.size();
    for (std::size_t i = 0; i < count; ++i)
    {
        unsigned part = 0;
        const auto [next, ec] = std::from_chars(p, end, part);
        if (ec != std::errc() || next == p || part > limits[i])
            return std::nullopt;
        value |= part << shifts[i];
        p = next;
        if (i + 1 < count)
        {
            if (p == end || *p != separator)
                return std::nullopt;
            ++p;
        }
    }
    if (p != end)
        return std::nullopt;
    return static_cast<std::uint16_t>(value);
}

} // namespace

std::optional<std::uint16_t> ParseGroupAddress(std::string_view text)
{
    std::size_t slashes = 0;
    for (char c : text)
        slashes += c == '/';
    switch (slashes)
    {
    case 2:
        return ParseParts<3>(text, '/', 3, {31, 7, 255}, {11, 8, 0});
    case 1:
        return ParseParts<3>(text, '/', 2, {31, 2047, 0}, {11, 0, 0});
    case 0:
        return ParseParts<3>(text, '/', 1, {65535, 0, 0}, {0, 0, 0});
    default:
        return std::nullopt;
    }
}

std::string FormatGroupAddress(std::uint16_t address, GroupAddressStyle style)
{
    switch (style)
    {
    case GroupAddressStyle::TwoLevel:
        return std::to_string(address >> 11) + '/' + std::to_string(address & 0x7FF);
    case GroupAddressStyle::Free:
        return std::to_string(address);
    case GroupAddressStyle::ThreeLevel:
        break;
    }
    return std::to_string(address >> 11) + '/' + std::to_string((address >> 8) & 7) + '/' +
           std::to_string(address & 0xFF);
}

std::optional<std::uint16_t> ParseIndividualAddress(std::string_view text)
{
    return ParseParts<3>(text, '.', 3, {15, 15, 255}, {12, 8, 0});
}

std::string FormatIndividualAddress(std::uint16_t address)
{
    return std::to_string(address >> 12) + '.' + std::to_string((address >> 8) & 0xF) + '.' +
           std::to_string(address & 0xFF);
}

} // namespace LumBus
