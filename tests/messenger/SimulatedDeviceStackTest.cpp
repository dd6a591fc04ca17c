#include "MessengerTestSupport.h"

#include <DeviceStackSim/SimulatedDeviceStack.h>

#include <boost/optional/optional_io.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

using LumSim::SimulatedDeviceStack;
using LumTest::Eventually;
using ::testing::ElementsAre;
using Clock = std::chrono::steady_clock;
using Ms = SimulatedDeviceStack::Milliseconds;

struct Call
{
    std::string callback;
    std::string requestId;
    std::string payload;
    unsigned long id;
    std::string urn;
    int code;
    std::string text1;
    std::string text2;
    std::string message;
    void* context;
    std::thread::id thread;
};

class RecordingHandler : public Tarn::IDeviceStackClient::IResponseHandler
{
public:
    virtual ~RecordingHandler() = default;

    void OnResponse(void* c, const std::string& r, const std::string& response,
                    const Tarn::IDeviceStackClient::IError& e) override
    {
        Record("OnResponse", c, r, response, 0, "", e);
    }
    void OnRegisterApplication(void* c, const std::string& r,
                               const Tarn::IDeviceStackClient::IError& e) override
    {
        Record("OnRegisterApplication", c, r, "", 0, "", e);
    }
    void OnGetConfiguration(void* c, const std::string& r, const std::string& configuration,
                            const Tarn::IDeviceStackClient::IError& e) override
    {
        Record("OnGetConfiguration", c, r, configuration, 0, "", e);
    }
    void OnSetConfiguration(void* c, const std::string& r, const Tarn::IDeviceStackClient::IError& e) override
    {
        Record("OnSetConfiguration", c, r, "", 0, "", e);
    }
    void OnGetValue(void* c, const std::string& r, unsigned long id, const std::string& urn,
                    const std::string& v, const Tarn::IDeviceStackClient::IError& e) override
    {
        Record("OnGetValue", c, r, v, id, urn, e);
    }
    void OnSetValue(void* c, const std::string& r, unsigned long id, const std::string& urn,
                    const std::string& v, const Tarn::IDeviceStackClient::IError& e) override
    {
        Record("OnSetValue", c, r, v, id, urn, e);
    }

    std::vector<Call> Calls() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }

    // Runs inside every callback, before it is recorded.
    std::function<void()> hook;

private:
    void Record(const char* name, void* context, const std::string& requestId, const std::string& payload,
                unsigned long id, const std::string& urn, const Tarn::IDeviceStackClient::IError& e)
    {
        if (hook)
            hook();
        std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(Call{name, requestId, payload, id, urn, e.GetCode(), e.GetText1(), e.GetText2(),
                               e.GetMessage(), context, std::this_thread::get_id()});
    }

    mutable std::mutex m_mutex;
    std::vector<Call> m_calls;
};

class Simulator : public ::testing::Test
{
protected:
    Simulator() { sim.SetResponseHandler(&handler, &context); }
    ~Simulator() override { sim.SetResponseHandler(nullptr, nullptr); }

    std::vector<Call> Settled()
    {
        EXPECT_TRUE(sim.WaitUntilIdle(Ms(5000)));
        return handler.Calls();
    }

    int context = 0;
    RecordingHandler handler;
    SimulatedDeviceStack sim{42};
};

TEST_F(Simulator, AnswersFromItsTableOnItsOwnThread)
{
    sim.SetObjectValue(5, "4:42");
    EXPECT_EQ(sim.GetValueAsync(5, true), "sim-1");
    EXPECT_EQ(sim.GetValueAsync(6, true), "sim-2");
    const auto calls = Settled();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].callback, "OnGetValue");
    EXPECT_EQ(calls[0].requestId, "sim-1");
    EXPECT_EQ(calls[0].id, 5u);
    EXPECT_EQ(calls[0].urn, "urn:sim:object:5");
    EXPECT_EQ(calls[0].payload, "4:42");
    EXPECT_EQ(calls[0].code, 0);
    EXPECT_EQ(calls[0].context, &context);
    EXPECT_NE(calls[0].thread, std::this_thread::get_id());
    // An object that is not in the table is answered with an error.
    EXPECT_EQ(calls[1].requestId, "sim-2");
    EXPECT_EQ(calls[1].code, 2);
    EXPECT_EQ(calls[1].message, "Unknown object 6");
}

