#include "ConfigTestSupport.h"

#include <LogCapture.h>
#include <Lum/AppHostConfig.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace
{

using Lum::AppHostConfiguration;
using LumTest::ConfigState;

const std::string kTooDeep = "Failed to read configuration file: elements nested deeper than 256 levels";

std::string Repeat(const std::string& s, std::size_t n)
{
    std::string out;
    out.reserve(s.size() * n);
    for (std::size_t i = 0; i < n; ++i)
        out += s;
    return out;
}

// A root holding 'depth' levels in all, each opened by 'open' and closed by
// 'close' (which may be empty for an unclosed document).
std::string Nested(std::size_t depth, const std::string& open = "<a>", const std::string& close = "</a>")
{
    return "<LumAppHostConfig WithoutKNX=\"1\">" + Repeat(open, depth - 1) + Repeat(close, depth - 1) +
           "</LumAppHostConfig>";
}

struct NestingCase
{
    const char* name;
    std::string text;
    bool accepted;
};

void PrintTo(const NestingCase& c, std::ostream* os)
{
    *os << c.name;
}

class AppHostConfigNesting : public testing::TestWithParam<NestingCase>
{
};

// Rejected documents are rejected before the parser runs, with the same
// failure line as a parse error and nothing applied; markup the parser skips
// must not count towards the depth in either direction.
TEST_P(AppHostConfigNesting, BoundsDepthBeforeParsing)
{
    const NestingCase& c = GetParam();
    LumTest::LogCapture log;
    AppHostConfiguration config;

    EXPECT_EQ(LumTest::LoadXml(config, c.text), c.accepted);

    if (c.accepted)
    {
        EXPECT_TRUE(config.IsAppHostWithoutKNX());
        EXPECT_TRUE(log.Texts().empty());
    }
    else
    {
        EXPECT_EQ(ConfigState::Of(config), ConfigState());
        EXPECT_EQ(log.Texts(log4cplus::ERROR_LOG_LEVEL), std::vector<std::string>{kTooDeep});
    }
}

const std::string kComments = Repeat("<a><!-- </a></a></a> -->", 300) + Repeat("</a>", 300);

INSTANTIATE_TEST_SUITE_P(
    Cases, AppHostConfigNesting,
    testing::Values(
        NestingCase{"AtLimit", Nested(256), true}, NestingCase{"OneBeyondLimit", Nested(257), false},
        NestingCase{"HundredThousandLevels", Nested(100000), false},
        NestingCase{"HundredThousandUnclosed", Nested(100000, "<a>", ""), false},
        NestingCase{"SelfClosingDoNotNest", Nested(2, Repeat("<a/>", 100000), ""), true},
        NestingCase{"SiblingsDoNotNest", Nested(2, Repeat("<a></a>", 100000), ""), true},
        NestingCase{"AttributesDoNotHideLevels", Nested(257, "<a b='/>' c=\"</a>\">"), false},
        NestingCase{"TagsInAttributesAreNotLevels",
                    "<LumAppHostConfig WithoutKNX=\"1\" x='" + Repeat("<a>", 1000) + "'/>", true},
        NestingCase{"TagsInCommentsAreNotLevels", Nested(2, "<!--" + Repeat("<a>", 1000) + "-->", ""), true},
        NestingCase{"ClosingTagsInCommentsDoNotCount",
                    "<LumAppHostConfig WithoutKNX=\"1\">" + kComments + "</LumAppHostConfig>", false},
        NestingCase{"TagsInCdataAreNotLevels", Nested(2, "<![CDATA[" + Repeat("<a>", 1000) + "]]>", ""),
                    true},
        NestingCase{"TagsInInstructionsAreNotLevels", Nested(2, "<?pi " + Repeat("<a>", 1000) + "?>", ""),
                    true},
        NestingCase{"TagsInDoctypeAreNotLevels",
                    "<!DOCTYPE x [" + Repeat("<!ELEMENT a (b)><[]>", 1000) +
                        "]><LumAppHostConfig WithoutKNX=\"1\"/>",
                    true},
        NestingCase{"TagsInOtherDeclarationsAreNotLevels",
                    "<!x " + Repeat("<!a", 1000) + "><LumAppHostConfig WithoutKNX=\"1\"/>", true},
        NestingCase{"ClosingTagWithSpacesCloses", Nested(300, "<a >", "</a \n>"), false},
        NestingCase{"ClosingTagWithSpacesClosesSiblings", Nested(2, Repeat("<a\t></a\r\n>", 1000), ""), true},
        NestingCase{"TextWithMarkupCharactersIsNotLevels",
                    Nested(2, Repeat("x &lt;a&gt; ]]> --> ?> /> >", 1000), ""), true},
        NestingCase{"ByteOrderMarkDoesNotHideLevels", "\xEF\xBB\xBF" + Nested(257), false}),
    [](const testing::TestParamInfo<NestingCase>& p) { return p.param.name; });

TEST(AppHostConfigHostile, MegabyteOfAttributes)
{
    std::string text = "<LumAppHostConfig";
    for (int i = 0; text.size() < 1024 * 1024; ++i)
        text += " a" + std::to_string(i) + "=\"x\"";
    text += " WithoutKNX=\"1\">" + Repeat("<ObjectModelConfig Path=\"\"/>", 1000) +
            "<ObjectModelConfig Path=\"/last\"/></LumAppHostConfig>";
    LumTest::LogCapture log;
    AppHostConfiguration config;
    EXPECT_TRUE(LumTest::LoadXml(config, text));
    EXPECT_TRUE(config.IsAppHostWithoutKNX());
    EXPECT_EQ(config.GetPathObjectModelConfig().value_or("none"), "/last");
    EXPECT_TRUE(log.Texts().empty());
}

TEST(AppHostConfigHostile, MegabyteOfDuplicateAttributesFirstWins)
{
    std::string text = "<LumAppHostConfig WithoutKNX=\"0\"";
    while (text.size() < 1024 * 1024)
        text += " WithoutKNX=\"1\"";
    text += "/>";
    AppHostConfiguration config;
    EXPECT_TRUE(LumTest::LoadXml(config, text));
    EXPECT_FALSE(config.IsAppHostWithoutKNX());
}

// Every prefix of a full file: either parsed or rejected with exactly one
// failure line, never a read past the terminator.
TEST(AppHostConfigHostile, EveryTruncation)
{
    const std::string full = "\xEF\xBB\xBF<?xml version=\"1.0\"?><!DOCTYPE c [<!ENTITY x \"y\">]>"
                             "<LumAppHostConfig WithoutKNX='1' TerminateOnFirmwareUpdate=\"1\">"
                             "<!-- note --><ObjectModelConfig Path=\"/om&amp;x&#x41;\"/><![CDATA[z]]>"
                             "<Debugging Active=\"1\"><App RootPath=\"/n\"/><AppHost DisableStartup=\"1\"/>"
                             "</Debugging ></LumAppHostConfig>\n";
    for (std::size_t length = 0; length <= full.size(); ++length)
    {
        SCOPED_TRACE(length);
        LumTest::LogCapture log;
        AppHostConfiguration config;
        const bool loaded = LumTest::LoadXml(config, full.substr(0, length));
        if (loaded)
        {
            EXPECT_TRUE(log.Texts().empty());
        }
        else
        {
            EXPECT_EQ(ConfigState::Of(config), ConfigState());
            ASSERT_EQ(log.Texts().size(), 1u);
            EXPECT_EQ(log.Texts()[0].rfind("Failed to read configuration file: ", 0), 0u) << log.Texts()[0];
        }
    }
    AppHostConfiguration config;
    ASSERT_TRUE(LumTest::LoadXml(config, full));
    EXPECT_EQ(ConfigState::Of(config), ConfigState()
                                           .WithoutKnx()
                                           .TerminateOnUpdate()
                                           .ObjectModelConfig("/om&xA")
                                           .Debug()
                                           .NativeApp("/n")
                                           .AppHostDisabled()
                                           .ConnectorHostDisabled());
}

// Random bytes, and random runs of the tokens the parser and the depth check
// look at: no crash, no read past the end, and a failure is one clear line.
TEST(AppHostConfigHostile, Garbage)
{
    const std::vector<std::string> tokens = {
        "<",    ">",  "/", "?",        "!", "--", "[CDATA[", "]]>", "?>", "-->", "=",  "\"", "'",
        " ",    "\n", "a", "DOCTYPE ", "[", "]",  "&#",      "&#x", ";",  "&",   "</", "/>", "\xEF\xBB\xBF",
        "x=\"", "<a>"};
    std::mt19937 random(20240611u);
    for (int round = 0; round < 3000; ++round)
    {
        std::string text;
        const std::size_t length = random() % 200;
        for (std::size_t i = 0; i < length; ++i)
        {
            if (round % 2 == 0)
                text += static_cast<char>(1 + random() % 255); // the file's zero ends the text
            else
                text += tokens[random() % tokens.size()];
        }
        LumTest::LogCapture log;
        AppHostConfiguration config;
        if (!LumTest::LoadXml(config, text))
        {
            ASSERT_EQ(log.Texts().size(), 1u) << text;
            EXPECT_EQ(log.Texts()[0].rfind("Failed to read configuration file: ", 0), 0u) << text;
        }
        else
            EXPECT_TRUE(log.Texts().empty()) << text;
    }
}

// The depth check must never reject what the parser accepts at a legal depth:
// generated documents with every kind of skipped markup at each level.
TEST(AppHostConfigHostile, LegalDocumentsAreNeverRejected)
{
    const std::vector<std::string> fillers = {
        "<!-- <a> </b> -->",       "<![CDATA[ <a> ]]>", "<?pi <a> ?>", "text &amp; &#x3c; more",
        "<e x='<a>' y=\"</b>\"/>", "<!ELEMENT <a>",     "\n\t "};
    std::mt19937 random(7u);
    for (int round = 0; round < 200; ++round)
    {
        const std::size_t depth = 1 + random() % Lum::AppHostConfiguration::MaxElementNesting;
        std::string open, close;
        for (std::size_t level = 1; level < depth; ++level)
        {
            open += "<l" + std::to_string(level) + " k='v'>" + fillers[random() % fillers.size()];
            close = fillers[random() % fillers.size()] + "</l" + std::to_string(level) + ">" + close;
        }
        const std::string text = "<!DOCTYPE d [ [nested] ]><LumAppHostConfig WithoutKNX=\"1\">" + open +
                                 close + "</LumAppHostConfig>";
        LumTest::LogCapture log;
        AppHostConfiguration config;
        ASSERT_TRUE(LumTest::LoadXml(config, text)) << depth << ": " << log.Texts().front();
        EXPECT_TRUE(config.IsAppHostWithoutKNX());
    }
}

} // namespace
