// The value type, value subtype and default value of the objects of each
// supported DPT main number.

#include <Lum/KnxPelMapping.h>
#include <Lum/OruValueHelper.h>
#include <Lum/TimeOfDay.h>
#include <Platform/Logging.h>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/unordered_map.hpp>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>

namespace Lum
{
namespace KnxPelMapping
{

namespace
{

struct MainTypeEntry
{
    OruValueType ivt;
    OruDP::OruValueSubType ist;
    std::function<ORUVALUE(OruValueType)> createDefault; // always called with ivt
};

using MainTypeTable = boost::unordered_map<unsigned long, MainTypeEntry>;

constexpr std::uint32_t kDpt6020 = 0x00060014u;

std::uint32_t MainNumberOf(std::uint32_t dpt)
{
    return dpt >> 16;
}

ORUVALUE CreateDefaultValueBool(OruValueType expectedType)
{
    return ToOruValue(false, expectedType);
}

ORUVALUE CreateDefaultValueByte(OruValueType expectedType)
{
    return ToOruValue(static_cast<unsigned char>(0), expectedType);
}

ORUVALUE CreateDefaultValueWord(OruValueType expectedType)
{
    return ToOruValue(static_cast<unsigned short>(0), expectedType);
}

// "ZZ" in two ASCII bytes.
ORUVALUE CreateDefaultValueWordZZ(OruValueType expectedType)
{
    return ToOruValue(static_cast<unsigned short>(23130), expectedType);
}

ORUVALUE CreateDefaultValueDWord(OruValueType expectedType)
{
    return ToOruValue(0ul, expectedType);
}

ORUVALUE CreateDefaultValueInteger(OruValueType expectedType)
{
    return ToOruValue(0l, expectedType);
}

ORUVALUE CreateDefaultValueFloat(OruValueType expectedType)
{
    return ToOruValue(0.0, expectedType);
}

ORUVALUE CreateDefaultValueString(OruValueType expectedType)
{
    return ToOruValue(std::string(), expectedType);
}

ORUVALUE CreateDefaultValueDate(OruValueType expectedType)
{
    return ToOruValue(boost::posix_time::ptime(boost::gregorian::date(1990, 1, 1)), expectedType);
}

ORUVALUE CreateDefaultValueDateTime(OruValueType expectedType)
{
    return ToOruValue(boost::posix_time::ptime(boost::gregorian::date(1900, 1, 1)), expectedType);
}

// 00:00:00 on the fixed date that every time-of-day value carries.
ORUVALUE CreateDefaultValueTimeOfDay(OruValueType expectedType)
{
    LUM_ASSERT2(expectedType == ivtDayTime);
    const LumApp::TimeOfDay timeOfDay = LumApp::TimeOfDay::Create(0, 0, 0, LumApp::DayOfWeek::NoDay).get();
    return ToOruValue(timeOfDay, ivtDayTime);
}

ORUVALUE CreateDefaultValueEmpty(OruValueType ivt)
{
    const ORUVALUE emptyOruValue;
    LUM_ASSERT2(emptyOruValue.ivt == ivt);
    return emptyOruValue;
}

MainTypeTable MakeMainTypeTable(std::initializer_list<MainTypeTable::value_type> rows)
{
    MainTypeTable table;
    table.max_load_factor(1.0f);
    table.insert(rows.begin(), rows.end());
    return table;
}

// Kept exactly as the object model has always typed its objects, oddities
// included: 4, 29, 219, 222, 229 and 230 are typed empty although 4.x
// converts as text, and the date defaults differ (11 starts in 1990, 19 in
// 1900).
// clang-format off
const MainTypeTable g_mainTypes = MakeMainTypeTable({
    // main  ivt           ist                      default value
    {1,   {ivtBool,     OruDP::ivstSwitch,      CreateDefaultValueBool}},
    {2,   {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {3,   {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {4,   {ivtEmpty,    OruDP::ivstNone,        CreateDefaultValueEmpty}},
    {5,   {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {6,   {ivtByte,     OruDP::ivstSigned8Bit,  CreateDefaultValueByte}},
    {7,   {ivtWord,     OruDP::ivstNone,        CreateDefaultValueWord}},
    {8,   {ivtInteger,  OruDP::ivstSigned16Bit, CreateDefaultValueInteger}},
    {9,   {ivtFloat,    OruDP::ivstNone,        CreateDefaultValueFloat}},
    {10,  {ivtDayTime,  OruDP::ivstNone,        CreateDefaultValueTimeOfDay}},
    {11,  {ivtDate,     OruDP::ivstNone,        CreateDefaultValueDate}},
    {12,  {ivtDWord,    OruDP::ivstNone,        CreateDefaultValueDWord}},
    {13,  {ivtInteger,  OruDP::ivstNone,        CreateDefaultValueInteger}},
    {14,  {ivtFloat,    OruDP::ivstNone,        CreateDefaultValueFloat}},
    {15,  {ivtDWord,    OruDP::ivstNone,        CreateDefaultValueDWord}},
    {16,  {ivtString,   OruDP::ivstNone,        CreateDefaultValueString}},
    {17,  {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {18,  {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {19,  {ivtDateTime, OruDP::ivstNone,        CreateDefaultValueDateTime}},
    {20,  {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {21,  {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {22,  {ivtWord,     OruDP::ivstNone,        CreateDefaultValueWord}},
    {23,  {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {24,  {ivtString,   OruDP::ivstNone,        CreateDefaultValueString}},
    {25,  {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {26,  {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {27,  {ivtDWord,    OruDP::ivstNone,        CreateDefaultValueDWord}},
    {28,  {ivtString,   OruDP::ivstNone,        CreateDefaultValueString}},
    {29,  {ivtEmpty,    OruDP::ivstNone,        CreateDefaultValueEmpty}},
    {30,  {ivtDWord,    OruDP::ivstNone,        CreateDefaultValueDWord}},
    {31,  {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
    {200, {ivtWord,     OruDP::ivstNone,        CreateDefaultValueWord}},
    {201, {ivtWord,     OruDP::ivstNone,        CreateDefaultValueWord}},
    {202, {ivtWord,     OruDP::ivstNone,        CreateDefaultValueWord}},
    {217, {ivtWord,     OruDP::ivstNone,        CreateDefaultValueWord}},
    {219, {ivtEmpty,    OruDP::ivstNone,        CreateDefaultValueEmpty}},
    {222, {ivtEmpty,    OruDP::ivstNone,        CreateDefaultValueEmpty}},
    {229, {ivtEmpty,    OruDP::ivstNone,        CreateDefaultValueEmpty}},
    {230, {ivtEmpty,    OruDP::ivstNone,        CreateDefaultValueEmpty}},
    {232, {ivtDWord,    OruDP::ivstNone,        CreateDefaultValueDWord}},
    {234, {ivtWord,     OruDP::ivstNone,        CreateDefaultValueWordZZ}},
    {237, {ivtWord,     OruDP::ivstNone,        CreateDefaultValueWord}},
    {238, {ivtByte,     OruDP::ivstNone,        CreateDefaultValueByte}},
});
// clang-format on

const MainTypeEntry* FindMainType(unsigned long mainNumber)
{
    const auto it = g_mainTypes.find(mainNumber);
    return it == g_mainTypes.end() ? nullptr : &it->second;
}

std::string NameOrEmpty(const char* name)
{
    return name != nullptr ? std::string(name) : std::string();
}

} // namespace

std::string GetIvtFromMainType(unsigned long mainNumber)
{
    const MainTypeEntry* entry = FindMainType(mainNumber);
    if (entry == nullptr)
        return "Empty";
    return NameOrEmpty(ORUVALUE::GetNameFromValueType(entry->ivt));
}

std::string GetIstFromMainType(unsigned long mainNumber)
{
    const MainTypeEntry* entry = FindMainType(mainNumber);
    if (entry == nullptr)
        return "Generic";
    return NameOrEmpty(OruDP::GetNameFromValueSubType(entry->ist));
}

OruValueType GetIvtFromDpt(unsigned int dpt)
{
    const MainTypeEntry* entry = FindMainType(MainNumberOf(dpt));
    return entry == nullptr ? ivtEmpty : entry->ivt;
}

boost::optional<std::string> GetDefaultValueFromDpt(unsigned long dpt, bool flag)
{
    const std::uint32_t packed = static_cast<std::uint32_t>(dpt);
    const MainTypeEntry* entry = FindMainType(MainNumberOf(packed));
    if (entry == nullptr)
        return boost::none;
    // 6.020 is a status with a one-hot mode: 0 would be no mode at all.
    const ORUVALUE value = packed == kDpt6020 ? ToOruValue(static_cast<unsigned char>(1), entry->ivt)
                                              : entry->createDefault(entry->ivt);
    oru_string serialized;
    value.Serialize(serialized, flag);
    return serialized.str();
}

} // namespace KnxPelMapping
} // namespace Lum
