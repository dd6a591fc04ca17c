// cEMI data messages against their byte layout, written out by hand, the
// group telegrams they carry, and every malformation of their lengths.
#include "LumBus/Cemi.h"

#include "BusTables.h"

#include <gtest/gtest.h>

using namespace LumBus;
using Bytes = std::vector<std::uint8_t>;

TEST(BusCemi, DecodesDataMessages)
{
    struct Frame
    {
        std::uint8_t messageCode;
        std::uint16_t source;
        std::uint16_t destination;
        Priority priority;
        unsigned hops;
        bool negative;
    };
    struct Telegram
    {
        GroupService service;
        Bytes data;
        bool shortForm;
        const char* problem;
    };
    // clang-format off
    struct Case
    {
        const char* name;
        Bytes bytes;
        // The additional info follows the first 2 bytes; the TPDU follows the 7 bytes after it.
        std::size_t infoSize;
        Frame frame;
        Telegram telegram;
    } const cases[] = {
        {"write 0C 33 to 1/0/1",
         {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x08, 0x01, 0x03, 0x00, 0x80, 0x0C, 0x33}, 0,
         {kCemiLDataReq, 0x0000, 0x0801, Priority::Low, 6, false},
         {GroupService::Write, {0x0C, 0x33}, false, ""}},
        {"switch on from 1.1.5 to 0/0/1", {0x29, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x00, 0x01, 0x01, 0x00, 0x81},
         0, {kCemiLDataInd, 0x1105, 0x0001, Priority::Low, 6, false},
         {GroupService::Write, {0x01}, true, ""}},
        {"read of 3/1/1 with two info items, urgent, 5 hops",
         {0x29, 0x07, 0x03, 0x02, 0x12, 0x34, 0x04, 0x01, 0x55, 0xB8, 0xD0, 0x11, 0x05, 0x19, 0x01, 0x01,
          0x00, 0x00},
         7, {kCemiLDataInd, 0x1105, 0x1901, Priority::Urgent, 5, false}, {GroupService::Read, {}, false, ""}},
        {"confirmed response", {0x2E, 0x00, 0xBC, 0xE0, 0x11, 0xFF, 0x08, 0x01, 0x02, 0x00, 0x40, 0x2A}, 0,
         {kCemiLDataCon, 0x11FF, 0x0801, Priority::Low, 6, false},
         {GroupService::Response, {0x2A}, false, ""}},
        {"negative confirmation", {0x2E, 0x00, 0xBD, 0xE0, 0x11, 0xFF, 0x08, 0x01, 0x01, 0x00, 0x80}, 0,
         {kCemiLDataCon, 0x11FF, 0x0801, Priority::Low, 6, true}, {GroupService::Write, {0x00}, true, ""}},
        {"to an individual address, system priority",
         {0x29, 0x00, 0xB0, 0x60, 0x11, 0x05, 0x11, 0x06, 0x01, 0x00, 0x81}, 0,
         {kCemiLDataInd, 0x1105, 0x1106, Priority::System, 6, false},
         {GroupService::Write, {}, false, "destination 1.1.6 is no group address"}},
        {"a connect of the transport layer", {0x29, 0x00, 0xB0, 0xE0, 0x11, 0x05, 0x08, 0x01, 0x00, 0x80}, 0,
         {kCemiLDataInd, 0x1105, 0x0801, Priority::System, 6, false},
         {GroupService::Write, {}, false, "APDU of 1 byte(s), a group service needs 2"}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        const Bytes info(c.bytes.begin() + 2, c.bytes.begin() + 2 + static_cast<long>(c.infoSize));
        const Bytes tpdu(c.bytes.begin() + 9 + static_cast<long>(c.infoSize), c.bytes.end());
        const CemiDecoded in = DecodeCemi(c.bytes.data(), c.bytes.size());
        ASSERT_EQ(in.error, CemiError::None) << in.detail;
        const CemiLData& f = in.frame;
        EXPECT_EQ(f.messageCode, c.frame.messageCode);
        EXPECT_EQ(f.additionalInfo, info);
        EXPECT_EQ(f.source, c.frame.source);
        EXPECT_EQ(f.destination, c.frame.destination);
        EXPECT_EQ(f.tpdu, tpdu);
        EXPECT_EQ(f.GetPriority(), c.frame.priority);
        EXPECT_EQ(f.HopCount(), c.frame.hops);
        EXPECT_EQ(f.IsNegativeConfirmation(), c.frame.negative);
        EXPECT_EQ(EncodeCemi(f), c.bytes);

        const ReceivedTelegram t = ToReceivedTelegram(f);
        EXPECT_EQ(t.problem, c.telegram.problem);
        EXPECT_EQ(t.telegram.source, c.frame.source);
        EXPECT_EQ(t.telegram.destination, c.frame.destination);
        EXPECT_EQ(t.apdu, tpdu);
        if (t.problem.empty())
        {
            EXPECT_EQ(t.telegram.service, c.telegram.service);
            EXPECT_EQ(t.telegram.data, c.telegram.data);
            EXPECT_EQ(t.telegram.shortForm, c.telegram.shortForm);
        }
    }
}

TEST(BusCemi, GroupRequestsAreStandardFramesUpToFifteenNpduBytes)
{
    // clang-format off
    const LumTest::GroupRequestCase cases[] = {
        {"9.001 21.5 to 1/0/1", 0x0801, GroupService::Write, {0x0C, 0x33}, false, 0,
         {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x08, 0x01, 0x03, 0x00, 0x80, 0x0C, 0x33}},
        {"on to 0/0/1 from 1.1.255", 0x0001, GroupService::Write, {0x01}, true, 0x11FF,
         {0x11, 0x00, 0xBC, 0xE0, 0x11, 0xFF, 0x00, 0x01, 0x01, 0x00, 0x81}},
        {"read of 3/1/1", 0x1901, GroupService::Read, {}, false, 0,
         {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x19, 0x01, 0x01, 0x00, 0x00}},
        {"response 2A", 0x0801, GroupService::Response, {0x2A}, false, 0,
         {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x08, 0x01, 0x02, 0x00, 0x40, 0x2A}},
    };
    // clang-format on
    for (const LumTest::GroupRequestCase& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(EncodeCemi(MakeGroupRequest(c.Telegram(), c.source)), c.bytes);
    }

    // 14 data bytes make an NPDU of 15: the last standard frame; 15 need an extended one.
    for (const std::size_t size : {std::size_t{14}, std::size_t{15}, std::size_t{254}})
    {
        SCOPED_TRACE(size);
        const Bytes data(size, 0xA5);
        const Bytes bytes = EncodeCemi(MakeGroupRequest({0, 0x0801, GroupService::Write, data, false}));
        ASSERT_EQ(bytes.size(), 9 + 2 + size);
        EXPECT_EQ(bytes[2], size <= 14 ? 0xBC : 0x3C);
        EXPECT_EQ(bytes[3], 0xE0);
        EXPECT_EQ(bytes[8], size + 1);
        EXPECT_EQ(Bytes(bytes.begin() + 11, bytes.end()), data);
    }
    EXPECT_THROW(MakeGroupRequest({0, 1, GroupService::Write, {0x40}, true}), std::invalid_argument);
}

TEST(BusCemi, EncoderRefusesWhatDoesNotFit)
{
    CemiLData f = MakeGroupRequest({0, 1, GroupService::Write, {0x01}, true});
    f.additionalInfo.assign(256, 0);
    EXPECT_THROW(EncodeCemi(f), std::invalid_argument);
    f.additionalInfo.clear();
    f.tpdu.clear();
    EXPECT_THROW(EncodeCemi(f), std::invalid_argument);
    f.tpdu.assign(kMaxNpdu + 2, 0);
    EXPECT_THROW(EncodeCemi(f), std::invalid_argument);
    f.tpdu.pop_back();
    EXPECT_EQ(EncodeCemi(f).size(), 9 + kMaxNpdu + 1);
}

TEST(BusCemi, EveryMalformationIsNamed)
{
    // clang-format off
    const LumTest::Malformation<CemiError> cases[] = {
        {"empty", {}, CemiError::Truncated, "cEMI message of 0 byte(s)"},
        {"message code alone", {0x29}, CemiError::Truncated, "cEMI message of 1 byte(s)"},
        {"bus monitor indication", {0x2B, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x00, 0x01, 0x01, 0x00, 0x81},
         CemiError::UnknownMessageCode, "message code 0x2B is no L_Data"},
        {"property read", {0xFC, 0x00, 0x00, 0x01, 0x35, 0x10, 0x01}, CemiError::UnknownMessageCode,
         "message code 0xFC is no L_Data"},
        {"fields cut short", {0x29, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x00, 0x01}, CemiError::Truncated,
         "additional info of 0 byte(s) and the fields need 9 bytes, 8 received"},
        {"additional info longer than the message",
         {0x29, 0xFF, 0xBC, 0xE0, 0x11, 0x05, 0x00, 0x01, 0x01, 0x00, 0x81}, CemiError::Truncated,
         "additional info of 255 byte(s) and the fields need 264 bytes, 11 received"},
        {"info item running past the info",
         {0x29, 0x04, 0x03, 0x03, 0x12, 0x34, 0xBC, 0xE0, 0x11, 0x05, 0x00, 0x01, 0x01, 0x00, 0x81},
         CemiError::BadAdditionalInfo,
         "additional info item 0x03 at offset 0 runs past the 4 byte(s) of additional info"},
        {"second info item without its length",
         {0x29, 0x03, 0x04, 0x00, 0x03, 0xBC, 0xE0, 0x11, 0x05, 0x00, 0x01, 0x01, 0x00, 0x81},
         CemiError::BadAdditionalInfo,
         "additional info item 0x03 at offset 2 runs past the 3 byte(s) of additional info"},
        {"NPDU length beyond the message",
         {0x29, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x08, 0x01, 0x03, 0x00, 0x80, 0x0C}, CemiError::Truncated,
         "NPDU length 3 needs 4 TPDU byte(s), 3 received"},
        {"no TPDU at all", {0x29, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x08, 0x01, 0x00}, CemiError::Truncated,
         "NPDU length 0 needs 1 TPDU byte(s), 0 received"},
        {"bytes after the TPDU",
         {0x29, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x08, 0x01, 0x01, 0x00, 0x80, 0x0C, 0x33},
         CemiError::LengthMismatch, "NPDU length 1 but 4 TPDU byte(s) received"},
    };
    // clang-format on
    LumTest::ExpectEachNamed(cases, DecodeCemi, CemiErrorName,
                             [](const CemiDecoded& in) { EXPECT_TRUE(in.frame.tpdu.empty()); });
    EXPECT_STREQ(CemiErrorName(CemiError::BadAdditionalInfo), "bad additional info");
    EXPECT_EQ(CemiMessageName(kCemiLDataCon), "L_Data.con");
    EXPECT_EQ(CemiMessageName(0x2B), "message code 0x2B");
}
