#pragma once

#include <LogCapture.h>
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

#include <string>
#include <vector>

namespace FacadeTest
{

using Bytes = std::vector<unsigned char>;

inline KNXDPT Dpt(std::uint16_t main, std::uint16_t sub, std::uint8_t bits = 0)
{
    KNXDPT dpt;
    dpt.bitSize = bits;
    dpt.mainNumber = main;
    dpt.subNumber = sub;
    return dpt;
}

inline std::string Show(const KNXDPT& d)
{
    return std::to_string(d.mainNumber) + "." + std::to_string(d.subNumber) + "/" + std::to_string(d.bitSize);
}

inline KnxStack::GroupValue Group(const Bytes& bytes, unsigned bits)
{
    return KnxStack::GroupValue(KnxStack::BinaryData(bytes.data(), bytes.size()), bits);
}

// A value of one type, its payload written as a byte.
inline ORUVALUE Typed(std::int32_t type, std::uint8_t byte = 0)
{
    ORUVALUE v;
    v.SetByte(byte);
    v.ivt = static_cast<OruValueType>(type);
    return v;
}

// The captured lines; all but error lines start with their level ("20000 " for info).
inline std::vector<std::string> Logged(const LumTest::LogCapture& log)
{
    std::vector<std::string> lines;
    for (const auto& l : log.Lines())
    {
        lines.push_back((l.level == log4cplus::ERROR_LOG_LEVEL ? "" : std::to_string(l.level) + " ") +
                        l.text);
    }
    return lines;
}

} // namespace FacadeTest
