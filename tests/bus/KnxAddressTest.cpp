#include "LumBus/KnxAddress.h"

#include <gtest/gtest.h>

using namespace LumBus;

TEST(KnxAddress, GroupAddressForms)
{
    struct Case
    {
        const char* text;
        std::optional<std::uint16_t> value;
    } cases[] = {
        // clang-format off
        {"1/0/1", 2049},  {"0/0/1", 1},       {"31/7/255", 0xFFFF}, {"3/1/1", 0x1901}, {"1/2049", std::nullopt},
        {"1/1", 0x0801},  {"31/2047", 0xFFFF}, {"2049", 2049},       {"65535", 0xFFFF}, {"65536", std::nullopt},
        {"32/0/0", std::nullopt}, {"0/8/0", std::nullopt}, {"0/0/256", std::nullopt}, {"", std::nullopt},
        {"1//1", std::nullopt},   {"1/2/3/4", std::nullopt}, {"-1/0/0", std::nullopt}, {"1/0/1 ", std::nullopt},
        {"+1/0/1", std::nullopt}, {"1/0/", std::nullopt},    {"a/b/c", std::nullopt},
        // clang-format on
    };
    for (const auto& c : cases)
        EXPECT_EQ(ParseGroupAddress(c.text), c.value) << c.text;
}

TEST(KnxAddress, PrintsEachStyle)
{
    EXPECT_EQ(FormatGroupAddress(2049), "1/0/1");
    EXPECT_EQ(FormatGroupAddress(0xFFFF), "31/7/255");
    EXPECT_EQ(FormatGroupAddress(0x0A03, GroupAddressStyle::TwoLevel), "1/515");
    EXPECT_EQ(FormatGroupAddress(0x0A03, GroupAddressStyle::Free), "2563");
    for (unsigned a = 0; a <= 0xFFFF; a += 97)
    {
        const auto value = static_cast<std::uint16_t>(a);
        for (auto style :
             {GroupAddressStyle::ThreeLevel, GroupAddressStyle::TwoLevel, GroupAddressStyle::Free})
            ASSERT_EQ(ParseGroupAddress(FormatGroupAddress(value, style)), value);
    }
}

TEST(KnxAddress, IndividualAddresses)
{
    EXPECT_EQ(ParseIndividualAddress("1.1.5"), 0x1105);
    EXPECT_EQ(ParseIndividualAddress("15.15.255"), 0xFFFF);
    EXPECT_EQ(ParseIndividualAddress("16.0.0"), std::nullopt);
    EXPECT_EQ(ParseIndividualAddress("1.1"), std::nullopt);
    EXPECT_EQ(FormatIndividualAddress(0x1105), "1.1.5");
    EXPECT_EQ(FormatIndividualAddress(0x0006), "0.0.6");
}
