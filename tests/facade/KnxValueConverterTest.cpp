// The DPT value map and table, the facade's fixed rules, and its conversion steps with their logs.
#include "FacadeTestSupport.h"

#include <Lum/KnxConverterFloat.h>
#include <Lum/KnxValueConverter.h>

#include <gtest/gtest.h>

#include <memory>

#include <boost/optional.hpp>

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <tuple>
#include <typeinfo>

using namespace FacadeTest;
using KVC = Lum::KnxValueConverter;
using GV = KnxStack::GroupValue;
using V = ORUVALUE;
using Lines = std::vector<std::string>;

namespace
{

std::size_t CountEntries(const KVC& converter)
{
    const auto& e = converter.GetDptValueMap().Entries();
    return std::accumulate(e.begin(), e.end(), std::size_t{0},
                           [](std::size_t n, const auto& main) { return n + main.second.size(); });
}

// Refuses a few rows of the table and registers the others.
class RefusingConverter : public KVC
{
public:
    bool Fill() { return FillDptValueMap(&Refuse); }

private:
    static bool Refuse(KVC& self, unsigned short main, unsigned short sub, unsigned char bits,
                       OruValueType ivt, OruDP::OruValueSubType ist, const Lum::KnxConverter& converter)
    {
        const std::set<std::pair<int, int>> refused = {{1, 0}, {9, 28}, {20, 102}, {236, 0}};
        return refused.count({main, sub}) == 0 &&
               self.AddDptValueMapEntry(main, sub, bits, ivt, ist, converter);
    }
};

std::vector<GV> g_given; // what the scripted converters were handed

// 's' succeeds, 'f' fails, 't' throws the stack's exception, 'n' copies to null.
class Scripted : public Lum::KnxConverter
{
public:
    explicit Scripted(char action) : m_action(action) {}
    bool ToKnxValue(const KNXDPT&, const ORUVALUE&, GV& gv) override { return Act(gv); }
    bool FromKnxValue(const KNXDPT&, const GV& gv, ORUVALUE&) override { return Act(gv); }
    Lum::KnxConverter* Clone() const override { return m_action == 'n' ? nullptr : new Scripted(*this); }

private:
    bool Act(const GV& gv) const
    {
        g_given.push_back(gv);
        if (m_action == 't')
        {
            throw KnxStack::GroupValueException("scripted failure");
        }
        return m_action == 's';
    }
    char m_action;
};

struct Step
{
    KNXDPT dpt;
    V value;                  // what a ToKnxValue step sends
    boost::optional<GV> read; // set: a FromKnxValue step
    bool result;
    boost::optional<GV> given;     // to the converter; none: not called
    Lines log;                     // as Logged() shows them
    boost::optional<KNXDPT> after; // the DPT as the call leaves it; none: unchanged
};

const GV kCallers = Group({0x11, 0x22}, 16);
const GV g16 = Group({0x0C, 0x1A}, 16);
const GV g32 = Group({0x0C, 0x1A, 0, 0}, 32);

Step To(KNXDPT dpt, V value, bool result, bool called, Lines log, boost::optional<KNXDPT> after = {})
{
    return {dpt, value, {}, result, called ? boost::make_optional(kCallers) : boost::none, log, after};
}

Step From(KNXDPT dpt, GV gv, bool result, boost::optional<GV> given, Lines log,
          boost::optional<KNXDPT> after = {})
{
    return {dpt, V(), gv, result, given, log, after};
}

Lines NoEntry(const std::string& lookup, const std::string& facade)
{
    return {"No Entry found for DPT = " + lookup, "No Entry found for DPT = " + facade,
            "Assume validity and accept value!"};
}

std::string Size(const char* dpt, int actual, int expected)
{
    return std::string("Failed to convert a GroupValue for DPT ") + dpt +
           " because of unexpected bit size: " + std::to_string(actual) +
           ", expected: " + std::to_string(expected);
}

void RunSteps(const KVC& converter, const std::vector<Step>& steps)
{
    for (const Step& s : steps)
    {
        SCOPED_TRACE((s.read ? "From " : "To ") + Show(s.dpt));
        g_given.clear();
        KNXDPT dpt = s.dpt;
        GV gv = kCallers;
        V value = V::FromWord(77);
        LumTest::LogCapture log;
        EXPECT_EQ(s.read ? converter.FromKnxValue(dpt, *s.read, value)
                         : converter.ToKnxValue(dpt, s.value, gv),
                  s.result);
        EXPECT_EQ(Show(dpt), Show(s.after.value_or(s.dpt)));
        EXPECT_EQ(g_given, s.given ? std::vector<GV>{*s.given} : std::vector<GV>{});
        EXPECT_EQ(gv, kCallers);                                       // only a converter may write it
        EXPECT_TRUE(value == V::FromWord(77) || s.given || !s.result); // accepted unconverted: left alone
        EXPECT_EQ(Logged(log), s.log);
    }
}

} // namespace

