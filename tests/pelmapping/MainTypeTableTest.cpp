// Value type, subtype and default value of each DPT main number.

#include <Lum/KnxPelMapping.h>

#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace
{
using namespace Lum::KnxPelMapping;

unsigned long Pack(unsigned main, unsigned sub)
{
    return (static_cast<unsigned long>(main) << 16) | sub;
}

std::string Serialized(const ORUVALUE& value, bool flag)
{
    oru_string text;
    value.Serialize(text, flag);
    return text.str();
}

ORUVALUE Time(OruValueType type, std::uint16_t year, std::uint16_t weekDay, std::uint16_t dayOfYear)
{
    ORUTIME t;
    t.year = year;
    t.month = 1;
    t.day = 1;
    t.weekDay = weekDay;
    t.dayOfYear = dayOfYear;
    return ORUVALUE::FromTime(type, t);
}

struct Row
{
    unsigned main;
    int ivt;
    int ist;
    ORUVALUE defaultValue;
};

std::vector<Row> Rows()
{
    const ORUVALUE byte0 = ORUVALUE::FromByte(0);
    const ORUVALUE word0 = ORUVALUE::FromWord(0);
    const ORUVALUE dword0 = ORUVALUE::FromDWord(0);
    const ORUVALUE int0 = ORUVALUE::FromInteger(0);
    const ORUVALUE float0 = ORUVALUE::FromFloat(0.0);
    const ORUVALUE text0 = ORUVALUE::FromString("");
    const ORUVALUE empty;
    // 1990-01-01 and 1900-01-01 were Mondays (mask 1), day 1 of their years.
    // The time of day carries no weekday and no day of the year.
    return {
        {1, 2, 2001, ORUVALUE::FromBool(false)},
        {2, 6, 0, byte0},
        {3, 6, 0, byte0},
        {4, 1, 0, empty},
        {5, 6, 0, byte0},
        {6, 6, 9, byte0},
        {7, 7, 0, word0},
        {8, 4, 12, int0},
        {9, 3, 0, float0},
        {10, 15, 0, Time(ivtDayTime, 2000, 0, 0)},
        {11, 11, 0, Time(ivtDate, 1990, 1, 1)},
        {12, 8, 0, dword0},
        {13, 4, 0, int0},
        {14, 3, 0, float0},
        {15, 8, 0, dword0},
        {16, 10, 0, text0},
        {17, 6, 0, byte0},
        {18, 6, 0, byte0},
        {19, 13, 0, Time(ivtDateTime, 1900, 1, 1)},
        {20, 6, 0, byte0},
        {21, 6, 0, byte0},
        {22, 7, 0, word0},
        {23, 6, 0, byte0},
        {24, 10, 0, text0},
        {25, 6, 0, byte0},
        {26, 6, 0, byte0},
        {27, 8, 0, dword0},
        {28, 10, 0, text0},
        {29, 1, 0, empty},
        {30, 8, 0, dword0},
        {31, 6, 0, byte0},
        {200, 7, 0, word0},
        {201, 7, 0, word0},
        {202, 7, 0, word0},
        {217, 7, 0, word0},
        {219, 1, 0, empty},
        {222, 1, 0, empty},
        {229, 1, 0, empty},
        {230, 1, 0, empty},
        {232, 8, 0, dword0},
        {234, 7, 0, ORUVALUE::FromWord(0x5A5A)},
        {237, 7, 0, word0},
        {238, 6, 0, byte0},
    };
}

TEST(MainTypeTable, EveryRow)
{
    const std::vector<Row> rows = Rows();
    ASSERT_EQ(rows.size(), 43u);
    for (const Row& row : rows)
    {
        const auto ivt = static_cast<OruValueType>(row.ivt);
        EXPECT_EQ(GetIvtFromMainType(row.main), ORUVALUE::GetNameFromValueType(ivt)) << row.main;
        EXPECT_EQ(GetIstFromMainType(row.main),
                  OruDP::GetNameFromValueSubType(static_cast<OruDP::OruValueSubType>(row.ist)))
            << row.main;
        for (const unsigned sub : {0u, 1u, 10u, 600u, 0xFFFFu})
        {
            EXPECT_EQ(GetIvtFromDpt(static_cast<unsigned>(Pack(row.main, sub))), ivt)
                << row.main << "." << sub;
            if (row.main == 6 && sub == 20)
                continue;
            for (const bool flag : {false, true})
            {
                const auto text = GetDefaultValueFromDpt(Pack(row.main, sub), flag);
                ASSERT_TRUE(text) << row.main << "." << sub;
                EXPECT_EQ(*text, Serialized(row.defaultValue, flag)) << row.main << "." << sub;
                ORUVALUE back;
                back.Deserialize(oru_string(*text));
                EXPECT_EQ(back, row.defaultValue) << row.main << "." << sub << " " << *text;
            }
        }
    }
}

TEST(MainTypeTable, NoOtherMainNumber)
{
    // Exactly the 43 rows, nothing borrowed from a neighbouring main number.
    std::vector<unsigned> mains;
    for (unsigned main = 0; main <= 0xFFFF; ++main)
    {
        if (GetDefaultValueFromDpt(Pack(main, 1), false))
            mains.push_back(main);
        else
        {
            EXPECT_EQ(GetIvtFromDpt(static_cast<unsigned>(Pack(main, 1))), ivtEmpty) << main;
            EXPECT_EQ(GetIvtFromMainType(main), "Empty") << main;
            EXPECT_EQ(GetIstFromMainType(main), "Generic") << main;
        }
    }
    std::vector<unsigned> expected;
    for (const Row& row : Rows())
        expected.push_back(row.main);
    EXPECT_EQ(mains, expected);
}

TEST(MainTypeTable, EdgeCases)
{
    EXPECT_EQ(GetIvtFromDpt(589825), ivtFloat); // 9.001
    EXPECT_EQ(GetIvtFromDpt(393236), ivtByte);  // 6.020
    EXPECT_EQ(GetIvtFromDpt(Pack(4, 1)), ivtEmpty);
    EXPECT_EQ(GetIvtFromDpt(Pack(99, 1)), ivtEmpty);
    EXPECT_EQ(GetIvtFromDpt(Pack(236, 1)), ivtEmpty); // converted by DPT, but not an object type

    EXPECT_EQ(GetIvtFromMainType(9), ORUVALUE::GetNameFromValueType(ivtFloat));
    EXPECT_EQ(GetIvtFromMainType(0), "Empty");
    EXPECT_EQ(GetIvtFromMainType(32), "Empty");
    // The main number itself, not a packed DPT.
    EXPECT_EQ(GetIvtFromMainType(Pack(9, 1)), "Empty");
    EXPECT_EQ(GetIvtFromMainType(Pack(9, 0)), "Empty");
    EXPECT_EQ(GetIstFromMainType(1),
              OruDP::GetNameFromValueSubType(static_cast<OruDP::OruValueSubType>(2001)));
    EXPECT_EQ(GetIstFromMainType(33), "Generic");

    // 6.020 alone starts at 1: a status whose mode is one-hot.
    for (const bool flag : {false, true})
    {
        EXPECT_EQ(GetDefaultValueFromDpt(393236, flag), Serialized(ORUVALUE::FromByte(1), flag));
        EXPECT_EQ(GetDefaultValueFromDpt(Pack(6, 10), flag), Serialized(ORUVALUE::FromByte(0), flag));
        EXPECT_EQ(GetDefaultValueFromDpt(Pack(6, 21), flag), Serialized(ORUVALUE::FromByte(0), flag));
        EXPECT_EQ(GetDefaultValueFromDpt(Pack(16, 0), flag), Serialized(ORUVALUE::FromString(""), flag));
        EXPECT_EQ(GetDefaultValueFromDpt(Pack(16, 1), flag), Serialized(ORUVALUE::FromString(""), flag));
        EXPECT_EQ(GetDefaultValueFromDpt(Pack(234, 1), flag), Serialized(ORUVALUE::FromWord(23130), flag));
    }
    EXPECT_FALSE(GetDefaultValueFromDpt(Pack(33, 1), false));
    EXPECT_FALSE(GetDefaultValueFromDpt(Pack(0, 0), true));

    // The flag reaches the platform's serializer unchanged.
    EXPECT_NE(GetDefaultValueFromDpt(Pack(9, 1), false), GetDefaultValueFromDpt(Pack(9, 1), true));

    // Time of day: 00:00:00 on 2000-01-01, no weekday.
    ORUVALUE timeOfDay;
    timeOfDay.Deserialize(oru_string(*GetDefaultValueFromDpt(Pack(10, 1), true)));
    EXPECT_EQ(timeOfDay.ivt, ivtDayTime);
    const ORUTIME& t = timeOfDay.GetTime();
    EXPECT_EQ(t.year, 2000);
    EXPECT_EQ(t.month, 1);
    EXPECT_EQ(t.day, 1);
    EXPECT_EQ(t.hour + t.minute + t.second, 0);
    EXPECT_EQ(t.weekDay, 0);
}

TEST(MainTypeTable, PackedDptIsTakenModulo32Bits)
{
    // Where long is wider, bits above the packed 32 do not select a main number.
    const unsigned long high = static_cast<unsigned long>(0xFFFFFFFFu) + 1ul;
    EXPECT_EQ(GetDefaultValueFromDpt(high + Pack(9, 1), true), GetDefaultValueFromDpt(Pack(9, 1), true));
}

} // namespace
