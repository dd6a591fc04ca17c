#include "LogCapture.h"

#include <DeviceStackSim/SimulatedDeviceStack.h>
#include <Lum/DscAsyncRequestMessenger.h>
#include <Lum/Function.h>

#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/logger.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

using boost::posix_time::milliseconds;
using boost::posix_time::seconds;
using LumSim::SimulatedDeviceStack;
using ::testing::ElementsAre;
using Clock = std::chrono::steady_clock;
using Messenger = Lum::DscAsyncRequestMessenger;
using Ms = SimulatedDeviceStack::Milliseconds;

class TestError : public Tarn::IDeviceStackClient::IError
{
public:
    explicit TestError(int code = 0, std::string message = "") : m_code(code), m_message(message) {}
    virtual ~TestError() = default;
    int GetCode() const override { return m_code; }
    const std::string& GetText1() const override { return m_text1; }
    const std::string& GetText2() const override { return m_text2; }
    std::string GetMessage() const override { return m_message; }

private:
    int m_code;
    std::string m_message;
    std::string m_text1 = "t1";
    std::string m_text2 = "t2";
};

// All four fields of a docket in one comparable string.
std::string Show(const Lum::Docket& d)
{
    return std::string(d.IsAnswered() ? "answered" : "unanswered") + (d.IsReplyValid() ? " valid" : "") +
           " '" + d.ReadReply() + "' '" + d.ReadDeliveryError() + "'";
}

// Captured lines as "<level letter> <text>", e.g. "W Timeout (...".
std::vector<std::string> Logged(const LumTest::LogCapture& log)
{
    std::vector<std::string> out;
    for (const LumTest::LogLine& line : log.Lines())
        out.push_back(std::string(1, "TDIWEF"[line.level / 10000]) + " " + line.text);
    return out;
}

