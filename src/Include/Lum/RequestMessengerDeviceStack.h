#pragma once

/// @file
/// @brief The asynchronous device-stack requests the messenger builds on.

#include <Lum/Export.h>
#include <Platform/DeviceStackClient.h>
#include <Platform/OruValue.h>

#include <atomic>
#include <map>
#include <string>

namespace Lum
{

/// @brief The asynchronous requests to the device stack.
///
/// The asynchronous requests to the device stack that the synchronous
/// messenger builds on. Every *Async operation returns the id of the issued
/// request; an empty id means that nothing was issued. The answers go to the
/// handler given to SetResponseHandler(). Implement it to put a test double
/// or another transport under DscAsyncRequestMessenger.
class LUM_OM_API RequestMessengerDeviceStack
{
public:
    /// @brief Configuration properties of one object, by kind.
    using PropertyMap = std::map<Tarn::IDeviceStackClient::PropertyType, Tarn::IDeviceStackClient::Property>;

    /// @brief Ends the device stack.
    virtual ~RequestMessengerDeviceStack() {}

    /// @brief Attaches the handler of every answer (not owned); null detaches it.
    virtual void SetResponseHandler(Tarn::IDeviceStackClient::IResponseHandler* handler) = 0;
    /// @brief Registers an application. @return the request id; empty when nothing was issued.
    virtual std::string RegisterApplicationAsync(const std::string& a, const std::string& b,
                                                 const std::string& c) = 0;
    /// @brief Writes @p value to object @p id. @return the request id; empty when nothing was issued.
    virtual std::string SetValueAsync(unsigned long id, const ORUVALUE& value, bool flag) = 0;
    /// @brief Reads the value of object @p id. @return the request id; empty when nothing was issued.
    virtual std::string GetValueAsync(unsigned long id, bool flag) = 0;
    /// @brief Issues a free-form request. @return the request id; empty when nothing was issued.
    virtual std::string RequestAsync(const std::string& request) = 0;
    /// @brief Sends a configuration. @return the request id; empty when nothing was issued.
    virtual std::string SetConfigurationAsync(const std::string& configuration) = 0;
    /// @brief Sets the configuration properties of object @p id at once; true on success.
    virtual bool SetConfiguration(unsigned long id, const PropertyMap& properties, bool flag) = 0;
    /// @brief Reads the device configuration into @p configuration (out); true on success.
    virtual bool GetDeviceConfig(std::string& configuration, bool flag) = 0;
    /// @brief Writes the device configuration, name to value; true on success.
    virtual bool SetDeviceConfig(const std::map<std::string, std::string>& configuration) = 0;
    /// @brief Selects the device stack's native format; true on success.
    virtual bool EnableNativeFormat() = 0;
    /// @brief Values travel in the internal (exact) text form from now on.
    virtual void EnableInternalValueFormat() = 0;
    /// @brief Values travel in the default text form from now on.
    virtual void EnableDefaultValueFormat() = 0;
};

/// @brief The device stack of the platform's client.
///
/// Forwards to the platform's device-stack client, which must outlive it.
/// Every call may come from any thread; the format switch is atomic.
class LUM_OM_API RemoteRequestMessengerDeviceStack : public RequestMessengerDeviceStack
{
public:
    /// @brief Forwards to @p client (not owned). Values start in the default text form.
    explicit RemoteRequestMessengerDeviceStack(Tarn::IDeviceStackClient& client);
    /// @brief Ends the forwarding; the client is left as it is (a handler stays attached).
    ~RemoteRequestMessengerDeviceStack() override;
    /// @brief Not copyable.
    RemoteRequestMessengerDeviceStack(const RemoteRequestMessengerDeviceStack&) = delete;
    /// @brief Not copyable.
    RemoteRequestMessengerDeviceStack& operator=(const RemoteRequestMessengerDeviceStack&) = delete;

    /// @brief Attaches @p handler to the client (null detaches it).
    ///
    /// The client hands a null context back to every callback.
    void SetResponseHandler(Tarn::IDeviceStackClient::IResponseHandler* handler) override;
    /// @brief Passed straight to the client.
    std::string RegisterApplicationAsync(const std::string& a, const std::string& b,
                                         const std::string& c) override;
    /// @brief Writes @p value to object @p id.
    ///
    /// Sends the value's text form in the currently selected format. A NaN float is spelt
    /// "nan" ("3.7:nan" in the internal format), as the device stack reads it.
    std::string SetValueAsync(unsigned long id, const ORUVALUE& value, bool flag) override;
    /// @brief Passed straight to the client.
    std::string GetValueAsync(unsigned long id, bool flag) override;
    /// @brief Passed straight to the client.
    std::string RequestAsync(const std::string& request) override;
    /// @brief Passed straight to the client.
    std::string SetConfigurationAsync(const std::string& configuration) override;
    /// @brief Passed straight to the client.
    bool SetConfiguration(unsigned long id, const PropertyMap& properties, bool flag) override;
    /// @brief Passed straight to the client.
    bool GetDeviceConfig(std::string& configuration, bool flag) override;
    /// @brief Passed straight to the client.
    bool SetDeviceConfig(const std::map<std::string, std::string>& configuration) override;
    /// @brief Selects the client's format "Native".
    bool EnableNativeFormat() override;
    /// @brief Switches the client and SetValueAsync() to the internal format; logs DEBUG.
    void EnableInternalValueFormat() override;
    /// @brief Switches the client and SetValueAsync() to the default format.
    void EnableDefaultValueFormat() override;

private:
    Tarn::IDeviceStackClient& m_client;
    std::atomic<bool> m_internalValueFormat;
};

} // namespace Lum
