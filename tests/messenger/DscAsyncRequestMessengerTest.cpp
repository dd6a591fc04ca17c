#include "LogCapture.h"
#include "MessengerTestSupport.h"

#include <Lum/Docket.h>
#include <Lum/DscAsyncRequestMessenger.h>

#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using boost::posix_time::milliseconds;
using boost::posix_time::seconds;
using LumTest::Eventually;
using LumTest::MockDeviceStack;
using LumTest::TestError;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Invoke;
using ::testing::Return;
using ::testing::StrictMock;
using Clock = std::chrono::steady_clock;

const auto DEBUG = log4cplus::DEBUG_LOG_LEVEL;
const auto INFO = log4cplus::INFO_LOG_LEVEL;
const auto WARN = log4cplus::WARN_LOG_LEVEL;
const auto ERROR = log4cplus::ERROR_LOG_LEVEL;

// --- dockets -------------------------------------------------------------------

TEST(Docket, DefaultIsUnansweredAndEmpty)
{
    const Lum::Docket docket;
    EXPECT_FALSE(docket.IsAnswered());
    EXPECT_FALSE(docket.IsReplyValid());
    EXPECT_EQ(docket.ReadReply(), "");
    EXPECT_EQ(docket.ReadDeliveryError(), "");
}

TEST(Docket, KeepsPayloadAndErrorWhateverTheFlags)
{
    std::string reply = "payload";
    const Lum::Docket failed(std::move(reply), "broken", false, true);
    EXPECT_TRUE(failed.IsAnswered());
    EXPECT_FALSE(failed.IsReplyValid());
    EXPECT_EQ(failed.ReadReply(), "payload");
    EXPECT_EQ(failed.ReadDeliveryError(), "broken");

    Lum::Docket copy;
    copy = failed;
    const Lum::Docket copied(copy);
    EXPECT_TRUE(copied.IsAnswered());
    EXPECT_EQ(copied.ReadReply(), "payload");
    EXPECT_EQ(copied.ReadDeliveryError(), "broken");
}

// --- messenger over a mock device stack ---------------------------------------------

class Messenger : public ::testing::Test
{
protected:
    ~Messenger() override
    {
        for (auto& t : answerers)
            t.join();
    }

    void Make(boost::posix_time::time_duration defaultTimeout, unsigned retries)
    {
        messenger = std::make_unique<Lum::DscAsyncRequestMessenger>(stack, defaultTimeout, retries);
    }

    // Answers a get-value request from another thread, as the client's thread would.
    void AnswerGetValue(const std::string& requestId, const std::string& value, int code = 0,
                        std::chrono::milliseconds delay = std::chrono::milliseconds(0))
    {
        answerers.emplace_back(
            [this, requestId, value, code, delay]
            {
                std::this_thread::sleep_for(delay);
                messenger->OnGetValue(nullptr, requestId, 7, "urn:7", value,
                                      TestError(code, "t1", "t2", "msg"));
            });
    }

    LumTest::LogCapture log;
    StrictMock<MockDeviceStack> stack;
    std::unique_ptr<Lum::DscAsyncRequestMessenger> messenger;
    std::vector<std::thread> answerers;
};

TEST_F(Messenger, RetriesWithAFreshRequestUntilAttemptsAreUsedUp)
{
    Make(milliseconds(20), 2);
    EXPECT_CALL(stack, GetValueAsync(7ul, true))
        .WillOnce(Return("r1"))
        .WillOnce(Return("r2"))
        .WillOnce(Return("r3"));

    const Lum::Docket docket = messenger->GetValue(7, true);

    EXPECT_FALSE(docket.IsAnswered());
    EXPECT_THAT(log.TextsAtLeast(WARN),
                ElementsAre("Timeout (00:00:00.020000) occured for request ID 'r1'",
                            "No response received for ID 'r1' with timeout 00:00:00, retrying",
                            "Timeout (00:00:00.020000) occured for request ID 'r2'",
                            "No response received for ID 'r2' with timeout 00:00:00, retrying",
                            "Timeout (00:00:00.020000) occured for request ID 'r3'",
                            "No response received for ID 'r3' with timeout 00:00:00, retrying",
                            "Maximum number of retries (2) reached."));
    EXPECT_EQ(messenger->PendingDockets(), 0u);
}