bool Eventually(const std::function<bool()>& condition)
{
    for (int i = 0; i < 5000 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return condition();
}

// Hands out the scripted ids in turn. A non-empty id is answered from another thread, as the client's
// thread would, when 'answer' is set; that answer is already knocking while the request is issued.
class FakeStack : public Lum::RequestMessengerDeviceStack
{
public:
    std::string Issue()
    {
        const std::string id = count < static_cast<int>(ids.size()) ? ids[count] : "x";
        ++count;
        if (answer && !id.empty())
        {
            std::atomic<bool> started{false};
            answerers.emplace_back(
                [this, id, &started]
                {
                    started = true;
                    answer(id);
                });
            while (!started)
                std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return id;
    }
    void SetResponseHandler(Tarn::IDeviceStackClient::IResponseHandler*) override {}
    std::string RegisterApplicationAsync(const std::string&, const std::string&, const std::string&) override
    {
        return Issue();
    }
    std::string SetValueAsync(unsigned long, const ORUVALUE&, bool) override { return Issue(); }
    std::string GetValueAsync(unsigned long, bool) override { return Issue(); }
    std::string RequestAsync(const std::string&) override { return Issue(); }
    std::string SetConfigurationAsync(const std::string&) override { return Issue(); }
    bool SetConfiguration(unsigned long, const PropertyMap&, bool) override { return result; }
    bool GetDeviceConfig(std::string&, bool) override { return result; }
    bool SetDeviceConfig(const std::map<std::string, std::string>&) override { return result; }
    bool EnableNativeFormat() override { return result; }
    void EnableInternalValueFormat() override {}
    void EnableDefaultValueFormat() override {}

    std::vector<std::string> ids;
    std::atomic<int> count{0};
    std::function<void(std::string)> answer;
    std::vector<std::thread> answerers;
    bool result = false;
};

struct EdgeCase
{
    const char* name;
    unsigned retries;
    int defaultMs;
    std::vector<std::string> ids;
    int answerCode; // -1: the device stack never answers
    std::function<Lum::Docket(Messenger&)> call;
    int issued;
    const char* docket;
    std::vector<std::string> logs;
    int minMs;
};

const std::vector<std::string> kAbandoned = {
    "D Request ID is 'c1'", "I Aborted a PEL request because its result is no longer relevant",
    "W Timeout (00:00:20) occured for request ID 'c1'",
    "D returned from waiting for response with ID 'c1': !isStillRelevant"};

// clang-format off
const std::vector<EdgeCase> kEdgeCases = {
    // The zero time-out of GetValue waits for the default and is printed as zero.
    EdgeCase{"RetriesUntilAttemptsAreUsedUp", 2, 20, {"r1", "r2", "r3"}, -1,
        [](Messenger& m) { return m.GetValue(7, true); }, 3, "unanswered '' ''",
        {"D Request ID is 'r1'", "W Timeout (00:00:00.020000) occured for request ID 'r1'",
         "E No response received for ID 'r1' with timeout 00:00:00, retrying",
         "D Request ID is 'r2'", "W Timeout (00:00:00.020000) occured for request ID 'r2'",
         "E No response received for ID 'r2' with timeout 00:00:00, retrying",
         "D Request ID is 'r3'", "W Timeout (00:00:00.020000) occured for request ID 'r3'",
         "E No response received for ID 'r3' with timeout 00:00:00, retrying",
         "E Maximum number of retries (2) reached."}, 60},
    EdgeCase{"GivenTimeoutIsUsedAndPrintedAsGiven", 0, 30000, {"q1"}, -1,
        [](Messenger& m) { return m.Request("ping", milliseconds(30)); }, 1, "unanswered '' ''",
        {"D Request ID is 'q1'", "W Timeout (00:00:00.030000) occured for request ID 'q1'",
         "E No response received for ID 'q1' with timeout 00:00:00.030000, retrying",
         "E Maximum number of retries (0) reached."}, 30},
    EdgeCase{"LargestRetryCountWrapsToNoAttempt", std::numeric_limits<unsigned>::max(), 1000, {"c1"}, 0,
        [](Messenger& m) { return m.SetConfiguration("cfg", seconds(1), [] { return true; }); },
        0, "unanswered '' ''", {"E Maximum number of retries (4294967295) reached."}, 0},
    // The message is kept even when the code says success.
    EdgeCase{"AnswerOnTheWayBeforeTheWaitIsDelivered", 0, 30000, {"r1"}, 0,
        [](Messenger& m) { return m.GetValue(7, false); }, 1, "answered valid 'v:r1' 'msg'",
        {"D Request ID is 'r1'", "D Got request for ID 'r1'.",
         "D returned from waiting for response with ID 'r1': got response"}, 0},
    // The callback logs the error before it waits for the messenger's lock.
    EdgeCase{"ErrorAnswerIsKeptAndNotRetried", 3, 30000, {"r1"}, 5,
        [](Messenger& m) { return m.SetValue(7, ORUVALUE::FromInteger(3), false); }, 1,
        "answered 'v:r1' 'msg'",
        {"E PEL error for request r1: 5; t1; t2; id: 7; urn: urn:7; value: v:r1", "D Request ID is 'r1'",
         "D Got request for ID 'r1'.", "D returned from waiting for response with ID 'r1': got response"}, 0},
    EdgeCase{"EmptyIdIsRetriedAtOnce", 1, 30000, {"", "r2"}, 0,
        [](Messenger& m) { return m.Request("q", seconds(0)); }, 2,
        "answered valid 'v:r2' 'msg'",
        {"D Request ID is ''", "E Request ID is empty, retrying", "D Request ID is 'r2'",
         "D Got request for ID 'r2'.", "D returned from waiting for response with ID 'r2': got response"}, 0},
    EdgeCase{"OnlyEmptyIdsNeverWait", 1, 30000, {"", ""}, -1,
        [](Messenger& m) { return m.RegisterApplication("app", "1.0", "me"); },
        2, "unanswered '' ''",
        {"D Request ID is ''", "E Request ID is empty, retrying", "D Request ID is ''",
         "E Request ID is empty, retrying", "E Maximum number of retries (1) reached."}, 0},
    // The time-out warning is written on the abandon path too; no further attempt.
    EdgeCase{"IrrelevantFromTheStart", 3, 30000, {"c1"}, -1,
        [](Messenger& m) { return m.SetConfiguration("cfg", seconds(20), [] { return false; }); }, 1,
        "unanswered '' ''", kAbandoned, 0},
    EdgeCase{"RelevanceIsPolledWhileWaiting", 3, 30000, {"c1"}, -1,
        [](Messenger& m) {
            const auto end = Clock::now() + std::chrono::milliseconds(30);
            return m.SetConfiguration("cfg", seconds(20), [end] { return Clock::now() < end; }); },
        1, "unanswered '' ''", kAbandoned, 30}};
// clang-format on

TEST(Messenger, EdgeCasesIssueWaitAndLog)
{
    for (const EdgeCase& c : kEdgeCases)
    {
        SCOPED_TRACE(c.name);
        LumTest::LogCapture log;
        FakeStack stack;
        stack.ids = c.ids;
        Messenger messenger(stack, milliseconds(c.defaultMs), c.retries);
        if (c.answerCode >= 0)
            stack.answer = [&](const std::string& id)
            { messenger.OnGetValue(nullptr, id, 7, "urn:7", "v:" + id, TestError(c.answerCode, "msg")); };

        const auto start = Clock::now();
        const Lum::Docket docket = c.call(messenger);
        const auto elapsed = Clock::now() - start;
        for (auto& t : stack.answerers)
            t.join();

        EXPECT_EQ(Show(docket), c.docket);
        EXPECT_EQ(stack.count, c.issued);
        EXPECT_EQ(Logged(log), c.logs);
        EXPECT_GE(elapsed, std::chrono::milliseconds(c.minMs));
        EXPECT_LT(elapsed, std::chrono::seconds(10));
        EXPECT_EQ(messenger.PendingDockets(), 0u);
    }
}

TEST(MessengerCallbacks, LogDeviceStackErrorsAndDropAnswersWithoutDocket)
{
    FakeStack stack;
    Messenger messenger(stack, seconds(1), 0);
    // clang-format off
    const std::vector<std::pair<std::function<void(Messenger&, const TestError&)>, const char*>> cases = {
        {[](auto& m, const auto& e) { m.OnResponse(nullptr, "x", "resp", e); },
         "E PEL error for request x: -3; t1; t2; response: resp"},
        {[](auto& m, const auto& e) { m.OnRegisterApplication(nullptr, "x", e); },
         "E PEL error for request x: -3; t1; t2"},
        {[](auto& m, const auto& e) { m.OnGetConfiguration(nullptr, "x", "cfg", e); },
         "E PEL error for request x: -3; t1; t2; config: cfg"},
        {[](auto& m, const auto& e) { m.OnSetConfiguration(nullptr, "x", e); },
         "E PEL error for request x: -3; t1; t2"},
        {[](auto& m, const auto& e) { m.OnGetValue(nullptr, "x", 4294967295ul, "urn", "val", e); },
         "E PEL error for request x: -3; t1; t2; id: 4294967295; urn: urn; value: val"},
        {[](auto& m, const auto& e) { m.OnSetValue(nullptr, "x", 12ul, "urn", "val", e); },
         "E PEL error for request x: -3; t1; t2; id: 12; urn: urn; value: val"}};
    // clang-format on
    for (const auto& [call, errorLog] : cases)
    {
        SCOPED_TRACE(errorLog);
        LumTest::LogCapture log;
        call(messenger, TestError(-3, "boom"));
        call(messenger, TestError(0, "fine"));
        EXPECT_THAT(Logged(log), ElementsAre(errorLog, "D No docket for response ID 'x'",
                                             "E Request x: Error 'boom'", "D No docket for response ID 'x'"));
    }
}

TEST(MessengerCalls, IgnoredResponseAndImmediateOperations)
{
    LumTest::LogCapture log;
    FakeStack stack;
    stack.ids = {"", "s1"};
    Messenger messenger(stack, seconds(1), 0);
    EXPECT_FALSE(messenger.SetValueAndIgnoreResponse(3, ORUVALUE::FromInteger(1), true));
    EXPECT_TRUE(messenger.SetValueAndIgnoreResponse(3, ORUVALUE::FromInteger(1), true));
    EXPECT_EQ(messenger.PendingDockets(), 0u);
    messenger.OnSetValue(nullptr, "s1", 3, "u", "4:1", TestError());
    EXPECT_THAT(Logged(log), ElementsAre("D Request ID is ''", "D Request ID is 's1'",
                                         "D No docket for response ID 's1'"));

    // Carried out at once: answered, valid exactly when the device stack succeeded.
    EXPECT_EQ(Show(messenger.SetConfiguration(8, {}, true)), "answered '' ''");
    stack.result = true;
    EXPECT_EQ(Show(messenger.SetConfiguration(8, {}, true)), "answered valid '' ''");
}

TEST(MessengerCalls, SameIdTwiceSharesOneEntry)
{
    LumTest::LogCapture log;
    FakeStack stack;
    stack.ids = {"dup", "dup"};
    Messenger messenger(stack, seconds(2), 0);
    std::vector<Lum::Docket> results(2);
    std::thread first([&] { results[0] = messenger.GetValue(1, true); });
    ASSERT_TRUE(Eventually([&] { return stack.count == 1; }));
    std::thread second([&] { results[1] = messenger.GetValue(2, true); });
    ASSERT_TRUE(Eventually([&] { return stack.count == 2; }));
    // Both wait now: the entry check needs the mutex, which only a waiter releases.
    EXPECT_EQ(messenger.PendingDockets(), 1u);
    messenger.OnGetValue(nullptr, "dup", 1, "u", "answer", TestError());
    first.join();
    second.join();
    EXPECT_EQ(Show(results[0]), "answered valid 'answer' ''");
    EXPECT_THAT(Show(results[1]), ::testing::AnyOf("unanswered '' ''", "answered valid 'answer' ''"));
    EXPECT_EQ(messenger.PendingDockets(), 0u);
    EXPECT_THAT(log.Texts(), ::testing::Contains("Got request for ID 'dup'.").Times(1));
}

TEST(MessengerCleanUp, InterruptedOrThrowingWaitLeavesNoDocketBehind)
{
    LumTest::LogCapture log;
    FakeStack stack;
    stack.ids = {"r1", "c1"};
    Messenger messenger(stack, seconds(30), 0);
    boost::thread caller([&] { EXPECT_THROW(messenger.GetValue(7, true), boost::thread_interrupted); });
    ASSERT_TRUE(Eventually([&] { return messenger.PendingDockets() == 1; }));
    caller.interrupt();
    caller.join();
    EXPECT_EQ(messenger.PendingDockets(), 0u);
    // The late answer finds no docket instead of writing into the finished frame.
    log.Clear();
    messenger.OnGetValue(nullptr, "r1", 7, "u", "late", TestError());
    EXPECT_THAT(log.Texts(), ElementsAre("No docket for response ID 'r1'"));
    EXPECT_THROW(messenger.SetConfiguration("cfg", seconds(5), []() -> bool { throw 42; }), int);
    EXPECT_EQ(messenger.PendingDockets(), 0u);
}

TEST(FunctionDeathTest, CallingAnEmptyWrapperIsAnAssertionFailure)
{
    const Lum::BoolReader empty;
    EXPECT_DEATH(
        {
            log4cplus::Logger::getRoot().addAppender(
                log4cplus::SharedAppenderPtr(new log4cplus::ConsoleAppender(true, true)));
            static_cast<void>(empty());
        },
        "LUM_ASSERT2\\(m_storage\\) failed");
}

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
        messenger.UnsetAsResponseHandler();
        sim.Shutdown();
    }

    SimulatedDeviceStack sim;
    Lum::RemoteRequestMessengerDeviceStack adapter;
    Lum::DscAsyncRequestMessenger messenger;
};

