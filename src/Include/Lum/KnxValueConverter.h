#pragma once

/// @file
/// @brief The value converter: ORUVALUE to KNX group value and back, by DPT.

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

/// @brief How group values of one DPT convert.
///
/// How group values of one DPT convert. Owns its own copy of the converter.
/// Copies clone the converter; moves take it over.
class LUM_OM_API DptValueEntry
{
public:
    /// @brief An entry with a clone of @p converter (the caller keeps its own).
    DptValueEntry(const KNXDPT& dpt, OruValueType ivt, OruDP::OruValueSubType ist,
                  const KnxConverter& converter);
    /// @brief Copies the fields and clones the converter.
    DptValueEntry(const DptValueEntry& other);
    /// @brief Takes over the fields and the converter; @p other is left without one.
    DptValueEntry(DptValueEntry&& other) noexcept;
    /// @brief Copies the fields and clones the converter; a failing clone leaves this entry as it was.
    DptValueEntry& operator=(const DptValueEntry& other);
    /// @brief Takes over the fields and the converter; @p other is left without one.
    DptValueEntry& operator=(DptValueEntry&& other) noexcept;
    /// @brief Ends the entry and its converter.
    virtual ~DptValueEntry();

    KNXDPT dpt;                              ///< The DPT with its bit size.
    OruValueType ivt;                        ///< The value type of the DPT's values.
    OruDP::OruValueSubType ist;              ///< The value subtype.
    std::unique_ptr<KnxConverter> converter; ///< The converter, owned; null after a move.
};

/// @brief The converters of the DPTs.
///
/// Main number -> sub number -> entry; sub 0 is the entry of the whole main number.
/// Not thread-safe while it changes; once filled, const access may come from any thread.
class LUM_OM_API DptValueMap
{
public:
    /// @brief Sub number -> entry.
    using SubMap = std::pmr::map<std::uint16_t, DptValueEntry>;
    /// @brief Main number -> the entries of its sub numbers.
    using MainMap = std::pmr::map<std::uint16_t, SubMap>;

    /// @brief An empty map.
    DptValueMap();
    /// @brief A map with a copy of every entry of @p other.
    DptValueMap(const DptValueMap& other);
    /// @brief Replaces every entry with a copy of those of @p other.
    DptValueMap& operator=(const DptValueMap& other);
    /// @brief Ends the map and its entries.
    virtual ~DptValueMap();

    /// @brief Registers a copy of @p entry under @p dpt.
    ///
    /// The first registration of a DPT wins; a duplicate reports true.
    bool Add(const KNXDPT& dpt, const DptValueEntry& entry);
    /// @brief Registers @p entry under @p dpt.
    ///
    /// As above, taking over the entry's converter instead of copying it again.
    /// On a duplicate the entry is left as it was.
    bool Add(const KNXDPT& dpt, DptValueEntry&& entry);
    /// @brief The entry of @p dpt.
    ///
    /// Exact sub number, then main.x, then the shared empty entry (value type 1).
    /// A miss logs ERROR "No Entry found for DPT = ...". The entry lives as long as the
    /// map is not changed.
    const DptValueEntry& GetEntry(const KNXDPT& dpt) const;
    /// @brief Removes every entry; references to entries become invalid.
    void Clear();

    /// @brief Every entry, for reading.
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
    // Replaces every entry by a copy of other's: the trees are copied as they
    // stand (no lookups, no rebalancing), the converters cloned into the arena.
    void CopyEntriesFrom(const DptValueMap& other);
    void RememberExact(const KNXDPT& dpt, const DptValueEntry& entry);
    const DptValueEntry* FindExact(const KNXDPT& dpt) const;
    std::array<ExactSlot, kExactSlots> m_exact{};
    std::size_t m_exactUsed = 0;
};

/// @brief The empty entry.
///
/// The shared entry that a lookup miss yields: DPT 0.0, value type 1.
/// Its converter is a KnxConverterDefault. Lives until the process ends; safe from any thread.
LUM_OM_API const DptValueEntry& GetEmptyDptValueEntry();

/// @brief Converts ORUVALUEs to group values and back by DPT.
///
/// Converts ORUVALUEs to group values and back by DPT. Init() fills the map
/// once; afterwards the object is read-only and may serve several threads.
///
/// Call Init() once, before the first conversion and before the object is shared;
/// then every thread may convert through a const reference at the same time.
///
/// Conversions never throw: a failure returns false after an ERROR line that says why
/// (a DPT without a default logs INFO instead); when the converter rejected the value,
/// the converter's own ERROR line comes first. A DPT without an entry is the one
/// exception: two ERROR lines ("No Entry found for DPT = ..." and "Assume validity and
/// accept value!") and the result true, with the output left as it was.
class LUM_OM_API KnxValueConverter
{
public:
    /// @brief An empty converter; call Init() before converting.
    KnxValueConverter() = default;
    /// @brief Ends the converter.
    virtual ~KnxValueConverter() = default;