TEST_F(Messenger, GivenTimeoutIsUsedAndPrintedAsGiven)
{
    Make(seconds(30), 0);
    EXPECT_CALL(stack, RequestAsync("ping")).WillOnce(Return("q1"));
    const auto start = Clock::now();
    const Lum::Docket docket = messenger->Request("ping", milliseconds(30));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
    EXPECT_FALSE(docket.IsAnswered());
    EXPECT_THAT(log.TextsAtLeast(WARN), ElementsAre("Timeout (00:00:00.030000) occured for request ID 'q1'",
                                                    "No response received for ID 'q1' with timeout "
                                                    "00:00:00.030000, retrying",
                                                    "Maximum number of retries (0) reached."));
}

TEST_F(Messenger, ZeroTimeoutWaitsForTheDefault)
{
    Make(milliseconds(60), 0);
    EXPECT_CALL(stack, RequestAsync("ping")).WillOnce(Return("q1"));
    const auto start = Clock::now();
    messenger->Request("ping", milliseconds(0));
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
    EXPECT_TRUE(log.Contains(WARN, "Timeout (00:00:00.060000) occured for request ID 'q1'"));
    EXPECT_TRUE(log.Contains(ERROR, "No response received for ID 'q1' with timeout 00:00:00, retrying"));
}

TEST_F(Messenger, LargestRetryCountWrapsToNoAttemptAtAll)
{
    Make(seconds(1), UINT_MAX); // the strict mock fails on any request
    const Lum::Docket docket = messenger->SetConfiguration("cfg", seconds(1), [] { return true; });
    EXPECT_FALSE(docket.IsAnswered());
    EXPECT_THAT(log.Texts(), ElementsAre("Maximum number of retries (4294967295) reached."));
    EXPECT_EQ(log.Lines().at(0).level, ERROR);
}

TEST_F(Messenger, AnswerOnTheWayBeforeTheWaitIsNotLost)
{
    Make(seconds(30), 0);
    EXPECT_CALL(stack, GetValueAsync(7ul, false))
        .WillOnce(Invoke(
            [this](unsigned long, bool)
            {
                // The answer enters the messenger while the request is still being issued.
                std::mutex m;
                std::condition_variable cv;
                bool arriving = false;
                auto error = std::make_shared<TestError>(0, "", "", "");
                error->onMessage = [&]
                {
                    std::lock_guard<std::mutex> lock(m);
                    arriving = true;
                    cv.notify_all();
                };
                answerers.emplace_back([this, error]
                                       { messenger->OnGetValue(nullptr, "r1", 7, "u", "early", *error); });
                std::unique_lock<std::mutex> lock(m);
                EXPECT_TRUE(cv.wait_for(lock, std::chrono::seconds(5), [&] { return arriving; }));
                // Give it time to block on the messenger; it must wait for the docket.
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                error->onMessage = nullptr;
                return std::string("r1");
            }));

    const auto start = Clock::now();
    const Lum::Docket docket = messenger->GetValue(7, false);

    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
    EXPECT_TRUE(docket.IsAnswered());
    EXPECT_TRUE(docket.IsReplyValid());
    EXPECT_EQ(docket.ReadReply(), "early");
    EXPECT_EQ(docket.ReadDeliveryError(), "");
    EXPECT_THAT(log.Texts(), ElementsAre("Request ID is 'r1'", "Got request for ID 'r1'.",
                                         "returned from waiting for response with ID 'r1': got response"));
}

