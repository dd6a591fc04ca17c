#include "LogCapture.h"
#include "MessengerTestSupport.h"

#include <DeviceStackSim/SimulatedDeviceStack.h>
#include <Lum/DscAsyncRequestMessenger.h>
#include <Lum/RequestMessengerDeviceStack.h>

#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

using boost::posix_time::milliseconds;
using boost::posix_time::seconds;
using LumSim::SimulatedDeviceStack;
using Clock = std::chrono::steady_clock;
using Ms = SimulatedDeviceStack::Milliseconds;

std::string Serialized(const ORUVALUE& value, bool internalFormat)
{
    oru_string text;
    value.Serialize(text, internalFormat);
    return text.str();
}

// The whole chain: messenger -> adapter -> simulated client -> messenger.
struct Chain
{
    Chain(boost::posix_time::time_duration timeout, unsigned retries, std::uint64_t seed = 1)
        : sim(seed), adapter(sim), messenger(adapter, timeout, retries)
    {
        messenger.SetAsResponseHandler();
    }
    ~Chain()
    {
        // After this no answer reaches the messenger any more.
        messenger.UnsetAsResponseHandler();
        sim.Shutdown();
    }

    SimulatedDeviceStack sim;
    Lum::RemoteRequestMessengerDeviceStack adapter;
    Lum::DscAsyncRequestMessenger messenger;
};

TEST(MessengerWithSimulator, RequestsRoundTrip)
{
    Chain chain(seconds(10), 0);
    auto& m = chain.messenger;

    EXPECT_TRUE(m.RegisterApplication("app", "2.1", "me").IsReplyValid());
    EXPECT_THAT(chain.sim.GetRegisteredApplications(), ::testing::ElementsAre("app/2.1/me"));

    const ORUVALUE nan = ORUVALUE::FromFloat(std::numeric_limits<double>::quiet_NaN());
    Lum::Docket set = m.SetValue(11, nan, true);
    EXPECT_TRUE(set.IsReplyValid());
    EXPECT_EQ(set.ReadReply(), "nan");
    chain.adapter.EnableInternalValueFormat();
    EXPECT_TRUE(chain.sim.IsInternalValueFormat());
    EXPECT_EQ(m.SetValue(11, nan, true).ReadReply(), "3.7:nan");
    const ORUVALUE number = ORUVALUE::FromFloat(21.25);
    EXPECT_EQ(m.SetValue(12, number, true).ReadReply(), Serialized(number, true));

    const Lum::Docket got = m.GetValue(11, false);
    EXPECT_TRUE(got.IsAnswered());
    EXPECT_TRUE(got.IsReplyValid());
    EXPECT_EQ(got.ReadReply(), "3.7:nan");

    const Lum::Docket unknown = m.GetValue(99, false);
    EXPECT_TRUE(unknown.IsAnswered());
    EXPECT_FALSE(unknown.IsReplyValid());
    EXPECT_EQ(unknown.ReadDeliveryError(), "Unknown object 99");

    EXPECT_EQ(m.Request("hello", seconds(0)).ReadReply(), "hello");
    EXPECT_TRUE(m.SetConfiguration("<config/>", seconds(0), [] { return true; }).IsReplyValid());
    std::string configuration;
    EXPECT_TRUE(m.GetDeviceConfig(configuration, false));
    EXPECT_EQ(configuration, "<config/>");

    const Lum::RequestMessengerDeviceStack::PropertyMap properties = {
        {Tarn::IDeviceStackClient::PropertyType::Description, {"kitchen"}}};
    EXPECT_TRUE(m.SetConfiguration(4, properties, false).IsReplyValid());
    EXPECT_EQ(chain.sim.GetProperties(4), properties);
    EXPECT_EQ(m.PendingDockets(), 0u);
}

TEST(MessengerWithSimulator, AnswerWakesItsWaiterAtOnce)
{
    // A waiter that only noticed answers at the end of its 100 ms slice would
    // need about three seconds here.
    Chain chain(seconds(10), 0);
    chain.sim.SetObjectValue(1, "v");
    const auto start = Clock::now();
    for (int i = 0; i < 30; ++i)
        ASSERT_EQ(chain.messenger.GetValue(1, false).ReadReply(), "v");
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1500));
}

