#include "Cli.h"
#include "Output.h"
#include "ValueText.h"

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
} // namespace

int RunDecode(const Arguments& arguments)
{
    const std::vector<std::string>& args = arguments.positional;
    if (args.size() < 2)
        throw UsageError("decode needs a DPT and the bytes, e.g. 'decode 9.001 \"0C 33\"'");
    const KNXDPT dpt = DptArgument(args[0]);
    const std::vector<std::string> hexArgs(args.begin() + 1, args.end());
    const auto bytes = ParseHex(boost::algorithm::join(hexArgs, " "));
    if (!bytes)
        throw UsageError("'" + boost::algorithm::join(hexArgs, " ") + "' is not a list of hexadecimal bytes");

    Lum::KnxValueConverter converter;
    converter.Init();
    const ValueText value = DecodeForDisplay(converter, dpt, *bytes);
    if (!value.decoded)
    {
        std::cerr << "lumknx: " << value.reason << '\n';
        return 1;
    }
    PrintDecoded(value);
    return 0;
}

int RunEncode(const Arguments& arguments)
{
    const std::vector<std::string>& args =
        arguments.PositionalExactly(2, "encode needs a DPT and one value, e.g. 'encode 9.001 21.5'");
    const KNXDPT dpt = DptArgument(args[0]);

    Lum::KnxValueConverter converter;
    converter.Init();
    const Encoded encoded = EncodeFromText(converter, dpt, args[1]);
    if (!encoded.group)
    {
        std::cerr << "lumknx: " << encoded.reason << '\n';
        return 1;
    }
    std::cout << encoded.group->GetRawData().ToString() << " (" << encoded.group->GetDefinedSize()
              << " bits)\n";
    if (!encoded.warning.empty())
        std::cerr << "lumknx: warning: " << encoded.warning << '\n';
    return 0;
}

} // namespace LumKnx
