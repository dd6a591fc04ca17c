#pragma once

#include <Platform/Export.h>

#include <map>
#include <string>

namespace Tarn
{

// The asynchronous client of the device-stack service. Each *Async request
// returns a request id at once (empty: not issued); the answer arrives later
// on the registered IResponseHandler, on the client's own thread.
class LUM_PLATFORM_API IDeviceStackClient
{
public:
    enum class PropertyType : int
    {
        Name = 0,
        Description = 1,
        Unit = 2,
        Flags = 3,
    };

    struct Property
    {
        std::string value;
        bool operator==(const Property& other) const { return value == other.value; }
    };

    class IError
    {
    public:
        // 0: no error.
        virtual int GetCode() const = 0;
        virtual const std::string& GetText1() const = 0;
        virtual const std::string& GetText2() const = 0;
        virtual std::string GetMessage() const = 0;

    protected:
        ~IError() = default;
    };

    // Each callback receives the context given to SetResponseHandler and the
    // id of the request it answers.
    class IResponseHandler
    {
    public:
        virtual void OnResponse(void* context, const std::string& requestId, const std::string& response,
                                const IError& error) = 0;
        virtual void OnRegisterApplication(void* context, const std::string& requestId, const IError& error) = 0;
        virtual void OnGetConfiguration(void* context, const std::string& requestId,
                                        const std::string& configuration, const IError& error) = 0;
        virtual void OnSetConfiguration(void* context, const std::string& requestId, const IError& error) = 0;
        virtual void OnGetValue(void* context, const std::string& requestId, unsigned long id,
                                const std::string& urn, const std::string& value, const IError& error) = 0;
        virtual void OnSetValue(void* context, const std::string& requestId, unsigned long id,
                                const std::string& urn, const std::string& value, const IError& error) = 0;

    protected:
        ~IResponseHandler() = default;
    };

    virtual ~IDeviceStackClient() = default;

    virtual void SetInternalValueFormat(bool enable) = 0;
    virtual bool SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties,
                                  bool flag) = 0;
    virtual bool GetDeviceConfig(std::string& configuration, bool flag) = 0;
    virtual bool SetDeviceConfig(const std::map<std::string, std::string>& configuration) = 0;
    virtual bool SetFormat(const std::string& format) = 0;
    virtual std::string RequestAsync(const std::string& request) = 0;
    virtual std::string RegisterApplicationAsync(const std::string& a, const std::string& b,
                                                 const std::string& c) = 0;
    virtual std::string SetConfigurationAsync(const std::string& configuration) = 0;
    virtual std::string GetValueAsync(unsigned long id, bool flag) = 0;
    virtual std::string SetValueAsync(unsigned long id, const std::string& value, bool flag, int reserved) = 0;
    // Null detaches the handler.
    virtual void SetResponseHandler(IResponseHandler* handler, void* context) = 0;
};

} // namespace Tarn