TEST_F(Simulator, RequestsChangeTheTableAndAreAnsweredByTheirCallback)
{
    sim.SetValueAsync(5, "3:1.5", true, 0);
    sim.SetConfigurationAsync("<cfg/>");
    sim.RegisterApplicationAsync("app", "1.0", "me");
    sim.RequestAsync("ping");
    sim.SetRequestResponder([](const std::string& r) { return "re:" + r; });
    sim.RequestAsync("ping");
    const auto calls = Settled();
    ASSERT_EQ(calls.size(), 5u);
    EXPECT_EQ(calls[0].callback, "OnSetValue");
    EXPECT_EQ(calls[0].payload, "3:1.5");
    EXPECT_EQ(calls[1].callback, "OnSetConfiguration");
    EXPECT_EQ(calls[2].callback, "OnRegisterApplication");
    EXPECT_EQ(calls[3].callback, "OnResponse");
    EXPECT_EQ(calls[3].payload, "ping");
    EXPECT_EQ(calls[4].payload, "re:ping");

    EXPECT_EQ(sim.GetObjectValue(5), std::string("3:1.5"));
    EXPECT_FALSE(sim.GetObjectValue(6));
    EXPECT_EQ(sim.GetConfiguration(), "<cfg/>");
    std::string configuration;
    EXPECT_TRUE(sim.GetDeviceConfig(configuration, false));
    EXPECT_EQ(configuration, "<cfg/>");
    EXPECT_THAT(sim.GetRegisteredApplications(), ElementsAre("app/1.0/me"));

    const std::map<Tarn::IDeviceStackClient::PropertyType, Tarn::IDeviceStackClient::Property> properties = {
        {Tarn::IDeviceStackClient::PropertyType::Name, {"lamp"}}};
    EXPECT_TRUE(sim.SetConfiguration(3, properties, true));
    EXPECT_EQ(sim.GetProperties(3), properties);
    sim.SetSynchronousResult(false);
    EXPECT_FALSE(sim.SetConfiguration(4, properties, true));
    EXPECT_TRUE(sim.GetProperties(4).empty());

    EXPECT_TRUE(sim.SetDeviceConfig({{"k", "v"}}));
    EXPECT_EQ(sim.GetDeviceConfigMap().at("k"), "v");
    EXPECT_TRUE(sim.SetFormat("Native"));
    EXPECT_EQ(sim.GetFormat(), "Native");
    sim.SetInternalValueFormat(true);
    EXPECT_TRUE(sim.IsInternalValueFormat());
}

TEST_F(Simulator, CountedFaultsHitTheNextRequests)
{
    sim.SetObjectValue(1, "v");
    SimulatedDeviceStack::Faults faults;
    faults.error = {77, "first", "second", "custom failure"};
    sim.SetFaults(faults);

    sim.RefuseNext(2);
    EXPECT_EQ(sim.GetValueAsync(1, false), "");
    EXPECT_EQ(sim.GetValueAsync(1, false), "");
    EXPECT_EQ(sim.GetValueAsync(1, false), "sim-1");

    sim.DuplicateNext(1);
    EXPECT_EQ(sim.GetValueAsync(1, false), "sim-1");
    EXPECT_EQ(sim.GetValueAsync(1, false), "sim-2");

    sim.DropNext(1);
    EXPECT_EQ(sim.GetValueAsync(1, false), "sim-3");
    sim.FailNext(1);
    EXPECT_EQ(sim.GetValueAsync(1, false), "sim-4");

    const auto calls = Settled();
    ASSERT_EQ(calls.size(), 4u); // sim-1 twice, sim-2, sim-4
    EXPECT_EQ(calls[0].requestId, "sim-1");
    EXPECT_EQ(calls[1].requestId, "sim-1");
    EXPECT_EQ(calls[2].requestId, "sim-2");
    EXPECT_EQ(calls[3].requestId, "sim-4");
    EXPECT_EQ(calls[3].code, 77);
    EXPECT_EQ(calls[3].text1, "first");
    EXPECT_EQ(calls[3].text2, "second");
    EXPECT_EQ(calls[3].message, "custom failure");
    EXPECT_EQ(calls[3].payload, "v");

    const auto stats = sim.GetStatistics();
    EXPECT_EQ(stats.refused, 2u);
    EXPECT_EQ(stats.issued, 5u);
    EXPECT_EQ(stats.duplicated, 1u);
    EXPECT_EQ(stats.dropped, 1u);
    EXPECT_EQ(stats.failed, 1u);
    EXPECT_EQ(stats.delivered, 4u);
    const auto issued = sim.GetIssuedRequests();
    ASSERT_EQ(issued.size(), 7u);
    EXPECT_TRUE(issued[5].dropped);
    EXPECT_TRUE(issued[6].failed);

    sim.SetRecordIssuedRequests(false);
    sim.GetValueAsync(1, false);
    EXPECT_EQ(sim.GetIssuedRequests().size(), 7u);
    sim.ClearIssuedRequests();
    EXPECT_TRUE(sim.GetIssuedRequests().empty());
}