TEST(MessengerWithSimulator, RequestsRoundTripInEveryValueFormat)
{
    LumTest::LogCapture log;
    Chain chain(seconds(10), 0);
    auto& m = chain.messenger;
    EXPECT_EQ(Show(m.RegisterApplication("app", "2.1", "me")), "answered valid '' ''");

    // NaN bypasses the platform serializer; the native format changes neither spelling.
    const ORUVALUE nan = ORUVALUE::FromFloat(std::numeric_limits<double>::quiet_NaN());
    const ORUVALUE number = ORUVALUE::FromFloat(21.25);
    EXPECT_EQ(Show(m.SetValue(11, nan, true)), "answered valid 'nan' ''");
    EXPECT_EQ(m.SetValue(12, number, true).ReadReply(), Serialized(number, false));
    chain.adapter.EnableInternalValueFormat();
    EXPECT_TRUE(log.Contains(log4cplus::DEBUG_LOG_LEVEL, "Internal value format now enabled."));
    EXPECT_TRUE(chain.sim.IsInternalValueFormat());
    EXPECT_TRUE(m.EnableNativeFormat());
    EXPECT_EQ(chain.sim.GetFormat(), "Native");
    EXPECT_EQ(m.SetValue(11, nan, true).ReadReply(), "3.7:nan");
    EXPECT_EQ(m.SetValue(12, number, true).ReadReply(), Serialized(number, true));
    EXPECT_EQ(Show(m.GetValue(11, false)), "answered valid '3.7:nan' ''");
    chain.adapter.EnableDefaultValueFormat();
    EXPECT_EQ(m.SetValue(11, nan, true).ReadReply(), "nan");

    EXPECT_EQ(Show(m.GetValue(99, false)), "answered '' 'Unknown object 99'");
    EXPECT_EQ(m.Request("hello", seconds(0)).ReadReply(), "hello");
    EXPECT_TRUE(m.SetConfiguration("<config/>", seconds(0), [] { return true; }).IsReplyValid());
    EXPECT_EQ(chain.sim.GetConfiguration(), "<config/>");
}