TEST_F(Messenger, AnswerWithAnErrorCodeIsAnsweredButInvalidAndNotRetried)
{
    Make(seconds(30), 3);
    EXPECT_CALL(stack, GetValueAsync(7ul, true))
        .WillOnce(Invoke(
            [this](unsigned long, bool)
            {
                AnswerGetValue("r1", "old", 5, std::chrono::milliseconds(10));
                return std::string("r1");
            }));
    const Lum::Docket docket = messenger->GetValue(7, true);
    EXPECT_TRUE(docket.IsAnswered());
    EXPECT_FALSE(docket.IsReplyValid());
    EXPECT_EQ(docket.ReadReply(), "old");
    EXPECT_EQ(docket.ReadDeliveryError(), "msg");
    EXPECT_THAT(log.TextsAtLeast(WARN),
                ElementsAre("PEL error for request r1: 5; t1; t2; id: 7; urn: urn:7; value: old"));
}

TEST_F(Messenger, EmptyRequestIdIsRetriedAtOnce)
{
    Make(seconds(30), 1);
    EXPECT_CALL(stack, GetValueAsync(7ul, true))
        .WillOnce(Return(""))
        .WillOnce(Invoke(
            [this](unsigned long, bool)
            {
                AnswerGetValue("r2", "21.5");
                return std::string("r2");
            }));
    const Lum::Docket docket = messenger->GetValue(7, true);
    EXPECT_TRUE(docket.IsAnswered());
    EXPECT_EQ(docket.ReadReply(), "21.5");
    EXPECT_THAT(log.Texts(), ElementsAre("Request ID is ''", "Request ID is empty, retrying",
                                         "Request ID is 'r2'", "Got request for ID 'r2'.",
                                         "returned from waiting for response with ID 'r2': got response"));
}

TEST_F(Messenger, OnlyEmptyRequestIdsNeverWait)
{
    Make(seconds(30), 1);
    EXPECT_CALL(stack, RegisterApplicationAsync("app", "1.0", "me")).Times(2).WillRepeatedly(Return(""));
    const Lum::Docket docket = messenger->RegisterApplication("app", "1.0", "me");
    EXPECT_FALSE(docket.IsAnswered());
    EXPECT_THAT(log.TextsAtLeast(WARN),
                ElementsAre("Request ID is empty, retrying", "Request ID is empty, retrying",
                            "Maximum number of retries (1) reached."));
}

TEST_F(Messenger, IrrelevantFromTheStartEndsAfterOneRequest)
{
    Make(seconds(30), 3);
    EXPECT_CALL(stack, SetConfigurationAsync("cfg")).WillOnce(Return("c1"));
    const auto start = Clock::now();
    const Lum::Docket docket = messenger->SetConfiguration("cfg", seconds(20), [] { return false; });
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
    EXPECT_FALSE(docket.IsAnswered());
    EXPECT_THAT(log.Texts(),
                ElementsAre("Request ID is 'c1'",
                            "Aborted a PEL request because its result is no longer relevant",
                            "Timeout (00:00:20) occured for request ID 'c1'",
                            "returned from waiting for response with ID 'c1': !isStillRelevant"));
    EXPECT_EQ(log.Lines().at(1).level, INFO);
    EXPECT_EQ(log.Lines().at(2).level, WARN);
}

TEST_F(Messenger, RelevanceIsPolledWhileWaiting)
{
    Make(seconds(30), 3);
    EXPECT_CALL(stack, SetConfigurationAsync("cfg")).WillOnce(Return("c1"));
    std::atomic<bool> relevant{true};
    answerers.emplace_back(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            relevant = false;
        });
    const auto start = Clock::now();
    const Lum::Docket docket =
        messenger->SetConfiguration("cfg", seconds(20), [&] { return relevant.load(); });
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
    EXPECT_FALSE(docket.IsAnswered());
    EXPECT_TRUE(log.Contains(INFO, "Aborted a PEL request because its result is no longer relevant"));
    EXPECT_TRUE(log.Contains(DEBUG, "returned from waiting for response with ID 'c1': !isStillRelevant"));
    EXPECT_EQ(messenger->PendingDockets(), 0u);
}

