// Arbitrary text deserialised and converted, by DPT and by size; what encodes
// is decoded again to text in both serialised forms.
#include "FuzzSupport.h"

#include <Lum/LumKnxValueConverter.h>

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto& converter = LumFuzz::Initialised<Lum::LumKnxValueConverter>();
    LumFuzz::Input in(data, size);
    const std::uint8_t main = in.Byte();
    const std::uint8_t sub = in.Byte();
    const std::uint8_t bits = in.Byte();
    const std::string text(reinterpret_cast<const char*>(in.Rest()), in.RestSize());
    KNXDPT dpt{bits, main, sub};
    KnxStack::GroupValue gv;
    if (converter.ToKnxValue(dpt, text, gv))
    {
        std::string back;
        converter.FromKnxValue(gv, back, (bits & 1) != 0);
    }
    KnxStack::GroupValue bySize;
    if (converter.ToKnxValue(text, bits, bySize))
    {
        std::string back;
        converter.FromKnxValue(bySize, back, (bits & 1) == 0);
    }
    return 0;
}
