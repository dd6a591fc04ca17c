#include "Cli.h"

#include <Lum/KnxConverterBitField.h>
#include <Lum/KnxConverterDateTime.h>
#include <Lum/KnxConverterFloat.h>
#include <Lum/KnxConverterInteger.h>
#include <Lum/KnxConverterScene.h>
#include <Lum/KnxConverterString.h>
#include <Lum/KnxValueConverter.h>

#include <cxxabi.h>

#include <iomanip>
#include <iostream>
#include <memory>

namespace LumKnx
{

namespace
{
std::string ClassName(const Lum::KnxConverter& converter)
{
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(converter).name(), nullptr, nullptr, &status), std::free);
    std::string text = status == 0 && name ? name.get() : typeid(converter).name();
    if (text.rfind("Lum::", 0) == 0)
        text.erase(0, 5);
    return text;
}

template <typename... Converters> struct RangeOf
{
    static std::string Of(const Lum::KnxConverter&) { return "-"; }
};

template <typename First, typename... Rest> struct RangeOf<First, Rest...>
{
    static std::string Of(const Lum::KnxConverter& converter)
    {
        if (const auto* typed = dynamic_cast<const First*>(&converter))
            return typed->GetRange().ToString();
        return RangeOf<Rest...>::Of(converter);
    }
};

using RangedConverters =
    RangeOf<Lum::KnxConverter4Bit, Lum::KnxConverterByte8BitUnsigned, Lum::KnxConverterInteger8BitSigned,
            Lum::KnxConverterStatus8Bit, Lum::KnxConverterInteger16BitUnsigned,
            Lum::KnxConverterInteger16BitSigned, Lum::KnxConverterInteger24BitUnsigned,
            Lum::KnxConverterInteger32BitUnsigned, Lum::KnxConverterInteger32BitSigned,
            Lum::KnxConverterFloat16BitFloat, Lum::KnxConverterFloat32BitFloat, Lum::KnxConverter8BitString,
            Lum::KnxConverter14ByteString, Lum::KnxConverterSceneNumber, Lum::KnxConverterSceneControl,
            Lum::KnxConverterSceneInfo>;

std::string Numbered(int number, const char* name)
{
    return std::to_string(number) + " " + name;
}
} // namespace

int RunDpts(const Arguments& args)
{
    if (!args.positional.empty())
        throw UsageError("dpts takes only --markdown");
    const bool markdown = args.Has("--markdown");

    Lum::KnxValueConverter converter;
    converter.Init();
    const char* heads[] = {"DPT", "bits", "value type", "sub type", "converter", "range"};
    const int widths[] = {8, 5, 14, 24, 34, 0};
    auto printRow = [&](const std::string(&cells)[6])
    {
        if (markdown)
        {
            std::cout << '|';
            for (const auto& c : cells)
                std::cout << ' ' << c << " |";
            std::cout << '\n';
            return;
        }
        for (int i = 0; i < 6; ++i)
            std::cout << std::left << std::setw(widths[i]) << cells[i] << (i < 5 ? " " : "\n");
    };
    printRow({heads[0], heads[1], heads[2], heads[3], heads[4], heads[5]});
    if (markdown)
        std::cout << "|---|---|---|---|---|---|\n";
    std::size_t count = 0;
    for (const auto& main : converter.GetDptValueMap().Entries())
    {
        for (const auto& sub : main.second)
        {
            const Lum::DptValueEntry& e = sub.second;
            KNXDPT dpt = e.dpt;
            dpt.mainNumber = main.first;
            dpt.subNumber = sub.first;
            printRow({FormatDpt(dpt), std::to_string(e.dpt.bitSize),
                      Numbered(e.ivt, ORUVALUE::GetNameFromValueType(e.ivt)),
                      Numbered(e.ist, OruDP::GetNameFromValueSubType(e.ist)),
                      e.converter ? ClassName(*e.converter) : "-",
                      e.converter ? RangedConverters::Of(*e.converter) : "-"});
            ++count;
        }
    }
    if (!markdown)
        std::cout << "\n" << count << " datapoint types\n";
    return 0;
}

} // namespace LumKnx
