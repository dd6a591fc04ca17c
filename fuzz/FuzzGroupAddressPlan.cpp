// Any bytes as a group-address plan in any form: the readers never crash,
// and a plan they return holds each address once, sorted.
#include "FuzzSupport.h"

#include <PlanReaders.h>

#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const LumKnx::PlanLoadResult result = LumKnx::ReadGroupAddressPlan(bytes);
    if (result.plan.has_value() == !result.error.empty())
        std::abort(); // a plan and an error, or neither
    if (result.warnings.size() > LumKnx::kMaxPlanWarnings + 1)
        std::abort();
    if (result.plan)
    {
        const auto& entries = result.plan->Entries();
        for (std::size_t i = 1; i < entries.size(); ++i)
            if (entries[i - 1].address >= entries[i].address)
                std::abort();
        for (const auto& entry : entries)
            if (result.plan->Find(entry.address) != &entry)
                std::abort();
    }
    return 0;
}
