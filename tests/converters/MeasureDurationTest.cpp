// The scope timer with the clock held still where the boundary matters: this
// executable's clock_gettime takes precedence over the C library's and
// forwards to it unless frozen.

#include <Lum/MeasureDuration.h>

#include <LogCapture.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <ctime>
#include <regex>

static std::atomic<bool> g_frozen{false};

extern "C" int clock_gettime(clockid_t clock, struct timespec* ts)
{
    static const auto real =
        reinterpret_cast<int (*)(clockid_t, struct timespec*)>(dlsym(RTLD_NEXT, "clock_gettime"));
    if (!g_frozen)
        return real(clock, ts);
    ts->tv_sec = 1000;
    ts->tv_nsec = 0;
    return 0;
}

namespace
{

void Measure(boost::optional<boost::timer::nanosecond_type> threshold, bool frozen)
{
    g_frozen = frozen;
    {
        Lum::MeasureDuration timer("Decoding a KNX value took ", threshold);
    }
    g_frozen = false;
}

TEST(MeasureDuration, LogsFromTheThresholdOn)
{
    LumTest::LogCapture capture;
    Measure(0, true); // the elapsed wall time equals the threshold
    Measure(1, true);
    Measure(100000000, false);
    Measure(boost::none, false); // no threshold: always, at DEBUG
    const auto lines = capture.Lines();
    ASSERT_EQ(2u, lines.size());
    // boost's format with 6 decimals, without its leading blank and line break
    const std::regex format("Decoding a KNX value took (\\d+\\.\\d{6})s wall, \\d+\\.\\d{6}s user \\+ "
                            "\\d+\\.\\d{6}s system = \\d+\\.\\d{6}s CPU \\([^)\n]*\\)");
    std::smatch m;
    EXPECT_EQ(log4cplus::INFO_LOG_LEVEL, lines[0].level);
    EXPECT_TRUE(std::regex_match(lines[0].text, m, format) && m[1] == "0.000000") << lines[0].text;
    EXPECT_EQ(log4cplus::DEBUG_LOG_LEVEL, lines[1].level);
    EXPECT_TRUE(std::regex_match(lines[1].text, format)) << lines[1].text;
}

} // namespace