TEST_F(Messenger, InterruptedWaitLeavesNoDocketBehind)
{
    Make(seconds(30), 0);
    EXPECT_CALL(stack, GetValueAsync(7ul, true)).WillOnce(Return("r1"));
    std::atomic<bool> interrupted{false};
    boost::thread caller(
        [&]
        {
            try
            {
                messenger->GetValue(7, true);
            }
            catch (const boost::thread_interrupted&)
            {
                interrupted = true;
            }
        });
    ASSERT_TRUE(Eventually([&] { return messenger->PendingDockets() == 1; }));
    caller.interrupt();
    caller.join();
    EXPECT_TRUE(interrupted);
    EXPECT_EQ(messenger->PendingDockets(), 0u);

    // The late answer finds no docket instead of writing into the finished frame.
    log.Clear();
    messenger->OnGetValue(nullptr, "r1", 7, "u", "late", TestError());
    EXPECT_THAT(log.Texts(), ElementsAre("No docket for response ID 'r1'"));
}

TEST_F(Messenger, ThrowingPredicateLeavesNoDocketBehind)
{
    Make(seconds(30), 0);
    EXPECT_CALL(stack, SetConfigurationAsync("cfg")).WillOnce(Return("c1"));
    EXPECT_THROW(
        messenger->SetConfiguration("cfg", seconds(5), []() -> bool { throw std::runtime_error("gone"); }),
        std::runtime_error);
    EXPECT_EQ(messenger->PendingDockets(), 0u);
}

TEST_F(Messenger, LateAnswerIsDroppedWithItsError)
{
    Make(milliseconds(10), 0);
    EXPECT_CALL(stack, GetValueAsync(7ul, true)).WillOnce(Return("r1"));
    EXPECT_FALSE(messenger->GetValue(7, true).IsAnswered());
    log.Clear();
    messenger->OnGetValue(nullptr, "r1", 7, "urn:7", "v", TestError(9, "a", "b", "too late"));
    EXPECT_THAT(log.Texts(), ElementsAre("PEL error for request r1: 9; a; b; id: 7; urn: urn:7; value: v",
                                         "No docket for response ID 'r1'", "Request r1: Error 'too late'"));
}

TEST_F(Messenger, SameIdTwiceSharesOneEntry)
{
    Make(seconds(1), 0);
    std::atomic<int> issued{0};
    EXPECT_CALL(stack, GetValueAsync(_, true))
        .Times(2)
        .WillRepeatedly(Invoke(
            [&](unsigned long, bool)
            {
                ++issued;
                return std::string("dup");
            }));
    std::vector<Lum::Docket> results(2);
    std::thread first([&] { results[0] = messenger->GetValue(1, true); });
    ASSERT_TRUE(Eventually([&] { return issued == 1; }));
    std::thread second([&] { results[1] = messenger->GetValue(2, true); });
    ASSERT_TRUE(Eventually([&] { return issued == 2; }));
    // Both wait now (the entry check needs the mutex, which only a waiter releases).
    EXPECT_EQ(messenger->PendingDockets(), 1u);
    messenger->OnGetValue(nullptr, "dup", 1, "u", "answer", TestError());
    first.join();
    second.join();

    int answered = 0;
    for (const Lum::Docket& d : results)
        if (d.IsAnswered())
        {
            ++answered;
            EXPECT_EQ(d.ReadReply(), "answer");
        }
    EXPECT_GE(answered, 1);
    EXPECT_EQ(messenger->PendingDockets(), 0u);
    const auto texts = log.Texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "Got request for ID 'dup'."), 1);
}

