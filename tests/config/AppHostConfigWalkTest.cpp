#include "ConfigTestSupport.h"

#include <LogCapture.h>
#include <Lum/AppHostConfig.h>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace
{

using Lum::AppHostConfiguration;
using LumTest::ConfigState;

struct WalkCase
{
    const char* name;
    std::function<void(AppHostConfiguration&)> before; // run-time changes made before loading
    std::vector<std::string> documents;                // loaded one after the other
    ConfigState expected;
};

void PrintTo(const WalkCase& c, std::ostream* os)
{
    *os << c.name;
}

void Nothing(AppHostConfiguration&) {}

// Each document is well-formed: every load must succeed without a log line.
const std::vector<WalkCase>& WalkCases()
{
    static const std::vector<WalkCase> cases = {
        {"MinimalFile",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="1">
               <ObjectModelConfig Path="/data/om.xml"/>
               <Debugging Active="1"><App RootPath="/dbg/native"/></Debugging>
             </LumAppHostConfig>)"},
         ConfigState().WithoutKnx().ObjectModelConfig("/data/om.xml").Debug().NativeApp("/dbg/native")},
        {"EveryField",
         Nothing,
         {R"(<?xml version="1.0" encoding="UTF-8"?>
             <!-- start-up settings -->
             <LumAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="1">
               <ObjectModelConfig Path="/om"/>
               <Debugging Active="1">
                 <App RootPath="/n"/>
                 <ManagedApp RootPath="/m"/>
                 <AppHost RootPath="/h" DisableStartup="0"/>
                 <AppConnectorHost RootPath="/c" DisableStartup="1"/>
               </Debugging>
             </LumAppHostConfig>)"},
         ConfigState()
             .WithoutKnx()
             .TerminateOnUpdate()
             .ObjectModelConfig("/om")
             .Debug()
             .NativeApp("/n")
             .ManagedApp("/m")
             .AppHost("/h")
             .ConnectorHost("/c")
             .ConnectorHostDisabled()},
        // Switch values: only "0" is off.
        {"SwitchFalseIsOn",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="false"/>)"},
         ConfigState().WithoutKnx()},
        {"SwitchNoIsOn", Nothing, {R"(<LumAppHostConfig WithoutKNX="no"/>)"}, ConfigState().WithoutKnx()},
        {"SwitchSpaceIsOn", Nothing, {R"(<LumAppHostConfig WithoutKNX=" "/>)"}, ConfigState().WithoutKnx()},
        {"SwitchZeroZeroIsOn",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="00"/>)"},
         ConfigState().WithoutKnx()},
        {"SwitchZeroIsOff",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="1"/>)",
          R"(<LumAppHostConfig WithoutKNX='0' TerminateOnFirmwareUpdate="0"/>)"},
         ConfigState()},
        {"SwitchZeroAsCharacterReferenceIsOff",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="1"/>)", R"(<LumAppHostConfig WithoutKNX="&#48;"/>)"},
         ConfigState()},
        {"EmptySwitchLeavesValue",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="1"/>)", R"(<LumAppHostConfig WithoutKNX=""/>)"},
         ConfigState().WithoutKnx()},
        {"AbsentSwitchLeavesValue",
         Nothing,
         {R"(<LumAppHostConfig TerminateOnFirmwareUpdate="1"/>)", R"(<LumAppHostConfig/>)"},
         ConfigState().TerminateOnUpdate()},
        // Duplicate attributes: only the first counts, even when it is empty.
        {"FirstAttributeWins",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="0" WithoutKNX="1"/>)"},
         ConfigState()},
        {"EmptyFirstAttributeHidesLater",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="" WithoutKNX="1"><ObjectModelConfig Path="" Path="/x"/>
             </LumAppHostConfig>)"},
         ConfigState()},
        // Repeated elements: each applied, the last one winning.
        {"LastElementWins",
         Nothing,
         {R"(<LumAppHostConfig><ObjectModelConfig Path="/a"/><ObjectModelConfig Path="/b"/></LumAppHostConfig>)"},
         ConfigState().ObjectModelConfig("/b")},
        {"LaterEmptyPathKeepsEarlier",
         Nothing,
         {R"(<LumAppHostConfig><ObjectModelConfig Path="/a"/><ObjectModelConfig Path=""/></LumAppHostConfig>)"},
         ConfigState().ObjectModelConfig("/a")},
        {"EveryRootApplied",
         Nothing,
         {R"(<LumAppHostConfig WithoutKNX="1"/><Other WithoutKNX="0"/><LumAppHostConfig TerminateOnFirmwareUpdate="1"/>
             <LumAppHostConfig WithoutKNX="0"/>)"},
         ConfigState().TerminateOnUpdate()},
        {"LaterLoadAppliesOverCurrent",
         Nothing,
         {R"(<LumAppHostConfig><ObjectModelConfig Path="/a"/></LumAppHostConfig>)",
          R"(<LumAppHostConfig WithoutKNX="1"/>)"},
         ConfigState().WithoutKnx().ObjectModelConfig("/a")},
        // Debugging children are read only while debug mode is on.
        {"DebuggingWithoutActiveIgnoresChildren",
         Nothing,
         {R"(<LumAppHostConfig><Debugging><App RootPath="/n"/><ManagedApp RootPath="/m"/>
             <AppHost RootPath="/h" DisableStartup="1"/><AppConnectorHost RootPath="/c" DisableStartup="1"/>
             </Debugging></LumAppHostConfig>)"},
         ConfigState()},
        {"DebuggingInactiveIgnoresChildren",
         Nothing,
         {R"(<LumAppHostConfig><Debugging Active="0"><App RootPath="/n"/></Debugging></LumAppHostConfig>)"},
         ConfigState()},
        {"DebuggingWithoutActiveUsesDebugModeSetBefore",
         [](AppHostConfiguration& c) { c.SetAppDebugMode(true); },
         {R"(<LumAppHostConfig><Debugging><App RootPath="/n"/></Debugging></LumAppHostConfig>)"},
         ConfigState().Debug().NativeApp("/n")},
        {"ActiveZeroOverridesDebugModeSetBefore",
         [](AppHostConfiguration& c) { c.SetAppDebugMode(true); },
         {R"(<LumAppHostConfig><Debugging Active="0"><App RootPath="/n"/></Debugging></LumAppHostConfig>)"},
         ConfigState()},
        {"SecondDebuggingInheritsActive",
         Nothing,
         {R"(<LumAppHostConfig><Debugging Active="1"/><Debugging><ManagedApp RootPath="/m"/></Debugging>
             </LumAppHostConfig>)"},
         ConfigState().Debug().ManagedApp("/m")},
        {"DebuggingSwitchedOffAfterUse",
         Nothing,
         {R"(<LumAppHostConfig><Debugging Active="1"><App RootPath="/n"/></Debugging>
             <Debugging Active="0"><App RootPath="/later"/></Debugging></LumAppHostConfig>)"},
         ConfigState().NativeApp("/n")},
        // The app host start-up rule.
        {"AppHostDisabledDisablesConnectorHost",
         Nothing,
         {R"(<LumAppHostConfig><Debugging Active="1"><AppHost DisableStartup="1"/></Debugging>
             </LumAppHostConfig>)"},
         ConfigState().Debug().AppHostDisabled().ConnectorHostDisabled()},
        {"AppHostDisabledOverridesConnectorHostZero",
         Nothing,
         {R"(<LumAppHostConfig><Debugging Active="1"><AppHost DisableStartup="1"/>
             <AppConnectorHost DisableStartup="0"/></Debugging></LumAppHostConfig>)"},
         ConfigState().Debug().AppHostDisabled().ConnectorHostDisabled()},
        {"ConnectorHostDisabledLeavesAppHost",
         Nothing,
         {R"(<LumAppHostConfig><Debugging Active="1"><AppConnectorHost DisableStartup="1"/></Debugging>
             </LumAppHostConfig>)"},
         ConfigState().Debug().ConnectorHostDisabled()},
        {"AppHostDisabledBeforeLoadDisablesConnectorHost",
         [](AppHostConfiguration& c) { c.SetAppHostStartupDisabled(true); },
         {R"(<Unrelated/>)"},
         ConfigState().AppHostDisabled().ConnectorHostDisabled()},
        {"AppHostReenabledKeepsConnectorHostDisabled",
         Nothing,
         {R"(<LumAppHostConfig><Debugging Active="1"><AppHost DisableStartup="1"/></Debugging></LumAppHostConfig>)",
          R"(<LumAppHostConfig><Debugging><AppHost DisableStartup="0"/></Debugging></LumAppHostConfig>)"},
         ConfigState().Debug().ConnectorHostDisabled()},
        // Paths.
        {"EmptyRootPathLeavesPathEmpty",
         Nothing,
         {R"(<LumAppHostConfig><Debugging Active="1"><App RootPath=""/><AppHost RootPath=""/></Debugging>
             </LumAppHostConfig>)"},
         ConfigState().Debug()},
        {"PathTakenAsWritten",
         Nothing,
         {R"(<LumAppHostConfig><ObjectModelConfig Path=" /a b/&amp;&lt;&quot;&#x263A;/ "/></LumAppHostConfig>)"},
         ConfigState().ObjectModelConfig(" /a b/&<\"\xE2\x98\xBA/ ")},
        // What is ignored.
        {"OtherRootAppliesNothing",
         Nothing,
         {R"(<AppHostConfig WithoutKNX="1"><ObjectModelConfig Path="/a"/></AppHostConfig>)"},
         ConfigState()},
        {"NamesAreCaseSensitive",
         Nothing,
         {R"(<lumapphostconfig WithoutKNX="1"/><LumAppHostConfig withoutKNX="1" WITHOUTKNX="1">
             <objectModelConfig Path="/a"/><ObjectModelConfig path="/b"/><debugging Active="1"/>
             <Debugging active="1"/></LumAppHostConfig>)"},
         ConfigState()},
        {"OnlyDirectChildrenCount",
         Nothing,
         {R"(<LumAppHostConfig><Wrapper><ObjectModelConfig Path="/deep"/><Debugging Active="1"/></Wrapper>
             <App RootPath="/n"/><Debugging Active="1"><Group><App RootPath="/deep"/></Group></Debugging>
             </LumAppHostConfig>)"},
         ConfigState().Debug()},
        {"DebuggingChildrenOnlyUnderDebugging",
         Nothing,
         {R"(<LumAppHostConfig><ObjectModelConfig Path="/om"><App RootPath="/n"/></ObjectModelConfig>
             <AppHost DisableStartup="1"/></LumAppHostConfig>)"},
         ConfigState().ObjectModelConfig("/om")},
        {"UnknownElementsAndAttributesIgnored",
         Nothing,
         {R"(<LumAppHostConfig Colour="red" WithoutKNX="1">text<Extra a="b"/><![CDATA[<Debugging Active="1"/>]]>
             <!-- <ObjectModelConfig Path="/commented"/> --></LumAppHostConfig>)"},
         ConfigState().WithoutKnx()},
        {"ByteOrderMarkSkipped",
         Nothing,
         {"\xEF\xBB\xBF<LumAppHostConfig WithoutKNX=\"1\"/>"},
         ConfigState().WithoutKnx()},
        {"EmptyText", Nothing, {""}, ConfigState()},
        {"WhitespaceOnly", Nothing, {" \r\n\t"}, ConfigState()},
    };
    return cases;
}

