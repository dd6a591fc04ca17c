// The registered DPT rows: what Init() puts into the map.
#include "FacadeTestSupport.h"

#include <LogCapture.h>
#include <Lum/KnxConverterBitField.h>
#include <Lum/KnxConverterDateTime.h>
#include <Lum/KnxConverterFloat.h>
#include <Lum/KnxConverterInteger.h>
#include <Lum/KnxConverterScene.h>
#include <Lum/KnxConverterString.h>
#include <Lum/KnxValueConverter.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

using namespace FacadeTest;
using Lum::KnxValueConverter;

namespace
{

std::size_t CountEntries(const KnxValueConverter& converter)
{
    std::size_t n = 0;
    for (const auto& main : converter.GetDptValueMap().Entries())
    {
        n += main.second.size();
    }
    return n;
}

struct B
{
    double a, b, c, d;
};

using Check = std::function<void(const Lum::KnxConverter&, const std::string&)>;

template <class C> Check Plain()
{
    return [](const Lum::KnxConverter& k, const std::string& where)
    { EXPECT_EQ(typeid(k), typeid(C)) << where; };
}

template <class C> Check Ranged(B r)
{
    return [r](const Lum::KnxConverter& k, const std::string& where)
    {
        const C* c = dynamic_cast<const C*>(&k);
        ASSERT_NE(c, nullptr) << where << " is a " << typeid(k).name();
        EXPECT_EQ(typeid(k), typeid(C)) << where;
        const auto& range = c->GetRange();
        EXPECT_EQ(static_cast<double>(range.m_internalMin), r.a) << where;
        EXPECT_EQ(static_cast<double>(range.m_internalMax), r.b) << where;
        EXPECT_EQ(static_cast<double>(range.m_externalMin), r.c) << where;
        EXPECT_EQ(static_cast<double>(range.m_externalMax), r.d) << where;
    };
}

B Both(double min, double max)
{
    return B{min, max, min, max};
}

struct TableRow
{
    std::uint16_t main, sub;
    unsigned bits;
    std::int32_t ivt, ist;
    Check check;
};

std::vector<TableRow> ExpectedTable()
{
    using namespace Lum;
    const double f16Min = -671088.64, f16Max = 670760.96, f32 = 3.4028234663852886e38;
    const auto fl = [](double a, double b) { return Ranged<KnxConverterFloat16BitFloat>(Both(a, b)); };
    const auto ub = [](double b) { return Ranged<KnxConverterByte8BitUnsigned>(Both(0, b)); };
    return {
        {1, 0, 1, 2, 0, Plain<KnxConverter1Bit>()},
        {2, 0, 2, 2, 0, Plain<KnxConverter2Bit>()},
        {3, 0, 4, 3, 3002, Ranged<KnxConverter4Bit>({-100.0, 100.0, 0, 15})},
        {4, 0, 8, 10, 8001, Ranged<KnxConverter8BitString>(Both(0, 127))},
        {4, 1, 8, 10, 8001, Ranged<KnxConverter8BitString>(Both(0, 127))},
        {4, 2, 8, 10, 8002, Ranged<KnxConverter8BitString>(Both(0, 255))},
        {5, 0, 8, 6, 0, ub(255)},
        {5, 6, 8, 6, 0, ub(254)},
        {6, 0, 8, 4, 0, Ranged<KnxConverterInteger8BitSigned>(Both(-128, 127))},
        {6, 20, 8, 6, 3001, Ranged<KnxConverterStatus8Bit>(Both(0, 255))},
        {7, 0, 16, 7, 0, Ranged<KnxConverterInteger16BitUnsigned>(Both(0, 65535))},
        {8, 0, 16, 4, 0, Ranged<KnxConverterInteger16BitSigned>(Both(-32768, 32767))},
        {9, 0, 16, 3, 0, fl(f16Min, f16Max)},
        {9, 1, 16, 3, 3003, fl(-273.0, 670760.0)},
        {9, 2, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 3, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 4, 16, 3, 3003, fl(0.0, 670760.0)},
        {9, 5, 16, 3, 3003, fl(0.0, 670760.0)},
        {9, 6, 16, 3, 3003, fl(0.0, 670760.0)},
        {9, 7, 16, 3, 3003, fl(0.0, 670760.0)},
        {9, 8, 16, 3, 3003, fl(0.0, 670760.0)},
        {9, 10, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 11, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 20, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 21, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 22, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 23, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 24, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 25, 16, 3, 3003, fl(-670760.0, 670760.0)},
        {9, 26, 16, 3, 3003, fl(f16Min, f16Max)},
        {9, 27, 16, 3, 3003, fl(-459.6, f16Max)},
        {9, 28, 16, 3, 3003, fl(0.0, f16Max)},
        {10, 0, 24, 12, 0, Plain<KnxConverterTimeOfDay>()},
        {11, 0, 24, 11, 0, Plain<KnxConverterDate>()},
        {12, 0, 32, 8, 0, Ranged<KnxConverterInteger32BitUnsigned>(Both(0, 4294967295.0))},
        {13, 0, 32, 4, 0, Ranged<KnxConverterInteger32BitSigned>(Both(-2147483648.0, 2147483647.0))},
        {14, 0, 32, 3, 0, Ranged<KnxConverterFloat32BitFloat>(Both(-f32, f32))},
        {15, 0, 32, 8, 0, Ranged<KnxConverterInteger32BitUnsigned>(Both(0, 4294967295.0))},
        {16, 0, 112, 10, 8001, Ranged<KnxConverter14ByteString>(Both(0, 127))},
        {16, 1, 112, 10, 8002, Ranged<KnxConverter14ByteString>(Both(0, 255))},
        {17, 0, 8, 4, 4001, Ranged<KnxConverterSceneNumber>(Both(0, 63))},
        {18, 0, 8, 4, 4001, Ranged<KnxConverterSceneControl>(Both(0, 63))},
        {19, 0, 64, 13, 0, Plain<KnxConverterDateTime>()},
        {20, 0, 8, 6, 0, ub(255)},
        {20, 102, 8, 6, 0, ub(4)},
        {20, 103, 8, 6, 0, ub(4)},
        {21, 0, 8, 6, 0, ub(255)},
        {23, 0, 8, 6, 0, ub(255)},
        {26, 0, 8, 6, 0, Ranged<KnxConverterSceneInfo>({-64, 64, 0, 255})},
        {27, 0, 32, 8, 0, Ranged<KnxConverterInteger32BitUnsigned>(Both(0, 4294967295.0))},
        {236, 0, 8, 6, 0, ub(255)},
        {232, 0, 24, 8, 0, Ranged<KnxConverterInteger24BitUnsigned>(Both(0, 16777215))},
        {238, 0, 8, 6, 0, ub(255)},
    };
}

// Refuses the rows it is told to, registers the others.
class RefusingConverter : public KnxValueConverter
{
public:
    static std::vector<std::pair<std::uint16_t, std::uint16_t>> s_refused;
    static std::vector<std::pair<std::uint16_t, std::uint16_t>> s_seen;

