#pragma once

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

// Blocking requests over the asynchronous device stack: issues a request,
// waits for the answer with the same request id, retries when none comes in
// time, and hands the answer back as a Docket. It is the device stack's
// response handler; its owner attaches it with SetAsResponseHandler() and must
// detach it with UnsetAsResponseHandler() before destroying it.
class LUM_OM_API DscAsyncRequestMessenger : public Tarn::IDeviceStackClient::IResponseHandler
{
public:
    DscAsyncRequestMessenger(RequestMessengerDeviceStack& deviceStack,
                             boost::posix_time::time_duration defaultTimeout, unsigned int retries);

    void OnResponse(void* context, const std::string& requestId, const std::string& response,
                    const Tarn::IDeviceStackClient::IError& error) override;
    void OnRegisterApplication(void* context, const std::string& requestId,
                               const Tarn::IDeviceStackClient::IError& error) override;
    void OnGetConfiguration(void* context, const std::string& requestId, const std::string& configuration,
                            const Tarn::IDeviceStackClient::IError& error) override;
    void OnSetConfiguration(void* context, const std::string& requestId,
                            const Tarn::IDeviceStackClient::IError& error) override;
    void OnGetValue(void* context, const std::string& requestId, unsigned long id, const std::string& urn,
                    const std::string& value, const Tarn::IDeviceStackClient::IError& error) override;
    void OnSetValue(void* context, const std::string& requestId, unsigned long id, const std::string& urn,
                    const std::string& value, const Tarn::IDeviceStackClient::IError& error) override;

    virtual ~DscAsyncRequestMessenger();

    DscAsyncRequestMessenger(const DscAsyncRequestMessenger&) = delete;
    DscAsyncRequestMessenger& operator=(const DscAsyncRequestMessenger&) = delete;

    void SetAsResponseHandler();
    void UnsetAsResponseHandler();

    // Blocking requests: a zero time-out means the default one. The result is
    // not answered when no answer came or the request stopped being relevant.
    // isStillRelevant is polled with the messenger's lock held: it must not
    // call back into the messenger.
    Docket RegisterApplication(const std::string& a, const std::string& b, const std::string& c);
    Docket SetValue(unsigned long id, const ORUVALUE& value, bool flag);
    Docket GetValue(unsigned long id, bool flag);
    Docket Request(const std::string& request, boost::posix_time::time_duration timeout);
    Docket SetConfiguration(const std::string& configuration, boost::posix_time::time_duration timeout,
                            const BoolReader& isStillRelevant);

    // Issues the request without waiting; false when the device stack did not take it.
    bool SetValueAndIgnoreResponse(unsigned long id, const ORUVALUE& value, bool flag);
    // Carried out by the device stack at once: always answered, valid on success.
    Docket SetConfiguration(unsigned long id, const RequestMessengerDeviceStack::PropertyMap& properties,
                            bool flag);
    bool GetDeviceConfig(std::string& configuration, bool flag);
    bool SetDeviceConfig(const std::map<std::string, std::string>& configuration);
    bool EnableNativeFormat();

    // Requests that are waiting for their answer right now.
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