TEST(MessengerWithSimulator, FormatSwitchesNeverMixWithinOneValue)
{
    SimulatedDeviceStack sim;
    Lum::RemoteRequestMessengerDeviceStack adapter(sim);
    const ORUVALUE nan = ORUVALUE::FromFloat(std::numeric_limits<double>::quiet_NaN());
    std::atomic<bool> stop{false};
    std::thread switcher(
        [&]
        {
            while (!stop)
            {
                adapter.EnableInternalValueFormat();
                adapter.EnableDefaultValueFormat();
            }
        });
    for (int i = 0; i < 2000; ++i)
        adapter.SetValueAsync(1, nan, false);
    stop = true;
    switcher.join();
    for (const auto& request : sim.GetIssuedRequests())
        ASSERT_TRUE(request.payload == "nan" || request.payload == "3.7:nan") << request.payload;
}

TEST(MessengerWithSimulator, AnswerWakesItsWaiterAtOnce)
{
    // A waiter that only noticed answers at the end of its 100 ms slice would need about three seconds.
    Chain chain(seconds(10), 0);
    chain.sim.SetObjectValue(1, "v");
    const auto start = Clock::now();
    for (int i = 0; i < 30; ++i)
        ASSERT_EQ(chain.messenger.GetValue(1, false).ReadReply(), "v");
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1500));
}