TEST(DptValueMap, LookupFallsBackToTheMainEntryThenToTheEmptyEntry)
{
    // Entries registered under 9.sub, the lookup, the entry found ("" the empty one), the error logged.
    const std::tuple<std::vector<std::uint16_t>, KNXDPT, std::string, std::string> cases[] = {
        {{0, 1}, Dpt(9, 1), "9.1/16", ""},
        {{0, 1}, Dpt(9, 9), "9.0/16", ""},
        {{0, 1}, Dpt(22, 1), "", "No Entry found for DPT = 22.1"},
        {{1, 2}, Dpt(9, 0), "", "No Entry found for DPT = 9.0"},
        {{1, 2}, Dpt(9, 5), "", "No Entry found for DPT = 9.x"},
        {{0}, Dpt(65535, 65535), "", "No Entry found for DPT = 65535.65535"},
    };
    for (const auto& [subs, lookup, found, error] : cases)
    {
        Lum::DptValueMap map;
        for (const std::uint16_t sub : subs)
        {
            ASSERT_TRUE(
                map.Add(Dpt(9, sub, 16), Lum::DptValueEntry(Dpt(9, sub, 16), ivtFloat, OruDP::ivstNone,
                                                            Lum::KnxConverterDefault())));
        }
        LumTest::LogCapture log;
        const Lum::DptValueEntry& entry = map.GetEntry(lookup);
        EXPECT_EQ(&entry == &Lum::GetEmptyDptValueEntry(), found.empty()) << Show(lookup);
        EXPECT_EQ(Show(entry.dpt) + " " + std::to_string(entry.ivt),
                  (found.empty() ? "0.0/0 1" : found + " 3"));
        EXPECT_EQ(Logged(log), error.empty() ? Lines{} : Lines{error});
    }
}

TEST(DptValueMap, HandAddedEntryConvertsAndTheFirstRegistrationWins)
{
    KVC converter;
    // Both converters are temporaries: the map must hold copies of its own.
    EXPECT_TRUE(converter.AddDptValueMapEntry(9, 0, 16, ivtFloat, OruDP::ivstNone,
                                              Lum::KnxConverterFloat16BitFloat({-100, 100, -100, 100})));
    EXPECT_TRUE(
        converter.AddDptValueMapEntry(9, 0, 32, ivtInteger, OruDP::ivstNone, Lum::KnxConverterDefault()));
    EXPECT_EQ(CountEntries(converter), 1u);
    KNXDPT dpt = Dpt(9, 1);
    GV gv;
    EXPECT_TRUE(converter.ToKnxValue(dpt, V::FromFloat(21.0), gv));
    EXPECT_EQ(gv, Group({0x0C, 0x1A}, 16));
    EXPECT_FALSE(converter.ToKnxValue(dpt, V::FromFloat(100.5), gv)); // the entry's own range
}