TEST_F(Messenger, EachBlockingRequestIssuesItsOperation)
{
    Make(seconds(30), 0);
    const ORUVALUE value = ORUVALUE::FromInteger(3);
    EXPECT_CALL(stack, RegisterApplicationAsync("a", "b", "c"))
        .WillOnce(Invoke(
            [this](auto&&...)
            {
                answerers.emplace_back([this]
                                       { messenger->OnRegisterApplication(nullptr, "i1", TestError()); });
                return std::string("i1");
            }));
    EXPECT_CALL(stack, SetValueAsync(5ul, _, false))
        .WillOnce(Invoke(
            [this](unsigned long, const ORUVALUE& v, bool)
            {
                EXPECT_EQ(v, ORUVALUE::FromInteger(3));
                answerers.emplace_back([this]
                                       { messenger->OnSetValue(nullptr, "i2", 5, "u", "4:3", TestError()); });
                return std::string("i2");
            }));
    EXPECT_CALL(stack, RequestAsync("q"))
        .WillOnce(Invoke(
            [this](const std::string&)
            {
                answerers.emplace_back([this] { messenger->OnResponse(nullptr, "i3", "resp", TestError()); });
                return std::string("i3");
            }));
    EXPECT_CALL(stack, SetConfigurationAsync("c"))
        .WillOnce(Invoke(
            [this](const std::string&)
            {
                answerers.emplace_back([this] { messenger->OnSetConfiguration(nullptr, "i4", TestError()); });
                return std::string("i4");
            }));
    EXPECT_CALL(stack, RequestAsync("get-config"))
        .WillOnce(Invoke(
            [this](const std::string&)
            {
                answerers.emplace_back(
                    [this] { messenger->OnGetConfiguration(nullptr, "i5", "<config/>", TestError()); });
                return std::string("i5");
            }));

    const Lum::Docket registered = messenger->RegisterApplication("a", "b", "c");
    const Lum::Docket set = messenger->SetValue(5, value, false);
    const Lum::Docket response = messenger->Request("q", seconds(30));
    const Lum::Docket configured = messenger->SetConfiguration("c", seconds(30), [] { return true; });
    const Lum::Docket configuration = messenger->Request("get-config", seconds(0));

    for (const Lum::Docket* d : {&registered, &set, &response, &configured, &configuration})
    {
        EXPECT_TRUE(d->IsAnswered());
        EXPECT_TRUE(d->IsReplyValid());
        EXPECT_EQ(d->ReadDeliveryError(), "");
    }
    EXPECT_EQ(registered.ReadReply(), "");
    EXPECT_EQ(set.ReadReply(), "4:3");
    EXPECT_EQ(response.ReadReply(), "resp");
    EXPECT_EQ(configured.ReadReply(), "");
    EXPECT_EQ(configuration.ReadReply(), "<config/>");
    EXPECT_TRUE(log.TextsAtLeast(INFO).empty());
}

struct CallbackCase
{
    const char* name;
    std::function<void(Lum::DscAsyncRequestMessenger&, const TestError&)> call;
    const char* errorLog;
};

