#pragma once

/// @file
/// @brief The converter interface of one DPT family, and the byte-array fallback.

#include <Lum/Export.h>
#include <Lum/KnxConverterRange.h>
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

#include <cstddef>

namespace Lum
{

/// @brief Converts one family of DPTs between ORUVALUE and group values.
///
/// Converts one family of DPTs between ORUVALUE and group values. Converters
/// are immutable after construction, so one object may serve many threads.
///
/// Applications normally convert through KnxValueConverter, which picks the converter of
/// a DPT, checks the value type and the group value's size first. A converter called
/// directly checks only what it needs itself.
///
/// No conversion throws: a failure returns false, mostly after one ERROR line that
/// says why (the 1-bit converter rejects silently); an exception inside, such as a
/// group value with too few bytes, ends as false with one ERROR line naming the DPT and
/// the value or bytes. Entry traces are logged at DEBUG.
class LUM_OM_API KnxConverter
{
public:
    /// @brief Ends the converter.
    virtual ~KnxConverter() = default;
    /// @brief Writes @p value as the group value of @p dpt.
    /// @param dpt the DPT to write (in).
    /// @param value the value; its type must be the one the converter takes.
    /// @param group out: replaced on success; on failure it may be left as it was.
    /// @return true on success.
    virtual bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) = 0;
    /// @brief Reads the group value of @p dpt into @p value.
    /// @param dpt the DPT to read (in).
    /// @param group the group value (in).
    /// @param value in/out: some converters set the value type, others write only the
    ///        payload and keep the type the caller set (see each converter).
    /// @return true on success; on failure the payload may already be written.
    virtual bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) = 0;
    /// @brief A copy of this converter.
    ///
    /// A new heap copy of the same class; the caller owns it.
    /// Release it with `delete` (or a std::unique_ptr), whatever memory it came from.
    virtual KnxConverter* Clone() const = 0;

    /// @brief Memory of a converter.
    ///
    /// The converters that a DPT value map makes for itself share the map's
    /// memory (one allocation for the whole table); every other converter
    /// comes from the heap. Either way `delete` is right.
    static void* operator new(std::size_t size);
    /// @brief Gives the memory of a converter back where it came from; see operator new.
    static void operator delete(void* object, std::size_t size) noexcept;

protected:
    /// @brief For the converters of a family.
    KnxConverter() = default;
    /// @brief For Clone() of the converters of a family.
    KnxConverter(const KnxConverter&) = default;
    /// @brief For the converters of a family.
    KnxConverter& operator=(const KnxConverter&) = default;
};

/// @brief Byte-array fallback for DPTs without a family converter.
///
/// ToKnxValue() writes the platform's byte form (OruValueToByteArray()) in as many bytes
/// as the DPT's bit size needs; percentage and dimming values travel as one byte; a
/// boolean is written as 1 bit for 1.x, 2 bits for 2.x and leaves the group value as it
/// was (returning true) for any other DPT. FromKnxValue() reads the bytes with
/// ByteArrayToOruValue() into the type the caller set (a 1-bit group value gives a
/// boolean, type 2); on failure it empties the value (type 1) and logs ERROR.
class LUM_OM_API KnxConverterDefault : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
};

} // namespace Lum
