// Decoding for display through one decoder, telegram after telegram: what
// it keeps between telegrams must not leak from one into the next.
#include "ValueText.h"
#include "Cli.h"

#include <DptVocabulary.h>

#include <gtest/gtest.h>

#include <iterator>

using namespace LumKnx;

namespace
{
struct Decoding
{
    const char* dpt;
    std::vector<unsigned char> bytes;
    bool decoded;
    std::string human, exact, type, reason;
};

// Converters that write a byte into a value the facade typed otherwise
// (3.x, 18.x) alternate with the others, and failures with successes.
const Decoding kDecodings[] = {
    {"3.007", {0x0B}, true, "increase, step 3", "11", "Byte", ""},
    {"9.001",
     {0x0C, 0x33},
     true,
     "21.5 \xC2\xB0"
     "C",
     "21.5",
     "Float",
     ""},
    {"18.001", {0x81}, true, "learn scene 2", "129", "Byte", ""},
    {"9.001",
     {0x0C},
     false,
     "",
     "",
     "",
     "Failed to convert a GroupValue for DPT 9.1 because of unexpected bit size: 8, expected: 16"},
    {"5.001", {0x80}, true, "50.2 %", "128", "Byte", ""},
    {"5.003", {0x01}, true, "1.4 \xC2\xB0", "1", "Byte", ""},
    {"99.001", {0x12}, false, "", "", "", "DPT 99.001 is not supported"},
    {"3.008", {0x0F}, true, "down, step 7", "15", "Byte", ""},
    {"10.001", {0x4D, 0x17, 0x2A}, true, "Tue 13:23:42", "Tue 13:23:42", "DayTime", ""},
    {"10.001", {0x0D, 0x17, 0x2A}, true, "13:23:42, no day", "13:23:42", "DayTime", ""},
    {"11.001", {0x01, 0x01, 0x5A}, true, "1990-01-01", "1990-01-01", "Date", ""},
    {"19.001",
     {0x7E, 0x0B, 0x14, 0xA0, 0x00, 0x00, 0x20, 0x00},
     true,
     "2026-11-20 00:00:00, Fri, working day unknown",
     "2026-11-20 00:00:00",
     "DateTime",
     ""},
    {"9.001", {0x7F, 0xFF}, true, "(invalid data)", "invalid", "Unset", ""},
    {"9.050", {0x0C, 0x33}, true, "21.5", "21.5", "Float", ""},
};
} // namespace

TEST(LumknxDecode, OneDecoderDecodesEachTelegramAsAFreshCallDoes)
{
    Lum::KnxValueConverter converter;
    converter.Init();
    LibraryMessages messages;
    ValueDecoder decoder(converter, messages);
    ValueText reused;
    // Twice round: the second time every converter is one the decoder has seen.
    for (int round = 0; round < 2; ++round)
    {
        for (const Decoding& d : kDecodings)
        {
            const KNXDPT dpt = *ParseDpt(d.dpt);
            decoder.Decode(dpt, d.bytes, reused);
            EXPECT_EQ(reused.decoded, d.decoded) << d.dpt;
            EXPECT_EQ(reused.human, d.human) << d.dpt;
            EXPECT_EQ(reused.exact, d.exact) << d.dpt;
            EXPECT_EQ(reused.type, d.type) << d.dpt;
            EXPECT_EQ(reused.reason, d.reason) << d.dpt;
            EXPECT_EQ(reused.warning, "") << d.dpt;

            const ValueText fresh = DecodeForDisplay(converter, dpt, d.bytes);
            EXPECT_EQ(fresh.human, reused.human) << d.dpt;
            EXPECT_EQ(fresh.type, reused.type) << d.dpt;
            EXPECT_EQ(fresh.reason, reused.reason) << d.dpt;
        }
    }
}

TEST(LumknxDecode, WordsOfADpt)
{
    namespace V = Lum::Vocabulary;
    const struct
    {
        std::uint16_t main, sub;
        const char* name; // nullptr: no row
    } cases[] = {
        {9, 1, "temperature"},      {9, 50, "2-byte float"},
        {5, 6, "tariff"},           {1, 0, "boolean"},
        {1, 10, "start/stop"},      {238, 0, "8-bit unsigned"},
        {238, 7, "8-bit unsigned"}, {22, 1, nullptr},
        {22, 0, nullptr},           {0, 0, nullptr},
        {65535, 65535, nullptr},    {239, 0, nullptr},
    };
    for (const auto& c : cases)
    {
        const V::DptWords* words = V::FindDptWords(c.main, c.sub);
        if (c.name == nullptr)
        {
            EXPECT_EQ(words, nullptr) << c.main << "." << c.sub;
            continue;
        }
        ASSERT_NE(words, nullptr) << c.main << "." << c.sub;
        EXPECT_STREQ(words->name, c.name) << c.main << "." << c.sub;
    }
    // Every row is found under its own number.
    for (const V::DptWords& row : V::kDptWords)
        EXPECT_EQ(V::FindDptWords(row.main, row.sub), &row) << row.main << "." << row.sub;
}
