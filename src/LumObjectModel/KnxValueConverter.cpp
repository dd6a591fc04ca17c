#include <Lum/KnxValueConverter.h>
#include <Platform/Logging.h>

#include "ConverterMemory.h"
#include "KnxConverterLog.h"
#include "LogAs.h"

#include <boost/optional.hpp>

#include <array>
#include <initializer_list>
#include <ostream>
#include <utility>

namespace Lum
{

namespace
{

// A value's text form; a null text writes nothing and marks the stream failed.
struct ValueText
{
    const ORUVALUE& value;
};

std::ostream& operator<<(std::ostream& os, const ValueText& v)
{
    if (const char* text = v.value.ToString())
    {
        os << text;
    }
    else
    {
        os.setstate(std::ios_base::badbit);
    }
    return os;
}

void SetDpt(KNXDPT& dpt, std::uint16_t main, std::uint16_t sub)
{
    dpt.mainNumber = main;
    dpt.subNumber = sub;
}

void SetDpt(KNXDPT& dpt, std::uint16_t main, std::uint16_t sub, std::uint8_t bitSize)
{
    SetDpt(dpt, main, sub);
    dpt.bitSize = bitSize;
}

bool IsOneOf(OruValueType type, std::initializer_list<OruValueType> types)
{
    for (const OruValueType t : types)
    {
        if (t == type)
        {
            return true;
        }
    }
    return false;
}

constexpr std::uint16_t kLastSizedMain = 241;

struct MainBitSize
{
    std::uint16_t main;
    std::uint32_t bits;
};

constexpr std::uint32_t kVar = KnxValueConverter::kVariableBitSize;

// Main numbers not listed expect 0 bits.
constexpr MainBitSize kMainBitSizes[] = {
    {1, 1},     {2, 2},    {3, 4},    {4, 8},    {5, 8},    {6, 8},     {7, 16},   {8, 16},   {9, 16},
    {10, 24},   {11, 24},  {12, 32},  {13, 32},  {14, 32},  {15, 32},   {16, 112}, {17, 8},   {18, 8},
    {19, 64},   {20, 8},   {21, 8},   {22, 16},  {23, 8},   {24, kVar}, {25, 8},   {26, 8},   {27, 32},
    {28, kVar}, {29, 64},  {30, 24},  {31, 3},   {200, 9},  {201, 16},  {202, 16}, {203, 24}, {204, 16},
    {205, 24},  {206, 24}, {207, 16}, {209, 24}, {210, 32}, {211, 16},  {212, 48}, {213, 64}, {214, 32},
    {215, 40},  {216, 40}, {217, 16}, {218, 40}, {219, 48}, {220, 32},  {221, 48}, {222, 48}, {223, 24},
    {224, 48},  {225, 24}, {229, 48}, {230, 64}, {231, 32}, {232, 24},  {234, 16}, {235, 48}, {236, 8},
    {237, 16},  {238, 8},  {239, 16}, {240, 24}, {241, 32},
};

constexpr std::array<std::uint32_t, kLastSizedMain + 1> MakeBitSizeTable()
{
    std::array<std::uint32_t, kLastSizedMain + 1> table{};
    for (const MainBitSize& row : kMainBitSizes)
    {
        table[row.main] = row.bits;
    }
    return table;
}

constexpr std::array<std::uint32_t, kLastSizedMain + 1> kBitSizeByMain = MakeBitSizeTable();

} // namespace

bool KnxValueConverter::Init()
{
    return FillDptValueMap();
}

const DptValueEntry& KnxValueConverter::GetEntry(const KNXDPT& dpt) const
{
    return dptValueMap.GetEntry(dpt);
}

bool KnxValueConverter::AddDptValueMapEntry(unsigned short main, unsigned short sub, unsigned char bitSize,
                                            OruValueType ivt, OruDP::OruValueSubType ist,
                                            const KnxConverter& converter)
{
    KNXDPT dpt;
    dpt.bitSize = bitSize;
    dpt.mainNumber = main;
    dpt.subNumber = sub;
    // The map takes over this entry's converter copy, so each row clones once,
    // into the map's own memory: the map never hands out an entry to take it.
    DptValueEntry entry = [&]
    {
        const Detail::ConverterArenaScope scope(dptValueMap.m_arena);
        return DptValueEntry(dpt, ivt, ist, converter);
    }();
    return dptValueMap.Add(dpt, std::move(entry));
}

std::uint32_t KnxValueConverter::GetExpectedBitSize(std::uint16_t mainNumber)
{
    return mainNumber <= kLastSizedMain ? kBitSizeByMain[mainNumber] : 0;
}

namespace
{
bool ValueTypesCompatible(OruValueType valueType, OruValueType entryType)
{
    if (valueType == entryType)
    {
        return true;
    }
    // Deliberately one-way: a date-and-time value fits a date or time entry, not the reverse.
    switch (valueType)
    {
    case ivtFloat:
    case ivtPercentage:
    case ivtScaling:
    case ivtDimming:
    case ivtMeasurement:
        return IsOneOf(entryType, {ivtFloat, ivtPercentage, ivtScaling, ivtDimming, ivtMeasurement});
    case ivtInteger:
    case ivtTimePeriod:
        return IsOneOf(entryType, {ivtInteger, ivtTimePeriod});
    case ivtByte:
    case ivtEnumeration:
        return IsOneOf(entryType, {ivtByte, ivtEnumeration});
    case ivtWord:
    case ivtDWord:
    case ivtUnsigned:
        return IsOneOf(entryType, {ivtWord, ivtDWord, ivtUnsigned});
    case ivtDate:
    case ivtLocalDate:
        return IsOneOf(entryType, {ivtDate, ivtLocalDate});
    case ivtTime:
    case ivtLocalTime:
        return IsOneOf(entryType, {ivtTime, ivtLocalTime});
    case ivtDateTime:
    case ivtLocalDateTime:
    case ivtUtcDateTime:
        return IsOneOf(entryType, {ivtDate, ivtTime, ivtDateTime, ivtLocalDateTime, ivtLocalTime,
                                   ivtLocalDate, ivtUtcDateTime});
    default:
        return false;
    }
}
struct SizeDefault
{
    std::uint8_t bitSize;
    std::uint16_t main;
    std::uint16_t sub;
};

constexpr SizeDefault kSizeDefaults[] = {
    {1, 1, 1},   {2, 2, 1},    {4, 3, 7},    {8, 5, 0},   {16, 9, 0},   {24, 10, 1},
    {32, 14, 0}, {40, 218, 0}, {48, 219, 1}, {64, 19, 1}, {112, 16, 1},
};

constexpr int kAnySize = -1;

// Value type, the bit size asked for (or any), and the DPT with the bit size it sets.
struct ValueTypeDefault
{
    OruValueType ivt;
    int size;
    std::uint16_t main;
    std::uint16_t sub;
    std::uint8_t bitSize;
};

constexpr ValueTypeDefault kValueTypeDefaults[] = {
    {ivtBool, kAnySize, 1, 1, 1},
    {ivtDimming, kAnySize, 3, 7, 4},
    {ivtByte, kAnySize, 5, 0, 8},
    {ivtScaling, kAnySize, 5, 1, 8},
    {ivtFloat, 0, 9, 0, 16},
    {ivtFloat, 4, 3, 0, 4},
    {ivtFloat, 8, 5, 1, 8},
    {ivtFloat, 16, 9, 0, 16},
    {ivtFloat, 32, 14, 0, 16}, // 16, not 32: kept as it has always been
    {ivtTime, kAnySize, 10, 1, 24},
    {ivtDate, kAnySize, 11, 1, 24},
    {ivtDWord, kAnySize, 12, 1, 32},
    {ivtInteger, 0, 13, 0, 32},
    {ivtInteger, 8, 6, 0, 8},
    {ivtInteger, 16, 8, 0, 16},
    {ivtTimePeriod, kAnySize, 13, 100, 32},
    {ivtData40, kAnySize, 218, 0, 40},
    {ivtDateTime, kAnySize, 19, 1, 64},
    {ivtString, 0, 16, 1, 112},
    {ivtString, 8, 4, 1, 8},
    {ivtString, 112, 16, 0, 8}, // 8, not 112: kept as it has always been
};

bool DefaultDptForSize(KNXDPT& dpt)
{
    for (const SizeDefault& d : kSizeDefaults)
    {
        if (d.bitSize == dpt.bitSize)
        {
            SetDpt(dpt, d.main, d.sub);
            return true;
        }
    }
    return false;
}

bool DefaultDptForValueType(KNXDPT& dpt, const ORUVALUE& val)
{
    for (const ValueTypeDefault& d : kValueTypeDefaults)
    {
        if (d.ivt == val.ivt && (d.size == kAnySize || d.size == dpt.bitSize))
        {
            SetDpt(dpt, d.main, d.sub, d.bitSize);
            return true;
        }
    }
    return false;
}

} // namespace

bool KnxValueConverter::AreValueTypesCompatible(OruValueType valueType, OruValueType entryType)
{
    return ValueTypesCompatible(valueType, entryType);
}

bool KnxValueConverter::GetDefaultMappingDptForSize(KNXDPT& dpt)
{
    return DefaultDptForSize(dpt);
}

bool KnxValueConverter::GetDefaultMappingDptForValueType(KNXDPT& dpt, const ORUVALUE& val)
{
    return DefaultDptForValueType(dpt, val);
}

bool KnxValueConverter::ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv)
{
    return static_cast<const KnxValueConverter&>(*this).ToKnxValue(dpt, val, gv);
}

