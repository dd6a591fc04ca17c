#include "Cli.h"
#include "GroupAddressPlan.h"

#include <iostream>

namespace LumKnx
{

int RunGamap(const Arguments& arguments)
{
    const std::vector<std::string>& args =
        arguments.PositionalExactly(1, "gamap takes one FILE (a CSV or XML export, or a .knxproj project)");
    const PlanLoadResult result = LoadPlanOrThrow(args[0]);
    std::string out;
    std::size_t withoutDpt = 0;
    for (const PlanEntry& entry : result.plan->Entries())
    {
        std::string address = LumBus::FormatGroupAddress(entry.address, result.plan->Style());
        std::string dpt = entry.dpt ? FormatDpt(*entry.dpt) : "-";
        withoutDpt += entry.dpt ? 0 : 1;
        address.resize(std::max<std::size_t>(address.size() + 1, 10), ' ');
        dpt.resize(std::max<std::size_t>(dpt.size() + 1, 8), ' ');
        out += address + dpt + EscapeControls(entry.name) + '\n';
    }
    std::cout << out << std::flush;
    std::cerr << "group addresses: " << result.plan->Entries().size() << ", without DPT: " << withoutDpt
              << ", warnings: " << result.warnings.size() << '\n';
    return result.warnings.empty() ? 0 : 1;
}

} // namespace LumKnx
