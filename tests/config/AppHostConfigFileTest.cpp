#include "ConfigTestSupport.h"

#include <LogCapture.h>
#include <Lum/AppHostConfig.h>
#include <Lum/LoadFile.h>

#include <boost/filesystem.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <ostream>
#include <string>
#include <vector>

namespace
{

namespace fs = boost::filesystem;
using Lum::AppHostConfiguration;
using LumTest::ConfigState;

class TempDir
{
public:
    TempDir() : m_path(fs::temp_directory_path() / fs::unique_path("lum-config-%%%%-%%%%-%%%%"))
    {
        fs::create_directories(m_path);
    }
    ~TempDir()
    {
        boost::system::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // Writes the bytes exactly (no line end added) and returns the file's path.
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        const fs::path file = m_path / name;
        std::ofstream out(file.string(), std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return file.string();
    }
    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

// ---- LoadFile ---------------------------------------------------------------

TEST(LoadFile, ReturnsEveryByteUnchanged)
{
    TempDir dir;
    std::string bytes;
    for (int i = 0; i < 3 * 8192 + 7; ++i) // several read chunks, the last one partial
        bytes += static_cast<char>(i * 31 % 256);
    bytes += std::string("\0\r\n\x1A", 4);
    const auto loaded = Lum::LoadFile(dir.Write("bytes.bin", bytes));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(std::string(loaded->begin(), loaded->end()), bytes);
}

TEST(LoadFile, FileThatReportsNoSizeIsReadToItsEnd)
{
    // Files of /proc report a size of 0 and still have content.
    const auto loaded = Lum::LoadFile("/proc/self/status");
    ASSERT_TRUE(loaded);
    const std::string text(loaded->begin(), loaded->end());
    EXPECT_EQ(text.rfind("Name:", 0), 0u) << text;
    EXPECT_NE(text.find("\nPid:"), std::string::npos);
    EXPECT_EQ(text.back(), '\n');
}

TEST(LoadFile, EmptyFileIsEmptyContent)
{
    TempDir dir;
    const auto loaded = Lum::LoadFile(dir.Write("empty.xml", ""));
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(loaded->empty());
}

TEST(LoadFile, UnreadableIsNothing)
{
    TempDir dir;
    EXPECT_FALSE(Lum::LoadFile((dir.Path() / "missing.xml").string()));
    EXPECT_FALSE(Lum::LoadFile(dir.Path().string())); // a directory opens but cannot be read
    EXPECT_FALSE(Lum::LoadFile(""));
}

// ---- LoadConfigurationFile ----------------------------------------------------

TEST(LoadConfigurationFile, AppliesRealFile)
{
    TempDir dir;
    const std::string path = dir.Write("lumapphostconfig.xml", "\xEF\xBB\xBF"
                                                               R"(<?xml version="1.0" encoding="UTF-8"?>
<LumAppHostConfig WithoutKNX="1" TerminateOnFirmwareUpdate="0">
  <ObjectModelConfig Path="/opt/userdata/om.xml"/>
  <Debugging Active="1">
    <App RootPath="/home/dev/native"/>
    <ManagedApp RootPath="/home/dev/managed"/>
    <AppHost RootPath="/home/dev/host" DisableStartup="1"/>
  </Debugging>
</LumAppHostConfig>
)");
    LumTest::LogCapture log;
    AppHostConfiguration config;
    config.LoadConfigurationFile(path);
    EXPECT_EQ(ConfigState::Of(config), ConfigState()
                                           .WithoutKnx()
                                           .ObjectModelConfig("/opt/userdata/om.xml")
                                           .Debug()
                                           .NativeApp("/home/dev/native")
                                           .ManagedApp("/home/dev/managed")
                                           .AppHost("/home/dev/host")
                                           .AppHostDisabled()
                                           .ConnectorHostDisabled());
    EXPECT_TRUE(log.Texts().empty());
}

struct FileCase
{
    const char* name;
    std::string content;
    std::vector<std::string> errors; // ERROR lines, in order
    ConfigState expected;
};

void PrintTo(const FileCase& c, std::ostream* os)
{
    *os << c.name;
}

class LoadConfigurationFileCases : public testing::TestWithParam<FileCase>
{
};

TEST_P(LoadConfigurationFileCases, LogsAndApplies)
{
    const FileCase& c = GetParam();
    TempDir dir;
    const std::string path = dir.Write("lumapphostconfig.xml", c.content);
    LumTest::LogCapture log;
    AppHostConfiguration config;
    config.LoadConfigurationFile(path);
    EXPECT_EQ(log.TextsAtLeast(log4cplus::WARN_LOG_LEVEL), c.errors);
    EXPECT_EQ(log.Texts(log4cplus::ERROR_LOG_LEVEL), c.errors);
    EXPECT_EQ(ConfigState::Of(config), c.expected);
}

const char kFallback[] = "Falling back to standard configuration.";

// The literal's bytes, zeros included, without its terminator.
template <std::size_t N> std::string Bytes(const char (&literal)[N])
{
    return std::string(literal, N - 1);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LoadConfigurationFileCases,
    testing::Values(
        // The loader supplies the terminator the parser needs.
        FileCase{"NoLineEndAtEnd", "<LumAppHostConfig WithoutKNX=\"1\"/>", {}, ConfigState().WithoutKnx()},
        FileCase{"EndsInsideAttribute",
                 "<LumAppHostConfig WithoutKNX=\"1",
                 {"Failed to read configuration file: expected ' or \"", kFallback},
                 ConfigState()},
        FileCase{"EndsInsideComment",
                 "<LumAppHostConfig WithoutKNX=\"1\"/><!-- -",
                 {"Failed to read configuration file: unexpected end of data", kFallback},
                 ConfigState()},
        FileCase{"EndsAfterOpenBracket",
                 "<LumAppHostConfig WithoutKNX=\"1\"><",
                 {"Failed to read configuration file: expected element name", kFallback},
                 ConfigState()},
        FileCase{"Empty", "", {}, ConfigState()},
        // The parser stops at the first zero byte.
        FileCase{"ZeroByteEndsText",
                 Bytes("<LumAppHostConfig WithoutKNX=\"1\"/>\0<garbage"),
                 {},
                 ConfigState().WithoutKnx()},
        FileCase{"BinaryGarbage",
                 Bytes("\x7F"
                       "ELF\x02\x01\x01\0\0\0<\xFF\xFE"),
                 {"Failed to read configuration file: expected <", kFallback},
                 ConfigState()},
        // '<' is a name character to the parser: one element, left open.
        FileCase{"RunOfLessThan",
                 std::string(100000, '<') + "a>",
                 {"Failed to read configuration file: unexpected end of data", kFallback},
                 ConfigState()},
        FileCase{"HundredThousandLevels",
                 []
                 {
                     std::string s;
                     for (int i = 0; i < 100000; ++i)
                         s += "<a>";
                     return s;
                 }(),
                 {"Failed to read configuration file: elements nested deeper than 256 levels", kFallback},
                 ConfigState()}),
    [](const testing::TestParamInfo<FileCase>& p) { return p.param.name; });

struct MissingCase
{
    const char* name;
    std::string path;
    std::string quoted; // the path as the log line shows it
};

void PrintTo(const MissingCase& c, std::ostream* os)
{
    *os << c.name;
}

class LoadConfigurationFileMissing : public testing::TestWithParam<MissingCase>
{
};

TEST_P(LoadConfigurationFileMissing, LogsQuotedPathAndKeepsDefaults)
{
    const MissingCase& c = GetParam();
    LumTest::LogCapture log;
    AppHostConfiguration config;
    config.LoadConfigurationFile(c.path);
    EXPECT_EQ(log.Texts(), std::vector<std::string>{"App host config file cannot be read from: " + c.quoted});
    EXPECT_EQ(log.Lines().at(0).level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(ConfigState::Of(config), ConfigState());
}

INSTANTIATE_TEST_SUITE_P(Cases, LoadConfigurationFileMissing,
                         testing::Values(MissingCase{"Plain", "/nonexistent-lum/lumapphostconfig.xml",
                                                     "\"/nonexistent-lum/lumapphostconfig.xml\""},
                                         MissingCase{"QuoteAndAmpersand", "/nonexistent-lum/a\"b&c&&d\".xml",
                                                     "\"/nonexistent-lum/a&\"b&&c&&&&d&\".xml\""},
                                         MissingCase{"Empty", "", "\"\""},
                                         MissingCase{"Directory", "/", "\"/\""}),
                         [](const testing::TestParamInfo<MissingCase>& p) { return p.param.name; });

TEST(LoadConfigurationFile, MissingFileKeepsCurrentValues)
{
    AppHostConfiguration config;
    config.SetAppDebugMode(true);
    config.SetAppHostStartupDisabled(true);
    LumTest::LogCapture log;
    config.LoadConfigurationFile("/nonexistent-lum/x.xml");
    // The start-up rule belongs to a successful load only.
    EXPECT_EQ(ConfigState::Of(config), ConfigState().Debug().AppHostDisabled());
}

TEST(LoadConfigurationFile, FixedPath)
{
    if (fs::exists(Lum::AppHostConfigFilePath))
        GTEST_SKIP() << "this machine has a real configuration file";
    LumTest::LogCapture log;
    AppHostConfiguration config;
    config.LoadConfigurationFile();
    EXPECT_EQ(log.Texts(), std::vector<std::string>{"App host config file cannot be read from: "
                                                    "\"/opt/userdata/etc/lumapphost/lumapphostconfig.xml\""});
    EXPECT_EQ(ConfigState::Of(config), ConfigState());
}

} // namespace
