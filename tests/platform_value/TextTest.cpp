#include <Platform/Text.h>
#include <Platform/TimeOfDay.h>

#include <gtest/gtest.h>

#include <cstdio>

#include <string>

namespace
{

std::string Hex(const std::string& s)
{
    std::string out;
    char buf[4];
    for (unsigned char c : s)
    {
        std::snprintf(buf, sizeof buf, "%02X ", c);
        out += buf;
    }
    return out;
}

} // namespace

TEST(Latin1FromUtf8, FoldsTwoByteSequencesAndCopiesEverythingElse)
{
    struct Case
    {
        const char* name;
        std::string utf8;
        std::string latin1;
    };
    const Case cases[] = {
        {"empty", "", ""},
        {"ascii", "Hello, 1!", "Hello, 1!"},
        {"e acute", "\xC3\xA9", "\xE9"},
        {"mixed", "Caf\xC3\xA9 \xC3\xBC", "Caf\xE9 \xFC"},
        {"nbsp", "\xC2\xA0", "\xA0"},
        {"lowest two-byte", "\xC2\x80", "\x80"},
        // Beyond U+00FF the byte wraps: U+0100 (C4 80) keeps only its low 8 bits.
        {"U+0100 wraps", "\xC4\x80", std::string(1, '\x00')},
        {"U+05D0 wraps", "\xD7\x90", "\xD0"},
        // Three-byte lead and its continuations are copied unchanged.
        {"euro copied", "\xE2\x82\xAC", "\xE2\x82\xAC"},
        {"four-byte copied", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        {"stray continuation", "a\x80z", "a\x80z"},
        {"stray continuations", "\xBF\xA9", "\xBF\xA9"},
        // The byte after a lead is taken whatever it is.
        {"lead before ascii",
         "\xC3"
         "A",
         std::string(1, '\xC1')},
        {"lead at the end", "ab\xC3", "ab\xC3"},
        {"two leads", "\xC3\xC3\xA9", "\xC3\xA9"},
        {"embedded zero", std::string("a\0b", 3), std::string("a\0b", 3)},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Hex(c.latin1), Hex(Lum::getLatin1FromUTF8Lossy(c.utf8)));
        if (auto valid = Lum::UTF8String::Create(c.utf8))
        {
            EXPECT_EQ(Hex(c.latin1), Hex(Lum::getLatin1FromUTF8Lossy(*valid).str()));
        }
    }
}

TEST(Utf8FromLatin1, EncodesHighBytesAsTwoBytes)
{
    struct Case
    {
        std::string latin1;
        std::string utf8;
    };
    const Case cases[] = {
        {"", ""},
        {"abc", "abc"},
        {"\xE9", "\xC3\xA9"},
        {"\x7F", "\x7F"},
        {"\x80", "\xC2\x80"},
        {"\xBF", "\xC2\xBF"},
        {"\xC0", "\xC3\x80"},
        {"\xFF", "\xC3\xBF"},
        {std::string(1, '\0'), std::string(1, '\0')},
        {"K\xFC"
         "che",
         "K\xC3\xBC"
         "che"},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(Hex(c.utf8), Hex(Lum::getUTF8FromLatin1(Lum::KnxStyleString(c.latin1)).str()));
    }
}

TEST(Utf8FromLatin1, EveryByteRoundTrips)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all.push_back(static_cast<char>(b));
    const Lum::UTF8String utf8 = Lum::getUTF8FromLatin1(Lum::KnxStyleString(all));
    EXPECT_EQ(128u + 2u * 128u, utf8.str().size());
    EXPECT_EQ(Hex(all), Hex(Lum::getLatin1FromUTF8Lossy(utf8).str()));
}

TEST(Utf8String, CreateAcceptsOnlyValidUtf8)
{
    struct Case
    {
        std::string text;
        bool valid;
    };
    const Case cases[] = {
        {"", true},
        {"plain", true},
        {"\xC3\xA9", true},
        {"\xE2\x82\xAC", true},
        {"\xF0\x9F\x98\x80", true},
        {std::string("a\0b", 3), true},
        {"\xE9", false},             // Latin-1 byte
        {"\xC3", false},             // truncated
        {"\x80", false},             // stray continuation
        {"\xC0\xAF", false},         // overlong
        {"\xED\xA0\x80", false},     // surrogate
        {"\xF4\x90\x80\x80", false}, // beyond U+10FFFF
        {"\xFF", false},
    };
    for (const Case& c : cases)
    {
        const auto made = Lum::UTF8String::Create(c.text);
        EXPECT_EQ(c.valid, made.has_value()) << Hex(c.text);
        if (made)
        {
            EXPECT_EQ(c.text, made->str());
        }
    }
}

TEST(TimeOfDay, CreateChecksEveryField)
{
    using LumApp::DayOfWeek;
    struct Case
    {
        int hour, minute, second;
        int day;
        bool valid;
    };
    const Case cases[] = {
        {0, 0, 0, 0, true},   {23, 59, 59, 7, true}, {12, 30, 0, 3, true},  {24, 0, 0, 1, false},
        {-1, 0, 0, 1, false}, {0, 60, 0, 1, false},  {0, -1, 0, 1, false},  {0, 0, 60, 1, false},
        {0, 0, -1, 1, false}, {0, 0, 0, 8, false},   {0, 0, 0, 255, false},
    };
    for (const Case& c : cases)
    {
        const auto t = LumApp::TimeOfDay::Create(c.hour, c.minute, c.second, static_cast<DayOfWeek>(c.day));
        EXPECT_EQ(c.valid, t.has_value()) << c.hour << ":" << c.minute << ":" << c.second << " day " << c.day;
        if (t)
        {
            EXPECT_EQ(c.hour, t->GetHour());
            EXPECT_EQ(c.minute, t->GetMinute());
            EXPECT_EQ(c.second, t->GetSecond());
            EXPECT_EQ(static_cast<DayOfWeek>(c.day), t->GetWeekday());
        }
    }
}
