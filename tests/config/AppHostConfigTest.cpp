#include <LogCapture.h>
#include <Lum/AppHostConfig.h>
#include <Lum/LoadFile.h>

#include <boost/filesystem.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <sstream>

#include <atomic>
#include <fstream>
#include <iostream>
#include <pthread.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

namespace fs = boost::filesystem;
using Lum::AppHostConfiguration;

// Parses a copy in a heap buffer of exactly the text and its terminator, so that AddressSanitizer
// sees any read past the end.
bool LoadXml(AppHostConfiguration& config, const std::string& text)
{
    std::vector<char> buffer(text.c_str(), text.c_str() + text.size() + 1);
    return config.LoadAppHostConfigXML(buffer.data());
}

// Every field in one string: a letter for each switch that is on (Debug mode, app Host disabled,
// Connector host disabled, without Knx, Terminate on update), then each path that is set.
std::string State(const AppHostConfiguration& c)
{
    std::string s{c.IsInAppDebugMode() ? 'D' : '.', c.IsAppHostStartupDisabled() ? 'H' : '.',
                  c.IsAppConnectorHostStartupDisabled() ? 'C' : '.', c.IsAppHostWithoutKNX() ? 'K' : '.',
                  c.IsAppHostTerminateOnFirmwareUpdate() ? 'T' : '.'};
    for (const auto& path : {std::make_pair(" app=", &c.GetRootPathNativeApp()),
                             {" managed=", &c.GetRootPathManagedApp()},
                             {" host=", &c.GetRootPathAppHost()},
                             {" connector=", &c.GetRootPathAppConnectorHost()},
                             {" om=", &c.GetPathObjectModelConfig()}})
        s += *path.second ? path.first + **path.second : "";
    return s;
}

std::string Repeat(const std::string& s, std::size_t n)
{
    std::string out;
    while (n-- > 0)
        out += s;
    return out;
}

struct WalkCase
{
    const char* name;
    int before; // 1: debug mode switched on, 2: app host start-up disabled, before loading
    std::vector<std::string> documents;
    const char* expected;
};