TEST(MessengerWithSimulator, AnswersAfterTheTimeoutAreDropped)
{
    LumTest::LogCapture log;
    Chain chain(milliseconds(20), 1);
    chain.sim.SetObjectValue(1, "v");
    SimulatedDeviceStack::Faults faults;
    faults.lateProbability = 1.0;
    faults.lateDelay = Ms(80);
    chain.sim.SetFaults(faults);

    EXPECT_FALSE(chain.messenger.GetValue(1, false).IsAnswered());
    ASSERT_TRUE(chain.sim.WaitUntilIdle(Ms(5000)));
    EXPECT_TRUE(log.Contains(log4cplus::DEBUG_LOG_LEVEL, "No docket for response ID 'sim-1'"));
    EXPECT_TRUE(log.Contains(log4cplus::DEBUG_LOG_LEVEL, "No docket for response ID 'sim-2'"));
    EXPECT_TRUE(log.Contains(log4cplus::ERROR_LOG_LEVEL, "Maximum number of retries (1) reached."));
    EXPECT_EQ(chain.messenger.PendingDockets(), 0u);
}

TEST(MessengerWithSimulator, MessengerMayGoOnceDetachedWhileAnswersAreQueued)
{
    SimulatedDeviceStack sim;
    Lum::RemoteRequestMessengerDeviceStack adapter(sim);
    sim.SetAnswerDelay(Ms(5));
    {
        Lum::DscAsyncRequestMessenger messenger(adapter, seconds(1), 0);
        messenger.SetAsResponseHandler();
        for (int i = 0; i < 50; ++i)
            EXPECT_TRUE(messenger.SetValueAndIgnoreResponse(1, ORUVALUE::FromInteger(i), false));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        messenger.UnsetAsResponseHandler();
    }
    // Whatever was still queued must not reach the destroyed messenger.
    EXPECT_TRUE(sim.WaitUntilIdle(Ms(5000)));
    const auto stats = sim.GetStatistics();
    EXPECT_EQ(stats.delivered + stats.discarded, 50u);
}

// --- stress ------------------------------------------------------------------------

// Raise locally (or set LUM_STRESS_SCALE) for longer runs.
constexpr int kStressScale = 1;
constexpr int kRequestsPerCaller = 2000;
constexpr int kCallers = 8;

int RequestsPerCaller()
{
    const char* env = std::getenv("LUM_STRESS_SCALE");
    const int scale = env != nullptr ? std::max(1, std::atoi(env)) : kStressScale;
    return kRequestsPerCaller * scale;
}

struct Outcome
{
    std::string expected; // the reply that belongs to this request
    Lum::Docket docket;
};

unsigned long GetObject(int caller, int i)
{
    return 1000ul * caller + static_cast<unsigned long>(i % 50);
}
std::string GetObjectValue(unsigned long object)
{
    return "g-" + std::to_string(object);
}