// The exact lookup has a fast path: it must answer from the map's own
// entries after many registrations, copying, clearing and registering again.
TEST(DptValueMap, ExactLookupSurvivesManyEntriesCopiesAndClear)
{
    auto entry = [](std::uint16_t main, std::uint16_t sub, OruValueType ivt)
    { return Lum::DptValueEntry(Dpt(main, sub, 8), ivt, OruDP::ivstNone, Lum::KnxConverterDefault()); };
    auto original = std::make_unique<Lum::DptValueMap>();
    const std::uint16_t subs[] = {0, 1, 257, 65535};
    for (std::uint32_t main = 300; main <= 65535; main += 1700) // 39 mains, subs colliding in low bits
        for (const std::uint16_t sub : subs)
            original->Add(Dpt(static_cast<std::uint16_t>(main), sub),
                          entry(static_cast<std::uint16_t>(main), sub, ivtByte));
    const Lum::DptValueMap copy(*original);
    Lum::DptValueMap assigned;
    assigned.Add(Dpt(1, 1), entry(1, 1, ivtBool));
    assigned = *original;
    original.reset();
    LumTest::LogCapture log;
    for (const Lum::DptValueMap* map : {&copy, static_cast<const Lum::DptValueMap*>(&assigned)})
        for (std::uint32_t main = 300; main <= 65535; main += 1700)
        {
            for (const std::uint16_t sub : subs)
                EXPECT_EQ(Show(map->GetEntry(Dpt(static_cast<std::uint16_t>(main), sub)).dpt),
                          std::to_string(main) + "." + std::to_string(sub) + "/8");
            EXPECT_EQ(map->GetEntry(Dpt(static_cast<std::uint16_t>(main), 2)).dpt.subNumber, 0); // main.x
        }
    EXPECT_EQ(&assigned.GetEntry(Dpt(1, 1)), &Lum::GetEmptyDptValueEntry());
    EXPECT_EQ(Logged(log), Lines{"No Entry found for DPT = 1.1"});
    assigned.Clear();
    assigned.Add(Dpt(300, 1), entry(300, 1, ivtInteger));
    EXPECT_EQ(assigned.GetEntry(Dpt(300, 1)).ivt, ivtInteger);
}

TEST(DptTable, InitRegistersFiftyThreeRowsUnderTwentySevenMainNumbersAndSkipsFailedRows)
{
    KVC converter;
    EXPECT_TRUE(converter.Init());
    EXPECT_TRUE(converter.Init()); // clears before it fills
    EXPECT_EQ(CountEntries(converter), 53u);
    EXPECT_EQ(converter.GetDptValueMap().Entries().size(), 27u);

    RefusingConverter refusing;
    LumTest::LogCapture log;
    EXPECT_TRUE(refusing.Fill());
    EXPECT_EQ(
        Logged(log),
        (Lines{"Add DPT value map entry failed. DPT=1.x", "Add DPT value map entry failed. DPT=9.028",
               "Add DPT value map entry failed. DPT=20.102", "Add DPT value map entry failed. DPT=236.x"}));
    EXPECT_EQ(CountEntries(refusing), 49u);
}

// Init copies a table built once; it must be the table the rows build, with
// converters of its own in every converter object.
TEST(DptTable, InitEqualsTheRowByRowBuildAndOwnsItsConverters)
{
    struct RowByRow : KVC
    {
        bool Fill()
        {
            return FillDptValueMap(
                [](KVC& self, unsigned short main, unsigned short sub, unsigned char bits, OruValueType ivt,
                   OruDP::OruValueSubType ist, const Lum::KnxConverter& c)
                { return self.AddDptValueMapEntry(main, sub, bits, ivt, ist, c); });
        }
    };
    RowByRow rows;
    ASSERT_TRUE(rows.Fill());
    KVC first;
    KVC second;
    ASSERT_TRUE(first.Init());
    ASSERT_TRUE(second.Init());
    const auto flatten = [](const KVC& converter)
    {
        std::vector<std::tuple<int, int, std::string, int, int, const Lum::KnxConverter*>> out;
        for (const auto& main : converter.GetDptValueMap().Entries())
            for (const auto& sub : main.second)
                out.emplace_back(main.first, sub.first, Show(sub.second.dpt), sub.second.ivt, sub.second.ist,
                                 sub.second.converter.get());
        return out;
    };
    const auto expected = flatten(rows);
    const auto a = flatten(first);
    const auto b = flatten(second);
    ASSERT_EQ(a.size(), 53u);
    ASSERT_EQ(a.size(), expected.size());
    ASSERT_EQ(b.size(), expected.size());
    std::set<const Lum::KnxConverter*> seen;
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        EXPECT_EQ(std::get<0>(a[i]), std::get<0>(expected[i]));
        EXPECT_EQ(std::get<1>(a[i]), std::get<1>(expected[i]));
        EXPECT_EQ(std::get<2>(a[i]), std::get<2>(expected[i]));
        EXPECT_EQ(std::get<3>(a[i]), std::get<3>(expected[i]));
        EXPECT_EQ(std::get<4>(a[i]), std::get<4>(expected[i]));
        const Lum::KnxConverter& mine = *std::get<5>(a[i]);
        const Lum::KnxConverter& rowBuilt = *std::get<5>(expected[i]);
        EXPECT_EQ(typeid(mine), typeid(rowBuilt)) << std::get<2>(a[i]);
        for (const Lum::KnxConverter* c : {std::get<5>(a[i]), std::get<5>(b[i]), std::get<5>(expected[i])})
            EXPECT_TRUE(seen.insert(c).second) << "shared converter at " << std::get<2>(a[i]);
    }
    // The exact-lookup index is rebuilt with the copy: every entry is found as itself.
    for (const auto& main : first.GetDptValueMap().Entries())
        for (const auto& sub : main.second)
            EXPECT_EQ(&first.GetEntry(Dpt(main.first, sub.first)), &sub.second);
}