TEST_F(Simulator, AnswersComeWhenTheyAreDueNotInIssueOrder)
{
    sim.SetObjectValue(1, "slow");
    sim.SetObjectValue(2, "fast");
    const auto start = Clock::now();
    sim.SetAnswerDelay(Ms(60));
    sim.GetValueAsync(1, false);
    sim.SetAnswerDelay(Ms(0));
    sim.GetValueAsync(2, false);
    ASSERT_TRUE(Eventually([&] { return handler.Calls().size() == 1; }));
    EXPECT_EQ(handler.Calls()[0].payload, "fast");
    const auto calls = Settled();
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].payload, "slow");
}

TEST_F(Simulator, LateAnswersUseTheLateDelay)
{
    sim.SetObjectValue(1, "v");
    SimulatedDeviceStack::Faults faults;
    faults.lateProbability = 1.0;
    faults.lateDelay = Ms(50);
    sim.SetFaults(faults);
    const auto start = Clock::now();
    sim.GetValueAsync(1, false);
    EXPECT_EQ(Settled().size(), 1u);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_EQ(sim.GetStatistics().late, 1u);
}

std::vector<bool> DropPattern(std::uint64_t seed)
{
    SimulatedDeviceStack sim(seed);
    SimulatedDeviceStack::Faults faults;
    faults.dropProbability = 0.5;
    sim.SetFaults(faults);
    for (int i = 0; i < 200; ++i)
        sim.RequestAsync("x");
    std::vector<bool> pattern;
    for (const auto& r : sim.GetIssuedRequests())
        pattern.push_back(r.dropped);
    return pattern;
}

TEST(SimulatorRandomness, SameSeedSameFaults)
{
    const auto first = DropPattern(7);
    EXPECT_EQ(first, DropPattern(7));
    EXPECT_NE(first, DropPattern(8));
    const auto drops = std::count(first.begin(), first.end(), true);
    EXPECT_GT(drops, 50);
    EXPECT_LT(drops, 150);
}

TEST_F(Simulator, DetachingWaitsForTheRunningCallback)
{
    std::atomic<bool> entered{false};
    std::atomic<bool> finished{false};
    handler.hook = [&]
    {
        entered = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(80));
        finished = true;
    };
    sim.RequestAsync("x");
    ASSERT_TRUE(Eventually([&] { return entered.load(); }));
    sim.SetResponseHandler(nullptr, nullptr);
    EXPECT_TRUE(finished);

    handler.hook = nullptr;
    sim.RequestAsync("y");
    Settled();
    EXPECT_EQ(handler.Calls().size(), 1u);
    EXPECT_EQ(sim.GetStatistics().discarded, 1u);
}

TEST_F(Simulator, DetachingFromInsideACallbackDoesNotWaitForItself)
{
    handler.hook = [&] { sim.SetResponseHandler(nullptr, nullptr); };
    sim.RequestAsync("x");
    sim.RequestAsync("y");
    const auto calls = Settled();
    EXPECT_EQ(calls.size(), 1u);
}

TEST(SimulatorLifetime, DestructionDiscardsQueuedAnswersAndJoins)
{
    RecordingHandler handler;
    const auto start = Clock::now();
    {
        SimulatedDeviceStack sim;
        sim.SetResponseHandler(&handler, nullptr);
        sim.SetAnswerDelay(Ms(20000));
        sim.RequestAsync("x");
        EXPECT_EQ(sim.PendingAnswers(), 1u);
    }
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
    EXPECT_TRUE(handler.Calls().empty());
}

TEST_F(Simulator, RefusesRequestsAfterShutdown)
{
    sim.Shutdown();
    EXPECT_EQ(sim.RequestAsync("x"), "");
    EXPECT_EQ(sim.GetStatistics().refused, 1u);
    EXPECT_TRUE(handler.Calls().empty());
}

} // namespace
