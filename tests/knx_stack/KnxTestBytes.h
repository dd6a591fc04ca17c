#pragma once

#include <Platform/KnxStack.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace KnxTest
{

// Bus bytes written as in the KNX tables ("0C 1A"); formatted here, apart
// from the code under test.
inline std::string Hex(const KnxStack::BinaryData& data)
{
    std::string text;
    for (std::size_t i = 0; i < data.GetSize(); ++i)
    {
        char byte[4];
        std::snprintf(byte, sizeof byte, "%02X", data.GetData()[i]);
        text += (i == 0 ? "" : " ") + std::string(byte);
    }
    return text;
}

inline KnxStack::BinaryData FromHex(const std::string& text)
{
    std::vector<unsigned char> bytes;
    std::istringstream in(text);
    unsigned value = 0;
    while (in >> std::hex >> value)
    {
        bytes.push_back(static_cast<unsigned char>(value));
    }
    return KnxStack::BinaryData(bytes.data(), bytes.size());
}

inline KnxStack::GroupValue GroupFromHex(const std::string& text)
{
    const KnxStack::BinaryData data = FromHex(text);
    return KnxStack::GroupValue(data, static_cast<unsigned>(data.GetSize() * 8));
}

} // namespace KnxTest
