#include <Platform/OruValue.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

ORUVALUE OfType(int type)
{
    ORUVALUE v;
    v.ivt = static_cast<OruValueType>(type);
    return v;
}

const int kKnownTypes[] = {0,  1,  2,  3,  4,   5,   6,   7,   8,    9,    10,   11,   12,
                           13, 14, 15, 20, 102, 104, 105, 201, 1005, 1021, 1036, 1037, 1039};

} // namespace

TEST(OruValue, DefaultIsEmptyAndResetRestoresIt)
{
    const ORUVALUE fresh;
    EXPECT_EQ(ivtEmpty, fresh.ivt);
    EXPECT_EQ(0u, fresh.GetDWord());
    EXPECT_TRUE(fresh.GetString().empty());
    EXPECT_EQ(ORUTIME(), fresh.GetTime());

    ORUVALUE v = ORUVALUE::FromString("text");
    v.SetFloat(1.5);
    v.GetTime().SetDateTime(2024, 5, 6, 7, 8, 9, true);
    v.Reset();
    EXPECT_EQ(ivtEmpty, v.ivt);
    EXPECT_EQ(0.0, v.GetFloat());
    EXPECT_TRUE(v.GetString().empty());
    EXPECT_EQ(ORUTIME(), v.GetTime());
}

TEST(OruValue, SettersWriteOnlyThePayloadAndNarrowReadsKeepLowBits)
{
    ORUVALUE v = ORUVALUE::FromString("x");
    v.SetDWord(0x12345678);
    EXPECT_EQ(ivtString, v.ivt);
    EXPECT_EQ(0x78, v.GetByte());
    EXPECT_EQ(0x5678, v.GetWord());
    EXPECT_EQ(0x12345678, v.GetInteger());

    v.SetInteger(-1);
    EXPECT_EQ(0xFFFFFFFFu, v.GetDWord());
    EXPECT_EQ(-1, v.GetInteger());

    v.SetByte(0x80);
    EXPECT_EQ(0x80u, v.GetDWord()); // zero-extended, not sign-extended

    v.SetData40(0xFF0102030405);
    EXPECT_EQ(0x0102030405u, v.GetData40());

    v.SetFloat(-2.25);
    EXPECT_EQ(-2.25, v.GetFloat());
}

TEST(OruValue, EqualityComparesThePayloadOfTheType)
{
    ORUVALUE a = ORUVALUE::FromByte(7);
    ORUVALUE b = ORUVALUE::FromByte(7);
    b.GetString().assign("ignored for a byte");
    EXPECT_TRUE(a == b);
    b.SetByte(8);
    EXPECT_TRUE(a != b);

    EXPECT_TRUE(ORUVALUE::FromWord(1) != ORUVALUE::FromDWord(1)); // different types
    EXPECT_TRUE(ORUVALUE::FromFloat(std::nan("")) == ORUVALUE::FromFloat(std::nan("")));
    EXPECT_TRUE(ORUVALUE::FromFloat(0.0) == ORUVALUE::FromFloat(-0.0));
    EXPECT_TRUE(ORUVALUE::FromFloat(1.0) != ORUVALUE::FromFloat(std::nextafter(1.0, 2.0)));
    EXPECT_TRUE(ORUVALUE::FromString("a") != ORUVALUE::FromString("A"));

    ORUTIME t1, t2;
    t1.SetDate(2024, 1, 1, true);
    t2.SetDate(2024, 1, 1, false);
    EXPECT_TRUE(ORUVALUE::FromTime(ivtDate, t1) != ORUVALUE::FromTime(ivtDate, t2));
    EXPECT_TRUE(ORUVALUE::FromTime(ivtDate, t1) == ORUVALUE::FromTime(ivtDate, t1));
}

TEST(OruValue, ToStringTexts)
{
    ORUTIME t;
    t.SetDateTime(2024, 1, 2, 3, 4, 5, false);
    ORUVALUE shortValue = OfType(5);
    shortValue.SetInteger(-300);
    ORUVALUE data40 = OfType(9);
    data40.SetData40(0x01020304AB);
    struct Case
    {
        ORUVALUE value;
        const char* text;
    };
    const Case cases[] = {
        {ORUVALUE::FromFloat(21.5), "21.5"},
        {ORUVALUE::FromFloat(0.1), "0.1"},
        {ORUVALUE::FromFloat(std::nan("")), "nan"},
        {ORUVALUE::FromFloat(-std::numeric_limits<double>::infinity()), "-inf"},
        {ORUVALUE::FromBool(true), "true"},
        {ORUVALUE::FromBool(false), "false"},
        {ORUVALUE::FromInteger(-42), "-42"},
        {ORUVALUE::FromByte(42), "42"},
        {ORUVALUE::FromWord(65535), "65535"},
        {ORUVALUE::FromDWord(4294967295u), "4294967295"},
        {shortValue, "-300"},
        {data40, "0x01020304AB"},
        {ORUVALUE::FromString("Küche"), "Küche"},
        {ORUVALUE::FromTime(ivtDateTime, t), "2024-01-02 03:04:05"},
        {ORUVALUE::FromTime(ivtDate, t), "2024-01-02"},
        {ORUVALUE::FromTime(ivtTime, t), "03:04:05"},
        {ORUVALUE::FromTime(ivtDayTime, t), "03:04:05"},
    };
    for (const Case& c : cases)
    {
        const char* text = c.value.ToString();
        ASSERT_NE(nullptr, text) << c.text;
        EXPECT_STREQ(c.text, text);
    }
}

