#include "Cli.h"

#include <Lum/KnxValueConverter.h>

#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <chrono>
#include <fstream>
#include <iomanip>
#include <iostream>

namespace LumKnx
{

namespace
{
std::string SampleTracePath()
{
    for (const char* candidate : {LUMKNX_SAMPLE_TRACE_SOURCE, LUMKNX_SAMPLE_TRACE_INSTALLED})
        if (std::ifstream(candidate).good())
            return candidate;
    throw std::runtime_error(std::string("the sample trace is missing (looked for ") + LUMKNX_SAMPLE_TRACE_SOURCE +
                             " and " + LUMKNX_SAMPLE_TRACE_INSTALLED + ")");
}

struct Totals
{
    unsigned long telegrams = 0;
    unsigned long decoded = 0;
    unsigned long failed = 0;
    unsigned long skipped = 0;
};

void PrintRow(const std::vector<std::string>& f, const std::string& bytes, const std::string& value,
              const std::string& status)
{
    std::cout << std::left << std::setw(24) << f[0] << ' ' << std::setw(9) << f[1] << ' ' << std::setw(9) << f[2]
              << ' ' << std::setw(8) << f[3] << ' ' << std::setw(24) << bytes << ' ' << std::setw(22) << value << ' '
              << status << '\n';
}

void DecodeTelegram(const Lum::KnxValueConverter& converter, LibraryMessages& messages,
                    const std::vector<std::string>& f, Totals& totals)
{
    ++totals.telegrams;
    const auto dpt = ParseDpt(f[3]);
    const auto bytes = ParseHex(f[4]);
    if (!dpt || !bytes)
    {
        ++totals.failed;
        PrintRow(f, f[4], "-", !dpt ? "FAILED: not a DPT" : "FAILED: not hexadecimal bytes");
        return;
    }
    KNXDPT used = *dpt;
    const KnxStack::GroupValue gv = MakeGroupValue(used.mainNumber, *bytes);
    ORUVALUE value;
    messages.Clear();
    const bool ok = converter.FromKnxValue(used, gv, value);
    const std::string reason = messages.First();
    const char* text = value.ToString();
    std::string shown = text != nullptr ? text : "-";
    if (value.ivt == ivtUnset)
        shown = "(invalid data)";
    if (ok && reason.empty())
    {
        ++totals.decoded;
        PrintRow(f, gv.GetRawData().ToString(), shown, "OK");
        return;
    }
    ++totals.failed;
    PrintRow(f, gv.GetRawData().ToString(), ok ? shown : "-", (ok ? "UNCHECKED: " : "FAILED: ") + reason);
}
} // namespace

int RunTrace(const std::vector<std::string>& args)
{
    if (args.size() > 1)
        throw UsageError("trace takes at most one FILE ('-' for standard input)");
    std::ifstream file;
    std::istream* in = &std::cin;
    const std::string path = args.empty() ? SampleTracePath() : args[0];
    if (path != "-")
    {
        file.open(path);
        if (!file)
        {
            std::cerr << "lumknx: cannot read '" << path << "'\n";
            return 1;
        }
        in = &file;
    }

    Lum::KnxValueConverter converter;
    converter.Init();
    LibraryMessages messages;
    Totals totals;
    const auto start = std::chrono::steady_clock::now();
    std::string line;
    unsigned long number = 0;
    while (std::getline(*in, line))
    {
        ++number;
        boost::algorithm::trim(line);
        if (line.empty() || line[0] == '#' || (number == 1 && line.rfind("time,", 0) == 0))
            continue;
        std::vector<std::string> fields;
        boost::algorithm::split(fields, line, [](char c) { return c == ','; });
        for (auto& f : fields)
            boost::algorithm::trim(f);
        if (fields.size() != 5)
        {
            ++totals.skipped;
            std::cout << "line " << number << ": skipped, " << fields.size()
                      << " fields instead of 5 (time,source,destination,dpt,data)\n";
            continue;
        }
        DecodeTelegram(converter, messages, fields, totals);
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const double rate = elapsed.count() > 0 ? totals.telegrams / elapsed.count() : 0.0;
    std::cout << "\ntelegrams: " << totals.telegrams << ", decoded: " << totals.decoded << ", failed: " << totals.failed
              << ", skipped lines: " << totals.skipped << ", telegrams per second: " << std::fixed
              << std::setprecision(0) << rate << '\n';
    return 0;
}

} // namespace LumKnx