TEST(KnxValueConverterRules, DefaultDpts)
{
    // By size alone; the size is kept.
    const std::map<unsigned, std::string> known = {
        {1, "1.1"},   {2, "2.1"},    {4, "3.7"},    {8, "5.0"},   {16, "9.0"},   {24, "10.1"},
        {32, "14.0"}, {40, "218.0"}, {48, "219.1"}, {64, "19.1"}, {112, "16.1"},
    };
    for (unsigned size = 0; size < 256; ++size)
    {
        KNXDPT dpt = Dpt(0, 77, static_cast<std::uint8_t>(size));
        const auto it = known.find(size);
        EXPECT_EQ(KVC().GetDefaultMappingDptForSize(dpt), it != known.end()) << size;
        EXPECT_EQ(Show(dpt), (it != known.end() ? it->second : "0.77") + "/" + std::to_string(size));
    }
    // By value type, for some by the size given; "": none, the DPT is left alone. Kept as they
    // are: 3 with size 32 sets the size 16, 10 with size 112 sets 8.
    const std::tuple<int, std::uint8_t, std::string> cases[] = {
        {2, 64, "1.1/1"},   {1037, 0, "3.7/4"},  {6, 16, "5.0/8"},  {1036, 0, "5.1/8"},   {3, 0, "9.0/16"},
        {3, 4, "3.0/4"},    {3, 8, "5.1/8"},     {3, 16, "9.0/16"}, {3, 32, "14.0/16"},   {3, 24, ""},
        {12, 0, "10.1/24"}, {11, 8, "11.1/24"},  {8, 0, "12.1/32"}, {4, 0, "13.0/32"},    {4, 8, "6.0/8"},
        {4, 16, "8.0/16"},  {4, 24, ""},         {4, 32, ""},       {14, 0, "13.100/32"}, {9, 0, "218.0/40"},
        {13, 0, "19.1/64"}, {10, 0, "16.1/112"}, {10, 8, "4.1/8"},  {10, 112, "16.0/8"},  {10, 16, ""},
        {0, 0, ""},         {5, 8, ""},          {7, 16, ""},       {1005, 8, ""},
    };
    for (const auto& [type, size, expected] : cases)
    {
        KNXDPT dpt = Dpt(0, 42, size);
        EXPECT_EQ(KVC().GetDefaultMappingDptForValueType(dpt, Typed(type)), !expected.empty()) << type;
        EXPECT_EQ(Show(dpt), expected.empty() ? "0.42/" + std::to_string(size) : expected) << type;
    }
}

TEST(KnxValueConverterRules, ValueTypeCompatibilityIsTheFixedOneWayRelation)
{
    // A value of a type in the first set is accepted for entries of the second.
    const std::vector<std::pair<std::set<int>, std::set<int>>> groups = {
        {{3, 1005, 1036, 1037, 1039}, {3, 1005, 1036, 1037, 1039}},
        {{4, 14}, {4, 14}},
        {{6, 1021}, {6, 1021}},
        {{7, 8, 20}, {7, 8, 20}},
        {{11, 105}, {11, 105}},
        {{12, 104}, {12, 104}},
        {{13, 102, 201}, {11, 12, 13, 102, 104, 105, 201}}, // but not the other way round
    };
    const int types[] = {0,  1,  2,  3,   4,   5,   6,   7,    8,    9,    10,   11,   12, 13,
                         14, 15, 20, 102, 104, 105, 201, 1005, 1021, 1036, 1037, 1039, 999};
    for (const int value : types)
    {
        for (const int entry : types)
        {
            const bool expected =
                value == entry ||
                std::any_of(groups.begin(), groups.end(),
                            [&](const auto& g) { return g.first.count(value) && g.second.count(entry); });
            EXPECT_EQ(KVC().AreValueTypesCompatible(OruValueType(value), OruValueType(entry)), expected)
                << value << " for " << entry;
        }
    }
}