// clang-format off
const std::vector<WalkCase> kWalkCases = {
    // The connector host's switch leaves the app host's alone.
    {"EveryField", 0, {R"(<?xml version="1.0" encoding="UTF-8"?><!-- settings -->
        <LumAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="1"><ObjectModelConfig Path="/om"/>
        <Debugging Active="1"><App RootPath="/n"/><ManagedApp RootPath="/m"/>
        <AppHost RootPath="/h" DisableStartup="0"/><AppConnectorHost RootPath="/c" DisableStartup="1"/>
        </Debugging></LumAppHostConfig>)"}, "D.CKT app=/n managed=/m host=/h connector=/c om=/om"},
    {"AnyNonEmptyValueButZeroIsOn", 0, {R"(<LumAppHostConfig WithoutKNX="false" TerminateOnFirmwareUpdate="no">
        <Debugging Active=" "/></LumAppHostConfig>)"}, "D..KT"},
    {"ZeroIsOffEmptyOrAbsentKeeps", 0, {R"(<LumAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="1"/>)",
        R"(<LumAppHostConfig WithoutKNX="&#48;" TerminateOnFirmwareUpdate=""/><LumAppHostConfig/>)"}, "....T"},
    {"FirstAttributeWinsEvenWhenEmpty", 0, {R"(<LumAppHostConfig WithoutKNX="0" WithoutKNX="1"
        TerminateOnFirmwareUpdate="" TerminateOnFirmwareUpdate="1"><ObjectModelConfig Path="" Path="/x"/>
        </LumAppHostConfig>)"}, "....."},
    {"LastElementWinsButEmptyPathKeeps", 0, {R"(<LumAppHostConfig><ObjectModelConfig Path="/a"/>
        <ObjectModelConfig Path="/b"/><ObjectModelConfig Path=""/></LumAppHostConfig>)"}, "..... om=/b"},
    {"EveryRootAndLoadApplied", 0, {R"(<LumAppHostConfig><ObjectModelConfig Path="/a"/></LumAppHostConfig>)",
        R"(<LumAppHostConfig WithoutKNX="1"/><Other TerminateOnFirmwareUpdate="1"/>
        <LumAppHostConfig TerminateOnFirmwareUpdate="1"/><LumAppHostConfig WithoutKNX="0"/>)"}, "....T om=/a"},
    {"DebuggingOffIgnoresChildren", 0, {R"(<LumAppHostConfig><Debugging><App RootPath="/n"/>
        <ManagedApp RootPath="/m"/><AppHost RootPath="/h" DisableStartup="1"/>
        <AppConnectorHost RootPath="/c" DisableStartup="1"/></Debugging></LumAppHostConfig>)"}, "....."},
    {"DebugModeSetBeforeCountsUntilActiveZero", 1, {R"(<LumAppHostConfig><Debugging><App RootPath="/n"/></Debugging>
        <Debugging Active="0"><ManagedApp RootPath="/m"/></Debugging></LumAppHostConfig>)"}, "..... app=/n"},
    {"SecondDebuggingInheritsActiveEmptyPathStaysEmpty", 0, {R"(<LumAppHostConfig><Debugging Active="1">
        <App RootPath=""/></Debugging><Debugging><ManagedApp RootPath="/m"/></Debugging></LumAppHostConfig>)"},
        "D.... managed=/m"},
    {"AppHostDisabledDisablesConnectorHost", 0, {R"(<LumAppHostConfig><Debugging Active="1"><AppHost
        DisableStartup="1"/><AppConnectorHost DisableStartup="0"/></Debugging></LumAppHostConfig>)"}, "DHC.."},
    // Another root applies nothing, but the start-up rule follows every successful load.
    {"OtherRootAndAppHostDisabledBefore", 2, {R"(<AppHostConfig WithoutKNX="1"><ObjectModelConfig Path="/a"/>
        </AppHostConfig>)"}, ".HC.."},
    {"AppHostReenabledKeepsConnectorHostDisabled", 0, {R"(<LumAppHostConfig><Debugging Active="1">
        <AppHost DisableStartup="1"/></Debugging></LumAppHostConfig>)",
        R"(<LumAppHostConfig><Debugging><AppHost DisableStartup="0"/></Debugging></LumAppHostConfig>)"}, "D.C.."},
    {"PathTakenAsWritten", 0, {R"(<LumAppHostConfig><ObjectModelConfig Path=" /a b/&amp;&lt;&quot;&#x263A;/ "/>
        </LumAppHostConfig>)"}, "..... om= /a b/&<\"\xE2\x98\xBA/ "},
    {"OnlyExactNamesOfDirectChildrenCount", 0, {R"(<lumapphostconfig WithoutKNX="1"/><LumAppHostConfig
        withoutKNX="1"><objectModelConfig Path="/a"/><ObjectModelConfig path="/b"/><debugging Active="1"/>
        <Debugging active="1"/><Wrapper><ObjectModelConfig Path="/deep"/><Debugging Active="1"/></Wrapper>
        <App RootPath="/n"/><AppHost DisableStartup="1"/><Debugging Active="1"><Group><App RootPath="/deep"/>
        </Group></Debugging></LumAppHostConfig>)"}, "D...."},
    {"UnknownMarkupIgnored", 0, {R"(<LumAppHostConfig Colour="red" WithoutKNX="1">text<Extra a="b"/>
        <![CDATA[<Debugging Active="1"/>]]><!-- <ObjectModelConfig Path="/x"/> --></LumAppHostConfig>)"}, "...K."},
};
// clang-format on

TEST(AppHostConfig, WalkAppliesDocumentsSilently)
{
    for (const WalkCase& c : kWalkCases)
    {
        SCOPED_TRACE(c.name);
        LumTest::LogCapture log;
        AppHostConfiguration config;
        config.SetAppDebugMode(c.before == 1);
        config.SetAppHostStartupDisabled(c.before == 2);
        for (const std::string& document : c.documents)
            EXPECT_TRUE(LoadXml(config, document));
        EXPECT_EQ(State(config), c.expected);
        EXPECT_EQ(log.Texts(), std::vector<std::string>());
    }
}

struct HostileCase
{
    const char* name;
    std::string text;
    std::vector<std::string> logs; // none when the text loads
    const char* expected;
};

const std::string kFail = "Failed to read configuration file: ";
const std::size_t kLimit = AppHostConfiguration::MaxElementNesting;
const std::string kTooDeep = kFail + "elements nested deeper than " + std::to_string(kLimit) + " levels";
const std::string kDense = "<LumAppHostConfig" + std::string(180000 * 6, ' ') + " WithoutKNX=\"1\"/>";
std::string TooDense(const std::string& text)
{
    return kFail + "the document needs more than " +
           std::to_string(AppHostConfiguration::DocumentMemoryFactor * text.size()) + " bytes of memory";
}

// What comes before a failure is well-formed and would change fields.
const std::string kValid = R"(<LumAppHostConfig WithoutKNX="1"><ObjectModelConfig Path="/om"/>)";

std::string Nested(std::size_t depth, const std::string& open = "<a>", const std::string& close = "</a>")
{
    return kValid + Repeat(open, depth - 1) + Repeat(close, depth - 1) + "</LumAppHostConfig>";
}

// clang-format off
const std::vector<HostileCase> kHostileCases = {
    {"Empty", "", {}, "....."},
    {"Binary", "\x7F" "ELF\x02\x01\x01\x03<\xFF\xFE", {kFail + "expected <"}, "....."},
    {"Unclosed", kValid, {kFail + "unexpected end of data"}, "....."},
    {"TruncatedInAttribute", kValid + R"(<X a="1)", {kFail + "expected ' or \""}, "....."},
    {"ByteOrderMarkSkipped", "\xEF\xBB\xBF" + Nested(1), {}, "...K. om=/om"},
    {"DoubleByteOrderMark", "\xEF\xBB\xBF\xEF\xBB\xBF" + Nested(1), {kFail + "expected <"}, "....."},
    {"AtNestingLimit", Nested(kLimit), {}, "...K. om=/om"},
    {"BeyondNestingLimit", Nested(kLimit + 1), {kTooDeep}, "....."},
    {"HundredThousandLevels", Nested(100000), {kTooDeep}, "....."},
    {"HundredThousandUnclosed", Nested(100000, "<a>", ""), {kTooDeep}, "....."},
    {"MarkupThatIsNoLevel", Nested(2, "<!--" + Repeat("<a>", 300) + "--><![CDATA[" + Repeat("<a>", 300) +
        "]]><?pi " + Repeat("<a>", 300) + "?><e x='" + Repeat("<a>", 300) + "'/>", ""), {}, "...K. om=/om"},
    // Nodes cost the parser about a hundred bytes each: denser than its budget is refused unparsed.
    {"DenseAttributesWithinBudget", "<LumAppHostConfig" + Repeat(" a='x'", 8000) + " WithoutKNX=\"1\"/>", {}, "...K."},
    {"MegabyteOfAttributes", "<LumAppHostConfig" + Repeat(" a='x'", 180000) + " WithoutKNX=\"1\"/>",
        {TooDense(kDense)}, "....."},
    // The file loader supplies the terminator the parser needs; the parser stops at a zero byte.
    {"NoTerminator", "<LumAppHostConfig WithoutKNX=\"1\"/>", {}, "...K."},
    {"ZeroByteEndsText", std::string("<LumAppHostConfig WithoutKNX=\"1\"/>") + '\0' + "<x", {}, "...K."},
    {"RealFile", "\xEF\xBB\xBF" R"(<?xml version="1.0" encoding="UTF-8"?>
<LumAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="0">
  <ObjectModelConfig Path="/opt/userdata/om.xml"/>
  <Debugging Active="1"><App RootPath="/home/dev/native"/><AppHost RootPath="/home/dev/host" DisableStartup="1"/>
  </Debugging>
</LumAppHostConfig>
)", {}, "DHCK. app=/home/dev/native host=/home/dev/host om=/opt/userdata/om.xml"},
};
// clang-format on

// A fresh file in the temp dir with exactly these bytes, removed when done.
struct TempFile
{
    explicit TempFile(const std::string& bytes)
        : path((fs::temp_directory_path() / fs::unique_path("lum-config-%%%%-%%%%.xml")).string())
    {
        std::ofstream(path, std::ios::binary) << bytes;
    }
    ~TempFile() { fs::remove(path); }
    const std::string path;
};

TEST(AppHostConfig, HostileInputAsTextAndAsRealFileFailsCleanlyAndAppliesNothing)
{
    for (const HostileCase& c : kHostileCases)
    {
        SCOPED_TRACE(c.name);
        LumTest::LogCapture log;
        AppHostConfiguration config;
        EXPECT_EQ(LoadXml(config, c.text), c.logs.empty());
        EXPECT_EQ(State(config), c.expected);
        EXPECT_EQ(log.Texts(), c.logs);

        log.Clear();
        const TempFile file(c.text);
        AppHostConfiguration fromFile;
        fromFile.LoadConfigurationFile(file.path);
        const std::vector<std::string> logs = {c.logs.empty() ? "" : c.logs[0],
                                               "Falling back to standard configuration."};
        EXPECT_EQ(log.Texts(log4cplus::ERROR_LOG_LEVEL), c.logs.empty() ? c.logs : logs);
        EXPECT_EQ(State(fromFile), c.expected);
    }
}

// Every prefix of a full file either loads or fails with one line and nothing applied.
TEST(AppHostConfig, EveryTruncation)
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
        const bool loaded = LoadXml(config, full.substr(0, length));
        EXPECT_THAT(log.Texts(), testing::SizeIs(loaded ? 0 : 1));
        EXPECT_THAT(log.Texts(), testing::Each(testing::StartsWith(kFail)));
        EXPECT_TRUE(loaded || State(config) == ".....") << State(config); // a failure applies nothing
        EXPECT_TRUE(length < full.size() || State(config) == "DHCKT app=/n om=/om&xA") << State(config);
    }
}

TEST(AppHostConfigFile, LoadFileKeepsEveryByteOrYieldsNothing)
{
    const std::string bytes = Repeat(std::string("\0\r\n\x1A\xFF<a>", 8), 3001); // several read chunks
    const TempFile file(bytes);
    EXPECT_EQ(Lum::LoadFile(file.path).value_or(std::vector<char>()),
              std::vector<char>(bytes.begin(), bytes.end()));
    EXPECT_FALSE(Lum::LoadFile(file.path + ".missing"));
    EXPECT_FALSE(Lum::LoadFile(fs::temp_directory_path().string())); // a directory opens but cannot be read
}

TEST(AppHostConfigFile, MissingFileLogsQuotedPathAndKeepsValues)
{
    LumTest::LogCapture log;
    AppHostConfiguration config;
    config.SetAppDebugMode(true);
    config.LoadConfigurationFile("/nonexistent-lum/a\"b&c.xml");
    std::vector<std::string> expected = {
        "App host config file cannot be read from: \"/nonexistent-lum/a&\"b&&c.xml\""};
    if (!fs::exists(Lum::AppHostConfigFilePath)) // unless this machine has a real one
    {
        config.LoadConfigurationFile();
        expected.push_back("App host config file cannot be read from: "
                           "\"/opt/userdata/etc/lumapphost/lumapphostconfig.xml\"");
    }
    EXPECT_EQ(log.Texts(log4cplus::ERROR_LOG_LEVEL), expected);
    EXPECT_EQ(State(config), "D....");
}

TEST(AppHostConfigSwitches, ExchangingSettersReturnThePreviousValue)
{
    for (const bool before : {false, true})
        for (const bool value : {false, true})
        {
            AppHostConfiguration config;
            config.SetAppDebugMode(before);
            config.SetAppConnectorHostStartupDisabled(before);
            EXPECT_EQ(config.ReplaceAppDebugMode(value), before);
            EXPECT_EQ(config.SetAppConnectorHostStartupDisabled(value), before);
            // Storing the app host switch leaves the connector host's alone.
            config.SetAppHostStartupDisabled(!value);
            EXPECT_EQ(State(config), std::string(value ? "D" : ".") + (value ? ".C" : "H.") + "..");
        }
}

// Used as a spin lock, a switch lets one thread in at a time only when each exchange sees the value
// the previous one left: no increment of its unguarded counter may be lost (nor raced, under
// ThreadSanitizer), no release may find the switch clear.
TEST(AppHostConfigSwitches, ExchangeExcludesLikeALock)
{
    constexpr long kRounds = 100000;
    AppHostConfiguration config;
    const std::array<bool (AppHostConfiguration::*)(bool), 2> exchanges = {
        &AppHostConfiguration::ReplaceAppDebugMode,
        &AppHostConfiguration::SetAppConnectorHostStartupDisabled};
    std::array<long, 2> counters = {0, 0};
    std::atomic<long> releasesFoundClear{0};
    const auto work = [&]
    {
        for (long i = 0; i < kRounds; ++i)
            for (std::size_t s = 0; s < exchanges.size(); ++s)
            {
                while ((config.*exchanges[s])(true))
                    std::this_thread::yield();
                ++counters[s];
                releasesFoundClear += (config.*exchanges[s])(false) ? 0 : 1;
            }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ((std::array<long, 3>{counters[0], counters[1], releasesFoundClear}),
              (std::array<long, 3>{2 * kRounds, 2 * kRounds, 0}));
    EXPECT_EQ(State(config), ".....");
}

} // namespace

namespace
{

// A file that cannot be read as a configuration: what it is, and the reason the line gives.
struct UnreadableCase
{
    const char* name;
    std::function<std::string(const fs::path& dir)> make; // returns the path to load
    std::string reason;                                   // after the quoted path; empty: the plain line
};

TEST(AppHostConfigFile, NoFileThatIsNotARegularFileOfSaneSizeIsReadAndNothingBlocks)
{
    const fs::path dir = fs::temp_directory_path() / fs::unique_path("lum-config-%%%%-%%%%");
    fs::create_directories(dir);
    const std::vector<UnreadableCase> cases = {
        {"EndlessDevice", [](const fs::path&) { return std::string("/dev/zero"); }, ": not a regular file"},
        {"Fifo",
         [](const fs::path& d)
         {
             const std::string path = (d / "fifo").string();
             EXPECT_EQ(0, ::mkfifo(path.c_str(), 0600));
             return path;
         },
         ": not a regular file"},
        {"Directory", [](const fs::path& d) { return d.string(); }, ": not a regular file"},
        {"AboveTheSizeLimit",
         [](const fs::path& d)
         {
             const std::string path = (d / "big.xml").string();
             std::ofstream(path) << "<LumAppHostConfig WithoutKNX='1'/>";
             fs::resize_file(path, AppHostConfiguration::MaxFileSize + 1); // sparse: costs no disk
             return path;
         },
         ": larger than " + std::to_string(AppHostConfiguration::MaxFileSize) + " bytes"},
        {"Missing", [](const fs::path& d) { return (d / "missing.xml").string(); }, ""},
    };
    for (const UnreadableCase& c : cases)
    {
        SCOPED_TRACE(c.name);
        const std::string path = c.make(dir);
        LumTest::LogCapture log;
        AppHostConfiguration config;
        config.SetAppDebugMode(true);
        config.LoadConfigurationFile(path);
        std::ostringstream quoted;
        quoted << fs::path(path);
        EXPECT_EQ(log.Texts(), std::vector<std::string>{
                                   "App host config file cannot be read from: " + quoted.str() + c.reason});
        EXPECT_EQ(State(config), "D....");
        if (c.reason == ": not a regular file")
        {
            EXPECT_FALSE(Lum::LoadFile(path)); // the plain loader refuses them as well
        }
    }
    fs::remove_all(dir);
}

// The loader's deepest document on a thread with a small stack, as app threads often have.
TEST(AppHostConfig, DocumentAtTheNestingLimitParsesOnA64KiBStack)
{
    std::string text = Nested(kLimit);
    bool loaded = false;
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, 64 * 1024));
    struct Job
    {
        std::string* text;
        bool* loaded;
    } job{&text, &loaded};
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(
                     &thread, &attributes,
                     [](void* arg) -> void*
                     {
                         Job& j = *static_cast<Job*>(arg);
                         AppHostConfiguration config;
                         *j.loaded =
                             config.LoadAppHostConfigXML(&(*j.text)[0]) && config.IsAppHostWithoutKNX();
                         return nullptr;
                     },
                     &job));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
    pthread_attr_destroy(&attributes);
    EXPECT_TRUE(loaded);
}

// Peak memory of loading one file, measured in a child process of its own.
long PeakGrowthKiB(const std::string& path, bool& loaded)
{
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0)
        return -1;
    const pid_t child = ::fork();
    if (child == 0)
    {
        rusage before{};
        ::getrusage(RUSAGE_SELF, &before);
        AppHostConfiguration config;
        config.LoadConfigurationFile(path);
        rusage after{};
        ::getrusage(RUSAGE_SELF, &after);
        const long result[2] = {after.ru_maxrss - before.ru_maxrss, config.IsAppHostWithoutKNX() ? 1L : 0L};
        const bool written =
            ::write(pipeEnds[1], result, sizeof result) == static_cast<ssize_t>(sizeof result);
        ::_exit(written ? 0 : 1);
    }
    ::close(pipeEnds[1]);
    long result[2] = {-1, 0};
    const bool read = ::read(pipeEnds[0], result, sizeof result) == static_cast<ssize_t>(sizeof result);
    ::close(pipeEnds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    loaded = result[1] == 1;
    return read && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? result[0] : -1;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

TEST(AppHostConfigFile, LoadingCostsAboutThreeTimesTheFile)
{
    if (kSanitized)
        GTEST_SKIP() << "a sanitizer's shadow memory hides the loader's own";
    const std::size_t size = 10 * 1024 * 1024;
    const std::string head = "<LumAppHostConfig WithoutKNX='1'>";
    // Ten MiB of the smallest elements (refused by the document budget), and ten MiB of comment
    // around a real setting (loaded).
    const struct
    {
        const char* name;
        std::string text;
        bool loads;
    } cases[] = {
        {"Dense", head + Repeat("<a/>", (size - head.size()) / 4) + "</LumAppHostConfig>", false},
        {"Padded", head + "<!--" + std::string(size, '-').replace(0, 1, " ") + " -->" + "</LumAppHostConfig>",
         true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const TempFile file(c.text);
        bool loaded = false;
        const long growthKiB = PeakGrowthKiB(file.path, loaded);
        ASSERT_GE(growthKiB, 0);
        EXPECT_EQ(c.loads, loaded);
        // Three times the file, and some room for the allocator's own pages.
        EXPECT_LT(growthKiB, static_cast<long>(3 * c.text.size() / 1024 + 4096));
        std::cout << c.name << ": " << c.text.size() / 1024 << " KiB file, peak growth " << growthKiB
                  << " KiB\n";
    }
}

} // namespace
