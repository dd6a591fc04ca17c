#pragma once

/// @file
/// @brief Blocking requests to the device stack, with time-outs, retries and a relevance test.

#include <Lum/Docket.h>
#include <Lum/Export.h>
#include <Lum/Function.h>
#include <Lum/RequestMessengerDeviceStack.h>
#include <Platform/DeviceStackClient.h>
#include <Platform/OruValue.h>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/optional.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <cstddef>
#include <map>
#include <string>

namespace Lum
{

/// @brief Blocking requests over the asynchronous device stack.
///
/// Blocking requests over the asynchronous device stack: issues a request,
/// waits for the answer with the same request id, retries when none comes in
/// time, and hands the answer back as a Docket. It is the device stack's
/// response handler; its owner attaches it with SetAsResponseHandler() and must
/// detach it with UnsetAsResponseHandler() before destroying it.
///
/// Thread-safety: any number of threads may call the requests at once; the answers
/// arrive on the device-stack client's thread. Issuing is serialised by one lock,
/// waiting is not.
///
/// Logging: an answer with an error logs ERROR ("PEL error for request ..."); an empty
/// request id and a missing answer log ERROR before each retry, and ERROR again when
/// the retries are used up; a time-out logs WARN; giving up on an irrelevant request
/// logs INFO; request tracing is DEBUG.
class LUM_OM_API DscAsyncRequestMessenger : public Tarn::IDeviceStackClient::IResponseHandler
{
public:
    /// @brief A messenger over @p deviceStack, which it does not own and which must outlive it.
    /// @param deviceStack the asynchronous requests.
    /// @param defaultTimeout the wait for each answer when a request gives none (or zero).
    /// @param retries how many times a request is issued again when no answer comes: each
    ///        blocking request makes up to retries + 1 attempts.
    DscAsyncRequestMessenger(RequestMessengerDeviceStack& deviceStack,
                             boost::posix_time::time_duration defaultTimeout, unsigned int retries);

    /// @brief Hands the answer to the waiting request; logs ERROR when it carries an error.
    void OnResponse(void* context, const std::string& requestId, const std::string& response,
                    const Tarn::IDeviceStackClient::IError& error) override;
    /// @brief Hands the answer (no reply text) to the waiting request; logs ERROR when it carries an error.
    void OnRegisterApplication(void* context, const std::string& requestId,
                               const Tarn::IDeviceStackClient::IError& error) override;
    /// @brief Hands the configuration to the waiting request; logs ERROR when it carries an error.
    void OnGetConfiguration(void* context, const std::string& requestId, const std::string& configuration,
                            const Tarn::IDeviceStackClient::IError& error) override;
    /// @brief Hands the answer (no reply text) to the waiting request; logs ERROR when it carries an error.
    void OnSetConfiguration(void* context, const std::string& requestId,
                            const Tarn::IDeviceStackClient::IError& error) override;
    /// @brief Hands the value text to the waiting request; logs ERROR when it carries an error.
    void OnGetValue(void* context, const std::string& requestId, unsigned long id, const std::string& urn,
                    const std::string& value, const Tarn::IDeviceStackClient::IError& error) override;
    /// @brief Hands the value text to the waiting request; logs ERROR when it carries an error.
    void OnSetValue(void* context, const std::string& requestId, unsigned long id, const std::string& urn,
                    const std::string& value, const Tarn::IDeviceStackClient::IError& error) override;

    /// @brief Ends the messenger; it must have been detached with UnsetAsResponseHandler() and no
    /// request may be waiting.
    virtual ~DscAsyncRequestMessenger();

    /// @brief Not copyable: the device stack knows the object by address.
    DscAsyncRequestMessenger(const DscAsyncRequestMessenger&) = delete;
    /// @brief Not copyable: the device stack knows the object by address.
    DscAsyncRequestMessenger& operator=(const DscAsyncRequestMessenger&) = delete;

    /// @brief Attaches this messenger as the device stack's response handler.
    void SetAsResponseHandler();
    /// @brief Detaches every response handler from the device stack.
    void UnsetAsResponseHandler();

    /// @brief Registers an application and waits for the answer (default time-out).
    ///
    /// Blocking requests: a zero time-out means the default one. The result is
    /// not answered when no answer came or the request stopped being relevant.
    /// isStillRelevant is polled with the messenger's lock held: it must not
    /// call back into the messenger.
    Docket RegisterApplication(const std::string& a, const std::string& b, const std::string& c);
    /// @brief Writes @p value to object @p id and waits for the answer (default time-out).
    /// @return the answer; its reply is the value text the device stack sends back.
    Docket SetValue(unsigned long id, const ORUVALUE& value, bool flag);
    /// @brief Reads the value of object @p id and waits for the answer (default time-out).
    /// @return the answer; its reply is the value's text.
    Docket GetValue(unsigned long id, bool flag);
    /// @brief Issues a free-form request and waits up to @p timeout (zero: the default) for each answer.
    Docket Request(const std::string& request, boost::posix_time::time_duration timeout);
    /// @brief Sends a configuration and waits up to @p timeout (zero: the default) for each answer.
    ///
    /// @p isStillRelevant is polled at least every 100 ms while waiting; once it gives false
    /// the call returns a docket that is not answered.
    Docket SetConfiguration(const std::string& configuration, boost::posix_time::time_duration timeout,
                            const BoolReader& isStillRelevant);

    /// @brief Writes @p value to object @p id without waiting.
    ///
    /// Issues the request without waiting; false when the device stack did not take it.
    /// The answer, when it comes, is dropped (an error in it is still logged).
    bool SetValueAndIgnoreResponse(unsigned long id, const ORUVALUE& value, bool flag);
    /// @brief Sets the configuration properties of object @p id.
    ///
    /// Carried out by the device stack at once: always answered, valid on success.
    Docket SetConfiguration(unsigned long id, const RequestMessengerDeviceStack::PropertyMap& properties,
                            bool flag);
    /// @brief Reads the device configuration into @p configuration (out); passed straight through.
    bool GetDeviceConfig(std::string& configuration, bool flag);
    /// @brief Writes the device configuration; passed straight through.
    bool SetDeviceConfig(const std::map<std::string, std::string>& configuration);
    /// @brief Selects the device stack's native format; passed straight through.
    bool EnableNativeFormat();

    /// @brief The number of waiting requests.
    ///
    /// Requests that are waiting for their answer right now.
    std::size_t PendingDockets() const;

private:
    using Lock = boost::unique_lock<boost::mutex>;

    void UpdateDocketList(const std::string& requestId, const std::string& response,
                          const Tarn::IDeviceStackClient::IError& error);

    template <typename AsyncRequest>
    Docket SynchronizeRequest(AsyncRequest doAsyncRequest, boost::posix_time::time_duration timeout,
                              const BoolReader& isStillRelevant);
    boost::optional<Docket> WaitForDocket(Lock& lock, const std::string& id,
                                          boost::posix_time::time_duration timeout,
                                          const BoolReader& isStillRelevant);
    const Docket* WaitForAnswer(Lock& lock, const std::string& id, const Docket& own,
                                boost::posix_time::time_duration timeout, const BoolReader& isStillRelevant);

    RequestMessengerDeviceStack& m_deviceStack;
    boost::posix_time::time_duration m_defaultTimeout;
    unsigned int m_attempts;
    mutable boost::mutex m_mutex;
    boost::condition_variable m_condition;
    // Request id -> the docket in the frame of the request waiting for it.
    std::map<std::string, Docket*> m_dockets;
};

} // namespace Lum
