#include "FacadeTestSupport.h"

#include <LogCapture.h>
#include <Lum/KnxValueConverter.h>

#include <gtest/gtest.h>

#include <future>
#include <set>
#include <thread>
#include <vector>

using namespace FacadeTest;
using Lum::DptValueEntry;
using Lum::DptValueMap;

namespace
{

DptValueEntry Entry(std::uint16_t main, std::uint16_t sub, std::uint8_t bits, OruValueType ivt,
                    const Lum::KnxConverter& converter)
{
    return DptValueEntry(Dpt(main, sub, bits), ivt, OruDP::ivstNone, converter);
}

std::size_t CountEntries(const DptValueMap& map)
{
    std::size_t n = 0;
    for (const auto& main : map.Entries())
    {
        n += main.second.size();
    }
    return n;
}

struct LookupCase
{
    const char* name;
    std::vector<std::pair<std::uint16_t, std::uint16_t>> registered;
    KNXDPT lookup;
    bool hit;                  // false: the shared empty entry
    std::uint16_t foundSub;    // of the entry returned on a hit
    const char* expectedError; // nullptr: nothing logged
};

void PrintTo(const LookupCase& c, std::ostream* os)
{
    *os << c.name;
}

class DptValueMapLookup : public ::testing::TestWithParam<LookupCase>
{
};

} // namespace

