#pragma once

#include <Lum/KnxConverter.h>
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

#include <LogCapture.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace LumTest
{

using Bytes = std::vector<unsigned char>;

inline KNXDPT Dpt(std::uint16_t main, std::uint16_t sub, std::uint8_t bits = 0)
{
    KNXDPT d;
    d.bitSize = bits;
    d.mainNumber = main;
    d.subNumber = sub;
    return d;
}

inline KnxStack::GroupValue Group(const Bytes& bytes, unsigned bits)
{
    return KnxStack::GroupValue(KnxStack::BinaryData(bytes.data(), bytes.size()), bits);
}

inline Bytes RawBytes(const KnxStack::GroupValue& g)
{
    const KnxStack::BinaryData& d = g.GetRawData();
    return Bytes(d.GetData(), d.GetData() + d.GetSize());
}

// A value carrying exactly the given type code with a byte/number payload.
inline ORUVALUE Typed(OruValueType type, std::uint32_t number)
{
    ORUVALUE v = ORUVALUE::FromDWord(number);
    v.ivt = type;
    return v;
}

inline std::string Utf8(std::initializer_list<unsigned char> bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

// The ERROR-and-above texts logged while running f.
template <typename F> std::vector<std::string> ErrorsOf(F&& f)
{
    LogCapture capture;
    f();
    return capture.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL);
}

inline std::unique_ptr<Lum::KnxConverter> Own(Lum::KnxConverter* c)
{
    return std::unique_ptr<Lum::KnxConverter>(c);
}

} // namespace LumTest