    /// @brief Fills the DPT map (FillDptValueMap()); call once before converting. Always true.
    bool Init();

    /// @brief Writes @p val as the group value of @p dpt.
    ///
    /// dpt is in/out: a default DPT is written into it when its main number is 0.
    /// The default comes from the value type (and the bit size asked for), then from the
    /// bit size alone (GetDefaultMappingDptForValueType(), GetDefaultMappingDptForSize()).
    /// The value's type must be compatible with the entry's (AreValueTypesCompatible());
    /// an unset value (type 0) passes.
    /// @param dpt in/out: the DPT; a default is written into it when its main number is 0.
    /// @param val the value (in).
    /// @param gv out: the group value; replaced on success.
    /// @return true on success (and for a DPT without an entry, see the class).
    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv);
    /// @brief Reads the group value @p gv of @p dpt into @p val.
    ///
    /// When the main number of @p dpt is 0, a default DPT is written into it from its bit
    /// size, or from @p gv's defined size when that is 0 too. Before the converter runs,
    /// `val.ivt` is set to the entry's value type; converters that set their own type
    /// override it, the others keep it (see each converter). The group value's defined size
    /// must match the DPT's (GetExpectedBitSize()); values under 7 bits may come in 6.
    /// @param dpt in/out: the DPT; a default is written into it when its main number is 0.
    /// @param gv the group value (in).
    /// @param val out: type and payload; on failure it may be partly written.
    /// @return true on success (and for a DPT without an entry, see the class).
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val);
    /// @brief The same as the non-const ToKnxValue(), for a shared initialised converter.
    ///
    /// The same conversions for callers that share one initialised converter
    /// between threads through a const reference.
    bool ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv) const;
    /// @brief The same as the non-const FromKnxValue(), for a shared initialised converter.
    bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val) const;

    /// @brief Whether a value of @p valueType may be written to an entry of @p entryType.
    ///
    /// Equal types fit, as do the members of one family (the floating types, the signed
    /// 32-bit types, the byte types, the unsigned types); a date-and-time value fits
    /// a date or time entry, not the reverse. Does not log.
    bool AreValueTypesCompatible(OruValueType valueType, OruValueType entryType);
    /// @brief Writes the default DPT of @p dpt's bit size into its main and sub number.
    /// @param dpt in/out: bit size in; main and sub number out when one is found.
    /// @return false, with @p dpt untouched, when the bit size has no default.
    bool GetDefaultMappingDptForSize(KNXDPT& dpt);
    /// @brief Writes the default DPT of @p val's type (and @p dpt's bit size) into @p dpt.
    /// @param dpt in/out: bit size in; main number, sub number and bit size out when found.
    /// @param val the value whose type picks the DPT (in).
    /// @return false, with @p dpt untouched, when the value type has no default.
    bool GetDefaultMappingDptForValueType(KNXDPT& dpt, const ORUVALUE& val);
    /// @brief The bits a group value of a main number must have.
    ///
    /// Bits a group value of this main number must have; 0 when unknown,
    /// kVariableBitSize when not checked.
    static std::uint32_t GetExpectedBitSize(std::uint16_t mainNumber);
    /// @brief The bit size of a main number whose size is not checked.
    static constexpr std::uint32_t kVariableBitSize = 2147483647u;

    /// @brief The entry of @p dpt, as DptValueMap::GetEntry() (a miss logs ERROR).
    const DptValueEntry& GetEntry(const KNXDPT& dpt) const;
    /// @brief Registers a clone of @p converter for main.sub; the first registration wins.
    ///
    /// Changes the map: not while other threads convert. Always true.
    bool AddDptValueMapEntry(unsigned short main, unsigned short sub, unsigned char bitSize, OruValueType ivt,
                             OruDP::OruValueSubType ist, const KnxConverter& converter);

    /// @brief The map of every registered DPT.
    const DptValueMap& GetDptValueMap() const { return dptValueMap; }

    /// @brief Rebuilds the map.
    ///
    /// Clears the map and registers every supported DPT; always true.
    /// A row that cannot be added logs ERROR and is skipped.
    bool FillDptValueMap();

protected:
    /// @brief Registers one row of the DPT table.
    ///
    /// Registers one row of the DPT table; FillDptValueMap() uses AddDptValueMapEntry.
    using DptEntryAdder = bool (*)(KnxValueConverter& self, unsigned short main, unsigned short sub,
                                   unsigned char bitSize, OruValueType ivt, OruDP::OruValueSubType ist,
                                   const KnxConverter& converter);
    /// @brief Rebuilds the map through @p adder (not null).
    ///
    /// Lets a subclass refuse rows to exercise the failure path of the table.
    bool FillDptValueMap(DptEntryAdder adder);

private:
    DptValueMap dptValueMap;
};

} // namespace Lum
