#pragma once

#include <Lum/Export.h>
#include <Platform/DeviceStackClient.h>
#include <Platform/OruValue.h>

#include <atomic>
#include <map>
#include <string>

namespace Lum
{

// The asynchronous requests to the device stack that the synchronous
// messenger builds on. Every *Async operation returns the id of the issued
// request; an empty id means that nothing was issued.
class LUM_OM_API RequestMessengerDeviceStack
{
public:
    using PropertyMap = std::map<Tarn::IDeviceStackClient::PropertyType, Tarn::IDeviceStackClient::Property>;

    virtual ~RequestMessengerDeviceStack() {}

    virtual void SetResponseHandler(Tarn::IDeviceStackClient::IResponseHandler* handler) = 0;
    virtual std::string RegisterApplicationAsync(const std::string& a, const std::string& b,
                                                 const std::string& c) = 0;
    virtual std::string SetValueAsync(unsigned long id, const ORUVALUE& value, bool flag) = 0;
    virtual std::string GetValueAsync(unsigned long id, bool flag) = 0;
    virtual std::string RequestAsync(const std::string& request) = 0;
    virtual std::string SetConfigurationAsync(const std::string& configuration) = 0;
    virtual bool SetConfiguration(unsigned long id, const PropertyMap& properties, bool flag) = 0;
    virtual bool GetDeviceConfig(std::string& configuration, bool flag) = 0;
    virtual bool SetDeviceConfig(const std::map<std::string, std::string>& configuration) = 0;
    virtual bool EnableNativeFormat() = 0;
    virtual void EnableInternalValueFormat() = 0;
    virtual void EnableDefaultValueFormat() = 0;
};

// Forwards to the platform's device-stack client, which must outlive it.
class LUM_OM_API RemoteRequestMessengerDeviceStack : public RequestMessengerDeviceStack
{
public:
    explicit RemoteRequestMessengerDeviceStack(Tarn::IDeviceStackClient& client);
    ~RemoteRequestMessengerDeviceStack() override;
    RemoteRequestMessengerDeviceStack(const RemoteRequestMessengerDeviceStack&) = delete;
    RemoteRequestMessengerDeviceStack& operator=(const RemoteRequestMessengerDeviceStack&) = delete;

    // The client hands a null context back to every callback.
    void SetResponseHandler(Tarn::IDeviceStackClient::IResponseHandler* handler) override;
    std::string RegisterApplicationAsync(const std::string& a, const std::string& b,
                                         const std::string& c) override;
    // Sends the value's text form in the currently selected format.
    std::string SetValueAsync(unsigned long id, const ORUVALUE& value, bool flag) override;
    std::string GetValueAsync(unsigned long id, bool flag) override;
    std::string RequestAsync(const std::string& request) override;
    std::string SetConfigurationAsync(const std::string& configuration) override;
    bool SetConfiguration(unsigned long id, const PropertyMap& properties, bool flag) override;
    bool GetDeviceConfig(std::string& configuration, bool flag) override;
    bool SetDeviceConfig(const std::map<std::string, std::string>& configuration) override;
    bool EnableNativeFormat() override;
    void EnableInternalValueFormat() override;
    void EnableDefaultValueFormat() override;

private:
    Tarn::IDeviceStackClient& m_client;
    std::atomic<bool> m_internalValueFormat;
};

} // namespace Lum
