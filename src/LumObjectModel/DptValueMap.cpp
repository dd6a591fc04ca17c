#include <Lum/KnxValueConverter.h>
#include <Platform/Logging.h>

#include "ConverterMemory.h"
#include "KnxConverterLog.h"

#include <cstddef>
#include <utility>

namespace Lum
{

namespace
{

std::unique_ptr<KnxConverter> CloneConverter(const KnxConverter* converter)
{
    return std::unique_ptr<KnxConverter>(converter ? converter->Clone() : nullptr);
}

} // namespace

DptValueEntry::DptValueEntry(const KNXDPT& dpt_, OruValueType ivt_, OruDP::OruValueSubType ist_,
                             const KnxConverter& converter_)
    : dpt(dpt_), ivt(ivt_), ist(ist_), converter(converter_.Clone())
{
}

DptValueEntry::DptValueEntry(const DptValueEntry& other)
    : dpt(other.dpt), ivt(other.ivt), ist(other.ist), converter(CloneConverter(other.converter.get()))
{
}

DptValueEntry::DptValueEntry(DptValueEntry&& other) noexcept
    : dpt(other.dpt), ivt(other.ivt), ist(other.ist), converter(std::move(other.converter))
{
}

DptValueEntry& DptValueEntry::operator=(const DptValueEntry& other)
{
    if (this != &other)
    {
        // Clone first: a throwing copy leaves this entry as it was.
        std::unique_ptr<KnxConverter> copy = CloneConverter(other.converter.get());
        dpt = other.dpt;
        ivt = other.ivt;
        ist = other.ist;
        converter = std::move(copy);
    }
    return *this;
}

DptValueEntry& DptValueEntry::operator=(DptValueEntry&& other) noexcept
{
    dpt = other.dpt;
    ivt = other.ivt;
    ist = other.ist;
    converter = std::move(other.converter);
    return *this;
}

DptValueEntry::~DptValueEntry() = default;

const DptValueEntry& GetEmptyDptValueEntry()
{
    // Built on first use; the language guarantees a thread-safe one-time initialisation.
    static const DptValueEntry empty(KNXDPT{}, ivtEmpty, OruDP::ivstNone, KnxConverterDefault());
    return empty;
}

namespace
{

// Enough for the nodes and converters of the full DPT table on 32- and 64-bit
// targets; the arena grows on its own should a caller add more.
constexpr std::size_t kArenaBytes = 16384;

} // namespace

DptValueMap::DptValueMap() : m_arena(kArenaBytes), m_entries(&m_arena) {}

DptValueMap::DptValueMap(const DptValueMap& other) : DptValueMap()
{
    *this = other;
}

DptValueMap& DptValueMap::operator=(const DptValueMap& other)
{
    if (this != &other)
        CopyEntriesFrom(other);
    return *this;
}

void DptValueMap::CopyEntriesFrom(const DptValueMap& other)
{
    Clear();
    {
        const Detail::ConverterArenaScope scope(m_arena);
        // The inner maps take the outer map's arena (uses-allocator construction).
        m_entries = other.m_entries;
    }
    for (const auto& main : m_entries)
    {
        for (const auto& sub : main.second)
        {
            KNXDPT dpt = sub.second.dpt;
            dpt.mainNumber = main.first;
            dpt.subNumber = sub.first;
            RememberExact(dpt, sub.second);
        }
    }
}

DptValueMap::~DptValueMap() = default;

bool DptValueMap::Add(const KNXDPT& dpt, const DptValueEntry& entry)
{
    return Add(dpt, DptValueEntry(entry));
}

bool DptValueMap::Add(const KNXDPT& dpt, DptValueEntry&& entry)
{
    // try_emplace leaves both the map and the entry alone when the DPT is
    // already there: the first registration wins and a duplicate is no error.
    const auto added = m_entries[dpt.mainNumber].try_emplace(dpt.subNumber, std::move(entry));
    if (added.second)
        RememberExact(dpt, added.first->second);
    return true;
}

namespace
{

std::uint32_t PackedDpt(const KNXDPT& dpt)
{
    return static_cast<std::uint32_t>(dpt.mainNumber) << 16 | dpt.subNumber;
}

// Fibonacci hashing onto the slot count, a power of two.
std::size_t FirstSlot(std::uint32_t key, std::size_t slots)
{
    return static_cast<std::size_t>((key * 2654435769u) >> 16) & (slots - 1);
}

} // namespace

void DptValueMap::RememberExact(const KNXDPT& dpt, const DptValueEntry& entry)
{
    static_assert((kExactSlots & (kExactSlots - 1)) == 0, "a power of two");
    // Half full at most, so probes stay short; beyond that the trees answer.
    if (m_exactUsed >= kExactSlots / 2)
        return;
    const std::uint32_t key = PackedDpt(dpt);
    for (std::size_t slot = FirstSlot(key, kExactSlots);; slot = (slot + 1) & (kExactSlots - 1))
    {
        if (m_exact[slot].entry == nullptr)
        {
            m_exact[slot] = ExactSlot{key, &entry};
            ++m_exactUsed;
            return;
        }
    }
}

const DptValueEntry* DptValueMap::FindExact(const KNXDPT& dpt) const
{
    const std::uint32_t key = PackedDpt(dpt);
    for (std::size_t slot = FirstSlot(key, kExactSlots);; slot = (slot + 1) & (kExactSlots - 1))
    {
        const ExactSlot& candidate = m_exact[slot];
        if (candidate.entry == nullptr || candidate.key == key)
            return candidate.entry;
    }
}

const DptValueEntry& DptValueMap::GetEntry(const KNXDPT& dpt) const
{
    if (const DptValueEntry* exact = FindExact(dpt))
        return *exact;
    const auto mainIt = m_entries.find(dpt.mainNumber);
    if (mainIt == m_entries.end())
    {
        LUM_LOG_ERROR("No Entry found for DPT = " << Detail::DptText{dpt});
        return GetEmptyDptValueEntry();
    }
    const SubMap& subMap = mainIt->second;
    const auto exact = subMap.find(dpt.subNumber);
    if (exact != subMap.end())
    {
        return exact->second;
    }
    if (dpt.subNumber == 0)
    {
        LUM_LOG_ERROR("No Entry found for DPT = " << Detail::DptText{dpt});
        return GetEmptyDptValueEntry();
    }
    const auto wholeMain = subMap.find(0);
    if (wholeMain != subMap.end())
    {
        return wholeMain->second;
    }
    LUM_LOG_ERROR("No Entry found for DPT = " << dpt.mainNumber << ".x");
    return GetEmptyDptValueEntry();
}

void DptValueMap::Clear()
{
    for (auto& mainEntry : m_entries)
    {
        mainEntry.second.clear();
    }
    m_entries.clear();
    m_exact.fill(ExactSlot{});
    m_exactUsed = 0;
    // Nothing points into the arena any more.
    m_arena.release();
}

} // namespace Lum
