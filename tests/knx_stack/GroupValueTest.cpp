#include <Platform/KnxStack.h>

#include <boost/algorithm/hex.hpp>
#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

using namespace KnxStack;

namespace
{

// Bus bytes as in the KNX tables ("0C 1A"); formatted here, apart from the code under test.
std::string Hex(const BinaryData& data)
{
    return boost::algorithm::hex(std::string(data.GetData(), data.GetData() + data.GetSize()));
}

GroupValue Group(const std::string& hex, unsigned bits)
{
    const std::string bytes = boost::algorithm::unhex(boost::algorithm::erase_all_copy(hex, " "));
    return GroupValue(BinaryData(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()), bits);
}

std::string DateOf(const GroupValue& v)
{
    int day = -1, month = -1, year = -1;
    v.GetAsDate(&day, &month, &year);
    return std::to_string(day) + "." + std::to_string(month) + "." + std::to_string(year);
}

std::string TimeOf(const GroupValue& v)
{
    int hour = -1, minute = -1, second = -1;
    DayOfWeek day = static_cast<DayOfWeek>(99);
    v.GetAsTimeOfDay(&hour, &minute, &second, &day);
    return std::to_string(static_cast<int>(day)) + " " + std::to_string(hour) + ":" + std::to_string(minute) +
           ":" + std::to_string(second);
}

// Setter to the bytes, and the bytes through the check; either may be missing (encode- or decode-only).
struct Row
{
    std::function<void(GroupValue&)> set;
    std::function<bool(const GroupValue&)> check;
    const char* bytes;
    unsigned bits;
};
#define SET(call) [](GroupValue& v) { v.call; }
#define IS(expr) [](const GroupValue& v) { return expr; }

TEST(GroupValueBytes, StandardVectorsBothWays)
{
    // clang-format off
    const std::vector<Row> oneByteOrLess = {
        {SET(SetAsBoolean(true)), IS(v.GetAsBoolean()), "01", 1},
        {SET(SetAsBoolean(false)), IS(!v.GetAsBoolean()), "00", 1},
        {SET(SetAsUnsigned2(3)), IS(v.GetAsUnsigned2() == 3), "03", 2},
        {SET(SetAsUnsigned2(7)), nullptr, "03", 2},
        {SET(SetAsUnsigned4(0xFB)), IS(v.GetAsUnsigned4() == 11), "0B", 4},
        {nullptr, IS(v.GetAsBoolean() && v.GetAsUnsigned2() == 3 && v.GetAsUnsigned3() == 7), "FF", 8},
        // 6.020: the mode is one-hot in bits 2-0.
        {SET(SetAsUnsigned8(0x6A)), IS(v.GetAsUnsigned3() == 2), "6A", 8},
        {SET(SetAsUnsigned8(255)), IS(v.GetAsUnsigned8() == 255), "FF", 8},
        {SET(SetAsSigned8(-128)), IS(v.GetAsSigned8() == -128), "80", 8},
        {SET(SetAsChar('A')), nullptr, "41", 8}, {SET(SetAsChar('z')), nullptr, "7A", 8},
        {SET(SetAsChar('\xE9')), nullptr, "E9", 8}};
    const std::vector<Row> twoAndThreeBytes = {
        {SET(SetAsUnsigned16(65535)), IS(v.GetAsUnsigned16() == 65535), "FF FF", 16},
        {SET(SetAsSigned16(-32768)), IS(v.GetAsSigned16() == -32768), "80 00", 16},
        {nullptr, IS(v.GetAsUnsigned16() == 0x1234), "12 34 56", 24}, // the leading bytes of longer data
        {nullptr, IS(v.GetRawData().GetUInt32Value(0) == 0x123456), "12 34 56", 24}, // 232.x as one number
        {SET(SetAsTimeOfDay(13, 23, 42, DayOfWeek::Tuesday)), IS(TimeOf(v) == "2 13:23:42"), "4D 17 2A", 24},
        {SET(SetAsTimeOfDay(23, 59, 59, DayOfWeek::Sunday)), IS(TimeOf(v) == "7 23:59:59"), "F7 3B 3B", 24},
        {SET(SetAsTimeOfDay(0, 0, 0, DayOfWeek::NoDay)), IS(TimeOf(v) == "0 0:0:0"), "00 00 00", 24},
        // Decoding masks without validating: the caller judges.
        {nullptr, IS(TimeOf(v) == "7 23:59:60"), "F7 3B 3C", 24},
        {nullptr, IS(TimeOf(v) == "7 31:63:63"), "FF FF FF", 24},
        {SET(SetAsDate(4, 1, 2002)), IS(DateOf(v) == "4.1.2002"), "04 01 02", 24},
        {SET(SetAsDate(31, 1, 1990)), IS(DateOf(v) == "31.1.1990"), "1F 01 5A", 24},
        {SET(SetAsDate(4, 12, 2089)), IS(DateOf(v) == "4.12.2089"), "04 0C 59", 24},
        {SET(SetAsDate(31, 12, 1999)), IS(DateOf(v) == "31.12.1999"), "1F 0C 63", 24},
        {SET(SetAsDate(1, 1, 2000)), IS(DateOf(v) == "1.1.2000"), "01 01 00", 24},
        {nullptr, IS(DateOf(v) == "4.0.2089"), "04 00 59", 24},
        {nullptr, IS(DateOf(v) == "1.1.2100"), "01 01 64", 24}};
    const std::vector<Row> fourBytes = {
        {SET(SetAsUnsigned32(19088743ul)), IS(v.GetAsUnsigned32() == 19088743ul), "01 23 45 67", 32},
        {SET(SetAsUnsigned32(4294967295ul)), IS(v.GetAsUnsigned32() == 4294967295ul), "FF FF FF FF", 32},
        // Where long has 64 bits only the low 32 are sent.
        {SET(SetAsUnsigned32(static_cast<unsigned long>(0x123456789ull))), nullptr, "23 45 67 89", 32},
        {SET(SetAsSigned32(static_cast<long>(-0x100000001ll))), nullptr, "FF FF FF FF", 32},
        {SET(SetAsSigned32(2147483647l)), IS(v.GetAsSigned32() == 2147483647l), "7F FF FF FF", 32},
        {SET(SetAsSigned32(-2147483647l - 1)), IS(v.GetAsSigned32() == -2147483647l - 1), "80 00 00 00", 32},
        {SET(SetAsSigned32(-1l)), IS(v.GetAsSigned32() == -1l), "FF FF FF FF", 32},
        {SET(SetAsFloat32(397.0f)), IS(v.GetAsFloat32() == 397.0f), "43 C6 80 00", 32},
        {SET(SetAsFloat32(46.0f)), IS(v.GetAsFloat32() == 46.0f), "42 38 00 00", 32},
        {SET(SetAsFloat32(0.0f)), IS(v.GetAsFloat32() == 0.0f), "00 00 00 00", 32},
        {SET(SetAsFloat32(-std::nanf(""))), IS(std::isnan(v.GetAsFloat32())), "7F C0 00 00", 32}};
    const std::vector<Row> fourteenBytes = {
        {SET(SetAsString14("KNX is OK")), IS(v.GetAsString14() == "KNX is OK"),
         "4B 4E 58 20 69 73 20 4F 4B 00 00 00 00 00", 112},
        {SET(SetAsString14("")), IS(v.GetAsString14().empty()),
         "00 00 00 00 00 00 00 00 00 00 00 00 00 00", 112},
        {SET(SetAsString14("G\xE4nsef\xFC\xDF" "chen")), IS(v.GetAsString14() == "G\xE4nsef\xFC\xDF" "chen"),
         "47 E4 6E 73 65 66 FC DF 63 68 65 6E 00 00", 112},
        {SET(SetAsString14("ABCDEFGHIJKLMNOPQRS")), IS(v.GetAsString14() == "ABCDEFGHIJKLMN"),
         "41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E", 112},
        {nullptr, IS(v.GetAsString14() == "A"), "41 00 42 00 00 00 00 00 00 00 00 00 00 00", 112}};
    // clang-format on
    for (const auto* table : {&oneByteOrLess, &twoAndThreeBytes, &fourBytes, &fourteenBytes})
    {
        for (const Row& row : *table)
        {
            GroupValue value = Group("AA BB CC DD EE FF 11 22 33 44 55 66 77 88 99", 120); // all replaced
            if (row.set)
            {
                row.set(value);
                EXPECT_EQ(Hex(value.GetRawData()),
                          boost::algorithm::erase_all_copy(std::string(row.bytes), " "));
                EXPECT_EQ(value.GetDefinedSize(), row.bits) << row.bytes;
            }
            EXPECT_TRUE(!row.check || row.check(Group(row.bytes, row.bits))) << row.bytes;
        }
    }
}

std::string Thrown(const std::function<void()>& call)
{
    // clang-format off
    try { call(); } catch (const GroupValueException& e) { return e.what(); }
    // clang-format on
    return "no exception";
}

// Every misuse throws with its text and leaves the value as it was.
TEST(GroupValueMisuse, ThrowsWithItsText)
{
    const std::pair<std::function<void(GroupValue&)>, std::string> setters[] = {
        {SET(SetAsDate(1, 1, 2090)), "SetAsDate: year 2090 is outside 1990..2089"},
        {SET(SetAsDate(31, 12, 1989)), "SetAsDate: year 1989 is outside 1990..2089"},
        {SET(SetAsDate(0, 1, 2000)), "SetAsDate: day 0 is outside 1..31"},
        {SET(SetAsDate(4, 13, 2089)), "SetAsDate: month 13 is outside 1..12"},
        {SET(SetAsTimeOfDay(24, 0, 0, DayOfWeek::NoDay)), "SetAsTimeOfDay: hour 24 is outside 0..23"},
        {SET(SetAsTimeOfDay(-1, 0, 0, DayOfWeek::NoDay)), "SetAsTimeOfDay: hour -1 is outside 0..23"},
        {SET(SetAsTimeOfDay(0, 60, 0, DayOfWeek::NoDay)), "SetAsTimeOfDay: minute 60 is outside 0..59"},
        {SET(SetAsTimeOfDay(23, 59, 60, DayOfWeek::Sunday)), "SetAsTimeOfDay: second 60 is outside 0..59"},
        {SET(SetAsTimeOfDay(1, 1, 1, DayOfWeek(8))), "SetAsTimeOfDay: weekday 8 is outside 0..7"},
        {SET(GetRawData().GetUInt8Value(3)), "GetUInt8Value: index 3 is not inside the 3-byte buffer"},
        {SET(GetRawData().GetUInt32Value(3)), "GetUInt32Value: index 3 is not inside the 3-byte buffer"},
        {[](GroupValue&) { BinaryData(nullptr, 3); }, "BinaryData: null byte pointer with length 3"},
        {SET(GetRawData().GetUInt24Value(4)), "GetUInt24Value: index 4 is not inside the 3-byte buffer"}};
    for (const auto& c : setters)
    {
        GroupValue value = Group("12 34 56", 24);
        EXPECT_EQ(Thrown([&] { c.first(value); }), c.second);
        EXPECT_EQ(Hex(value.GetRawData()), "123456") << c.second;
    }
    // Getters need their bytes whatever the defined size claims; with them, the vectors above pass.
    int i = 0;
    DayOfWeek day = DayOfWeek::NoDay;
    // clang-format off
    const std::pair<std::function<void(const GroupValue&)>, std::size_t> getters[] = {
        {IS(v.GetAsBoolean()), 1}, {IS(v.GetAsUnsigned2()), 1}, {IS(v.GetAsUnsigned3()), 1},
        {IS(v.GetAsUnsigned4()), 1}, {IS(v.GetAsUnsigned8()), 1}, {IS(v.GetAsSigned8()), 1},
        {IS(v.GetAsUnsigned16()), 2}, {IS(v.GetAsSigned16()), 2}, {IS(v.GetAsFloat16()), 2},
        {IS(v.GetAsUnsigned32()), 4}, {IS(v.GetAsSigned32()), 4}, {IS(v.GetAsFloat32()), 4},
        {IS(v.GetAsString14()), 14}, {[&](const GroupValue& v) { v.GetAsDate(&i, &i, &i); }, 3},
        {[&](const GroupValue& v) { v.GetAsTimeOfDay(&i, &i, &i, &day); }, 3}};
    // clang-format on
    for (const auto& g : getters)
    {
        const std::vector<unsigned char> bytes(g.second - 1, 0x55);
        const GroupValue value(BinaryData(bytes.data(), bytes.size()), static_cast<unsigned>(8 * g.second));
        const std::string held = std::to_string(g.second - 1) + (g.second == 2 ? " byte, " : " bytes, ");
        const std::string what = Thrown([&] { g.first(value); });
        EXPECT_TRUE(boost::algorithm::ends_with(what, "holds " + held + std::to_string(g.second) + " needed"))
            << what;
    }
}

std::uint16_t Encode16(double value)
{
    GroupValue group;
    group.SetAsFloat16(value);
    const BinaryData& raw = group.GetRawData();
    EXPECT_TRUE(raw.GetSize() == 2 && group.GetDefinedSize() == 16) << value;
    return static_cast<std::uint16_t>(raw.GetUInt8Value(0) << 8 | raw.GetUInt8Value(1));
}

double Decode16(std::uint16_t pattern)
{
    const unsigned char bytes[] = {static_cast<unsigned char>(pattern >> 8),
                                   static_cast<unsigned char>(pattern)};
    return GroupValue(BinaryData(bytes, 2), 16).GetAsFloat16();
}

// Bits MEEEEMMM MMMMMMMM; M is a 12-bit two's-complement number.
int Mantissa(std::uint16_t p)
{
    return (p & 0x8000) != 0 ? (p & 0x07FF) - 2048 : (p & 0x07FF);
}

// Smallest exponent: at one exponent less the mantissa would have to double.
bool IsNormalised(std::uint16_t p)
{
    return (p >> 11 & 0x0F) == 0 || Mantissa(p) < -1024 || Mantissa(p) > 1023;
}

TEST(KnxFloat16, StandardVectorsTiesAndSaturation)
{
    const double inf = std::numeric_limits<double>::infinity(), dmax = std::numeric_limits<double>::max();
    // Encoded as the bytes; decoded back where marked.
    // clang-format off
    const struct { double value; std::uint16_t bytes; bool decodes; } encoded[] = {
        {0.0, 0x0000, true}, {0.01, 0x0001, true}, {-0.01, 0x87FF, true}, {20.48, 0x0C00, true},
        {21.0, 0x0C1A, true}, {-30.0, 0x8A24, true}, {16.96, 0x06A0, true}, {100.0, 0x1CE2, true},
        {0.29, 0x001D, true}, {670433.28, 0x7FFE, true}, {-671088.64, 0xF800, true}, {-20.48, 0x8000, true},
        {20.47, 0x07FF, true}, {-273.0, 0xA156, false}, {735.763, 0x347E, false},
        // Ties go away from zero; 2047.9 at exponent 1 rounds up into exponent 2.
        {0.005, 0x0001, false}, {-0.005, 0x87FF, false}, {20.49, 0x0C01, false}, {-20.49, 0x8BFF, false},
        {40.958, 0x1400, false},
        // A negative value that rounds to zero has no sign.
        {-0.0, 0x0000, false}, {-0.0049, 0x0000, false},
        {670433.29, 0x7FFE, false}, {670760.96, 0x7FFE, false}, {dmax, 0x7FFE, false}, {inf, 0x7FFE, false},
        {-671088.65, 0xF800, false}, {-dmax, 0xF800, false}, {-inf, 0xF800, false},
        // The invalid marker, asked for by value; neighbours encode normally.
        {32767.0, 0x7FFF, false}, {std::nan(""), 0x7FFF, false}, {32767.01, 0x5E40, false}};
    const std::pair<std::uint16_t, double> decoded[] = {
        {0x347E, 736.0}, {0x8C00, -20.48}, {0x0800, 0.0}, {0x7800, 0.0}, {0x7FFF, 670760.96},
        {0x8800, -40.96}};
    // clang-format on
    for (const auto& c : encoded)
    {
        EXPECT_EQ(Encode16(c.value), c.bytes) << c.value;
        EXPECT_TRUE(!c.decodes || std::fabs(Decode16(c.bytes) - c.value) < 1e-9) << c.value;
    }
    for (const auto& c : decoded)
        EXPECT_DOUBLE_EQ(Decode16(c.first), c.second) << c.first;
}

// Every pattern decodes by the formula M * 2^E hundredths and re-encodes to its normalised form, and
// encoding picks the nearer normalised neighbour strictly on either side of each midpoint.
TEST(KnxFloat16, Sweep)
{
    std::vector<std::uint16_t> normalised;
    for (std::uint32_t p = 0; p <= 0xFFFF; ++p)
    {
        const auto pattern = static_cast<std::uint16_t>(p);
        const double value = Decode16(pattern);
        const double hundredths = std::ldexp(Mantissa(pattern), pattern >> 11 & 0x0F);
        // Bit for bit the correctly rounded quotient, so 0C 1A is exactly 21.
        ASSERT_EQ(value, hundredths / 100.0) << p;
        const std::uint16_t again = Encode16(value);
        ASSERT_EQ(Decode16(again), pattern == 0x7FFF ? 670433.28 : value) << p;
        ASSERT_TRUE(IsNormalised(again)) << p;
        ASSERT_EQ(again == pattern, IsNormalised(pattern) && pattern != 0x7FFF) << p;
        if (again == pattern)
            normalised.push_back(pattern);
    }
    std::sort(normalised.begin(), normalised.end(), [](auto a, auto b) { return Decode16(a) < Decode16(b); });
    // 4096 at exponent 0, 2048 at each of the other 15, less 7F FF.
    ASSERT_EQ(normalised.size(), 4096u + 15u * 2048u - 1u);
    for (std::size_t i = 1; i < normalised.size(); ++i)
    {
        const double low = Decode16(normalised[i - 1]), high = Decode16(normalised[i]);
        ASSERT_LT(low, high) << normalised[i];
        ASSERT_EQ(Encode16(low + 0.49 * (high - low)), normalised[i - 1]) << low;
        ASSERT_EQ(Encode16(high - 0.49 * (high - low)), normalised[i]) << high;
    }
}

} // namespace
