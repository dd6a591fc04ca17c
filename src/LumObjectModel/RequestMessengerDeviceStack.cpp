#include <Lum/RequestMessengerDeviceStack.h>
#include <Platform/Logging.h>

namespace Lum
{

namespace
{
// The platform serializer does not spell NaN the way the device stack reads
// it, so NaN floats get their spelling here.
std::string ValueText(const ORUVALUE& value, bool internalFormat)
{
    if (value.ivt == ivtFloat)
    {
        const double number = value.GetFloat();
        if (number != number)
            return internalFormat ? "3.7:nan" : "nan";
    }
    oru_string text;
    value.Serialize(text, internalFormat);
    std::string result(text.c_str(), text.length());
    text.Free();
    return result;
}
} // namespace

RemoteRequestMessengerDeviceStack::RemoteRequestMessengerDeviceStack(Tarn::IDeviceStackClient& client)
    : m_client(client), m_internalValueFormat(false)
{
}

RemoteRequestMessengerDeviceStack::~RemoteRequestMessengerDeviceStack() = default;

void RemoteRequestMessengerDeviceStack::SetResponseHandler(
    Tarn::IDeviceStackClient::IResponseHandler* handler)
{
    m_client.SetResponseHandler(handler, nullptr);
}

std::string RemoteRequestMessengerDeviceStack::RegisterApplicationAsync(const std::string& a,
                                                                        const std::string& b,
                                                                        const std::string& c)
{
    return m_client.RegisterApplicationAsync(a, b, c);
}

std::string RemoteRequestMessengerDeviceStack::SetValueAsync(unsigned long id, const ORUVALUE& value,
                                                             bool flag)
{
    // One load: a format switch on another thread affects the whole value or none of it.
    const bool internalFormat = m_internalValueFormat.load(std::memory_order_seq_cst);
    return m_client.SetValueAsync(id, ValueText(value, internalFormat), flag, 0);
}

std::string RemoteRequestMessengerDeviceStack::GetValueAsync(unsigned long id, bool flag)
{
    return m_client.GetValueAsync(id, flag);
}

std::string RemoteRequestMessengerDeviceStack::RequestAsync(const std::string& request)
{
    return m_client.RequestAsync(request);
}

std::string RemoteRequestMessengerDeviceStack::SetConfigurationAsync(const std::string& configuration)
{
    return m_client.SetConfigurationAsync(configuration);
}

bool RemoteRequestMessengerDeviceStack::SetConfiguration(unsigned long id, const PropertyMap& properties,
                                                         bool flag)
{
    return m_client.SetConfiguration(id, properties, flag);
}

bool RemoteRequestMessengerDeviceStack::GetDeviceConfig(std::string& configuration, bool flag)
{
    return m_client.GetDeviceConfig(configuration, flag);
}

bool RemoteRequestMessengerDeviceStack::SetDeviceConfig(
    const std::map<std::string, std::string>& configuration)
{
    return m_client.SetDeviceConfig(configuration);
}

bool RemoteRequestMessengerDeviceStack::EnableNativeFormat()
{
    return m_client.SetFormat("Native");
}

void RemoteRequestMessengerDeviceStack::EnableInternalValueFormat()
{
    m_client.SetInternalValueFormat(true);
    m_internalValueFormat.store(true, std::memory_order_seq_cst);
    LUM_LOG_DEBUG("Internal value format now enabled.");
}

void RemoteRequestMessengerDeviceStack::EnableDefaultValueFormat()
{
    m_client.SetInternalValueFormat(false);
    m_internalValueFormat.store(false, std::memory_order_seq_cst);
}

} // namespace Lum
