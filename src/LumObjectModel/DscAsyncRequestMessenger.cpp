#include <Lum/DscAsyncRequestMessenger.h>
#include <Platform/Logging.h>

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/date_time/posix_time/posix_time_io.hpp>
#include <boost/scope_exit.hpp>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace Lum
{

namespace
{
using SteadyClock = boost::chrono::steady_clock;

// Relevance is polled at least this often while a request waits.
const SteadyClock::duration kWaitSlice = boost::chrono::milliseconds(100);

SteadyClock::time_point DeadlineAfter(const boost::posix_time::time_duration& timeout)
{
    const SteadyClock::time_point now = SteadyClock::now();
    if (timeout.is_pos_infinity())
        return SteadyClock::time_point::max();
    if (timeout.is_special() || timeout.is_negative())
        return now;
    const std::int64_t room =
        boost::chrono::duration_cast<boost::chrono::microseconds>(SteadyClock::time_point::max() - now)
            .count();
    const std::int64_t wanted = timeout.total_microseconds();
    if (wanted >= room)
        return SteadyClock::time_point::max();
    return now + boost::chrono::microseconds(wanted);
}

bool IsZero(const boost::posix_time::time_duration& timeout)
{
    return !timeout.is_special() && timeout.ticks() == 0;
}

const BoolReader& AlwaysRelevant()
{
    static const BoolReader always([] { return true; });
    return always;
}

const boost::posix_time::time_duration kUseDefaultTimeout(0, 0, 0);

// "PEL error for request <id>: <code>; <text1>; <text2>", the head of every
// device-stack error line.
struct PelError
{
    const std::string& requestId;
    const Tarn::IDeviceStackClient::IError& error;
};

std::ostream& operator<<(std::ostream& os, const PelError& e)
{
    return os << "PEL error for request " << e.requestId << ": " << e.error.GetCode() << "; "
              << e.error.GetText1() << "; " << e.error.GetText2();
}

// The line of a failed value request: the head, then the object and the value.
struct ValueError
{
    PelError head;
    unsigned long id;
    const std::string& urn;
    const std::string& value;
};

std::ostream& operator<<(std::ostream& os, const ValueError& e)
{
    return os << e.head << "; id: " << e.id << "; urn: " << e.urn << "; value: " << e.value;
}
} // namespace

DscAsyncRequestMessenger::DscAsyncRequestMessenger(RequestMessengerDeviceStack& deviceStack,
                                                   boost::posix_time::time_duration defaultTimeout,
                                                   unsigned int retries)
    : m_deviceStack(deviceStack), m_defaultTimeout(defaultTimeout), m_attempts(retries + 1u)
{
}

DscAsyncRequestMessenger::~DscAsyncRequestMessenger()
{
    m_dockets.clear();
}

void DscAsyncRequestMessenger::SetAsResponseHandler()
{
    m_deviceStack.SetResponseHandler(this);
}

void DscAsyncRequestMessenger::UnsetAsResponseHandler()
{
    m_deviceStack.SetResponseHandler(nullptr);
}

// --- answers -----------------------------------------------------------------

void DscAsyncRequestMessenger::OnResponse(void* /*context*/, const std::string& requestId,
                                          const std::string& response,
                                          const Tarn::IDeviceStackClient::IError& error)
{
    if (error.GetCode() != 0)
        LUM_LOG_ERROR(PelError{requestId, error} << "; response: " << response);
    UpdateDocketList(requestId, response, error);
}

void DscAsyncRequestMessenger::OnRegisterApplication(void* /*context*/, const std::string& requestId,
                                                     const Tarn::IDeviceStackClient::IError& error)
{
    if (error.GetCode() != 0)
        LUM_LOG_ERROR(PelError{requestId, error});
    UpdateDocketList(requestId, std::string(), error);
}

void DscAsyncRequestMessenger::OnGetConfiguration(void* /*context*/, const std::string& requestId,
                                                  const std::string& configuration,
                                                  const Tarn::IDeviceStackClient::IError& error)
{
    if (error.GetCode() != 0)
        LUM_LOG_ERROR(PelError{requestId, error} << "; config: " << configuration);
    UpdateDocketList(requestId, configuration, error);
}

void DscAsyncRequestMessenger::OnSetConfiguration(void* /*context*/, const std::string& requestId,
                                                  const Tarn::IDeviceStackClient::IError& error)
{
    if (error.GetCode() != 0)
        LUM_LOG_ERROR(PelError{requestId, error});
    UpdateDocketList(requestId, std::string(), error);
}

void DscAsyncRequestMessenger::OnGetValue(void* /*context*/, const std::string& requestId, unsigned long id,
                                          const std::string& urn, const std::string& value,
                                          const Tarn::IDeviceStackClient::IError& error)
{
    if (error.GetCode() != 0)
        LUM_LOG_ERROR(ValueError{{requestId, error}, id, urn, value});
    UpdateDocketList(requestId, value, error);
}

void DscAsyncRequestMessenger::OnSetValue(void* /*context*/, const std::string& requestId, unsigned long id,
                                          const std::string& urn, const std::string& value,
                                          const Tarn::IDeviceStackClient::IError& error)
{
    if (error.GetCode() != 0)
        LUM_LOG_ERROR(ValueError{{requestId, error}, id, urn, value});
    UpdateDocketList(requestId, value, error);
}

void DscAsyncRequestMessenger::UpdateDocketList(const std::string& requestId, const std::string& response,
                                                const Tarn::IDeviceStackClient::IError& error)
{
    const int code = error.GetCode();
    const std::string message = error.GetMessage();

    Lock lock(m_mutex);
    const auto entry = m_dockets.find(requestId);
    if (entry == m_dockets.end())
    {
        // The waiter gave up already, or the request was never waited for.
        LUM_LOG_DEBUG("No docket for response ID '" << requestId << "'");
        if (code != 0)
            LUM_LOG_ERROR("Request " << requestId << ": Error '" << message << "'");
        return;
    }
    LUM_LOG_DEBUG("Got request for ID '" << requestId << "'.");
    *entry->second = Docket(response, message, code == 0, true);
    // Under the mutex: the waiter cannot miss the wake-up between its check and its wait.
    m_condition.notify_all();
}

// --- blocking requests ---------------------------------------------------------

Docket DscAsyncRequestMessenger::RegisterApplication(const std::string& a, const std::string& b,
                                                     const std::string& c)
{
    return SynchronizeRequest([&] { return m_deviceStack.RegisterApplicationAsync(a, b, c); },
                              kUseDefaultTimeout, AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::SetValue(unsigned long id, const ORUVALUE& value, bool flag)
{
    return SynchronizeRequest([&] { return m_deviceStack.SetValueAsync(id, value, flag); },
                              kUseDefaultTimeout, AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::GetValue(unsigned long id, bool flag)
{
    return SynchronizeRequest([&] { return m_deviceStack.GetValueAsync(id, flag); }, kUseDefaultTimeout,
                              AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::Request(const std::string& request, boost::posix_time::time_duration timeout)
{
    return SynchronizeRequest([&] { return m_deviceStack.RequestAsync(request); }, timeout, AlwaysRelevant());
}

Docket DscAsyncRequestMessenger::SetConfiguration(const std::string& configuration,
                                                  boost::posix_time::time_duration timeout,
                                                  const BoolReader& isStillRelevant)
{
    return SynchronizeRequest([&] { return m_deviceStack.SetConfigurationAsync(configuration); }, timeout,
                              isStillRelevant);
}

bool DscAsyncRequestMessenger::SetValueAndIgnoreResponse(unsigned long id, const ORUVALUE& value, bool flag)
{
    Lock lock(m_mutex);
    const std::string requestId = m_deviceStack.SetValueAsync(id, value, flag);
    LUM_LOG_DEBUG("Request ID is '" << requestId << "'");
    return !requestId.empty();
}

Docket DscAsyncRequestMessenger::SetConfiguration(unsigned long id,
                                                  const RequestMessengerDeviceStack::PropertyMap& properties,
                                                  bool flag)
{
    const bool result = m_deviceStack.SetConfiguration(id, properties, flag);
    return Docket("", "", result, true);
}

bool DscAsyncRequestMessenger::GetDeviceConfig(std::string& configuration, bool flag)
{
    return m_deviceStack.GetDeviceConfig(configuration, flag);
}

bool DscAsyncRequestMessenger::SetDeviceConfig(const std::map<std::string, std::string>& configuration)
{
    return m_deviceStack.SetDeviceConfig(configuration);
}

bool DscAsyncRequestMessenger::EnableNativeFormat()
{
    return m_deviceStack.EnableNativeFormat();
}

std::size_t DscAsyncRequestMessenger::PendingDockets() const
{
    Lock lock(m_mutex);
    return m_dockets.size();
}

// --- waiting -------------------------------------------------------------------

template <typename AsyncRequest>
Docket DscAsyncRequestMessenger::SynchronizeRequest(AsyncRequest doAsyncRequest,
                                                    boost::posix_time::time_duration timeout,
                                                    const BoolReader& isStillRelevant)
{
    // Held while the request is issued and its docket filed, so that an early
    // answer waits in UpdateDocketList until this thread waits for it.
    Lock lock(m_mutex);
    for (unsigned int attempt = 0; attempt < m_attempts; ++attempt)
    {
        const std::string id = doAsyncRequest();
        LUM_LOG_DEBUG("Request ID is '" << id << "'");
        if (id.empty())
        {
            LUM_LOG_ERROR("Request ID is empty, retrying");
            continue;
        }

        const boost::optional<Docket> docket = WaitForDocket(lock, id, timeout, isStillRelevant);

        if (!isStillRelevant())
        {
            LUM_LOG_DEBUG("returned from waiting for response with ID '" << id << "': !isStillRelevant");
            return Docket();
        }
        if (docket)
        {
            LUM_LOG_DEBUG("returned from waiting for response with ID '" << id << "': got response");
            return *docket;
        }
        LUM_LOG_ERROR("No response received for ID '" << id << "' with timeout " << timeout << ", retrying");
    }
    LUM_LOG_ERROR("Maximum number of retries (" << m_attempts - 1u << ") reached.");
    return Docket();
}

boost::optional<Docket> DscAsyncRequestMessenger::WaitForDocket(Lock& lock, const std::string& id,
                                                                boost::posix_time::time_duration timeout,
                                                                const BoolReader& isStillRelevant)
{
    Docket docket;
    // A duplicate id keeps the entry of the request that filed it first.
    m_dockets.insert(std::make_pair(id, &docket));
    // On every exit, also when the wait is interrupted or the predicate
    // throws: no entry may point into this frame once it is gone.
    BOOST_SCOPE_EXIT_ALL(&)
    {
        if (!lock.owns_lock())
            lock.lock();
        m_dockets.erase(id);
    };

    const boost::posix_time::time_duration effective = IsZero(timeout) ? m_defaultTimeout : timeout;
    const Docket* answered = WaitForAnswer(lock, id, docket, effective, isStillRelevant);
    if (answered == nullptr)
        return boost::none;
    // Copied under the mutex: a docket shared through a duplicate id belongs
    // to another frame, which stays alive while its entry is listed.
    return *answered;
}

const Docket* DscAsyncRequestMessenger::WaitForAnswer(Lock& lock, const std::string& id, const Docket& own,
                                                      boost::posix_time::time_duration timeout,
                                                      const BoolReader& isStillRelevant)
{
    const SteadyClock::time_point deadline = DeadlineAfter(timeout);
    for (;;)
    {
        if (!isStillRelevant())
        {
            LUM_LOG_INFO("Aborted a PEL request because its result is no longer relevant");
            break;
        }
        if (own.IsAnswered())
            return &own;
        // Under a duplicate id the answer lands in the docket that was filed first.
        const auto entry = m_dockets.find(id);
        if (entry != m_dockets.end() && entry->second->IsAnswered())
            return entry->second;

        const SteadyClock::duration slice = std::min(deadline - SteadyClock::now(), kWaitSlice);
        if (m_condition.wait_for(lock, slice) == boost::cv_status::timeout && SteadyClock::now() >= deadline)
            break;
    }
    LUM_LOG_WARN("Timeout (" << timeout << ") occured for request ID '" << id << "'");
    return nullptr;
}

} // namespace Lum
