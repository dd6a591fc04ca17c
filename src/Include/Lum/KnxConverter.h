#pragma once

#include <Lum/Export.h>
#include <Lum/KnxConverterRange.h>
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

#include <cstddef>

namespace Lum
{

// Converts one family of DPTs between ORUVALUE and group values. Converters
// are immutable after construction, so one object may serve many threads.
class LUM_OM_API KnxConverter
{
public:
    virtual ~KnxConverter() = default;
    virtual bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) = 0;
    virtual bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) = 0;
    // A new heap copy of the same class; the caller owns it.
    virtual KnxConverter* Clone() const = 0;

    // The converters that a DPT value map makes for itself share the map's
    // memory (one allocation for the whole table); every other converter
    // comes from the heap. Either way `delete` is right.
    static void* operator new(std::size_t size);
    static void operator delete(void* object, std::size_t size) noexcept;

protected:
    KnxConverter() = default;
    KnxConverter(const KnxConverter&) = default;
    KnxConverter& operator=(const KnxConverter&) = default;
};

// Byte-array fallback for DPTs without a family converter.
class LUM_OM_API KnxConverterDefault : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

} // namespace Lum