TEST(MessengerStress, EveryCallReturnsWithItsOwnAnswer)
{
    Chain chain(milliseconds(25), 2, 20261121);
    auto& messenger = chain.messenger;
    for (int c = 0; c <= kCallers; ++c)
        for (int i = 0; i < 50; ++i)
            chain.sim.SetObjectValue(GetObject(c, i), GetObjectValue(GetObject(c, i)));

    SimulatedDeviceStack::Faults faults;
    faults.dropProbability = 0.03;
    faults.errorProbability = 0.05;
    faults.emptyIdProbability = 0.03;
    faults.duplicateIdProbability = 0.03;
    faults.lateProbability = 0.03;
    faults.lateDelay = Ms(40);
    chain.sim.SetFaults(faults);

    const int perCaller = RequestsPerCaller();
    std::vector<std::vector<Outcome>> outcomes(kCallers);
    std::atomic<std::size_t> mostPending{0};
    std::atomic<bool> running{true};
    std::atomic<int> irrelevantAnswered{0};

    // No docket may outlive its request: never more entries than waiting callers.
    std::thread monitor(
        [&]
        {
            while (running)
            {
                const std::size_t pending = messenger.PendingDockets();
                std::size_t seen = mostPending;
                while (pending > seen && !mostPending.compare_exchange_weak(seen, pending))
                {
                }
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        });

    std::vector<std::thread> callers;
    for (int c = 0; c < kCallers; ++c)
        callers.emplace_back(
            [&, c]
            {
                auto& mine = outcomes[c];
                mine.reserve(perCaller);
                for (int i = 0; i < perCaller; ++i)
                {
                    switch (i % 4)
                    {
                    case 0:
                    {
                        const unsigned long object = GetObject(c, i);
                        mine.push_back({GetObjectValue(object), messenger.GetValue(object, false)});
                        break;
                    }
                    case 1:
                    {
                        const std::string request = "q-" + std::to_string(c) + "-" + std::to_string(i);
                        mine.push_back(
                            {request, messenger.Request(request, milliseconds(i % 8 == 1 ? 0 : 30))});
                        break;
                    }
                    case 2:
                    {
                        const ORUVALUE value = ORUVALUE::FromInteger(c * 1000000 + i);
                        mine.push_back({Serialized(value, false),
                                        messenger.SetValue(100000ul + 1000ul * c + i % 50, value, false)});
                        break;
                    }
                    default:
                    {
                        const bool relevant = i % 40 != 3;
                        const Lum::Docket d = messenger.SetConfiguration("c", milliseconds(20),
                                                                         [relevant] { return relevant; });
                        if (!relevant && d.IsAnswered())
                            ++irrelevantAnswered;
                        mine.push_back({std::string(), d});
                        break;
                    }
                    }
                }
            });

    // Waiting callers that get interrupted take their dockets with them.
    int interrupted = 0;
    std::vector<Outcome> victimOutcomes;
    for (int round = 0; round < 20; ++round)
    {
        std::atomic<bool> wasInterrupted{false};
        boost::thread victim(
            [&]
            {
                try
                {
                    for (int i = 0;; ++i)
                    {
                        const unsigned long object = GetObject(kCallers, i);
                        victimOutcomes.push_back({GetObjectValue(object), messenger.GetValue(object, false)});
                    }
                }
                catch (const boost::thread_interrupted&)
                {
                    wasInterrupted = true;
                }
            });
        std::this_thread::sleep_for(std::chrono::milliseconds(2 + round % 5));
        victim.interrupt();
        victim.join();
        interrupted += wasInterrupted ? 1 : 0;
    }

    for (auto& t : callers)
        t.join();
    running = false;
    monitor.join();

    EXPECT_EQ(interrupted, 20);
    EXPECT_EQ(irrelevantAnswered, 0);
    EXPECT_LE(mostPending.load(), static_cast<std::size_t>(kCallers + 1));
    EXPECT_EQ(messenger.PendingDockets(), 0u);

    // Requests that shared a request id cannot be told apart by their answers.
    const auto issued = chain.sim.GetIssuedRequests();
    std::map<std::string, std::set<std::string>> payloadsById;
    for (const auto& r : issued)
        if (!r.requestId.empty())
            payloadsById[r.requestId].insert(r.payload);
    auto sharedId = [&](const std::string& a, const std::string& b)
    {
        return std::any_of(payloadsById.begin(), payloadsById.end(),
                           [&](const auto& entry) { return entry.second.count(a) && entry.second.count(b); });
    };

    const std::string injected = chain.sim.GetFaults().error.message;
    std::size_t answered = 0, exact = 0, calls = 0;
    outcomes.push_back(std::move(victimOutcomes));
    for (const auto& mine : outcomes)
        for (const Outcome& o : mine)
        {
            ++calls;
            const Lum::Docket& d = o.docket;
            if (!d.IsAnswered())
            {
                EXPECT_EQ(d.ReadReply(), "");
                continue;
            }
            ++answered;
            EXPECT_EQ(d.ReadDeliveryError(), d.IsReplyValid() ? "" : injected);
            if (d.ReadReply() == o.expected)
                ++exact;
            else
                EXPECT_TRUE(sharedId(o.expected, d.ReadReply()))
                    << "expected '" << o.expected << "', got '" << d.ReadReply() << "'";
        }
    EXPECT_GE(calls, static_cast<std::size_t>(kCallers * perCaller));
    EXPECT_GT(answered, calls * 8 / 10);
    EXPECT_GT(exact, answered * 9 / 10);

    // Every kind of fault did happen.
    const auto stats = chain.sim.GetStatistics();
    EXPECT_GT(stats.dropped, 0u);
    EXPECT_GT(stats.failed, 0u);
    EXPECT_GT(stats.refused, 0u);
    EXPECT_GT(stats.duplicated, 0u);
    EXPECT_GT(stats.late, 0u);
}

} // namespace