TEST(OruValue, ToStringIsNullOnlyForUnknownTypes)
{
    for (int type : kKnownTypes)
    {
        EXPECT_NE(nullptr, OfType(type).ToString()) << type;
    }
    for (int type : {-1, 16, 19, 21, 100, 103, 200, 1000, 1038, 1040, std::numeric_limits<int>::max()})
    {
        EXPECT_EQ(nullptr, OfType(type).ToString()) << type;
    }
}

TEST(OruValue, ToStringTextsSurviveOneExpression)
{
    std::ostringstream os;
    os << ORUVALUE::FromInteger(1).ToString() << "," << ORUVALUE::FromString("two").ToString() << ","
       << ORUVALUE::FromFloat(3.5).ToString() << "," << ORUVALUE::FromBool(true).ToString();
    EXPECT_EQ("1,two,3.5,true", os.str());
}

TEST(OruValue, ToStringBuffersAreNotSharedBetweenThreads)
{
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int id = 0; id < 4; ++id)
    {
        threads.emplace_back(
            [id, &mismatches]
            {
                const ORUVALUE v =
                    ORUVALUE::FromString("thread-" + std::to_string(id) + "-" + std::string(40, 'x'));
                const std::string expected = v.GetString().str();
                for (int i = 0; i < 5000; ++i)
                {
                    const char* text = v.ToString();
                    if (expected != text)
                        ++mismatches;
                }
            });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(0, mismatches.load());
}

TEST(OruValue, TypeNames)
{
    std::set<std::string> names;
    for (int type : kKnownTypes)
    {
        const char* name = ORUVALUE::GetNameFromValueType(static_cast<OruValueType>(type));
        ASSERT_NE(nullptr, name);
        EXPECT_STRNE("Unknown", name) << type;
        names.insert(name);
    }
    EXPECT_EQ(sizeof kKnownTypes / sizeof kKnownTypes[0], names.size()) << "names must be distinct";
    EXPECT_STREQ("Empty", ORUVALUE::GetNameFromValueType(ivtEmpty));
    EXPECT_STREQ("Float", ORUVALUE::GetNameFromValueType(ivtFloat));
    EXPECT_STREQ("Unknown", ORUVALUE::GetNameFromValueType(static_cast<OruValueType>(16)));
    EXPECT_STREQ("Unknown", ORUVALUE::GetNameFromValueType(static_cast<OruValueType>(-5)));
}

TEST(OruValue, SubTypeNames)
{
    std::set<std::string> names;
    for (int sub : {0, 9, 12, 2001, 3001, 3002, 3003, 4001, 8001, 8002})
    {
        const char* name = OruDP::GetNameFromValueSubType(static_cast<OruDP::OruValueSubType>(sub));
        EXPECT_STRNE("Unknown", name) << sub;
        names.insert(name);
    }
    EXPECT_EQ(10u, names.size());
    EXPECT_STREQ("Generic", OruDP::GetNameFromValueSubType(OruDP::ivstNone));
    EXPECT_STREQ("Ascii", OruDP::GetNameFromValueSubType(OruDP::ivstAscii));
    EXPECT_STREQ("Latin1", OruDP::GetNameFromValueSubType(OruDP::ivstLatin1));
    EXPECT_STREQ("Unknown", OruDP::GetNameFromValueSubType(static_cast<OruDP::OruValueSubType>(3004)));
}

TEST(OruString, AssignAppendAndFree)
{
    oru_string s("ab");
    s.append('c');
    s.append("de");
    EXPECT_STREQ("abcde", s.c_str());
    s.assign("xyz", 2);
    EXPECT_EQ("xy", s.str());
    s.assign('q');
    EXPECT_EQ("q", s.str());
    s.assign(static_cast<const char*>(nullptr));
    EXPECT_TRUE(s.empty());
    s.assign("abc");
    s.Free();
    EXPECT_TRUE(s.empty());
    EXPECT_STREQ("", s.c_str());
}
