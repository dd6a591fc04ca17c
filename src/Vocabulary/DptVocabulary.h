#pragma once

// What people call a datapoint type: its name and unit, and how a DPT is
// written. One row per DPT (sub 0 stands for the whole main number), read by
// everything that shows a DPT to a person; adding a name or a unit is one row.
// Header-only and internal: not installed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <ostream>
#include <string>

namespace Lum
{
namespace Vocabulary
{

struct DptWords
{
    std::uint16_t main;
    std::uint16_t sub;
    const char* name;
    const char* unit; // "" when the value has none
};

// Sorted by main, then sub.
inline constexpr DptWords kDptWords[] = {
    {1, 0, "boolean", ""},
    {1, 1, "switch", ""},
    {1, 2, "boolean", ""},
    {1, 3, "enable", ""},
    {1, 8, "up/down", ""},
    {1, 9, "open/close", ""},
    {1, 10, "start/stop", ""},
    {2, 0, "1-bit controlled", ""},
    {3, 0, "3-bit controlled", ""},
    {3, 7, "dimming control", ""},
    {3, 8, "blind control", ""},
    {4, 0, "character", ""},
    {4, 1, "ASCII character", ""},
    {4, 2, "Latin-1 character", ""},
    {5, 0, "8-bit unsigned", ""},
    {5, 1, "percentage", "%"},
    {5, 3, "angle", "°"},
    {5, 4, "percentage 0..255", "%"},
    {5, 6, "tariff", ""},
    {6, 0, "8-bit signed", ""},
    {6, 1, "percentage -128..127", "%"},
    {6, 20, "status with mode", ""},
    {7, 0, "16-bit unsigned", ""},
    {7, 1, "pulses", "pulses"},
    {7, 13, "brightness", "lx"},
    {8, 0, "16-bit signed", ""},
    {9, 0, "2-byte float", ""},
    {9, 1, "temperature", "°C"},
    {9, 2, "temperature difference", "K"},
    {9, 3, "kelvin per hour", "K/h"},
    {9, 4, "illuminance", "lx"},
    {9, 5, "wind speed", "m/s"},
    {9, 6, "air pressure", "Pa"},
    {9, 7, "humidity", "%"},
    {9, 8, "air quality", "ppm"},
    {9, 10, "time", "s"},
    {9, 11, "time", "ms"},
    {9, 20, "voltage", "mV"},
    {9, 21, "current", "mA"},
    {9, 22, "power density", "W/m²"},
    {9, 23, "kelvin per percent", "K/%"},
    {9, 24, "power", "kW"},
    {9, 25, "volume flow", "l/h"},
    {9, 26, "rain amount", "l/m²"},
    {9, 27, "temperature", "°F"},
    {9, 28, "wind speed", "km/h"},
    {10, 0, "time of day", ""},
    {11, 0, "date", ""},
    {12, 0, "32-bit unsigned", ""},
    {12, 1, "counter pulses", "pulses"},
    {13, 0, "32-bit signed", ""},
    {13, 1, "counter pulses", "pulses"},
    {13, 10, "active energy", "Wh"},
    {13, 13, "active energy", "kWh"},
    {14, 0, "4-byte float", ""},
    {14, 19, "electric current", "A"},
    {14, 27, "electric potential", "V"},
    {14, 33, "frequency", "Hz"},
    {14, 56, "power", "W"},
    {14, 68, "temperature", "°C"},
    {14, 76, "volume", "m³"},
    {15, 0, "access data", ""},
    {16, 0, "ASCII text", ""},
    {16, 1, "Latin-1 text", ""},
    {17, 0, "scene number", ""},
    {17, 1, "scene number", ""},
    {18, 0, "scene control", ""},
    {18, 1, "scene control", ""},
    {19, 0, "date and time", ""},
    {19, 1, "date and time", ""},
    {20, 0, "8-bit enumeration", ""},
    {20, 102, "HVAC mode", ""},
    {20, 103, "DHW mode", ""},
    {21, 0, "8-bit set", ""},
    {23, 0, "2-bit set", ""},
    {26, 0, "scene info", ""},
    {26, 1, "scene info", ""},
    {27, 0, "32-bit set", ""},
    {232, 0, "3 bytes", ""},
    {232, 600, "colour RGB", ""},
    {236, 0, "8-bit set", ""},
    {238, 0, "8-bit unsigned", ""},
};

// The rows' order: by main, then sub.
constexpr bool RowBefore(const DptWords& a, const DptWords& b)
{
    return a.main < b.main || (a.main == b.main && a.sub < b.sub);
}

constexpr bool RowsStrictlySorted()
{
    for (std::size_t i = 1; i < std::size(kDptWords); ++i)
        if (!RowBefore(kDptWords[i - 1], kDptWords[i]))
            return false;
    return true;
}
static_assert(RowsStrictlySorted(), "FindDptWords searches the rows by halves");

// The row of main.sub exactly, else nullptr.
inline const DptWords* FindDptRow(std::uint16_t main, std::uint16_t sub)
{
    const DptWords key{main, sub, "", ""};
    const DptWords* end = std::end(kDptWords);
    const DptWords* row = std::lower_bound(std::begin(kDptWords), end, key, RowBefore);
    return row != end && !RowBefore(key, *row) ? row : nullptr;
}

// The exact row, else the main number's row, else nullptr. Looked up for
// every telegram a trace prints, hence the binary search.
inline const DptWords* FindDptWords(std::uint16_t main, std::uint16_t sub)
{
    if (const DptWords* exact = FindDptRow(main, sub))
        return exact;
    return sub == 0 ? nullptr : FindDptRow(main, 0);
}

// "9.001", "9.x" (sub 0): how a DPT is written for people and in tables.
inline std::string DptName(std::uint16_t main, std::uint16_t sub)
{
    if (sub == 0)
        return std::to_string(main) + ".x";
    std::string digits = std::to_string(sub);
    if (digits.size() < 3)
        digits.insert(0, 3 - digits.size(), '0');
    return std::to_string(main) + "." + digits;
}

// main "." sub in plain decimal (5.006 prints as 5.6): how the library's log
// lines write a DPT.
struct DptLogText
{
    std::uint16_t main;
    std::uint16_t sub;
};

inline std::ostream& operator<<(std::ostream& os, const DptLogText& d)
{
    return os << static_cast<unsigned>(d.main) << '.' << static_cast<unsigned>(d.sub);
}

} // namespace Vocabulary
} // namespace Lum