TEST_F(Messenger, EveryCallbackLogsDeviceStackErrorsAndFilesTheAnswer)
{
    Make(seconds(1), 0);
    const std::vector<CallbackCase> cases = {
        {"OnResponse", [](auto& m, const auto& e) { m.OnResponse(nullptr, "x", "resp", e); },
         "PEL error for request x: -3; one; two; response: resp"},
        {"OnRegisterApplication", [](auto& m, const auto& e) { m.OnRegisterApplication(nullptr, "x", e); },
         "PEL error for request x: -3; one; two"},
        {"OnGetConfiguration", [](auto& m, const auto& e) { m.OnGetConfiguration(nullptr, "x", "cfg", e); },
         "PEL error for request x: -3; one; two; config: cfg"},
        {"OnSetConfiguration", [](auto& m, const auto& e) { m.OnSetConfiguration(nullptr, "x", e); },
         "PEL error for request x: -3; one; two"},
        {"OnGetValue",
         [](auto& m, const auto& e) { m.OnGetValue(nullptr, "x", 4294967295ul, "urn", "val", e); },
         "PEL error for request x: -3; one; two; id: 4294967295; urn: urn; value: val"},
        {"OnSetValue", [](auto& m, const auto& e) { m.OnSetValue(nullptr, "x", 12ul, "urn", "val", e); },
         "PEL error for request x: -3; one; two; id: 12; urn: urn; value: val"},
    };
    for (const CallbackCase& c : cases)
    {
        SCOPED_TRACE(c.name);
        log.Clear();
        c.call(*messenger, TestError(-3, "one", "two", "boom"));
        ASSERT_EQ(log.Lines().size(), 3u);
        EXPECT_EQ(log.Lines()[0].level, ERROR);
        EXPECT_EQ(log.Lines()[0].text, c.errorLog);
        EXPECT_EQ(log.Lines()[1].level, DEBUG);
        EXPECT_EQ(log.Lines()[1].text, "No docket for response ID 'x'");
        EXPECT_EQ(log.Lines()[2].level, ERROR);
        EXPECT_EQ(log.Lines()[2].text, "Request x: Error 'boom'");

        log.Clear();
        c.call(*messenger, TestError(0, "one", "two", "fine"));
        EXPECT_THAT(log.Texts(), ElementsAre("No docket for response ID 'x'"));
    }
}

TEST_F(Messenger, IgnoredResponseIsFiledNowhere)
{
    Make(seconds(1), 0);
    EXPECT_CALL(stack, SetValueAsync(3ul, _, true)).WillOnce(Return("")).WillOnce(Return("s1"));
    const ORUVALUE value = ORUVALUE::FromInteger(1);
    EXPECT_FALSE(messenger->SetValueAndIgnoreResponse(3, value, true));
    EXPECT_TRUE(messenger->SetValueAndIgnoreResponse(3, value, true));
    EXPECT_EQ(messenger->PendingDockets(), 0u);
    messenger->OnSetValue(nullptr, "s1", 3, "u", "4:1", TestError());
    EXPECT_THAT(log.Texts(),
                ElementsAre("Request ID is ''", "Request ID is 's1'", "No docket for response ID 's1'"));
}

TEST_F(Messenger, ImmediateOperationsAreForwarded)
{
    Make(seconds(1), 0);
    const Lum::RequestMessengerDeviceStack::PropertyMap properties = {
        {Tarn::IDeviceStackClient::PropertyType::Unit, {"K"}}};
    EXPECT_CALL(stack, SetConfiguration(8ul, ::testing::Ref(properties), true))
        .WillOnce(Return(true))
        .WillOnce(Return(false));
    EXPECT_CALL(stack, GetDeviceConfig(_, false))
        .WillOnce(Invoke(
            [](std::string& out, bool)
            {
                out = "dev";
                return true;
            }));
    EXPECT_CALL(stack, SetDeviceConfig(_)).WillOnce(Return(false));
    EXPECT_CALL(stack, EnableNativeFormat()).WillOnce(Return(true));
    EXPECT_CALL(stack, SetResponseHandler(messenger.get()));
    EXPECT_CALL(stack, SetResponseHandler(nullptr));

    const Lum::Docket ok = messenger->SetConfiguration(8, properties, true);
    const Lum::Docket failed = messenger->SetConfiguration(8, properties, true);
    EXPECT_TRUE(ok.IsAnswered());
    EXPECT_TRUE(ok.IsReplyValid());
    EXPECT_EQ(ok.ReadReply(), "");
    EXPECT_TRUE(failed.IsAnswered());
    EXPECT_FALSE(failed.IsReplyValid());
    std::string configuration;
    EXPECT_TRUE(messenger->GetDeviceConfig(configuration, false));
    EXPECT_EQ(configuration, "dev");
    EXPECT_FALSE(messenger->SetDeviceConfig({{"a", "b"}}));
    EXPECT_TRUE(messenger->EnableNativeFormat());
    messenger->SetAsResponseHandler();
    messenger->UnsetAsResponseHandler();
    EXPECT_TRUE(log.Texts().empty());
}

} // namespace