TEST(MessengerWithSimulator, FaultModesAndLateAnswers)
{
    LumTest::LogCapture log;
    Chain chain(milliseconds(200), 1);
    auto& sim = chain.sim;
    sim.SetObjectValue(1, "v");
    sim.RefuseNext(1); // then sim-1
    EXPECT_EQ(Show(chain.messenger.GetValue(1, false)), "answered valid 'v' ''");
    sim.DropNext(1); // sim-2, then sim-3
    EXPECT_EQ(Show(chain.messenger.GetValue(1, false)), "answered valid 'v' ''");
    sim.FailNext(1); // sim-4
    EXPECT_EQ(Show(chain.messenger.GetValue(1, false)), "answered 'v' 'Simulated device-stack error'");
    EXPECT_TRUE(
        log.Contains(log4cplus::ERROR_LOG_LEVEL,
                     "PEL error for request sim-4: 1; simulated failure; injected by the simulator; id: "
                     "1; urn: urn:sim:object:1; value: v"));
    sim.DuplicateNext(1);
    EXPECT_EQ(sim.RequestAsync("x"), "sim-4");

    SimulatedDeviceStack::Faults faults;
    faults.lateProbability = 1.0;
    faults.lateDelay = Ms(600);
    sim.SetFaults(faults);
    EXPECT_FALSE(chain.messenger.GetValue(1, false).IsAnswered()); // sim-5, sim-6
    ASSERT_TRUE(sim.WaitUntilIdle(Ms(5000)));
    EXPECT_TRUE(log.Contains(log4cplus::DEBUG_LOG_LEVEL, "No docket for response ID 'sim-5'"));
    EXPECT_TRUE(log.Contains(log4cplus::DEBUG_LOG_LEVEL, "No docket for response ID 'sim-6'"));
    const auto s = sim.GetStatistics();
    EXPECT_EQ((std::vector<std::uint64_t>{s.issued, s.refused, s.dropped, s.failed, s.duplicated, s.late}),
              (std::vector<std::uint64_t>{7, 1, 1, 1, 1, 2}));
}