TEST(KnxValueConverterRules, ExpectedBitSizeAtTheEdgesOfItsTable)
{
    const std::uint32_t var = 2147483647u;
    const std::pair<std::uint16_t, std::uint32_t> cases[] = {
        {0, 0},    {1, 1},   {2, 2},    {3, 4},   {16, 112}, {24, var}, {28, var}, {29, 64},
        {31, 3},   {32, 0},  {199, 0},  {200, 9}, {208, 0},  {209, 24}, {226, 0},  {228, 0},
        {229, 48}, {233, 0}, {232, 24}, {236, 8}, {241, 32}, {242, 0},  {256, 0},  {65535, 0},
    };
    for (const auto& [main, bits] : cases)
    {
        EXPECT_EQ(KVC::GetExpectedBitSize(main), bits) << main;
    }
}

TEST(ConversionSteps, EachStepLogsWhyItEnds)
{
    KVC converter;
    // Before anything is registered (as before Init()) every DPT is assumed valid.
    RunSteps(converter, {To(Dpt(9, 1), V::FromBool(true), true, false, NoEntry("9.1", "9.1")),
                         From(Dpt(0, 0, 0), g16, true, {}, NoEntry("9.0", "9.0"), Dpt(9, 0, 16))});
    const std::tuple<unsigned short, unsigned short, unsigned char, OruValueType, char> rows[] = {
        {1, 0, 1, ivtBool, 's'},    {3, 0, 4, ivtFloat, 's'},   {5, 0, 8, ivtByte, 's'},
        {7, 1, 16, ivtWord, 's'},   {9, 0, 16, ivtFloat, 's'},  {9, 1, 16, ivtFloat, 's'},
        {9, 2, 16, ivtFloat, 'f'},  {9, 3, 16, ivtFloat, 't'},  {9, 4, 16, ivtFloat, 'n'},
        {14, 0, 32, ivtFloat, 's'}, {24, 0, 8, ivtString, 's'}, {28, 0, 8, ivtString, 's'},
        {99, 0, 8, ivtByte, 's'},
    };
    for (const auto& [main, sub, bits, ivt, action] : rows)
    {
        ASSERT_TRUE(converter.AddDptValueMapEntry(main, sub, bits, ivt, OruDP::ivstNone, Scripted(action)));
    }
    const std::string invalid = "Invalid value type found for DPT = ";
    const std::vector<Step> steps = {
        To(Dpt(0, 0, 0), V::FromBool(true), true, true, {}, Dpt(1, 1, 1)),
        To(Dpt(0, 0, 16), Typed(5), false, false, {invalid + "9.0 val.ivt=5"}, Dpt(9, 0, 16)),
        // The value type's default comes before the size's.
        To(Dpt(0, 0, 8), V::FromFloat(1.5), false, false, {invalid + "5.1 val.ivt=3"}, Dpt(5, 1, 8)),
        To(Dpt(0, 0, 3), Typed(5), false, false, {"20000 Could not find DPT for bit size 3"}),
        To(Dpt(9, 1), Typed(0), true, true, {}), // the unset type passes any entry
        To(Dpt(9, 1), V::FromString("x"), false, false, {invalid + "9.1 val.ivt=10"}),
        To(Dpt(9, 2), V::FromFloat(-3.0), false, true,
           {"Convert to KNX value failed for DPT = 9.2 val = " + std::string(V::FromFloat(-3.0).ToString())}),
        To(Dpt(9, 3), V::FromFloat(1.0), false, true,
           {"Exception caught during conversion of ORUVALUE to GroupValue: scripted failure"}),
        To(Dpt(9, 4), V::FromFloat(1.0), false, false, {"NULL pointer as KnxConverter for DPT = 9.4"}),
        To(Dpt(7, 5), V::FromWord(5), true, false, NoEntry("7.x", "7.5")),

        From(Dpt(0, 0, 0), g32, true, g32, {}, Dpt(14, 0, 32)), // the group value's size picks the DPT
        From(Dpt(0, 0, 0), Group({0x01}, 3), false, {},
             {"Convert from KNX value failed. Missing DPT. GroupValue = 01"}),
        From(Dpt(0, 0, 3), Group({0x01}, 3), false, {}, {"20000 Could not find DPT for bit size 3"}),
        From(Dpt(0, 0, 1), g16, false, {}, {Size("1.1", 16, 1)}, Dpt(1, 1, 1)), // the given size wins
        From(Dpt(9, 1), g32, false, {}, {Size("9.1", 32, 16)}),
        // Short values travel in six bits and are re-read at their own width.
        From(Dpt(1, 1), Group({0x01}, 6), true, Group({0x01}, 1), {}),
        From(Dpt(3, 7), Group({0x0B}, 6), true, Group({0x0B}, 4), {}),
        From(Dpt(1, 1), Group({0x01}, 0), true, Group({0x01}, 0), {}),
        From(Dpt(1, 1), Group({0x01}, 7), false, {}, {Size("1.1", 7, 1)}),
        From(Dpt(99, 1), Group({0x01}, 8), false, {}, {Size("99.1", 8, 0)}),
        // Variable length: any size passes; six bits hand over an empty group value.
        From(Dpt(24, 1), Group({0x41, 0x42, 0}, 24), true, Group({0x41, 0x42, 0}, 24), {}),
        From(Dpt(28, 1), Group({0x41}, 6), true, GV(), {}),
        From(Dpt(9, 2), g16, false, g16, {"Convert from KNX value failed for DPT = 9.2 GroupValue = 0C 1A"}),
        From(Dpt(9, 3), g16, false, g16,
             {"Exception caught during conversion of GroupValue: scripted failure(DPT: 9.3, Value: 0C "
              "1A"}),
        From(Dpt(9, 4), g16, false, {}, {"NULL pointer as KnxConverter for DPT = 9.4"}),
        From(Dpt(22, 1), g16, true, {}, NoEntry("22.1", "22.1")),
    };
    RunSteps(converter, steps);
}

