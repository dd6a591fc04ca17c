#include <DeviceStackSim/SimulatedDeviceStack.h>
#include <Platform/Logging.h>

#include "NameTable.h"

#include <boost/chrono/system_clocks.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <map>
#include <random>
#include <tuple>
#include <utility>

namespace LumSim
{

namespace
{
using SteadyClock = boost::chrono::steady_clock;

class SimError final : public Tarn::IDeviceStackClient::IError
{
public:
    SimError() = default;
    explicit SimError(const SimulatedDeviceStack::ErrorAnswer& fault)
        : m_code(fault.code), m_text1(fault.text1), m_text2(fault.text2), m_message(fault.message)
    {
    }
    int GetCode() const override { return m_code; }
    const std::string& GetText1() const override { return m_text1; }
    const std::string& GetText2() const override { return m_text2; }
    std::string GetMessage() const override { return m_message; }

private:
    int m_code = 0;
    std::string m_text1;
    std::string m_text2;
    std::string m_message;
};

struct Answer
{
    SimulatedDeviceStack::Kind kind;
    std::string requestId;
    unsigned long objectId;
    std::string payload;
    SimError error;
};

std::string Urn(unsigned long id)
{
    return "urn:sim:object:" + std::to_string(id);
}
} // namespace

struct SimulatedDeviceStack::Impl
{
    explicit Impl(std::uint64_t seed) : random(seed) {}

    mutable boost::mutex mutex;
    // Wakes the worker: new answer, or stop.
    boost::condition_variable workAvailable;
    // Wakes observers: a delivery ended, the queue changed.
    mutable boost::condition_variable stateChanged;

    // Ordered by due time, then by issue order.
    std::map<std::pair<SteadyClock::time_point, std::uint64_t>, Answer> queue;
    std::uint64_t sequence = 0;
    std::uint64_t deliveriesStarted = 0;
    std::uint64_t deliveriesFinished = 0;
    bool delivering = false;
    bool stopped = false;

    IResponseHandler* handler = nullptr;
    void* context = nullptr;

    std::map<unsigned long, std::string> values;
    std::map<unsigned long, std::map<PropertyType, Property>> properties;
    std::map<std::string, std::string> deviceConfig;
    std::string configuration;
    std::vector<std::string> applications;
    bool internalValueFormat = false;
    std::string format;
    bool synchronousResult = true;
    std::function<std::string(const std::string&)> responder;

    Faults faults;
    unsigned dropNext = 0;
    unsigned failNext = 0;
    unsigned refuseNext = 0;
    unsigned duplicateNext = 0;
    std::mt19937_64 random;
    std::uint64_t idCounter = 0;
    std::string lastId;

    Statistics statistics;
    std::vector<IssuedRequest> issued;
    bool recordIssued = true;

    boost::thread worker;

    // Accessors of one field for the public getters and setters.
    template <typename T> T Read(const T& field) const
    {
        boost::lock_guard<boost::mutex> lock(mutex);
        return field;
    }
    template <typename T, typename V> void Write(T& field, V&& value)
    {
        boost::lock_guard<boost::mutex> lock(mutex);
        field = std::forward<V>(value);
    }

    // A portable draw in [0, 1): the same seed gives the same faults everywhere.
    bool Chance(double probability)
    {
        if (probability <= 0.0)
            return false;
        if (probability >= 1.0)
            return true;
        const double draw = static_cast<double>(random() >> 11) * (1.0 / 9007199254740992.0);
        return draw < probability;
    }

    static bool TakeOne(unsigned& counter)
    {
        if (counter == 0)
            return false;
        --counter;
        return true;
    }