TEST(MessengerStress, EveryCallReturnsWithItsOwnAnswer)
{
    constexpr int kCallers = 8;
    constexpr int kPerCaller = 2000;
    Chain chain(milliseconds(25), 2, 20261121);
    auto& m = chain.messenger;
    for (unsigned long object = 0; object < 50 * (kCallers + 1); ++object)
        chain.sim.SetObjectValue(object, "g-" + std::to_string(object));
    SimulatedDeviceStack::Faults faults;
    faults.dropProbability = faults.emptyIdProbability = faults.duplicateIdProbability = 0.03;
    faults.lateProbability = 0.03;
    faults.errorProbability = 0.05;
    faults.lateDelay = Ms(40);
    chain.sim.SetFaults(faults);

    // The reply that belongs to each request ("-" when none may come) and its docket.
    using Outcome = std::pair<std::string, Lum::Docket>;
    auto call = [&m](int c, int i) -> Outcome
    {
        const unsigned long object = 50ul * c + i % 50;
        const std::string request = "q-" + std::to_string(c) + "-" + std::to_string(i);
        const ORUVALUE value = ORUVALUE::FromInteger(c * 1000000 + i);
        const bool relevant = i % 40 != 3;
        switch (i % 4)
        {
        case 0:
            return {"g-" + std::to_string(object), m.GetValue(object, false)};
        case 1:
            return {request, m.Request(request, milliseconds(i % 8 == 1 ? 0 : 30))};
        case 2:
            return {Serialized(value, false), m.SetValue(100000ul + object, value, false)};
        default:
            return {relevant ? "" : "-",
                    m.SetConfiguration("c", milliseconds(20), [relevant] { return relevant; })};
        }
    };

    std::vector<std::vector<Outcome>> outcomes(kCallers);
    std::vector<std::thread> callers;
    for (int c = 0; c < kCallers; ++c)
        callers.emplace_back(
            [&, c]
            {
                for (int i = 0; i < kPerCaller; ++i)
                    outcomes[c].push_back(call(c, i));
            });
    // Waiting callers that get interrupted take their dockets with them.
    for (int round = 0; round < 20; ++round)
    {
        boost::thread victim(
            [&]
            {
                for (int i = 0;; i += 4)
                    call(kCallers, i);
            });
        std::this_thread::sleep_for(std::chrono::milliseconds(2 + round % 5));
        victim.interrupt();
        victim.join();
    }
    for (auto& t : callers)
        t.join();

    EXPECT_EQ(m.PendingDockets(), 0u);

    // Requests that shared a request id cannot be told apart by their answers.
    std::map<std::string, std::set<std::string>> payloadsById;
    for (const auto& r : chain.sim.GetIssuedRequests())
        payloadsById[r.requestId].insert(r.payload);
    auto sharedId = [&](const std::string& a, const std::string& b)
    {
        return std::any_of(payloadsById.begin(), payloadsById.end(),
                           [&](const auto& e)
                           { return e.first != "" && e.second.count(a) && e.second.count(b); });
    };
    const std::string injected = chain.sim.GetFaults().error.message;
    std::size_t answered = 0, exact = 0;
    for (const auto& mine : outcomes)
        for (const auto& [expected, d] : mine)
        {
            answered += d.IsAnswered() ? 1 : 0;
            exact += d.IsAnswered() && d.ReadReply() == expected ? 1 : 0;
            if (!d.IsAnswered())
                EXPECT_EQ(Show(d), "unanswered '' ''");
            else if (expected == "-" || d.ReadDeliveryError() != (d.IsReplyValid() ? "" : injected) ||
                     (d.ReadReply() != expected && !sharedId(expected, d.ReadReply())))
                ADD_FAILURE() << "expected '" << expected << "', got " << Show(d);
        }
    EXPECT_GT(answered, kCallers * kPerCaller * 8u / 10);
    EXPECT_GT(exact, answered * 9 / 10);
    const auto stats = chain.sim.GetStatistics();
    for (auto count : {stats.dropped, stats.failed, stats.refused, stats.duplicated, stats.late})
        EXPECT_GT(count, 0u);
}

} // namespace