    bool Fill() { return FillDptValueMap(&Refuse); }

private:
    static bool Refuse(KnxValueConverter& self, unsigned short main, unsigned short sub, unsigned char bits,
                       OruValueType ivt, OruDP::OruValueSubType ist, const Lum::KnxConverter& converter)
    {
        s_seen.emplace_back(main, sub);
        for (const auto& r : s_refused)
        {
            if (r.first == main && r.second == sub)
            {
                return false;
            }
        }
        return self.AddDptValueMapEntry(main, sub, bits, ivt, ist, converter);
    }
};
std::vector<std::pair<std::uint16_t, std::uint16_t>> RefusingConverter::s_refused;
std::vector<std::pair<std::uint16_t, std::uint16_t>> RefusingConverter::s_seen;

} // namespace

TEST(DptTable, InitRegistersFiftyThreeRowsUnderTwentySevenMainNumbers)
{
    KnxValueConverter converter;
    LumTest::LogCapture log;
    EXPECT_TRUE(converter.Init());
    EXPECT_EQ(CountEntries(converter), 53u);
    EXPECT_EQ(converter.GetDptValueMap().Entries().size(), 27u);
    EXPECT_TRUE(log.TextsAtLeast(log4cplus::INFO_LOG_LEVEL).empty())
        << log.TextsAtLeast(log4cplus::INFO_LOG_LEVEL)[0];

    // A second Init() rebuilds the same map instead of adding to it.
    EXPECT_TRUE(converter.Init());
    EXPECT_EQ(CountEntries(converter), 53u);
    EXPECT_EQ(converter.GetDptValueMap().Entries().size(), 27u);
}

TEST(DptTable, EveryRowHasItsSizeTypesConverterAndRange)
{
    KnxValueConverter converter;
    converter.Init();
    const auto& entries = converter.GetDptValueMap().Entries();
    for (const TableRow& row : ExpectedTable())
    {
        const std::string where = std::to_string(row.main) + "." + std::to_string(row.sub);
        const auto main = entries.find(row.main);
        ASSERT_NE(main, entries.end()) << where;
        const auto sub = main->second.find(row.sub);
        ASSERT_NE(sub, main->second.end()) << where;
        const Lum::DptValueEntry& entry = sub->second;
        EXPECT_EQ(entry.dpt.mainNumber, row.main) << where;
        EXPECT_EQ(entry.dpt.subNumber, row.sub) << where;
        EXPECT_EQ(entry.dpt.bitSize, row.bits) << where;
        EXPECT_EQ(entry.ivt, row.ivt) << where;
        EXPECT_EQ(entry.ist, row.ist) << where;
        ASSERT_NE(entry.converter, nullptr) << where;
        row.check(*entry.converter, where);
    }
}

