// The facade's own rules: default DPTs, the type relation and the size table.
#include "FacadeTestSupport.h"

#include <Lum/KnxValueConverter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

using namespace FacadeTest;
using Lum::KnxValueConverter;

namespace
{

struct DptResult
{
    std::uint8_t bits;
    std::uint16_t main;
    std::uint16_t sub;
};

bool operator==(const KNXDPT& d, const DptResult& r)
{
    return d.bitSize == r.bits && d.mainNumber == r.main && d.subNumber == r.sub;
}

std::string Show(const KNXDPT& d)
{
    return std::to_string(d.mainNumber) + "." + std::to_string(d.subNumber) + "/" + std::to_string(d.bitSize);
}

ORUVALUE OfType(std::int32_t type)
{
    ORUVALUE v;
    v.ivt = static_cast<OruValueType>(type);
    return v;
}

} // namespace

TEST(KnxValueConverterRules, DefaultDptBySize)
{
    // bit size -> DPT; the bit size itself is kept.
    const std::map<unsigned, std::pair<std::uint16_t, std::uint16_t>> known = {
        {1, {1, 1}},   {2, {2, 1}},    {4, {3, 7}},    {8, {5, 0}},   {16, {9, 0}},   {24, {10, 1}},
        {32, {14, 0}}, {40, {218, 0}}, {48, {219, 1}}, {64, {19, 1}}, {112, {16, 1}},
    };
    for (unsigned size = 0; size < 256; ++size)
    {
        KNXDPT dpt = Dpt(0, 77, static_cast<std::uint8_t>(size));
        const bool found = KnxValueConverter::GetDefaultMappingDptForSize(dpt);
        const auto it = known.find(size);
        if (it == known.end())
        {
            EXPECT_FALSE(found) << size;
            EXPECT_TRUE(dpt == (DptResult{static_cast<std::uint8_t>(size), 0, 77})) << Show(dpt);
        }
        else
        {
            EXPECT_TRUE(found) << size;
            EXPECT_TRUE(dpt ==
                        (DptResult{static_cast<std::uint8_t>(size), it->second.first, it->second.second}))
                << size << " -> " << Show(dpt);
        }
    }
}

TEST(KnxValueConverterRules, DefaultDptByValueType)
{
    struct Case
    {
        std::int32_t type;
        std::uint8_t sizeIn;
        bool found;
        DptResult out; // when found
    };
    const Case cases[] = {
        {2, 0, true, {1, 1, 1}},
        {2, 64, true, {1, 1, 1}},
        {1037, 0, true, {4, 3, 7}},
        {6, 0, true, {8, 5, 0}},
        {6, 16, true, {8, 5, 0}},
        {1036, 0, true, {8, 5, 1}},
        {3, 0, true, {16, 9, 0}},
        {3, 4, true, {4, 3, 0}},
        {3, 8, true, {8, 5, 1}},
        {3, 16, true, {16, 9, 0}},
        {3, 32, true, {16, 14, 0}}, // the size becomes 16, as always
        {3, 24, false, {}},
        {3, 1, false, {}},
        {12, 0, true, {24, 10, 1}},
        {11, 8, true, {24, 11, 1}},
        {8, 0, true, {32, 12, 1}},
        {4, 0, true, {32, 13, 0}},
        {4, 8, true, {8, 6, 0}},
        {4, 16, true, {16, 8, 0}},
        {4, 24, false, {}},
        {4, 32, false, {}},
        {14, 0, true, {32, 13, 100}},
        {9, 0, true, {40, 218, 0}},
        {13, 0, true, {64, 19, 1}},
        {10, 0, true, {112, 16, 1}},
        {10, 8, true, {8, 4, 1}},
        {10, 112, true, {8, 16, 0}}, // the size becomes 8, as always
        {10, 16, false, {}},
        {0, 0, false, {}},
        {1, 0, false, {}},
        {5, 8, false, {}},
        {7, 16, false, {}},
        {15, 24, false, {}},
        {1005, 8, false, {}},
        {1021, 8, false, {}},
        {1039, 8, false, {}},
    };
    for (const Case& c : cases)
    {
        KNXDPT dpt = Dpt(0, 42, c.sizeIn);
        const bool found = KnxValueConverter::GetDefaultMappingDptForValueType(dpt, OfType(c.type));
        EXPECT_EQ(found, c.found) << "type " << c.type << " size " << int(c.sizeIn);
        const DptResult expected = c.found ? c.out : DptResult{c.sizeIn, 0, 42};
        EXPECT_TRUE(dpt == expected) << "type " << c.type << " size " << int(c.sizeIn) << " -> " << Show(dpt);
    }
}

