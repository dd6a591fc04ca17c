#pragma once

#include <Lum/RequestMessengerDeviceStack.h>
#include <Platform/DeviceStackClient.h>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

namespace LumTest
{

class MockDeviceStack : public Lum::RequestMessengerDeviceStack
{
public:
    MOCK_METHOD(void, SetResponseHandler, (Tarn::IDeviceStackClient::IResponseHandler*), (override));
    MOCK_METHOD(std::string, RegisterApplicationAsync,
                (const std::string&, const std::string&, const std::string&), (override));
    MOCK_METHOD(std::string, SetValueAsync, (unsigned long, const ORUVALUE&, bool), (override));
    MOCK_METHOD(std::string, GetValueAsync, (unsigned long, bool), (override));
    MOCK_METHOD(std::string, RequestAsync, (const std::string&), (override));
    MOCK_METHOD(std::string, SetConfigurationAsync, (const std::string&), (override));
    MOCK_METHOD(bool, SetConfiguration, (unsigned long, const PropertyMap&, bool), (override));
    MOCK_METHOD(bool, GetDeviceConfig, (std::string&, bool), (override));
    MOCK_METHOD(bool, SetDeviceConfig, ((const std::map<std::string, std::string>&)), (override));
    MOCK_METHOD(bool, EnableNativeFormat, (), (override));
    MOCK_METHOD(void, EnableInternalValueFormat, (), (override));
    MOCK_METHOD(void, EnableDefaultValueFormat, (), (override));
};

class TestError : public Tarn::IDeviceStackClient::IError
{
public:
    explicit TestError(int code = 0, std::string text1 = "", std::string text2 = "", std::string message = "")
        : m_code(code), m_text1(std::move(text1)), m_text2(std::move(text2)), m_message(std::move(message))
    {
    }
    virtual ~TestError() = default;
    int GetCode() const override { return m_code; }
    const std::string& GetText1() const override { return m_text1; }
    const std::string& GetText2() const override { return m_text2; }
    std::string GetMessage() const override
    {
        if (onMessage)
            onMessage();
        return m_message;
    }

    // Called when the receiver reads the message: lets a test see that an
    // answer is on its way into the receiver.
    std::function<void()> onMessage;

private:
    int m_code;
    std::string m_text1;
    std::string m_text2;
    std::string m_message;
};

// Polls until the condition holds or about five seconds have passed.
inline bool Eventually(const std::function<bool()>& condition)
{
    for (int i = 0; i < 5000; ++i)
    {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

} // namespace LumTest