// A table converter handed fewer bytes than its group value's size: the
// stack's exception ends at the facade, in the facade's one line. The date
// converters log their own, then the facade its failure. Called on its own,
// the converter keeps the exception to itself.
TEST(ConversionSteps, StackExceptionsOfTableConvertersEndAtTheFacade)
{
    KVC converter;
    ASSERT_TRUE(converter.Init());
    const std::string caught = "Exception caught during conversion of GroupValue: ";
    const struct
    {
        KNXDPT dpt;
        GV gv;
        Lines log;
    } cases[] = {
        {Dpt(9, 1),
         Group({0x0C}, 16),
         {caught + "GetAsUnsigned16: group value holds 1 byte, 2 needed(DPT: 9.1, Value: 0C"}},
        {Dpt(1, 1),
         Group({}, 1),
         {caught + "GetAsBoolean: group value holds 0 bytes, 1 needed(DPT: 1.1, Value: "}},
        {Dpt(13, 1),
         Group({0x0C, 0x1A}, 32),
         {caught + "GetAsSigned32: group value holds 2 bytes, 4 needed(DPT: 13.1, Value: 0C 1A"}},
        {Dpt(10, 1),
         Group({0x0C}, 24),
         {caught + "GetUInt8Value: index 1 is not inside the 1-byte buffer(DPT: 10.1, Value: 0C"}},
        {Dpt(11, 1),
         Group({0x0C}, 24),
         {"Exception caught during conversion of date: GetAsDate: group value holds 1 byte, 3 needed",
          "Convert from KNX value failed for DPT = 11.1 GroupValue = 0C"}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(Show(c.dpt));
        KNXDPT dpt = c.dpt;
        V value;
        LumTest::LogCapture log;
        log.SetLevel(log4cplus::INFO_LOG_LEVEL);
        EXPECT_FALSE(converter.FromKnxValue(dpt, c.gv, value));
        EXPECT_EQ(Logged(log), c.log);
    }

    LumTest::LogCapture log;
    log.SetLevel(log4cplus::INFO_LOG_LEVEL);
    V value;
    Lum::KnxConverter& own = *converter.GetEntry(Dpt(9, 1)).converter;
    EXPECT_FALSE(own.FromKnxValue(Dpt(9, 1), Group({0x0C}, 16), value));
    EXPECT_EQ(Logged(log), Lines{"Exception caught during conversion of GroupValue for DPT 9.1, bytes = 0C: "
                                 "GetAsUnsigned16: group value holds 1 byte, 2 needed"});
}
