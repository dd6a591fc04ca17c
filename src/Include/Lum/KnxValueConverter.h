#pragma once

#include <Lum/Export.h>
#include <Lum/KnxConverter.h>
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <memory_resource>

namespace Lum
{

// How group values of one DPT convert. Owns its own copy of the converter.
class LUM_OM_API DptValueEntry
{
public:
    DptValueEntry(const KNXDPT& dpt, OruValueType ivt, OruDP::OruValueSubType ist,
                  const KnxConverter& converter);
    DptValueEntry(const DptValueEntry& other);
    DptValueEntry(DptValueEntry&& other) noexcept;
    DptValueEntry& operator=(const DptValueEntry& other);
    DptValueEntry& operator=(DptValueEntry&& other) noexcept;
    virtual ~DptValueEntry();

    KNXDPT dpt;
    OruValueType ivt;
    OruDP::OruValueSubType ist;
    std::unique_ptr<KnxConverter> converter;
};

// Main number -> sub number -> entry; sub 0 is the entry of the whole main number.
class LUM_OM_API DptValueMap
{
public:
    using SubMap = std::pmr::map<std::uint16_t, DptValueEntry>;
    using MainMap = std::pmr::map<std::uint16_t, SubMap>;

    DptValueMap();
    DptValueMap(const DptValueMap& other);
    DptValueMap& operator=(const DptValueMap& other);
    virtual ~DptValueMap();

    // The first registration of a DPT wins; a duplicate reports true.
    bool Add(const KNXDPT& dpt, const DptValueEntry& entry);
    // As above, taking over the entry's converter instead of copying it again.
    bool Add(const KNXDPT& dpt, DptValueEntry&& entry);
    // Exact sub number, then main.x, then the shared empty entry (value type 1).
    const DptValueEntry& GetEntry(const KNXDPT& dpt) const;
    void Clear();

    const MainMap& Entries() const { return m_entries; }

private:
    // The converters of the entries it builds come from the same arena.
    friend class KnxValueConverter;

    // The map is rebuilt for every received telegram: its nodes come from one
    // arena instead of one allocation each. Declared before the map it serves.
    std::pmr::monotonic_buffer_resource m_arena;
    MainMap m_entries;

    // Exact main.sub hits without walking two trees: open addressing over the
    // packed DPT, filled by Add. Misses (main.x, unknown DPTs) take the trees.
    struct ExactSlot
    {
        std::uint32_t key = 0;
        const DptValueEntry* entry = nullptr;
    };
    static constexpr std::size_t kExactSlots = 128;
    void RememberExact(const KNXDPT& dpt, const DptValueEntry& entry);
    const DptValueEntry* FindExact(const KNXDPT& dpt) const;
    std::array<ExactSlot, kExactSlots> m_exact{};
    std::size_t m_exactUsed = 0;
};

// The shared entry that a lookup miss yields: DPT 0.0, value type 1.
LUM_OM_API const DptValueEntry& GetEmptyDptValueEntry();

// Converts ORUVALUEs to group values and back by DPT. Init() fills the map
// once; afterwards the object is read-only and may serve several threads.
class LUM_OM_API KnxValueConverter
{
public:
    KnxValueConverter() = default;
    virtual ~KnxValueConverter() = default;

    bool Init();

    // dpt is in/out: a default DPT is written into it when its main number is 0.
    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv);
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val);
    // The same conversions for callers that share one initialised converter
    // between threads through a const reference.
    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv) const;
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val) const;

    bool AreValueTypesCompatible(OruValueType valueType, OruValueType entryType);
    bool GetDefaultMappingDptForSize(KNXDPT& dpt);
    bool GetDefaultMappingDptForValueType(KNXDPT& dpt, const ORUVALUE& val);
    // Bits a group value of this main number must have; 0 when unknown,
    // kVariableBitSize when not checked.
    static std::uint32_t GetExpectedBitSize(std::uint16_t mainNumber);
    static constexpr std::uint32_t kVariableBitSize = 2147483647u;

    const DptValueEntry& GetEntry(const KNXDPT& dpt) const;
    bool AddDptValueMapEntry(unsigned short main, unsigned short sub, unsigned char bitSize, OruValueType ivt,
                             OruDP::OruValueSubType ist, const KnxConverter& converter);

    const DptValueMap& GetDptValueMap() const { return dptValueMap; }

    // Clears the map and registers every supported DPT; always true.
    bool FillDptValueMap();

protected:
    // Registers one row of the DPT table; FillDptValueMap() uses AddDptValueMapEntry.
    using DptEntryAdder = bool (*)(KnxValueConverter& self, unsigned short main, unsigned short sub,
                                   unsigned char bitSize, OruValueType ivt, OruDP::OruValueSubType ist,
                                   const KnxConverter& converter);
    // Lets a subclass refuse rows to exercise the failure path of the table.
    bool FillDptValueMap(DptEntryAdder adder);

private:
    DptValueMap dptValueMap;
};

} // namespace Lum