    // Hands out a request id and queues the answer; the mutex is held.
    std::string IssueLocked(Kind kind, unsigned long objectId, std::string payload,
                            boost::optional<SimError> ownError = boost::none)
    {
        IssuedRequest record{kind, std::string(), objectId, payload, false, false, false};
        if (stopped || TakeOne(refuseNext) || Chance(faults.emptyIdProbability))
        {
            ++statistics.refused;
            if (recordIssued)
                issued.push_back(std::move(record));
            return std::string();
        }
        const bool duplicate = TakeOne(duplicateNext) || Chance(faults.duplicateIdProbability);
        if (duplicate && !lastId.empty())
        {
            record.requestId = lastId;
            ++statistics.duplicated;
        }
        else
        {
            record.requestId = "sim-" + std::to_string(++idCounter);
        }
        lastId = record.requestId;
        ++statistics.issued;

        record.dropped = TakeOne(dropNext) || Chance(faults.dropProbability);
        record.failed = TakeOne(failNext) || Chance(faults.errorProbability);
        record.late = Chance(faults.lateProbability);
        if (record.dropped)
            ++statistics.dropped;
        if (record.failed)
            ++statistics.failed;
        if (record.late)
            ++statistics.late;

        if (!record.dropped)
        {
            Answer answer{kind, record.requestId, objectId, std::move(payload), SimError()};
            if (record.failed)
                answer.error = SimError(faults.error);
            else if (ownError)
                answer.error = *ownError;
            const Milliseconds delay = record.late ? faults.lateDelay : faults.answerDelay;
            queue.emplace(std::make_pair(SteadyClock::now() + delay, ++sequence), std::move(answer));
            workAvailable.notify_one();
        }
        std::string id = record.requestId;
        if (recordIssued)
            issued.push_back(std::move(record));
        return id;
    }

    void Run()
    {
        boost::unique_lock<boost::mutex> lock(mutex);
        while (!stopped)
        {
            if (queue.empty())
            {
                workAvailable.wait(lock);
                continue;
            }
            const auto first = queue.begin();
            if (first->first.first > SteadyClock::now())
            {
                workAvailable.wait_until(lock, first->first.first);
                continue;
            }
            Answer answer = std::move(first->second);
            queue.erase(first);
            IResponseHandler* const target = handler;
            void* const targetContext = context;
            if (target == nullptr)
            {
                ++statistics.discarded;
                stateChanged.notify_all();
                continue;
            }
            ++statistics.delivered;
            ++deliveriesStarted;
            delivering = true;
            // The callback may block on its owner's lock, which may be held by
            // a thread that is issuing a request here: never call it locked.
            lock.unlock();
            Deliver(*target, targetContext, answer);
            lock.lock();
            delivering = false;
            ++deliveriesFinished;
            stateChanged.notify_all();
        }
    }

    static void Deliver(IResponseHandler& target, void* targetContext, const Answer& a)
    {
        switch (a.kind)
        {
        case Kind::Request:
            target.OnResponse(targetContext, a.requestId, a.payload, a.error);
            return;
        case Kind::RegisterApplication:
            target.OnRegisterApplication(targetContext, a.requestId, a.error);
            return;
        case Kind::SetConfiguration:
            target.OnSetConfiguration(targetContext, a.requestId, a.error);
            return;
        case Kind::GetValue:
            target.OnGetValue(targetContext, a.requestId, a.objectId, Urn(a.objectId), a.payload, a.error);
            return;
        case Kind::SetValue:
            target.OnSetValue(targetContext, a.requestId, a.objectId, Urn(a.objectId), a.payload, a.error);
            return;
        }
    }

    bool OnWorker() const { return boost::this_thread::get_id() == worker.get_id(); }
};

SimulatedDeviceStack::SimulatedDeviceStack(std::uint64_t seed) : m_impl(new Impl(seed))
{
    m_impl->worker = boost::thread([this] { m_impl->Run(); });
}

SimulatedDeviceStack::~SimulatedDeviceStack()
{
    // The worker would return into a destroyed simulator.
    LUM_ASSERT2(!m_impl->OnWorker());
    Shutdown();
}

void SimulatedDeviceStack::Shutdown()
{
    {
        boost::lock_guard<boost::mutex> lock(m_impl->mutex);
        m_impl->stopped = true;
        m_impl->queue.clear();
        m_impl->workAvailable.notify_all();
        m_impl->stateChanged.notify_all();
    }
    if (!m_impl->OnWorker() && m_impl->worker.joinable())
        m_impl->worker.join();
}

// --- client interface ------------------------------------------------------------

void SimulatedDeviceStack::SetInternalValueFormat(bool enable)
{
    m_impl->Write(m_impl->internalValueFormat, enable);
}

bool SimulatedDeviceStack::SetConfiguration(unsigned long id,
                                            const std::map<PropertyType, Property>& properties, bool /*flag*/)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    if (m_impl->synchronousResult)
        m_impl->properties[id] = properties;
    return m_impl->synchronousResult;
}

