#include "Cli.h"

#include <Lum/KnxValueConverter.h>

#include <boost/algorithm/string/join.hpp>

#include <iostream>

namespace LumKnx
{

namespace
{
KNXDPT DptArgument(const std::string& text)
{
    const auto dpt = ParseDpt(text);
    if (!dpt)
        throw UsageError("'" + text + "' is not a DPT (write it as 9.001 or 9.x)");
    return *dpt;
}

const char* TextOf(const ORUVALUE& value)
{
    const char* text = value.ToString();
    return text != nullptr ? text : "-";
}
} // namespace

int RunDecode(const std::vector<std::string>& args)
{
    if (args.size() < 2)
        throw UsageError("decode needs a DPT and the bytes, e.g. 'decode 9.001 \"0C 33\"'");
    KNXDPT dpt = DptArgument(args[0]);
    const std::vector<std::string> hexArgs(args.begin() + 1, args.end());
    const auto bytes = ParseHex(boost::algorithm::join(hexArgs, " "));
    if (!bytes)
        throw UsageError("'" + boost::algorithm::join(hexArgs, " ") + "' is not a list of hexadecimal bytes");

    Lum::KnxValueConverter converter;
    converter.Init();
    if (converter.GetEntry(dpt).ivt == ivtEmpty)
    {
        std::cerr << "lumknx: DPT " << FormatDpt(dpt) << " is not supported\n";
        return 1;
    }
    const KnxStack::GroupValue gv = MakeGroupValue(dpt.mainNumber, *bytes);
    ORUVALUE value;
    if (!converter.FromKnxValue(dpt, gv, value))
        return 1;
    std::cout << TextOf(value) << " (" << ORUVALUE::GetNameFromValueType(value.ivt) << ")\n";
    return 0;
}

int RunEncode(const std::vector<std::string>& args)
{
    if (args.size() != 2)
        throw UsageError("encode needs a DPT and one value, e.g. 'encode 9.001 21.5'");
    KNXDPT dpt = DptArgument(args[0]);

    Lum::KnxValueConverter converter;
    converter.Init();
    const Lum::DptValueEntry& entry = converter.GetEntry(dpt);
    if (entry.ivt == ivtEmpty)
    {
        std::cerr << "lumknx: DPT " << FormatDpt(dpt) << " is not supported\n";
        return 1;
    }
    // The value's own text form, typed after the DPT.
    ORUVALUE value;
    value.Deserialize(oru_string(std::to_string(static_cast<int>(entry.ivt)) + ":" + args[1]));
    if (value.ivt == ivtEmpty)
        throw UsageError("'" + args[1] + "' is not a " + ORUVALUE::GetNameFromValueType(entry.ivt) +
                         " value for DPT " + FormatDpt(dpt));

    KnxStack::GroupValue gv;
    if (!converter.ToKnxValue(dpt, value, gv))
        return 1;
    std::cout << gv.GetRawData().ToString() << " (" << gv.GetDefinedSize() << " bits)\n";
    return 0;
}

} // namespace LumKnx
