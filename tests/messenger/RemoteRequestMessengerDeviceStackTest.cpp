#include "LogCapture.h"

#include <Lum/RequestMessengerDeviceStack.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace
{

using ::testing::_;
using ::testing::InSequence;
using ::testing::Invoke;
using ::testing::Ref;
using ::testing::Return;
using ::testing::StrictMock;

class MockClient : public Tarn::IDeviceStackClient
{
public:
    MOCK_METHOD(void, SetInternalValueFormat, (bool), (override));
    MOCK_METHOD(bool, SetConfiguration, (unsigned long, (const std::map<PropertyType, Property>&), bool),
                (override));
    MOCK_METHOD(bool, GetDeviceConfig, (std::string&, bool), (override));
    MOCK_METHOD(bool, SetDeviceConfig, ((const std::map<std::string, std::string>&)), (override));
    MOCK_METHOD(bool, SetFormat, (const std::string&), (override));
    MOCK_METHOD(std::string, RequestAsync, (const std::string&), (override));
    MOCK_METHOD(std::string, RegisterApplicationAsync,
                (const std::string&, const std::string&, const std::string&), (override));
    MOCK_METHOD(std::string, SetConfigurationAsync, (const std::string&), (override));
    MOCK_METHOD(std::string, GetValueAsync, (unsigned long, bool), (override));
    MOCK_METHOD(std::string, SetValueAsync, (unsigned long, const std::string&, bool, int), (override));
    MOCK_METHOD(void, SetResponseHandler, (IResponseHandler*, void*), (override));
};

ORUVALUE Nan()
{
    return ORUVALUE::FromFloat(std::numeric_limits<double>::quiet_NaN());
}

std::string Serialized(const ORUVALUE& value, bool internalFormat)
{
    oru_string text;
    value.Serialize(text, internalFormat);
    return text.str();
}

class RemoteAdapter : public ::testing::Test
{
protected:
    // The text the client receives for one value.
    std::string Sent(const ORUVALUE& value)
    {
        std::string text;
        EXPECT_CALL(client, SetValueAsync(42ul, _, true, 0))
            .WillOnce(Invoke(
                [&](unsigned long, const std::string& t, bool, int)
                {
                    text = t;
                    return std::string("r");
                }));
        EXPECT_EQ(adapter.SetValueAsync(42, value, true), "r");
        ::testing::Mock::VerifyAndClearExpectations(&client);
        return text;
    }

    StrictMock<MockClient> client;
    Lum::RemoteRequestMessengerDeviceStack adapter{client};
};

TEST_F(RemoteAdapter, NanSpellingFollowsTheValueFormat)
{
    EXPECT_EQ(Sent(Nan()), "nan");

    EXPECT_CALL(client, SetInternalValueFormat(true));
    adapter.EnableInternalValueFormat();
    EXPECT_EQ(Sent(Nan()), "3.7:nan");
    EXPECT_EQ(Sent(ORUVALUE::FromFloat(-std::numeric_limits<double>::quiet_NaN())), "3.7:nan");

    EXPECT_CALL(client, SetFormat("Native")).WillOnce(Return(true));
    EXPECT_TRUE(adapter.EnableNativeFormat());
    EXPECT_EQ(Sent(Nan()), "3.7:nan");

    EXPECT_CALL(client, SetInternalValueFormat(false));
    adapter.EnableDefaultValueFormat();
    EXPECT_EQ(Sent(Nan()), "nan");

    EXPECT_CALL(client, SetFormat("Native")).WillOnce(Return(false));
    EXPECT_FALSE(adapter.EnableNativeFormat());
    EXPECT_EQ(Sent(Nan()), "nan");
}

TEST_F(RemoteAdapter, OtherValuesGoThroughThePlatformSerializerWithTheCurrentFlag)
{
    const std::vector<ORUVALUE> values = {ORUVALUE::FromFloat(21.5), ORUVALUE::FromFloat(0.0),
                                          ORUVALUE::FromFloat(std::numeric_limits<double>::infinity()),
                                          ORUVALUE::FromInteger(-7), ORUVALUE::FromString("nan")};
    for (const ORUVALUE& value : values)
        EXPECT_EQ(Sent(value), Serialized(value, false));

    EXPECT_CALL(client, SetInternalValueFormat(true));
    adapter.EnableInternalValueFormat();
    for (const ORUVALUE& value : values)
        EXPECT_EQ(Sent(value), Serialized(value, true));
}

TEST_F(RemoteAdapter, ClientIsToldBeforeTheFlagChanges)
{
    // A value sent while the client is being switched still uses the old format.
    std::vector<std::string> sent;
    EXPECT_CALL(client, SetValueAsync(1ul, _, false, 0))
        .Times(2)
        .WillRepeatedly(Invoke(
            [&](unsigned long, const std::string& text, bool, int)
            {
                sent.push_back(text);
                return std::string("r");
            }));
    {
        InSequence order;
        EXPECT_CALL(client, SetInternalValueFormat(true))
            .WillOnce(Invoke([&](bool) { adapter.SetValueAsync(1, Nan(), false); }));
        EXPECT_CALL(client, SetInternalValueFormat(false))
            .WillOnce(Invoke([&](bool) { adapter.SetValueAsync(1, Nan(), false); }));
    }
    adapter.EnableInternalValueFormat();
    adapter.EnableDefaultValueFormat();
    EXPECT_EQ(sent, (std::vector<std::string>{"nan", "3.7:nan"}));
}

TEST_F(RemoteAdapter, OnlyEnablingTheInternalFormatLogs)
{
    LumTest::LogCapture capture;
    EXPECT_CALL(client, SetInternalValueFormat(_)).Times(2);
    EXPECT_CALL(client, SetFormat("Native")).WillOnce(Return(true));
    adapter.EnableInternalValueFormat();
    adapter.EnableDefaultValueFormat();
    adapter.EnableNativeFormat();
    ASSERT_EQ(capture.Lines().size(), 1u);
    EXPECT_EQ(capture.Lines()[0].level, log4cplus::DEBUG_LOG_LEVEL);
    EXPECT_EQ(capture.Lines()[0].text, "Internal value format now enabled.");
}

class NullHandler : public Tarn::IDeviceStackClient::IResponseHandler
{
public:
    virtual ~NullHandler() = default;
    void OnResponse(void*, const std::string&, const std::string&,
                    const Tarn::IDeviceStackClient::IError&) override
    {
    }
    void OnRegisterApplication(void*, const std::string&, const Tarn::IDeviceStackClient::IError&) override {}
    void OnGetConfiguration(void*, const std::string&, const std::string&,
                            const Tarn::IDeviceStackClient::IError&) override
    {
    }
    void OnSetConfiguration(void*, const std::string&, const Tarn::IDeviceStackClient::IError&) override {}
    void OnGetValue(void*, const std::string&, unsigned long, const std::string&, const std::string&,
                    const Tarn::IDeviceStackClient::IError&) override
    {
    }
    void OnSetValue(void*, const std::string&, unsigned long, const std::string&, const std::string&,
                    const Tarn::IDeviceStackClient::IError&) override
    {
    }
};

TEST_F(RemoteAdapter, HandlerIsRegisteredAndDetachedWithANullContext)
{
    NullHandler handler;
    {
        InSequence order;
        EXPECT_CALL(client, SetResponseHandler(&handler, nullptr));
        EXPECT_CALL(client, SetResponseHandler(nullptr, nullptr));
    }
    adapter.SetResponseHandler(&handler);
    adapter.SetResponseHandler(nullptr);
}

TEST_F(RemoteAdapter, RequestsAreForwardedWithTheirArgumentsAndResults)
{
    const Lum::RequestMessengerDeviceStack::PropertyMap properties = {
        {Tarn::IDeviceStackClient::PropertyType::Name, {"lamp"}}};
    const std::map<std::string, std::string> deviceConfig = {{"k", "v"}};

    EXPECT_CALL(client, RegisterApplicationAsync("a", "b", "c")).WillOnce(Return("id-register"));
    EXPECT_CALL(client, GetValueAsync(4294967295ul, false)).WillOnce(Return("id-get"));
    EXPECT_CALL(client, RequestAsync("ping")).WillOnce(Return(""));
    EXPECT_CALL(client, SetConfigurationAsync("<cfg/>")).WillOnce(Return("id-config"));
    EXPECT_CALL(client, SetConfiguration(9ul, Ref(properties), true)).WillOnce(Return(false));
    EXPECT_CALL(client, GetDeviceConfig(_, true))
        .WillOnce(Invoke(
            [](std::string& out, bool)
            {
                out = "device";
                return true;
            }));
    EXPECT_CALL(client, SetDeviceConfig(Ref(deviceConfig))).WillOnce(Return(true));

    EXPECT_EQ(adapter.RegisterApplicationAsync("a", "b", "c"), "id-register");
    EXPECT_EQ(adapter.GetValueAsync(4294967295ul, false), "id-get");
    EXPECT_EQ(adapter.RequestAsync("ping"), "");
    EXPECT_EQ(adapter.SetConfigurationAsync("<cfg/>"), "id-config");
    EXPECT_FALSE(adapter.SetConfiguration(9, properties, true));
    std::string configuration;
    EXPECT_TRUE(adapter.GetDeviceConfig(configuration, true));
    EXPECT_EQ(configuration, "device");
    EXPECT_TRUE(adapter.SetDeviceConfig(deviceConfig));
}

TEST(RemoteAdapterRace, FormatSwitchesNeverMixWithinOneValue)
{
    ::testing::NiceMock<MockClient> client;
    std::atomic<int> bad{0};
    ON_CALL(client, SetValueAsync(_, _, _, _))
        .WillByDefault(Invoke(
            [&](unsigned long, const std::string& text, bool, int)
            {
                if (text != "nan" && text != "3.7:nan")
                    ++bad;
                return std::string("r");
            }));
    Lum::RemoteRequestMessengerDeviceStack adapter(client);
    std::atomic<bool> stop{false};
    std::thread switcher(
        [&]
        {
            while (!stop)
            {
                adapter.EnableInternalValueFormat();
                adapter.EnableDefaultValueFormat();
            }
        });
    for (int i = 0; i < 2000; ++i)
        adapter.SetValueAsync(1, Nan(), false);
    stop = true;
    switcher.join();
    EXPECT_EQ(bad, 0);
}

} // namespace
