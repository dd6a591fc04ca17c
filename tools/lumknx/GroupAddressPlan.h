#pragma once
// The integrator's group-address plan: for each address its name and the DPT
// assigned to it, read from what the engineering tool exports (CSV, XML or a
// project archive).
#include "LumBus/KnxAddress.h"

#include <Platform/KnxStack.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace LumKnx
{

struct PlanEntry
{
    std::uint16_t address = 0;
    std::string name;
    std::optional<KNXDPT> dpt; // none: the plan assigns no DPT, values stay raw
};

class GroupAddressPlan
{
public:
    // Entries sorted by address, one per address.
    explicit GroupAddressPlan(std::vector<PlanEntry> entries = {},
                              LumBus::GroupAddressStyle style = LumBus::GroupAddressStyle::ThreeLevel);

    const PlanEntry* Find(std::uint16_t address) const;
    const std::vector<PlanEntry>& Entries() const { return m_entries; }
    LumBus::GroupAddressStyle Style() const { return m_style; }

private:
    std::vector<PlanEntry> m_entries;
    LumBus::GroupAddressStyle m_style;
};

struct PlanLoadResult
{
    std::optional<GroupAddressPlan> plan; // none when the file could not be used
    std::string error;                    // one line saying why, when there is no plan
    std::vector<std::string> warnings;    // e.g. an address listed twice with different DPTs
};

// Reads a plan in any of the exported forms, recognised by content.
PlanLoadResult LoadGroupAddressPlan(const std::string& path);

} // namespace LumKnx