class AppHostConfigWalk : public testing::TestWithParam<WalkCase>
{
};

TEST_P(AppHostConfigWalk, AppliesDocuments)
{
    const WalkCase& c = GetParam();
    LumTest::LogCapture log;
    AppHostConfiguration config;
    c.before(config);
    for (const std::string& document : c.documents)
        EXPECT_TRUE(LumTest::LoadXml(config, document)) << document;
    EXPECT_EQ(ConfigState::Of(config), c.expected);
    EXPECT_TRUE(log.Texts().empty()) << log.Texts().front();
}

INSTANTIATE_TEST_SUITE_P(Cases, AppHostConfigWalk, testing::ValuesIn(WalkCases()),
                         [](const testing::TestParamInfo<WalkCase>& p) { return p.param.name; });

struct MalformedCase
{
    const char* name;
    std::string text;
    std::string parserText; // what follows "Failed to read configuration file: "
};

void PrintTo(const MalformedCase& c, std::ostream* os)
{
    *os << c.name;
}

class AppHostConfigMalformed : public testing::TestWithParam<MalformedCase>
{
};

// Everything before the error is well-formed and would change fields: none
// of it may be applied.
TEST_P(AppHostConfigMalformed, FailsWithOneLineAndAppliesNothing)
{
    const MalformedCase& c = GetParam();
    LumTest::LogCapture log;
    AppHostConfiguration config;
    config.SetAppDebugMode(true);
    const ConfigState before = ConfigState::Of(config);

    EXPECT_FALSE(LumTest::LoadXml(config, c.text));

    EXPECT_EQ(ConfigState::Of(config), before);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(log.Lines()[0].text, "Failed to read configuration file: " + c.parserText);
}