bool SimulatedDeviceStack::GetDeviceConfig(std::string& configuration, bool /*flag*/)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    configuration = m_impl->configuration;
    return true;
}

bool SimulatedDeviceStack::SetDeviceConfig(const std::map<std::string, std::string>& configuration)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    m_impl->deviceConfig = configuration;
    return true;
}

bool SimulatedDeviceStack::SetFormat(const std::string& format)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    m_impl->format = format;
    return true;
}

std::string SimulatedDeviceStack::RequestAsync(const std::string& request)
{
    std::function<std::string(const std::string&)> responder;
    {
        boost::lock_guard<boost::mutex> lock(m_impl->mutex);
        responder = m_impl->responder;
    }
    // User code: not called under the simulator's lock.
    std::string response = responder ? responder(request) : request;
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    return m_impl->IssueLocked(Kind::Request, 0, std::move(response));
}

std::string SimulatedDeviceStack::RegisterApplicationAsync(const std::string& a, const std::string& b,
                                                           const std::string& c)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    if (!m_impl->stopped)
        m_impl->applications.push_back(a + "/" + b + "/" + c);
    return m_impl->IssueLocked(Kind::RegisterApplication, 0, std::string());
}

std::string SimulatedDeviceStack::SetConfigurationAsync(const std::string& configuration)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    if (!m_impl->stopped)
        m_impl->configuration = configuration;
    return m_impl->IssueLocked(Kind::SetConfiguration, 0, std::string());
}

std::string SimulatedDeviceStack::GetValueAsync(unsigned long id, bool /*flag*/)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    const auto found = m_impl->values.find(id);
    if (found != m_impl->values.end())
        return m_impl->IssueLocked(Kind::GetValue, id, found->second);
    ErrorAnswer unknown;
    unknown.code = 2;
    unknown.text1 = "unknown object";
    unknown.text2 = std::to_string(id);
    unknown.message = "Unknown object " + std::to_string(id);
    return m_impl->IssueLocked(Kind::GetValue, id, std::string(), SimError(unknown));
}

std::string SimulatedDeviceStack::SetValueAsync(unsigned long id, const std::string& value, bool /*flag*/,
                                                int /*reserved*/)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    if (!m_impl->stopped)
        m_impl->values[id] = value;
    return m_impl->IssueLocked(Kind::SetValue, id, value);
}

void SimulatedDeviceStack::SetResponseHandler(IResponseHandler* handler, void* context)
{
    boost::unique_lock<boost::mutex> lock(m_impl->mutex);
    m_impl->handler = handler;
    m_impl->context = context;
    if (m_impl->OnWorker())
        return;
    // Deliveries that started later use the new handler; wait for the one
    // that may still be running with the old handler.
    const std::uint64_t started = m_impl->deliveriesStarted;
    while (m_impl->deliveriesFinished < started)
        m_impl->stateChanged.wait(lock);
}

// --- table ------------------------------------------------------------------------

void SimulatedDeviceStack::SetObjectValue(unsigned long id, const std::string& value)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    m_impl->values[id] = value;
}

boost::optional<std::string> SimulatedDeviceStack::GetObjectValue(unsigned long id) const
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    const auto found = m_impl->values.find(id);
    if (found == m_impl->values.end())
        return boost::none;
    return found->second;
}

std::string SimulatedDeviceStack::GetConfiguration() const
{
    return m_impl->Read(m_impl->configuration);
}

