#include <Lum/KnxConverterBitField.h>
#include <Lum/KnxConverterDateTime.h>
#include <Lum/KnxConverterFloat.h>
#include <Lum/KnxConverterInteger.h>
#include <Lum/KnxConverterRange.h>
#include <Lum/KnxConverterScene.h>
#include <Lum/KnxConverterString.h>
#include <Lum/KnxValueConverter.h>
#include <Platform/Logging.h>

#include <cstdint>
#include <type_traits>
#include <utility>

namespace Lum
{

namespace
{

// Internal (value side) and external (KNX side) bounds of a row's range.
struct Bounds
{
    double internalMin;
    double internalMax;
    double externalMin;
    double externalMax;
};

constexpr Bounds Both(double min, double max)
{
    return Bounds{min, max, min, max};
}

constexpr Bounds kNoRange{0.0, 0.0, 0.0, 0.0};

struct DptRow;

// Same signature as KnxValueConverter::DptEntryAdder.
using Adder = bool (*)(KnxValueConverter& self, unsigned short main, unsigned short sub,
                       unsigned char bitSize, OruValueType ivt, OruDP::OruValueSubType ist,
                       const KnxConverter& converter);

// Builds the row's converter on the stack, with the row's bounds as the range
// its constructor takes (if any), and hands it to the adder, which stores its
// own copy.
template <class Converter> bool Add(KnxValueConverter& self, const DptRow& row, Adder adder);

struct DptRow
{
    const char* dpt; // as the failure message names it
    std::uint16_t main;
    std::uint16_t sub; // 0: every sub number of the main number
    std::uint8_t bits;
    OruValueType ivt;
    OruDP::OruValueSubType ist;
    bool (*add)(KnxValueConverter& self, const DptRow& row, Adder adder);
    Bounds range;
};

bool Register(KnxValueConverter& self, const DptRow& row, Adder adder, const KnxConverter& converter)
{
    return adder(self, row.main, row.sub, row.bits, row.ivt, row.ist, converter);
}

template <class Range> Range MakeRange(const Bounds& b);

template <> IntegerRange MakeRange<IntegerRange>(const Bounds& b)
{
    return IntegerRange(static_cast<std::int32_t>(b.internalMin), static_cast<std::int32_t>(b.internalMax),
                        static_cast<std::int32_t>(b.externalMin), static_cast<std::int32_t>(b.externalMax));
}

template <> LongIntegerRange MakeRange<LongIntegerRange>(const Bounds& b)
{
    return LongIntegerRange(
        static_cast<std::int64_t>(b.internalMin), static_cast<std::int64_t>(b.internalMax),
        static_cast<std::int64_t>(b.externalMin), static_cast<std::int64_t>(b.externalMax));
}

template <> FloatIntegerRange MakeRange<FloatIntegerRange>(const Bounds& b)
{
    return FloatIntegerRange(b.internalMin, b.internalMax, static_cast<std::int32_t>(b.externalMin),
                             static_cast<std::int32_t>(b.externalMax));
}

template <> FloatRange MakeRange<FloatRange>(const Bounds& b)
{
    return FloatRange(b.internalMin, b.internalMax, b.externalMin, b.externalMax);
}

template <class Converter> bool Add(KnxValueConverter& self, const DptRow& row, Adder adder)
{
    if constexpr (std::is_default_constructible_v<Converter>)
        return Register(self, row, adder, Converter());
    else
    {
        using Range = std::decay_t<decltype(std::declval<const Converter&>().GetRange())>;
        return Register(self, row, adder, Converter(MakeRange<Range>(row.range)));
    }
}

// Bounds are held as doubles; every integer bound of the table converts back exactly.
constexpr double kFloat16Min = -671088.64;
constexpr double kFloat16Max = 670760.96;
constexpr double kFloat32Max = 3.4028234663852886e38; // largest finite single

// The supported DPTs, in the order in which they are registered.
// clang-format off
constexpr DptRow kDptTable[] = {
//   DPT       main sub  bits ivt          ist                       converter                              range
    {"1.x",      1,   0,   1, ivtBool,     OruDP::ivstNone,          Add<KnxConverter1Bit>,                 kNoRange},
    {"2.x",      2,   0,   2, ivtBool,     OruDP::ivstNone,          Add<KnxConverter2Bit>,                 kNoRange},
    {"3.x",      3,   0,   4, ivtFloat,    OruDP::ivstDimmingStep,   Add<KnxConverter4Bit>,                 {-100.0, 100.0, 0, 15}},
    {"4.x",      4,   0,   8, ivtString,   OruDP::ivstAscii,         Add<KnxConverter8BitString>,           Both(0, 127)},
    {"4.001",    4,   1,   8, ivtString,   OruDP::ivstAscii,         Add<KnxConverter8BitString>,           Both(0, 127)},
    {"4.002",    4,   2,   8, ivtString,   OruDP::ivstLatin1,        Add<KnxConverter8BitString>,           Both(0, 255)},
    {"5.x",      5,   0,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 255)},
    {"5.006",    5,   6,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 254)},
    {"6.x",      6,   0,   8, ivtInteger,  OruDP::ivstNone,          Add<KnxConverterInteger8BitSigned>,    Both(-128, 127)},
    {"6.020",    6,  20,   8, ivtByte,     OruDP::ivstStatus8Bit,    Add<KnxConverterStatus8Bit>,           Both(0, 255)},
    {"7.x",      7,   0,  16, ivtWord,     OruDP::ivstNone,          Add<KnxConverterInteger16BitUnsigned>, Both(0, 65535)},
    {"8.x",      8,   0,  16, ivtInteger,  OruDP::ivstNone,          Add<KnxConverterInteger16BitSigned>,   Both(-32768, 32767)},
    {"9.x",      9,   0,  16, ivtFloat,    OruDP::ivstNone,          Add<KnxConverterFloat16BitFloat>,      Both(kFloat16Min, kFloat16Max)},
    {"9.001",    9,   1,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-273.0, 670760.0)},
    {"9.002",    9,   2,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.003",    9,   3,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.004",    9,   4,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(0.0, 670760.0)},
    {"9.005",    9,   5,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(0.0, 670760.0)},
    {"9.006",    9,   6,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(0.0, 670760.0)},
    {"9.007",    9,   7,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(0.0, 670760.0)},
    {"9.008",    9,   8,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(0.0, 670760.0)},
    {"9.010",    9,  10,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.011",    9,  11,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.020",    9,  20,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.021",    9,  21,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.022",    9,  22,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.023",    9,  23,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.024",    9,  24,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.025",    9,  25,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-670760.0, 670760.0)},
    {"9.026",    9,  26,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(kFloat16Min, kFloat16Max)},
    {"9.027",    9,  27,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(-459.6, kFloat16Max)},
    {"9.028",    9,  28,  16, ivtFloat,    OruDP::ivstFloat2Byte,    Add<KnxConverterFloat16BitFloat>,      Both(0.0, kFloat16Max)},
    {"10.x",    10,   0,  24, ivtTime,     OruDP::ivstNone,          Add<KnxConverterTimeOfDay>,            kNoRange},
    {"11.x",    11,   0,  24, ivtDate,     OruDP::ivstNone,          Add<KnxConverterDate>,                 kNoRange},
    {"12.x",    12,   0,  32, ivtDWord,    OruDP::ivstNone,          Add<KnxConverterInteger32BitUnsigned>, Both(0, 4294967295.0)},
    {"13.x",    13,   0,  32, ivtInteger,  OruDP::ivstNone,          Add<KnxConverterInteger32BitSigned>,   Both(-2147483648.0, 2147483647.0)},
    {"14.x",    14,   0,  32, ivtFloat,    OruDP::ivstNone,          Add<KnxConverterFloat32BitFloat>,      Both(-kFloat32Max, kFloat32Max)},
    {"15.x",    15,   0,  32, ivtDWord,    OruDP::ivstNone,          Add<KnxConverterInteger32BitUnsigned>, Both(0, 4294967295.0)},
    {"16.x",    16,   0, 112, ivtString,   OruDP::ivstAscii,         Add<KnxConverter14ByteString>,         Both(0, 127)},
    {"16.001",  16,   1, 112, ivtString,   OruDP::ivstLatin1,        Add<KnxConverter14ByteString>,         Both(0, 255)},
    {"17.x",    17,   0,   8, ivtInteger,  OruDP::ivstSceneNumber,   Add<KnxConverterSceneNumber>,          Both(0, 63)},
    {"18.x",    18,   0,   8, ivtInteger,  OruDP::ivstSceneNumber,   Add<KnxConverterSceneControl>,         Both(0, 63)},
    {"19.x",    19,   0,  64, ivtDateTime, OruDP::ivstNone,          Add<KnxConverterDateTime>,             kNoRange},
    {"20.x",    20,   0,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 255)},
    {"20.102",  20, 102,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 4)},
    {"20.103",  20, 103,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 4)},
    {"21.x",    21,   0,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 255)},
    {"23.x",    23,   0,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 255)},
    {"26.x",    26,   0,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterSceneInfo>,            {-64, 64, 0, 255}},
    {"27.x",    27,   0,  32, ivtDWord,    OruDP::ivstNone,          Add<KnxConverterInteger32BitUnsigned>, Both(0, 4294967295.0)},
    {"236.x",  236,   0,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 255)},
    {"232.x",  232,   0,  24, ivtDWord,    OruDP::ivstNone,          Add<KnxConverterInteger24BitUnsigned>, Both(0, 16777215)},
    {"238.x",  238,   0,   8, ivtByte,     OruDP::ivstNone,          Add<KnxConverterByte8BitUnsigned>,     Both(0, 255)},
};
// clang-format on

