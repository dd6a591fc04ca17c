// Random bytes of random sizes through every registered DPT; what decodes is
// encoded again, so that every converter also sees the values it produces.
#include "FuzzSupport.h"

#include <Lum/KnxValueConverter.h>

#include <vector>

namespace
{
struct Registered
{
    Lum::KnxValueConverter converter;
    std::vector<KNXDPT> dpts;

    Registered()
    {
        converter.Init();
        for (const auto& main : converter.GetDptValueMap().Entries())
            for (const auto& sub : main.second)
            {
                KNXDPT dpt = sub.second.dpt;
                dpt.mainNumber = main.first;
                dpt.subNumber = sub.first;
                dpts.push_back(dpt);
            }
    }
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Registered registered;
    LumFuzz::Input in(data, size);
    const std::uint8_t pick = in.Byte();
    const std::uint8_t bits = in.Byte();
    KNXDPT dpt = registered.dpts[pick % registered.dpts.size()];
    // Now and then let the converter pick the DPT, or ask for a sub number it does not know.
    if (pick >= 0xF0)
        dpt = KNXDPT{static_cast<std::uint8_t>(pick & 1 ? bits : 0), 0, 0};
    else if (pick >= 0xE0)
        dpt.subNumber = static_cast<std::uint16_t>(dpt.subNumber + bits);
    const KnxStack::BinaryData raw(in.Rest(), in.RestSize());
    const KnxStack::GroupValue gv(raw, bits);
    ORUVALUE value;
    KNXDPT used = dpt;
    if (registered.converter.FromKnxValue(used, gv, value))
    {
        KnxStack::GroupValue back;
        registered.converter.ToKnxValue(used, value, back);
    }
    (void)value.ToString();
    return 0;
}
