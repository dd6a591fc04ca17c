#pragma once

/// @file
/// @brief The platform's asynchronous client of the device-stack service.

#include <Platform/Export.h>

#include <map>
#include <string>

/// @brief The platform's device-stack client interface.
namespace Tarn
{

/// @brief The asynchronous client of the device-stack service.
///
/// The asynchronous client of the device-stack service. Each *Async request
/// returns a request id at once (empty: not issued); the answer arrives later
/// on the registered IResponseHandler, on the client's own thread.
/// The platform owns the client; applications use it through a reference.
class LUM_PLATFORM_API IDeviceStackClient
{
public:
    /// @brief Which configuration property of an object a Property carries.
    enum class PropertyType : int
    {
        Name = 0,        ///< The object's name.
        Description = 1, ///< The object's description.
        Unit = 2,        ///< The unit of the object's value.
        Flags = 3,       ///< The object's flags.
    };

    /// @brief The value of one configuration property, as text.
    struct Property
    {
        std::string value; ///< The property's text.
        /// @brief Whether both carry the same text.
        bool operator==(const Property& other) const { return value == other.value; }
    };

    /// @brief The error that comes with every answer; code 0 means none.
    ///
    /// Owned by the client and valid only during the callback that receives it.
    class IError
    {
    public:
        /// @brief The error code; 0: no error.
        virtual int GetCode() const = 0;
        /// @brief The first detail text of the error.
        virtual const std::string& GetText1() const = 0;
        /// @brief The second detail text of the error.
        virtual const std::string& GetText2() const = 0;
        /// @brief The message for people; empty when there is no error.
        virtual std::string GetMessage() const = 0;

    protected:
        /// @brief Not deleted through this interface: the client owns its errors.
        ~IError() = default;
    };

    /// @brief Receives the answers to the asynchronous requests.
    ///
    /// Each callback receives the context given to SetResponseHandler and the
    /// id of the request it answers. Callbacks run on the client's own thread.
    class IResponseHandler
    {
    public:
        /// @brief The answer to RequestAsync().
        virtual void OnResponse(void* context, const std::string& requestId, const std::string& response,
                                const IError& error) = 0;
        /// @brief The answer to RegisterApplicationAsync().
        virtual void OnRegisterApplication(void* context, const std::string& requestId,
                                           const IError& error) = 0;
        /// @brief The answer to a configuration read.
        virtual void OnGetConfiguration(void* context, const std::string& requestId,
                                        const std::string& configuration, const IError& error) = 0;
        /// @brief The answer to SetConfigurationAsync().
        virtual void OnSetConfiguration(void* context, const std::string& requestId, const IError& error) = 0;
        /// @brief The answer to GetValueAsync(): object @p id, its URN and its value's text.
        virtual void OnGetValue(void* context, const std::string& requestId, unsigned long id,
                                const std::string& urn, const std::string& value, const IError& error) = 0;
        /// @brief The answer to SetValueAsync(): object @p id, its URN and the value's text.
        virtual void OnSetValue(void* context, const std::string& requestId, unsigned long id,
                                const std::string& urn, const std::string& value, const IError& error) = 0;

    protected:
        /// @brief Not deleted through this interface: the handler's owner destroys it.
        ~IResponseHandler() = default;
    };

    /// @brief Ends the client.
    virtual ~IDeviceStackClient() = default;

    /// @brief Selects the internal (exact) or the default text form of values.
    virtual void SetInternalValueFormat(bool enable) = 0;
    /// @brief Sets the configuration properties of object @p id at once; true on success.
    virtual bool SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties,
                                  bool flag) = 0;
    /// @brief Reads the device configuration into @p configuration (out); true on success.
    virtual bool GetDeviceConfig(std::string& configuration, bool flag) = 0;
    /// @brief Writes the device configuration, name to value; true on success.
    virtual bool SetDeviceConfig(const std::map<std::string, std::string>& configuration) = 0;
    /// @brief Selects the format of the answers by name ("Native", for one); true on success.
    virtual bool SetFormat(const std::string& format) = 0;
    /// @brief Issues a free-form request; the answer comes to IResponseHandler::OnResponse.
    /// @return the request id; empty when nothing was issued.
    virtual std::string RequestAsync(const std::string& request) = 0;
    /// @brief Registers an application; the answer comes to IResponseHandler::OnRegisterApplication.
    /// @return the request id; empty when nothing was issued.
    virtual std::string RegisterApplicationAsync(const std::string& a, const std::string& b,
                                                 const std::string& c) = 0;
    /// @brief Sends a configuration; the answer comes to IResponseHandler::OnSetConfiguration.
    /// @return the request id; empty when nothing was issued.
    virtual std::string SetConfigurationAsync(const std::string& configuration) = 0;
    /// @brief Reads the value of object @p id; the answer comes to IResponseHandler::OnGetValue.
    /// @return the request id; empty when nothing was issued.
    virtual std::string GetValueAsync(unsigned long id, bool flag) = 0;
    /// @brief Writes @p value (text form) to object @p id; the answer comes to IResponseHandler::OnSetValue.
    /// @return the request id; empty when nothing was issued.
    virtual std::string SetValueAsync(unsigned long id, const std::string& value, bool flag,
                                      int reserved) = 0;
    /// @brief Attaches the handler of every answer; @p context is handed back to each callback.
    ///
    /// Null detaches the handler. The handler is not owned and must stay alive while attached.
    virtual void SetResponseHandler(IResponseHandler* handler, void* context) = 0;
};

} // namespace Tarn
