#include "GroupAddressPlan.h"

#include <algorithm>

namespace LumKnx
{

GroupAddressPlan::GroupAddressPlan(std::vector<PlanEntry> entries, LumBus::GroupAddressStyle style)
    : m_entries(std::move(entries)), m_style(style)
{
    std::stable_sort(m_entries.begin(), m_entries.end(),
                     [](const PlanEntry& a, const PlanEntry& b) { return a.address < b.address; });
    // The first listing of an address wins; the readers warn about the rest.
    m_entries.erase(std::unique(m_entries.begin(), m_entries.end(),
                                [](const PlanEntry& a, const PlanEntry& b)
                                { return a.address == b.address; }),
                    m_entries.end());
}

const PlanEntry* GroupAddressPlan::Find(std::uint16_t address) const
{
    const auto it = std::lower_bound(m_entries.begin(), m_entries.end(), address,
                                     [](const PlanEntry& e, std::uint16_t a) { return e.address < a; });
    return it != m_entries.end() && it->address == address ? &*it : nullptr;
}

// Placeholder until the readers land: no form is recognised yet.
PlanLoadResult LoadGroupAddressPlan(const std::string& path)
{
    PlanLoadResult result;
    result.error = "\"" + path + "\": group-address plans cannot be read yet";
    return result;
}

} // namespace LumKnx