static_assert(sizeof(kDptTable) / sizeof(kDptTable[0]) == 53, "the DPT table has 53 rows");

bool AddEntry(KnxValueConverter& self, unsigned short main, unsigned short sub, unsigned char bitSize,
              OruValueType ivt, OruDP::OruValueSubType ist, const KnxConverter& converter)
{
    return self.AddDptValueMapEntry(main, sub, bitSize, ivt, ist, converter);
}

} // namespace

namespace
{

// The table as its rows build it, once per process. Building it row by row
// costs some fifty clones and eighty tree insertions; every Init (and one
// runs per checked group value) copies the finished trees instead. The rows
// log nothing unless they fail, so a copy is indistinguishable from a rebuild.
class DefaultTable : public KnxValueConverter
{
public:
    DefaultTable() { FillDptValueMap(&AddEntry); }
};

const DptValueMap& DefaultDptValueMap()
{
    // Never destroyed: an Init from another static object's destructor still finds it.
    static const DefaultTable* const table = new DefaultTable;
    return table->GetDptValueMap();
}

} // namespace

bool KnxValueConverter::FillDptValueMap()
{
    dptValueMap.CopyEntriesFrom(DefaultDptValueMap());
    return true;
}

bool KnxValueConverter::FillDptValueMap(DptEntryAdder adder)
{
    LUM_ASSERT2(adder != nullptr);
    dptValueMap.Clear();
    for (const DptRow& row : kDptTable)
    {
        if (!row.add(*this, row, adder))
        {
            LUM_LOG_ERROR("Add DPT value map entry failed. DPT=" << row.dpt);
        }
    }
    // Rows that failed are skipped; the result only says that the map was rebuilt.
    return true;
}

} // namespace Lum