bool KnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val)
{
    return static_cast<const KnxValueConverter&>(*this).FromKnxValue(dpt, gv, val);
}

namespace
{

// A DPT that the map does not know is let through unconverted: true when the
// caller is to accept the value as it is.
bool AcceptUnknownDpt(const char* function, const DptValueEntry& entry, const KNXDPT& dpt)
{
    if (entry.ivt != ivtEmpty)
        return false;
    LUM_LOG_ERROR_AS(function, "No Entry found for DPT = " << Detail::DptText{dpt});
    LUM_LOG_ERROR_AS(function, "Assume validity and accept value!");
    return true;
}

// The entry's converter; null, after one line, for an entry whose converter
// copied to nothing.
KnxConverter* ConverterOf(const char* function, const DptValueEntry& entry, const KNXDPT& dpt)
{
    KnxConverter* converter = entry.converter.get();
    if (converter == nullptr)
        LUM_LOG_ERROR_AS(function, "NULL pointer as KnxConverter for DPT = " << Detail::DptText{dpt});
    return converter;
}

} // namespace

bool KnxValueConverter::ToKnxValue(KNXDPT& dpt, const ORUVALUE& val, KnxStack::GroupValue& gv) const
{
    try
    {
        if (dpt.mainNumber == 0)
        {
            if (!DefaultDptForValueType(dpt, val) && !DefaultDptForSize(dpt))
            {
                LUM_LOG_INFO("Could not find DPT for bit size " << static_cast<unsigned>(dpt.bitSize));
                return false;
            }
            if (dpt.mainNumber == 0)
            {
                LUM_LOG_ERROR("Convert to KNX value failed. Missing DPT. val = " << ValueText{val});
                return false;
            }
        }

        const DptValueEntry& entry = GetEntry(dpt);
        if (AcceptUnknownDpt(__func__, entry, dpt))
            return true;

        if (val.ivt == ivtUnset || ValueTypesCompatible(val.ivt, entry.ivt))
        {
            KnxConverter* converter = ConverterOf(__func__, entry, dpt);
            if (converter == nullptr)
                return false;
            bool converted;
            {
                const Detail::FacadeCall inFacade;
                converted = converter->ToKnxValue(dpt, val, gv);
            }
            if (converted)
            {
                return true;
            }
            LUM_LOG_ERROR("Convert to KNX value failed for DPT = " << Detail::DptText{dpt}
                                                                   << " val = " << ValueText{val});
            return false;
        }

        LUM_LOG_ERROR("Invalid value type found for DPT = " << Detail::DptText{dpt} << " val.ivt="
                                                            << static_cast<std::int32_t>(val.ivt));
        return false;
    }
    catch (const KnxStack::GroupValueException& e)
    {
        LUM_LOG_ERROR("Exception caught during conversion of ORUVALUE to GroupValue: " << e.what());
        return false;
    }
}