TEST(KnxValueConverterRules, ValueTypeCompatibilityIsTheFixedOneWayRelation)
{
    // value type -> entry types it is accepted for besides its own.
    const std::map<std::int32_t, std::set<std::int32_t>> accepted = {
        {3, {3, 1005, 1036, 1037, 1039}},
        {1005, {3, 1005, 1036, 1037, 1039}},
        {1036, {3, 1005, 1036, 1037, 1039}},
        {1037, {3, 1005, 1036, 1037, 1039}},
        {1039, {3, 1005, 1036, 1037, 1039}},
        {4, {4, 14}},
        {14, {4, 14}},
        {6, {6, 1021}},
        {1021, {6, 1021}},
        {7, {7, 8, 20}},
        {8, {7, 8, 20}},
        {20, {7, 8, 20}},
        {11, {11, 105}},
        {12, {12, 104}},
        {13, {11, 12, 13, 102, 104, 105, 201}},
        {102, {11, 12, 13, 102, 104, 105, 201}},
        {201, {11, 12, 13, 102, 104, 105, 201}},
        {104, {12, 104}},
        {105, {11, 105}},
    };
    const std::vector<std::int32_t> types = {0,   1,   2,   3,    4,    5,    6,    7,    8,
                                             9,   10,  11,  12,   13,   14,   15,   20,   102,
                                             104, 105, 201, 1005, 1021, 1036, 1037, 1039, 999};
    for (const std::int32_t value : types)
    {
        for (const std::int32_t entry : types)
        {
            const auto it = accepted.find(value);
            const bool expected = value == entry || (it != accepted.end() && it->second.count(entry) != 0);
            EXPECT_EQ(KnxValueConverter::AreValueTypesCompatible(static_cast<OruValueType>(value),
                                                                 static_cast<OruValueType>(entry)),
                      expected)
                << "value " << value << " entry " << entry;
        }
    }
    // The asymmetry callers rely on.
    EXPECT_TRUE(KnxValueConverter::AreValueTypesCompatible(static_cast<OruValueType>(13), ivtDate));
    EXPECT_FALSE(KnxValueConverter::AreValueTypesCompatible(ivtDate, ivtDateTime));
    EXPECT_FALSE(KnxValueConverter::AreValueTypesCompatible(ivtTime, ivtDateTime));
    // The unset type passes the facade by a separate rule, not by this relation.
    EXPECT_FALSE(KnxValueConverter::AreValueTypesCompatible(ivtUnset, ivtFloat));
}

TEST(KnxValueConverterRules, ExpectedBitSizeAtTheEdgesOfItsTable)
{
    const std::uint32_t var = KnxValueConverter::kVariableBitSize;
    EXPECT_EQ(var, 2147483647u);
    const std::pair<std::uint16_t, std::uint32_t> cases[] = {
        {0, 0},    {1, 1},   {2, 2},    {3, 4},   {9, 16},   {16, 112}, {19, 64},  {24, var}, {28, var},
        {29, 64},  {31, 3},  {32, 0},   {199, 0}, {200, 9},  {208, 0},  {209, 24}, {226, 0},  {228, 0},
        {229, 48}, {233, 0}, {232, 24}, {236, 8}, {241, 32}, {242, 0},  {255, 0},  {256, 0},  {65535, 0},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(KnxValueConverter::GetExpectedBitSize(c.first), c.second) << c.first;
    }
    // Every registered row expects the size it is registered with.
    KnxValueConverter converter;
    converter.Init();
    for (const auto& main : converter.GetDptValueMap().Entries())
    {
        for (const auto& sub : main.second)
        {
            EXPECT_EQ(KnxValueConverter::GetExpectedBitSize(main.first), sub.second.dpt.bitSize)
                << main.first;
        }
    }
}
