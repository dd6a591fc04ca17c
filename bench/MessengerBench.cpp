// Round trip of one blocking GetValue against the simulated device stack that
// answers at once, beside the floor: a bare hand-off between two threads over
// a condition variable.

#include <DeviceStackSim/SimulatedDeviceStack.h>
#include <Lum/DscAsyncRequestMessenger.h>
#include <Lum/RequestMessengerDeviceStack.h>
#include <Platform/Logging.h>

#include <benchmark/benchmark.h>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#include <cstdint>

namespace
{

// Shared by all benchmark threads; lives in main so that nothing logs after it.
struct Chain
{
    Chain()
    {
        sim.SetRecordIssuedRequests(false);
        sim.SetObjectValue(1, "3:21.5");
        messenger.SetAsResponseHandler();
    }
    ~Chain()
    {
        messenger.UnsetAsResponseHandler();
        sim.Shutdown();
    }

    LumSim::SimulatedDeviceStack sim;
    Lum::RemoteRequestMessengerDeviceStack adapter{sim};
    Lum::DscAsyncRequestMessenger messenger{adapter, boost::posix_time::seconds(5), 0};
};

Chain* g_chain = nullptr;

void GetValueRoundTrip(benchmark::State& state)
{
    for (auto _ : state)
    {
        const Lum::Docket docket = g_chain->messenger.GetValue(1, false);
        if (!docket.IsReplyValid())
        {
            state.SkipWithError("no valid answer");
            break;
        }
        benchmark::DoNotOptimize(docket.ReadReply().data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(GetValueRoundTrip)->UseRealTime();
BENCHMARK(GetValueRoundTrip)->Threads(8)->UseRealTime();

// One request and one answer between the caller and a responder thread.
class HandOff
{
public:
    HandOff() : m_responder([this] { Respond(); }) {}
    ~HandOff()
    {
        {
            boost::lock_guard<boost::mutex> lock(m_mutex);
            m_stop = true;
        }
        m_requestPosted.notify_all();
        m_responder.join();
    }

    void RoundTrip()
    {
        boost::unique_lock<boost::mutex> lock(m_mutex);
        const std::uint64_t mine = ++m_requested;
        m_requestPosted.notify_one();
        while (m_answered < mine)
            m_answerPosted.wait(lock);
    }

private:
    void Respond()
    {
        boost::unique_lock<boost::mutex> lock(m_mutex);
        for (;;)
        {
            while (!m_stop && m_answered == m_requested)
                m_requestPosted.wait(lock);
            if (m_stop)
                return;
            m_answered = m_requested;
            m_answerPosted.notify_all();
        }
    }

    boost::mutex m_mutex;
    boost::condition_variable m_requestPosted;
    boost::condition_variable m_answerPosted;
    std::uint64_t m_requested = 0;
    std::uint64_t m_answered = 0;
    bool m_stop = false;
    boost::thread m_responder;
};

void ConditionVariableHandOff(benchmark::State& state)
{
    HandOff handOff;
    for (auto _ : state)
        handOff.RoundTrip();
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(ConditionVariableHandOff)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    log4cplus::Initializer initializer;
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    // Production level: the request traces are not formatted.
    log4cplus::Logger(Lum::GetGlobalDefaultLogger()).setLogLevel(log4cplus::INFO_LOG_LEVEL);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    {
        Chain chain;
        g_chain = &chain;
        benchmark::RunSpecifiedBenchmarks();
        g_chain = nullptr;
    }
    benchmark::Shutdown();
    return 0;
}