const std::string kValidStart = R"(<LumAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="1">)"
                                R"(<ObjectModelConfig Path="/om"/><Debugging Active="0">)"
                                R"(<AppHost DisableStartup="1" RootPath="/h"/></Debugging>)";

INSTANTIATE_TEST_SUITE_P(
    Cases, AppHostConfigMalformed,
    testing::Values(
        MalformedCase{"Unclosed", kValidStart, "unexpected end of data"},
        MalformedCase{"TruncatedInAttribute", kValidStart + R"(<X a="1)", "expected ' or \""},
        MalformedCase{"MissingEquals", kValidStart + R"(<X a "1"/></LumAppHostConfig>)", "expected ="},
        MalformedCase{"UnquotedValue", kValidStart + R"(<X a=1/></LumAppHostConfig>)", "expected ' or \""},
        MalformedCase{"TextAtTopLevel", kValidStart + "</LumAppHostConfig>trailing", "expected <"},
        MalformedCase{"StrayClosingTag", kValidStart + "</LumAppHostConfig></X>", "expected element name"},
        MalformedCase{"BadCharacterReference", kValidStart + R"(<X a="&#12"/></LumAppHostConfig>)",
                      "expected ;"},
        MalformedCase{"UnterminatedComment", kValidStart + "<!-- </LumAppHostConfig>",
                      "unexpected end of data"},
        MalformedCase{"DoubleByteOrderMark", "\xEF\xBB\xBF\xEF\xBB\xBF<LumAppHostConfig/>", "expected <"}),
    [](const testing::TestParamInfo<MalformedCase>& p) { return p.param.name; });

TEST(AppHostConfigDefaults, EverythingOffAndEmpty)
{
    const AppHostConfiguration config;
    EXPECT_EQ(ConfigState::Of(config), ConfigState());
}

TEST(AppHostConfigDefaults, NullTextIsRejected)
{
    LumTest::LogCapture log;
    AppHostConfiguration config;
    EXPECT_FALSE(config.LoadAppHostConfigXML(nullptr));
    ASSERT_EQ(log.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL).size(), 1u);
    EXPECT_EQ(log.Texts()[0].rfind("Failed to read configuration file: ", 0), 0u);
}

TEST(AppHostConfigConstants, KeptForTheAppHost)
{
    EXPECT_STREQ(Lum::AppHostConfigFilePath, "/opt/userdata/etc/lumapphost/lumapphostconfig.xml");
    EXPECT_STREQ(Lum::ConnectorAppName, "ConnectorApp");
    EXPECT_STREQ(Lum::ZepConfigName, "ZepConfig");
    EXPECT_STREQ(Lum::ObjectModelConfigJsonPath, "/opt/userdata/devicestack/lumOM/config.json");
}

} // namespace
