// Group APDUs against the byte layouts knxd passes between its clients.
#include "LumBus/Apdu.h"

#include <gtest/gtest.h>

using namespace LumBus;
using Bytes = std::vector<std::uint8_t>;

TEST(BusApdu, EncodesEachServiceAndForm)
{
    struct Case
    {
        GroupService service;
        Bytes data;
        bool shortForm;
        Bytes apdu;
    } const cases[] = {
        {GroupService::Read, {}, false, {0x00, 0x00}},
        {GroupService::Read, {0x01}, true, {0x00, 0x00}}, // a read carries no value
        {GroupService::Write, {0x01}, true, {0x00, 0x81}},
        {GroupService::Write, {0x00}, true, {0x00, 0x80}},
        {GroupService::Write, {0x3F}, true, {0x00, 0xBF}},
        {GroupService::Response, {0x01}, true, {0x00, 0x41}},
        {GroupService::Write, {0x01}, false, {0x00, 0x80, 0x01}},
        {GroupService::Write, {0x0C, 0x33}, false, {0x00, 0x80, 0x0C, 0x33}},
        {GroupService::Response, {0x0C, 0x1A}, false, {0x00, 0x40, 0x0C, 0x1A}},
        {GroupService::Write, {0x43, 0xC6, 0x80, 0x00}, false, {0x00, 0x80, 0x43, 0xC6, 0x80, 0x00}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(EncodeGroupApdu(c.service, c.data, c.shortForm), c.apdu)
            << ServiceName(c.service) << " short=" << c.shortForm;
}

TEST(BusApdu, RefusesWhatDoesNotFit)
{
    EXPECT_THROW(EncodeGroupApdu(GroupService::Write, {0x40}, true), std::invalid_argument);
    EXPECT_THROW(EncodeGroupApdu(GroupService::Write, {0x01, 0x02}, true), std::invalid_argument);
    EXPECT_THROW(EncodeGroupApdu(GroupService::Write, {}, true), std::invalid_argument);
    EXPECT_THROW(EncodeGroupApdu(GroupService::Write, Bytes(kMaxApduData + 1, 0), false),
                 std::invalid_argument);
    EXPECT_EQ(EncodeGroupApdu(GroupService::Write, Bytes(kMaxApduData, 0), false).size(), kMaxApduData + 2);
}

TEST(BusApdu, DecodesGoodApdus)
{
    struct Case
    {
        Bytes apdu;
        GroupService service;
        Bytes data;
        bool shortForm;
    } const cases[] = {
        {{0x00, 0x00}, GroupService::Read, {}, false},
        {{0x00, 0x81}, GroupService::Write, {0x01}, true},
        {{0x00, 0x80}, GroupService::Write, {0x00}, true},
        {{0x00, 0x8B}, GroupService::Write, {0x0B}, true},
        {{0x00, 0x41}, GroupService::Response, {0x01}, true},
        {{0x00, 0x80, 0x01}, GroupService::Write, {0x01}, false}, // a small value in long form
        {{0x00, 0x80, 0x0C, 0x33}, GroupService::Write, {0x0C, 0x33}, false},
        {{0x00, 0x40, 0x0C, 0x33}, GroupService::Response, {0x0C, 0x33}, false},
        // The high APCI bits in b0 are part of the service: 0x0080 from b1 alone.
        {{0x00, 0xBF}, GroupService::Write, {0x3F}, true},
    };
    for (const auto& c : cases)
    {
        const DecodedApdu d = DecodeGroupApdu(c.apdu.data(), c.apdu.size());
        ASSERT_TRUE(d.ok) << d.error;
        EXPECT_EQ(d.service, c.service);
        EXPECT_EQ(d.data, c.data);
        EXPECT_EQ(d.shortForm, c.shortForm);
        EXPECT_EQ(d.error, "");
    }
}

TEST(BusApdu, RejectsBadApdusWithAReason)
{
    struct Case
    {
        Bytes apdu;
        const char* error;
    } const cases[] = {
        {{}, "APDU of 0 byte(s), a group service needs 2"},
        {{0x00}, "APDU of 1 byte(s), a group service needs 2"},
        {{0x00, 0xC0}, "APCI 0C0 is no group read, response or write"},
        {{0x01, 0x00}, "APCI 100 is no group read, response or write"},
        {{0x03, 0xC0, 0x01}, "APCI 3C0 is no group read, response or write"},
        {{0x80, 0x80}, "transport control 80 is no group data"},
        {{0x42, 0x80}, "transport control 40 is no group data"},
        {{0x00, 0x00, 0x01}, "a read carries 1 data byte(s)"},
        {Bytes(2 + kMaxApduData + 1, 0x00), "APDU of 257 bytes is longer than any frame"},
    };
    for (const auto& c : cases)
    {
        const DecodedApdu d = DecodeGroupApdu(c.apdu.data(), c.apdu.size());
        EXPECT_FALSE(d.ok);
        EXPECT_EQ(d.error, c.error);
    }
}

TEST(BusApdu, ShortInputIsNeverReadPastItsEnd)
{
    // Only the first `size` bytes exist as far as the decoder is concerned.
    const std::uint8_t buffer[] = {0x00, 0x80, 0x0C, 0x33};
    EXPECT_FALSE(DecodeGroupApdu(buffer, 1).ok);
    const DecodedApdu two = DecodeGroupApdu(buffer, 2);
    ASSERT_TRUE(two.ok);
    EXPECT_TRUE(two.shortForm);
    EXPECT_EQ(two.data, Bytes{0x00});
    EXPECT_FALSE(DecodeGroupApdu(nullptr, 0).ok);
}

TEST(BusApdu, ServiceNames)
{
    EXPECT_STREQ(ServiceName(GroupService::Read), "read");
    EXPECT_STREQ(ServiceName(GroupService::Response), "response");
    EXPECT_STREQ(ServiceName(GroupService::Write), "write");
}