bool KnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv, ORUVALUE& val) const
{
    try
    {
        if (dpt.mainNumber == 0)
        {
            if (dpt.bitSize == 0)
            {
                KNXDPT sized = dpt;
                sized.bitSize = static_cast<std::uint8_t>(gv.GetDefinedSize());
                if (DefaultDptForSize(sized))
                {
                    dpt = sized;
                }
            }
            else if (!DefaultDptForSize(dpt))
            {
                LUM_LOG_INFO("Could not find DPT for bit size " << static_cast<unsigned>(dpt.bitSize));
                return false;
            }
            if (dpt.mainNumber == 0)
            {
                LUM_LOG_ERROR("Convert from KNX value failed. Missing DPT. GroupValue = "
                              << gv.GetRawData().ToString());
                return false;
            }
        }

        const DptValueEntry& entry = GetEntry(dpt);
        if (AcceptUnknownDpt(__func__, entry, dpt))
            return true;

        val.ivt = entry.ivt;

        const std::uint32_t expected = GetExpectedBitSize(dpt.mainNumber);
        const std::uint32_t actual = gv.GetDefinedSize();
        const KnxStack::GroupValue* source = &gv;
        // Built only when needed: the common case reads the caller's value as it is.
        boost::optional<KnxStack::GroupValue> substitute;
        bool mismatch = false;
        if (expected < 7)
        {
            if (actual > 6)
            {
                mismatch = true;
            }
            else if (actual == 6)
            {
                // Short values travel in six bits; re-read them at their own width.
                substitute.emplace(gv.GetRawData(), expected);
                source = &*substitute;
            }
        }
        else if (expected != actual)
        {
            if (expected != kVariableBitSize)
            {
                mismatch = true;
            }
            else if (actual == 6)
            {
                substitute.emplace(); // empty: a variable-length type gets no data here
                source = &*substitute;
            }
        }
        if (mismatch)
        {
            LUM_LOG_ERROR("Failed to convert a GroupValue for DPT "
                          << Detail::DptText{dpt} << " because of unexpected bit size: " << actual
                          << ", expected: " << expected);
            return false;
        }

        KnxConverter* converter = ConverterOf(__func__, entry, dpt);
        if (converter == nullptr)
            return false;
        bool converted;
        {
            const Detail::FacadeCall inFacade;
            converted = converter->FromKnxValue(dpt, *source, val);
        }
        if (!converted)
        {
            LUM_LOG_ERROR("Convert from KNX value failed for DPT = "
                          << Detail::DptText{dpt} << " GroupValue = " << gv.GetRawData().ToString());
            return false;
        }
        return true;
    }
    catch (const KnxStack::GroupValueException& e)
    {
        LUM_LOG_ERROR("Exception caught during conversion of GroupValue: "
                      << e.what() << "(DPT: " << Detail::DptText{dpt}
                      << ", Value: " << gv.GetRawData().ToString());
        return false;
    }
}

} // namespace Lum