std::map<Tarn::IDeviceStackClient::PropertyType, Tarn::IDeviceStackClient::Property>
SimulatedDeviceStack::GetProperties(unsigned long id) const
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    const auto found = m_impl->properties.find(id);
    return found == m_impl->properties.end() ? std::map<PropertyType, Property>() : found->second;
}

std::map<std::string, std::string> SimulatedDeviceStack::GetDeviceConfigMap() const
{
    return m_impl->Read(m_impl->deviceConfig);
}

bool SimulatedDeviceStack::IsInternalValueFormat() const
{
    return m_impl->Read(m_impl->internalValueFormat);
}

std::string SimulatedDeviceStack::GetFormat() const
{
    return m_impl->Read(m_impl->format);
}

std::vector<std::string> SimulatedDeviceStack::GetRegisteredApplications() const
{
    return m_impl->Read(m_impl->applications);
}

void SimulatedDeviceStack::SetRequestResponder(std::function<std::string(const std::string&)> responder)
{
    m_impl->Write(m_impl->responder, std::move(responder));
}

void SimulatedDeviceStack::SetSynchronousResult(bool result)
{
    m_impl->Write(m_impl->synchronousResult, result);
}

// --- faults -----------------------------------------------------------------------

void SimulatedDeviceStack::SetFaults(const Faults& faults)
{
    m_impl->Write(m_impl->faults, faults);
}

SimulatedDeviceStack::Faults SimulatedDeviceStack::GetFaults() const
{
    return m_impl->Read(m_impl->faults);
}

void SimulatedDeviceStack::SetAnswerDelay(Milliseconds delay)
{
    m_impl->Write(m_impl->faults.answerDelay, delay);
}

void SimulatedDeviceStack::DropNext(unsigned count)
{
    m_impl->Write(m_impl->dropNext, count);
}

void SimulatedDeviceStack::FailNext(unsigned count)
{
    m_impl->Write(m_impl->failNext, count);
}

void SimulatedDeviceStack::RefuseNext(unsigned count)
{
    m_impl->Write(m_impl->refuseNext, count);
}

void SimulatedDeviceStack::DuplicateNext(unsigned count)
{
    m_impl->Write(m_impl->duplicateNext, count);
}

void SimulatedDeviceStack::Reseed(std::uint64_t seed)
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    m_impl->random.seed(seed);
}

// --- observation ---------------------------------------------------------------

SimulatedDeviceStack::Statistics SimulatedDeviceStack::GetStatistics() const
{
    return m_impl->Read(m_impl->statistics);
}

std::vector<SimulatedDeviceStack::IssuedRequest> SimulatedDeviceStack::GetIssuedRequests() const
{
    return m_impl->Read(m_impl->issued);
}

void SimulatedDeviceStack::ClearIssuedRequests()
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    m_impl->issued.clear();
}

void SimulatedDeviceStack::SetRecordIssuedRequests(bool record)
{
    m_impl->Write(m_impl->recordIssued, record);
}

std::size_t SimulatedDeviceStack::PendingAnswers() const
{
    boost::lock_guard<boost::mutex> lock(m_impl->mutex);
    return m_impl->queue.size() + (m_impl->delivering ? 1u : 0u);
}

bool SimulatedDeviceStack::WaitUntilIdle(Milliseconds timeout) const
{
    const SteadyClock::time_point deadline = SteadyClock::now() + timeout;
    boost::unique_lock<boost::mutex> lock(m_impl->mutex);
    while (!m_impl->queue.empty() || m_impl->delivering)
    {
        if (m_impl->stateChanged.wait_until(lock, deadline) == boost::cv_status::timeout)
            return m_impl->queue.empty() && !m_impl->delivering;
    }
    return true;
}

const char* SimulatedDeviceStack::KindName(Kind kind)
{
    static constexpr const char* kNames[] = {"Request", "RegisterApplication", "SetConfiguration", "GetValue",
                                             "SetValue"};
    return LumInternal::NameAt<Kind::SetValue>(kNames, kind, "?");
}

} // namespace LumSim