TEST_P(DptValueMapLookup, FallsBackToMainEntryThenToEmptyEntry)
{
    const LookupCase& c = GetParam();
    auto recorder = std::make_shared<Recorder>();
    DptValueMap map;
    for (const auto& dpt : c.registered)
    {
        ASSERT_TRUE(map.Add(Dpt(dpt.first, dpt.second, 16),
                            Entry(dpt.first, dpt.second, 16, ivtFloat, ScriptedConverter(recorder))));
    }

    LumTest::LogCapture log;
    const DptValueEntry& entry = map.GetEntry(c.lookup);

    if (c.hit)
    {
        EXPECT_NE(&entry, &Lum::GetEmptyDptValueEntry());
        EXPECT_EQ(entry.dpt.mainNumber, c.lookup.mainNumber);
        EXPECT_EQ(entry.dpt.subNumber, c.foundSub);
        EXPECT_EQ(entry.ivt, ivtFloat);
    }
    else
    {
        EXPECT_EQ(&entry, &Lum::GetEmptyDptValueEntry());
        EXPECT_EQ(entry.ivt, ivtEmpty);
        EXPECT_EQ(entry.dpt.mainNumber, 0);
    }
    if (c.expectedError == nullptr)
    {
        EXPECT_TRUE(log.Lines().empty());
    }
    else
    {
        const auto lines = log.Lines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(lines[0].text, c.expectedError);
        EXPECT_NE(lines[0].line.find("GetEntry"), std::string::npos) << lines[0].line;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DptValueMapLookup,
    ::testing::Values(
        LookupCase{"ExactSubNumber", {{9, 0}, {9, 1}}, Dpt(9, 1), true, 1, nullptr},
        LookupCase{"MainEntryServesOtherSubs", {{9, 0}, {9, 1}}, Dpt(9, 9), true, 0, nullptr},
        LookupCase{"MainEntryBySubZero", {{9, 0}, {9, 1}}, Dpt(9, 0), true, 0, nullptr},
        LookupCase{"BitSizeIsNoPartOfTheKey", {{9, 1}}, Dpt(9, 1, 32), true, 1, nullptr},
        LookupCase{"UnknownMain", {{9, 0}, {9, 1}}, Dpt(22, 1), false, 0, "No Entry found for DPT = 22.1"},
        LookupCase{"UnknownMainNoPadding", {}, Dpt(99, 1), false, 0, "No Entry found for DPT = 99.1"},
        LookupCase{
            "SubZeroWithoutMainEntry", {{9, 1}, {9, 2}}, Dpt(9, 0), false, 0, "No Entry found for DPT = 9.0"},
        LookupCase{"OtherSubWithoutMainEntry",
                   {{9, 1}, {9, 2}},
                   Dpt(9, 5),
                   false,
                   0,
                   "No Entry found for DPT = 9.x"},
        LookupCase{"LargeNumbersInDecimal",
                   {{236, 0}},
                   Dpt(65535, 65535),
                   false,
                   0,
                   "No Entry found for DPT = 65535.65535"}),
    [](const ::testing::TestParamInfo<LookupCase>& p) { return p.param.name; });

TEST(DptValueMap, FirstRegistrationWinsAndDuplicatesReportSuccess)
{
    auto first = std::make_shared<Recorder>();
    auto second = std::make_shared<Recorder>();
    DptValueMap map;
    EXPECT_TRUE(map.Add(Dpt(9, 1, 16), Entry(9, 1, 16, ivtFloat, ScriptedConverter(first))));
    // Same main and sub with another size, type and converter: ignored.
    EXPECT_TRUE(map.Add(Dpt(9, 1, 32), Entry(9, 1, 32, ivtInteger, ScriptedConverter(second))));

    EXPECT_EQ(CountEntries(map), 1u);
    const DptValueEntry& entry = map.GetEntry(Dpt(9, 1));
    EXPECT_EQ(entry.dpt.bitSize, 16);
    EXPECT_EQ(entry.ivt, ivtFloat);

    KnxStack::GroupValue gv;
    ASSERT_NE(entry.converter, nullptr);
    entry.converter->ToKnxValue(Dpt(9, 1), ORUVALUE(), gv);
    EXPECT_EQ(first->toKnx.size(), 1u);
    EXPECT_TRUE(second->toKnx.empty());
}

TEST(DptValueMap, MainEntryAndExactEntriesLiveSideBySide)
{
    auto recorder = std::make_shared<Recorder>();
    DptValueMap map;
    map.Add(Dpt(9, 1), Entry(9, 1, 16, ivtFloat, ScriptedConverter(recorder)));
    map.Add(Dpt(9, 0), Entry(9, 0, 16, ivtFloat, ScriptedConverter(recorder)));
    map.Add(Dpt(5, 0), Entry(5, 0, 8, ivtByte, ScriptedConverter(recorder)));
    ASSERT_EQ(map.Entries().size(), 2u);
    EXPECT_EQ(map.Entries().at(9).size(), 2u);
    EXPECT_EQ(map.Entries().begin()->first, 5); // ordered by main number
}

TEST(DptValueMap, EntriesOwnTheirConverterCopies)
{
    auto recorder = std::make_shared<Recorder>();
    const int before = ScriptedConverter::Live();
    {
        ScriptedConverter prototype(recorder);
        DptValueEntry entry(Dpt(9, 1, 16), ivtFloat, OruDP::ivstNone, prototype);
        EXPECT_NE(entry.converter.get(), &prototype);
        EXPECT_EQ(ScriptedConverter::Live(), before + 2);

        DptValueEntry copy(entry);
        EXPECT_NE(copy.converter.get(), entry.converter.get());
        EXPECT_EQ(ScriptedConverter::Live(), before + 3);

        DptValueEntry assigned(Dpt(1, 1, 1), ivtBool, OruDP::ivstNone, prototype);
        assigned = copy;
        EXPECT_NE(assigned.converter.get(), copy.converter.get());
        EXPECT_EQ(assigned.ivt, ivtFloat);
        EXPECT_EQ(assigned.dpt.mainNumber, 9);
        EXPECT_EQ(ScriptedConverter::Live(), before + 4);

        DptValueMap map;
        map.Add(Dpt(9, 1), entry);
        EXPECT_NE(map.GetEntry(Dpt(9, 1)).converter.get(), entry.converter.get());
        EXPECT_EQ(ScriptedConverter::Live(), before + 5);
        map.Clear();
        EXPECT_EQ(ScriptedConverter::Live(), before + 4);
        EXPECT_TRUE(map.Entries().empty());
    }
    EXPECT_EQ(ScriptedConverter::Live(), before);
}

TEST(DptValueMap, ClearRemovesEverything)
{
    auto recorder = std::make_shared<Recorder>();
    DptValueMap map;
    map.Add(Dpt(9, 1), Entry(9, 1, 16, ivtFloat, ScriptedConverter(recorder)));
    map.Add(Dpt(1, 0), Entry(1, 0, 1, ivtBool, ScriptedConverter(recorder)));
    map.Clear();
    EXPECT_TRUE(map.Entries().empty());
    LumTest::LogCapture log;
    EXPECT_EQ(&map.GetEntry(Dpt(9, 1)), &Lum::GetEmptyDptValueEntry());
    EXPECT_EQ(log.Texts(), std::vector<std::string>{"No Entry found for DPT = 9.1"});
}

TEST(DptValueMap, EmptyEntryIsOneSharedDefaultEntry)
{
    const DptValueEntry& empty = Lum::GetEmptyDptValueEntry();
    EXPECT_EQ(empty.dpt.bitSize, 0);
    EXPECT_EQ(empty.dpt.mainNumber, 0);
    EXPECT_EQ(empty.dpt.subNumber, 0);
    EXPECT_EQ(empty.ivt, ivtEmpty);
    EXPECT_EQ(empty.ist, OruDP::ivstNone);
    ASSERT_NE(empty.converter, nullptr);
    EXPECT_NE(dynamic_cast<const Lum::KnxConverterDefault*>(empty.converter.get()), nullptr);

    // Every thread sees the same object.
    std::vector<std::future<const DptValueEntry*>> seen;
    for (int i = 0; i < 4; ++i)
    {
        seen.push_back(std::async(std::launch::async, [] { return &Lum::GetEmptyDptValueEntry(); }));
    }
    for (auto& f : seen)
    {
        EXPECT_EQ(f.get(), &empty);
    }
}

TEST(KnxValueConverterEntries, AddDptValueMapEntryStoresItsOwnCopy)
{
    auto recorder = std::make_shared<Recorder>();
    const int before = ScriptedConverter::Live();
    {
        Lum::KnxValueConverter converter;
        {
            ScriptedConverter prototype(recorder);
            EXPECT_TRUE(converter.AddDptValueMapEntry(9, 1, 16, ivtFloat,
                                                      static_cast<OruDP::OruValueSubType>(3003), prototype));
            EXPECT_TRUE(converter.AddDptValueMapEntry(9, 1, 32, ivtInteger, OruDP::ivstNone, prototype));
        }
        // Only the map's copy is left.
        EXPECT_EQ(ScriptedConverter::Live(), before + 1);
        const DptValueEntry& entry = converter.GetEntry(Dpt(9, 1));
        EXPECT_EQ(entry.dpt.bitSize, 16);
        EXPECT_EQ(entry.dpt.mainNumber, 9);
        EXPECT_EQ(entry.dpt.subNumber, 1);
        EXPECT_EQ(entry.ivt, ivtFloat);
        EXPECT_EQ(entry.ist, 3003);
    }
    EXPECT_EQ(ScriptedConverter::Live(), before);
}

TEST(KnxValueConverterEntries, FailingConverterCopyPropagatesAndLeavesTheMapAlone)
{
    Lum::KnxValueConverter converter;
    EXPECT_THROW(converter.AddDptValueMapEntry(9, 1, 16, ivtFloat, OruDP::ivstNone, ThrowingCloneConverter()),
                 std::runtime_error);
    EXPECT_TRUE(converter.GetDptValueMap().Entries().empty());
}

// Lookups must answer from the map's own entries whatever happened to it
// before: many registrations, copies whose source is gone, clearing and
// registering again.
TEST(DptValueMap, ManyEntriesAreAllFoundExactly)
{
    auto recorder = std::make_shared<Recorder>();
    DptValueMap map;
    // More than any fast path may hold, over mains above 255 and sub numbers that collide in low bits.
    for (std::uint16_t main = 1; main <= 40; ++main)
    {
        for (std::uint16_t sub :
             {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{257}, std::uint16_t{65535}})
        {
            const std::uint16_t m = main == 40 ? 65535 : main * 300;
            map.Add(Dpt(m, sub, 8), Entry(m, sub, 8, ivtByte, ScriptedConverter(recorder)));
        }
    }
    LumTest::LogCapture log;
    for (std::uint16_t main = 1; main <= 40; ++main)
    {
        const std::uint16_t m = main == 40 ? 65535 : main * 300;
        for (std::uint16_t sub :
             {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{257}, std::uint16_t{65535}})
        {
            const DptValueEntry& entry = map.GetEntry(Dpt(m, sub));
            EXPECT_EQ(entry.dpt.mainNumber, m);
            EXPECT_EQ(entry.dpt.subNumber, sub);
        }
        EXPECT_EQ(map.GetEntry(Dpt(m, 2)).dpt.subNumber, 0); // main.x
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST(DptValueMap, CopyAnswersFromItsOwnEntries)
{
    auto recorder = std::make_shared<Recorder>();
    std::unique_ptr<DptValueMap> original = std::make_unique<DptValueMap>();
    original->Add(Dpt(9, 1), Entry(9, 1, 16, ivtFloat, ScriptedConverter(recorder)));
    original->Add(Dpt(5, 0), Entry(5, 0, 8, ivtByte, ScriptedConverter(recorder)));
    const DptValueMap copy(*original);
    DptValueMap assigned;
    assigned.Add(Dpt(1, 1), Entry(1, 1, 1, ivtBool, ScriptedConverter(recorder)));
    assigned = *original;
    const Lum::KnxConverter* originalConverter = original->GetEntry(Dpt(9, 1)).converter.get();
    original.reset();

    for (const DptValueMap* map : {&copy, static_cast<const DptValueMap*>(&assigned)})
    {
        const DptValueEntry& exact = map->GetEntry(Dpt(9, 1));
        EXPECT_EQ(exact.ivt, ivtFloat);
        EXPECT_NE(exact.converter.get(), originalConverter);
        EXPECT_EQ(map->GetEntry(Dpt(5, 1)).ivt, ivtByte);
    }
    LumTest::LogCapture log;
    EXPECT_EQ(&assigned.GetEntry(Dpt(1, 1)), &Lum::GetEmptyDptValueEntry());
    EXPECT_EQ(log.Texts(), std::vector<std::string>{"No Entry found for DPT = 1.1"});
}

TEST(DptValueMap, RegisteringAgainAfterClearYieldsTheNewEntries)
{
    auto recorder = std::make_shared<Recorder>();
    DptValueMap map;
    map.Add(Dpt(9, 1), Entry(9, 1, 16, ivtFloat, ScriptedConverter(recorder)));
    map.Clear();
    map.Add(Dpt(9, 1), Entry(9, 1, 16, ivtInteger, ScriptedConverter(recorder)));
    EXPECT_EQ(map.GetEntry(Dpt(9, 1)).ivt, ivtInteger);
}
