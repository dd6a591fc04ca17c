#include "ConfigTestSupport.h"

#include <Lum/AppHostConfig.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <ostream>
#include <random>
#include <thread>
#include <vector>

namespace
{

using Lum::AppHostConfiguration;
using LumTest::ConfigState;

// ---- single-threaded semantics of the run-time changes ------------------------

struct ExchangeCase
{
    bool before;
    bool value;
};

void PrintTo(const ExchangeCase& c, std::ostream* os)
{
    *os << c.before << " -> " << c.value;
}

class SwitchExchange : public testing::TestWithParam<ExchangeCase>
{
};

TEST_P(SwitchExchange, ReplaceAppDebugModeReturnsPrevious)
{
    AppHostConfiguration config;
    config.SetAppDebugMode(GetParam().before);
    EXPECT_EQ(config.ReplaceAppDebugMode(GetParam().value), GetParam().before);
    EXPECT_EQ(ConfigState::Of(config), ConfigState().Debug(GetParam().value));
}

TEST_P(SwitchExchange, SetAppConnectorHostStartupDisabledReturnsPrevious)
{
    AppHostConfiguration config;
    config.SetAppConnectorHostStartupDisabled(GetParam().before);
    EXPECT_EQ(config.SetAppConnectorHostStartupDisabled(GetParam().value), GetParam().before);
    EXPECT_EQ(ConfigState::Of(config), ConfigState().ConnectorHostDisabled(GetParam().value));
}

// Storing the app host switch never touches the connector host's (only a load does).
TEST_P(SwitchExchange, SetAppHostStartupDisabledStoresOnlyItsOwn)
{
    AppHostConfiguration config;
    config.SetAppConnectorHostStartupDisabled(GetParam().before);
    config.SetAppHostStartupDisabled(GetParam().value);
    EXPECT_EQ(ConfigState::Of(config),
              ConfigState().AppHostDisabled(GetParam().value).ConnectorHostDisabled(GetParam().before));
}

INSTANTIATE_TEST_SUITE_P(Cases, SwitchExchange,
                         testing::Values(ExchangeCase{false, false}, ExchangeCase{false, true},
                                         ExchangeCase{true, false}, ExchangeCase{true, true}));

// ---- concurrent exchanges ---------------------------------------------------

struct ExchangingSwitch
{
    const char* name;
    std::function<bool(AppHostConfiguration&, bool)> exchange;
    std::function<bool(const AppHostConfiguration&)> read;
};

void PrintTo(const ExchangingSwitch& c, std::ostream* os)
{
    *os << c.name;
}

class ConcurrentSwitch : public testing::TestWithParam<ExchangingSwitch>
{
};

constexpr int kThreads = 2;

// Holds every thread until all have started, so that they really overlap.
class StartLine
{
public:
    void Arrive()
    {
        ++m_arrived;
        while (m_arrived.load() < kThreads)
            std::this_thread::yield();
    }

private:
    std::atomic<int> m_arrived{0};
};

// Used as a spin lock, the switch lets exactly one thread in at a time only
// when each exchange sees the value the previous one left: every release must
// find it set, and no increment of the unguarded counter may be lost (nor
// raced, under ThreadSanitizer).
TEST_P(ConcurrentSwitch, ExchangeExcludesLikeALock)
{
    constexpr int kRounds = 100000;
    const ExchangingSwitch& subject = GetParam();
    AppHostConfiguration config;
    long counter = 0;
    std::atomic<int> releasesFoundClear{0};
    std::atomic<bool> stuck{false};
    StartLine start;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(
            [&]
            {
                start.Arrive();
                for (int i = 0; i < kRounds && !stuck.load(); ++i)
                {
                    // A lost release would leave the switch set for good.
                    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
                    while (subject.exchange(config, true))
                    {
                        if (std::chrono::steady_clock::now() > deadline)
                        {
                            stuck = true;
                            return;
                        }
                        std::this_thread::yield();
                    }
                    ++counter;
                    if (!subject.exchange(config, false))
                        ++releasesFoundClear;
                }
            });
    for (auto& thread : threads)
        thread.join();
    ASSERT_FALSE(stuck.load());
    EXPECT_EQ(counter, long{kThreads} * kRounds);
    EXPECT_EQ(releasesFoundClear.load(), 0);
    EXPECT_FALSE(subject.read(config));
}

// Random exchanges from several threads while another reads: in the single
// order of all exchanges, off-to-on and on-to-off changes alternate, so their
// counts differ exactly by the final value.
TEST_P(ConcurrentSwitch, ObservedTransitionsBalance)
{
    constexpr int kRounds = 1000000;
    const ExchangingSwitch& subject = GetParam();
    AppHostConfiguration config;
    std::atomic<long> switchedOn{0};
    std::atomic<long> switchedOff{0};
    std::atomic<long> readsOn{0};
    std::atomic<bool> done{false};
    StartLine start;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(
            [&, t]
            {
                start.Arrive();
                std::minstd_rand random(static_cast<unsigned>(t + 1));
                long on = 0, off = 0;
                for (int i = 0; i < kRounds; ++i)
                {
                    const bool value = random() % 2 == 0;
                    const bool previous = subject.exchange(config, value);
                    on += !previous && value;
                    off += previous && !value;
                }
                switchedOn += on;
                switchedOff += off;
            });
    std::thread reader(
        [&]
        {
            while (!done.load())
                readsOn += subject.read(config);
        });
    for (auto& thread : threads)
        thread.join();
    done = true;
    reader.join();
    EXPECT_GT(switchedOn.load(), 0);
    EXPECT_EQ(switchedOn.load() - switchedOff.load(), subject.read(config) ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Switches, ConcurrentSwitch,
    testing::Values(ExchangingSwitch{"AppDebugMode",
                                     [](AppHostConfiguration& c, bool v) { return c.ReplaceAppDebugMode(v); },
                                     [](const AppHostConfiguration& c) { return c.IsInAppDebugMode(); }},
                    ExchangingSwitch{"AppConnectorHostStartupDisabled",
                                     [](AppHostConfiguration& c, bool v)
                                     { return c.SetAppConnectorHostStartupDisabled(v); },
                                     [](const AppHostConfiguration& c)
                                     { return c.IsAppConnectorHostStartupDisabled(); }}),
    [](const testing::TestParamInfo<ExchangingSwitch>& p) { return p.param.name; });

} // namespace