TEST(DptTable, LookupsFallBackAsRegistered)
{
    KnxValueConverter converter;
    converter.Init();
    LumTest::LogCapture log;

    const Lum::DptValueEntry& e9009 = converter.GetEntry(Dpt(9, 9));
    EXPECT_EQ(e9009.dpt.subNumber, 0);
    EXPECT_EQ(e9009.ist, 0);
    const auto* f = dynamic_cast<const Lum::KnxConverterFloat16BitFloat*>(e9009.converter.get());
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->GetRange().m_internalMin, -671088.64);
    EXPECT_EQ(f->GetRange().m_internalMax, 670760.96);

    for (std::uint16_t sub : {9, 12, 13, 19})
    {
        EXPECT_EQ(&converter.GetEntry(Dpt(9, sub)), &e9009) << sub;
    }
    EXPECT_EQ(converter.GetEntry(Dpt(4, 1)).ist, 8001);
    EXPECT_EQ(converter.GetEntry(Dpt(4, 1)).dpt.subNumber, 1);
    EXPECT_EQ(converter.GetEntry(Dpt(4, 2)).ist, 8002);
    EXPECT_EQ(converter.GetEntry(Dpt(4, 2)).dpt.subNumber, 2);
    EXPECT_TRUE(log.Lines().empty());

    for (std::uint16_t main : {22, 24, 25, 28, 100, 231, 237})
    {
        EXPECT_EQ(converter.GetEntry(Dpt(main, 1)).ivt, ivtEmpty) << main;
    }
}

TEST(DptTable, RowsAreRegisteredInTheirOrder)
{
    RefusingConverter::s_refused.clear();
    RefusingConverter::s_seen.clear();
    RefusingConverter converter;
    EXPECT_TRUE(converter.Fill());
    const auto& seen = RefusingConverter::s_seen;
    std::vector<std::pair<std::uint16_t, std::uint16_t>> expected;
    for (const TableRow& row : ExpectedTable())
    {
        expected.emplace_back(row.main, row.sub);
    }
    EXPECT_EQ(seen, expected); // 236 before 232 before 238
}

TEST(DptTable, FailedRowsAreLoggedSkippedAndStillReportSuccess)
{
    RefusingConverter::s_refused = {{1, 0}, {9, 28}, {236, 0}, {20, 102}};
    RefusingConverter converter;
    LumTest::LogCapture log;
    EXPECT_TRUE(converter.Fill());

    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 4u);
    const std::vector<std::string> expected = {
        "Add DPT value map entry failed. DPT=1.x", "Add DPT value map entry failed. DPT=9.028",
        "Add DPT value map entry failed. DPT=20.102", "Add DPT value map entry failed. DPT=236.x"};
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        EXPECT_EQ(lines[i].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(lines[i].text, expected[i]);
        EXPECT_NE(lines[i].line.find("FillDptValueMap"), std::string::npos) << lines[i].line;
    }
    EXPECT_EQ(CountEntries(converter), 49u);
    EXPECT_EQ(converter.GetDptValueMap().Entries().count(1), 0u);
    EXPECT_EQ(converter.GetDptValueMap().Entries().count(236), 0u);
    EXPECT_EQ(converter.GetDptValueMap().Entries().at(9).count(28), 0u);
    EXPECT_EQ(converter.GetDptValueMap().Entries().at(9).count(27), 1u);
    RefusingConverter::s_refused.clear();
}

TEST(DptTable, CopiesAreIndependentOfTheirOriginal)
{
    auto original = std::make_unique<KnxValueConverter>();
    original->Init();
    KnxValueConverter copy(*original);
    KnxValueConverter assigned;
    assigned.AddDptValueMapEntry(99, 1, 8, ivtByte, OruDP::ivstNone, Lum::KnxConverterDefault());
    assigned = *original;
    const Lum::DptValueEntry& fromOriginal = original->GetEntry(Dpt(9, 1));
    EXPECT_NE(&copy.GetEntry(Dpt(9, 1)), &fromOriginal);
    EXPECT_NE(copy.GetEntry(Dpt(9, 1)).converter.get(), fromOriginal.converter.get());
    original.reset();

    for (KnxValueConverter* c : {&copy, &assigned})
    {
        EXPECT_EQ(CountEntries(*c), 53u);
        EXPECT_EQ(c->GetDptValueMap().Entries().count(99), 0u);
        KNXDPT dpt = Dpt(9, 1);
        KnxStack::GroupValue gv;
        EXPECT_TRUE(c->ToKnxValue(dpt, ORUVALUE::FromFloat(21.5), gv));
        EXPECT_EQ(gv, Group({0x0C, 0x33}, 16));
        for (const auto& main : c->GetDptValueMap().Entries())
        {
            for (const auto& sub : main.second)
            {
                EXPECT_EQ(sub.second.dpt.mainNumber, main.first);
                EXPECT_EQ(sub.second.dpt.subNumber, sub.first);
            }
        }
    }
}
