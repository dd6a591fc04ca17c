// KNXnet/IP frames against their byte layouts, written out by hand field by
// field; and every malformation a datagram can carry.
#include "LumBus/KnxIpFrame.h"

#include "BusTables.h"

#include <gtest/gtest.h>

using namespace LumBus;
using Bytes = std::vector<std::uint8_t>;

namespace
{

// 10.99.0.1:3671 and 10.99.0.2:50000 as endpoints.
const Hpai kServer{kHostProtocolUdp4, {10, 99, 0, 1}, 3671};
const Hpai kClient{kHostProtocolUdp4, {10, 99, 0, 2}, 50000};
const Hpai kNat{};

SearchResponse KnxdLikeResponse()
{
    SearchResponse r;
    r.control = kServer;
    r.device.medium = kMediumTp1;
    r.device.individualAddress = 0x0001;
    r.device.serial = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05};
    r.device.multicast = kKnxIpMulticastAddress;
    r.device.mac = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
    r.device.name = "knxd";
    r.families = {{kFamilyCore, 1}, {kFamilyTunnelling, 1}, {kFamilyRouting, 1}};
    return r;
}

Bytes KnxdLikeResponseBytes()
{
    Bytes b = {0x06, 0x10, 0x02, 0x02, 0x00, 0x4C,                       // header, 76 bytes
               0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57,           // control endpoint
               0x36, 0x01, 0x02, 0x00, 0x00, 0x01, 0x00, 0x00,           // device info: TP1, 0.0.1
               0x00, 0x01, 0x02, 0x03, 0x04, 0x05,                       // serial number
               0xE0, 0x00, 0x17, 0x0C,                                   // 224.0.23.12
               0x02, 0x00, 0x00, 0x00, 0x00, 0x01,                       // MAC address
               'k',  'n',  'x',  'd'};                                   // name, NUL-padded to 30
    b.resize(b.size() + 26);                                             // the NUL padding
    b.insert(b.end(), {0x08, 0x02, 0x02, 0x01, 0x04, 0x01, 0x05, 0x01}); // core, tunnelling, routing
    return b;
}

// An L_Data.req writing 0C 33 to 1/0/1.
const Bytes kCemiWrite = {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x08, 0x01, 0x03, 0x00, 0x80, 0x0C, 0x33};

struct FrameCase
{
    const char* name;
    KnxIpBody body;
    Bytes bytes;
};

std::vector<FrameCase> FrameCases()
{
    Bytes tunnelling = {0x06, 0x10, 0x04, 0x20, 0x00, 0x17, 0x04, 0x15, 0x07, 0x00};
    tunnelling.insert(tunnelling.end(), kCemiWrite.begin(), kCemiWrite.end());
    Bytes routing = {0x06, 0x10, 0x05, 0x30, 0x00, 0x13};
    routing.insert(routing.end(), kCemiWrite.begin(), kCemiWrite.end());
    // clang-format off
    return {
        {"search request", SearchRequest{kServer},
         {0x06, 0x10, 0x02, 0x01, 0x00, 0x0E, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57}},
        {"search response", KnxdLikeResponse(), KnxdLikeResponseBytes()},
        {"connect request, NAT", ConnectRequest{kNat, kNat},
         {0x06, 0x10, 0x02, 0x05, 0x00, 0x1A, 0x08, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x08, 0x01,
          0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x04, 0x02, 0x00}},
        {"connect request, endpoints", ConnectRequest{kClient, kClient},
         {0x06, 0x10, 0x02, 0x05, 0x00, 0x1A, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x02, 0xC3, 0x50, 0x08, 0x01,
          0x0A, 0x63, 0x00, 0x02, 0xC3, 0x50, 0x04, 0x04, 0x02, 0x00}},
        {"connect response", ConnectResponse{0x15, kStatusNoError, kServer, 0x11FF},
         {0x06, 0x10, 0x02, 0x06, 0x00, 0x14, 0x15, 0x00, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57,
          0x04, 0x04, 0x11, 0xFF}},
        {"connect response, refused", ConnectResponse{0x00, kStatusNoMoreConnections, {}, 0},
         {0x06, 0x10, 0x02, 0x06, 0x00, 0x08, 0x00, 0x24}},
        {"connection-state request", ConnectionStateRequest{0x15, kClient},
         {0x06, 0x10, 0x02, 0x07, 0x00, 0x10, 0x15, 0x00, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x02, 0xC3, 0x50}},
        {"connection-state response", ConnectionStateResponse{0x15, kStatusConnectionId},
         {0x06, 0x10, 0x02, 0x08, 0x00, 0x08, 0x15, 0x21}},
        {"disconnect request", DisconnectRequest{0x15, kNat},
         {0x06, 0x10, 0x02, 0x09, 0x00, 0x10, 0x15, 0x00, 0x08, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
        {"disconnect response", DisconnectResponse{0x15, kStatusNoError},
         {0x06, 0x10, 0x02, 0x0A, 0x00, 0x08, 0x15, 0x00}},
        {"tunnelling request", TunnellingRequest{0x15, 0x07, kCemiWrite}, tunnelling},
        {"tunnelling ack", TunnellingAck{0x15, 0x07, kStatusSequenceNumber},
         {0x06, 0x10, 0x04, 0x21, 0x00, 0x0A, 0x04, 0x15, 0x07, 0x04}},
        {"routing indication", RoutingIndication{kCemiWrite}, routing},
        {"routing busy", RoutingBusy{0x01, 100, 0x0000},
         {0x06, 0x10, 0x05, 0x32, 0x00, 0x0C, 0x06, 0x01, 0x00, 0x64, 0x00, 0x00}},
        {"routing lost message", RoutingLostMessage{0x00, 0x0105},
         {0x06, 0x10, 0x05, 0x31, 0x00, 0x0A, 0x04, 0x00, 0x01, 0x05}},
    };
    // clang-format on
}

} // namespace

// The encoder writes the hand-made layout; the decoder reads it back into a
// body the encoder turns into the same bytes, so no field is lost or swapped.
TEST(BusKnxIpFrame, EncodesAndDecodesEveryService)
{
    for (const FrameCase& c : FrameCases())
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(EncodeKnxIpFrame(c.body), c.bytes);
        const KnxIpFrame frame = DecodeKnxIpFrame(c.bytes.data(), c.bytes.size());
        ASSERT_EQ(frame.error, KnxIpError::None) << frame.detail;
        EXPECT_EQ(frame.service, KnxIpServiceType(c.body));
        EXPECT_EQ(frame.body.index(), c.body.index());
        EXPECT_EQ(KnxIpServiceName(frame.service),
                  std::string(c.name).substr(0, std::string(c.name).find(',')));
        EXPECT_EQ(EncodeKnxIpFrame(frame.body), c.bytes);
    }
}

TEST(BusKnxIpFrame, DecodesWhatDiscoveryPrints)
{
    const Bytes bytes = KnxdLikeResponseBytes();
    const KnxIpFrame frame = DecodeKnxIpFrame(bytes.data(), bytes.size());
    const auto* r = std::get_if<SearchResponse>(&frame.body);
    ASSERT_TRUE(r) << frame.detail;
    EXPECT_EQ(FormatHpai(r->control), "10.99.0.1:3671");
    EXPECT_EQ(r->device.name, "knxd");
    EXPECT_EQ(r->device.individualAddress, 0x0001);
    EXPECT_EQ(MediumName(r->device.medium), "TP1");
    ASSERT_EQ(r->families.size(), 3u);
    EXPECT_EQ(ServiceFamilyName(r->families[1].family), "tunnelling");
    EXPECT_EQ(ServiceFamilyName(r->families[2].family), "routing");
    EXPECT_EQ(ServiceFamilyName(0x09), "family 0x09");
    EXPECT_FALSE(r->control.IsNat());
    EXPECT_TRUE(Hpai{}.IsNat());
}

TEST(BusKnxIpFrame, SearchResponseSkipsOtherDescriptionBlocksAndReadsAFullName)
{
    Bytes bytes = KnxdLikeResponseBytes();
    // A 30-byte name without a terminating NUL, in Latin-1.
    const std::string name = "Schaltaktor K\xFC"
                             "che EG 1.1.250 x";
    ASSERT_EQ(name.size(), kDeviceNameSize);
    std::copy(name.begin(), name.end(), bytes.begin() + 6 + 8 + 24);
    // A manufacturer block (type FE) of 4 bytes between the two known ones.
    const Bytes extra = {0x04, 0xFE, 0x12, 0x34};
    bytes.insert(bytes.begin() + 6 + 8 + 54, extra.begin(), extra.end());
    bytes[5] = static_cast<std::uint8_t>(bytes.size());
    const KnxIpFrame frame = DecodeKnxIpFrame(bytes.data(), bytes.size());
    const auto* r = std::get_if<SearchResponse>(&frame.body);
    ASSERT_TRUE(r) << frame.detail;
    EXPECT_EQ(r->device.name, name);
    EXPECT_EQ(DeviceNameUtf8(r->device.name), "Schaltaktor K\xC3\xBC"
                                              "che EG 1.1.250 x");
    EXPECT_EQ(DeviceNameUtf8(std::string("a\tb\x85", 4)), "a?b?");
    EXPECT_EQ(r->families.size(), 3u);
}

TEST(BusKnxIpFrame, RefusalsCarryTheirStatusWhateverFollows)
{
    // Some servers send endpoint and CRD with a refusal too: the status is what counts.
    const Bytes bytes = {0x06, 0x10, 0x02, 0x06, 0x00, 0x14, 0x00, 0x24, 0x08, 0x01,
                         0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x04, 0x00, 0x00};
    const KnxIpFrame frame = DecodeKnxIpFrame(bytes.data(), bytes.size());
    const auto* r = std::get_if<ConnectResponse>(&frame.body);
    ASSERT_TRUE(r) << frame.detail;
    EXPECT_EQ(r->status, kStatusNoMoreConnections);
    EXPECT_EQ(KnxIpStatusText(r->status), "no more connections");
}

TEST(BusKnxIpFrame, StatusTexts)
{
    const std::pair<std::uint8_t, const char*> texts[] = {
        {0x00, "no error"},
        {0x01, "host protocol type not supported"},
        {0x02, "protocol version not supported"},
        {0x04, "sequence number out of order"},
        {0x21, "no active connection with that channel"},
        {0x22, "connection type not supported"},
        {0x23, "connection option not supported"},
        {0x24, "no more connections"},
        {0x26, "error in the data connection"},
        {0x27, "error in the KNX connection"},
        {0x29, "tunnelling layer not supported"},
        {0x25, "status 0x25"},
        {0xFF, "status 0xFF"},
    };
    for (const auto& [status, text] : texts)
        EXPECT_EQ(KnxIpStatusText(status), text);
}

TEST(BusKnxIpFrame, EncoderRefusesWhatDoesNotFit)
{
    SearchResponse longName = KnxdLikeResponse();
    longName.device.name = std::string(kDeviceNameSize + 1, 'x');
    EXPECT_THROW(EncodeKnxIpFrame(longName), std::invalid_argument);
    longName.device.name.pop_back();
    EXPECT_EQ(EncodeKnxIpFrame(longName).size(), 76u);
    // The families block's length byte: 2 + 2 * 126 = 254 fits, 127 families do not.
    SearchResponse many = KnxdLikeResponse();
    many.families.assign(126, {kFamilyTunnelling, 1});
    const Bytes bytes = EncodeKnxIpFrame(many);
    EXPECT_EQ(bytes.at(6 + 8 + 54), 254);
    many.families.push_back({kFamilyRouting, 1});
    EXPECT_THROW(EncodeKnxIpFrame(many), std::invalid_argument);
    EXPECT_THROW(EncodeKnxIpFrame(RoutingIndication{Bytes(0xFFFF - 5, 0)}), std::invalid_argument);
    EXPECT_EQ(EncodeKnxIpFrame(RoutingIndication{Bytes(0xFFFF - 6, 0)}).size(), 0xFFFFu);
}

TEST(BusKnxIpFrame, EveryMalformationIsNamed)
{
    // clang-format off
    const LumTest::Malformation<KnxIpError> cases[] = {
        {"empty", {}, KnxIpError::Truncated, "datagram of 0 byte(s) is shorter than the 6-byte header"},
        {"half a header", {0x06, 0x10, 0x02, 0x01, 0x00}, KnxIpError::Truncated,
         "datagram of 5 byte(s) is shorter than the 6-byte header"},
        {"header length 8", {0x08, 0x10, 0x02, 0x01, 0x00, 0x08, 0x00, 0x00}, KnxIpError::BadHeaderLength,
         "header length 0x08, expected 0x06"},
        {"version 2.0", {0x06, 0x20, 0x02, 0x01, 0x00, 0x06}, KnxIpError::BadVersion,
         "protocol version 0x20, expected 0x10"},
        {"total length beyond the datagram",
         {0x06, 0x10, 0x02, 0x01, 0x00, 0x10, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57},
         KnxIpError::Truncated, "total length 16 but 14 byte(s) received"},
        {"total length short of the datagram",
         {0x06, 0x10, 0x02, 0x01, 0x00, 0x0C, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57},
         KnxIpError::LengthMismatch, "total length 12 but 14 byte(s) received"},
        {"total length inside the header", {0x06, 0x10, 0x02, 0x01, 0x00, 0x04}, KnxIpError::LengthMismatch,
         "total length 4 is shorter than the 6-byte header"},
        {"description request", {0x06, 0x10, 0x02, 0x03, 0x00, 0x06}, KnxIpError::UnknownService,
         "service type 0x0203"},
        {"service FFFF", {0x06, 0x10, 0xFF, 0xFF, 0x00, 0x06}, KnxIpError::UnknownService,
         "service type 0xFFFF"},
        {"endpoint cut short", {0x06, 0x10, 0x02, 0x01, 0x00, 0x0D, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E},
         KnxIpError::BadBody, "search request: discovery endpoint needs 8 byte(s), 7 left"},
        {"endpoint of length 7",
         {0x06, 0x10, 0x02, 0x01, 0x00, 0x0E, 0x07, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57},
         KnxIpError::BadBody, "search request: discovery endpoint has length 7, expected 8"},
        {"endpoint over another protocol",
         {0x06, 0x10, 0x02, 0x01, 0x00, 0x0E, 0x08, 0x03, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57},
         KnxIpError::BadBody, "search request: discovery endpoint has host protocol 0x03"},
        {"a byte after the endpoint",
         {0x06, 0x10, 0x02, 0x01, 0x00, 0x0F, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57, 0x00},
         KnxIpError::BadBody, "search request: 1 byte(s) after the end of the layout"},
        {"response without blocks",
         {0x06, 0x10, 0x02, 0x02, 0x00, 0x0E, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57},
         KnxIpError::BadBody, "search response: no device info"},
        {"block longer than the frame",
         {0x06, 0x10, 0x02, 0x02, 0x00, 0x12, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57, 0x36, 0x01,
          0x02, 0x00},
         KnxIpError::BadBody, "search response: description block 0x01 has length 54, 4 byte(s) left"},
        {"block of length 1",
         {0x06, 0x10, 0x02, 0x02, 0x00, 0x12, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57, 0x01, 0x02,
          0x02, 0x01},
         KnxIpError::BadBody, "search response: description block 0x02 has length 1, 4 byte(s) left"},
        {"half a block header",
         {0x06, 0x10, 0x02, 0x02, 0x00, 0x0F, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57, 0x08},
         KnxIpError::BadBody, "search response: description block needs 2 byte(s), 1 left"},
        {"device info of length 4",
         {0x06, 0x10, 0x02, 0x02, 0x00, 0x12, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57, 0x04, 0x01,
          0x02, 0x00},
         KnxIpError::BadBody, "search response: device info has length 4, expected 54"},
        {"families of odd length",
         {0x06, 0x10, 0x02, 0x02, 0x00, 0x13, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57, 0x05, 0x02,
          0x02, 0x01, 0x04},
         KnxIpError::BadBody, "search response: service families have odd length 5"},
        {"connect request for device management",
         {0x06, 0x10, 0x02, 0x05, 0x00, 0x18, 0x08, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x08, 0x01,
          0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03},
         KnxIpError::BadBody,
         "connect request: connection request information of type 0x03 and length 2 is no tunnel"},
        {"connect request for a raw tunnel",
         {0x06, 0x10, 0x02, 0x05, 0x00, 0x1A, 0x08, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x08, 0x01,
          0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x04, 0x04, 0x00},
         KnxIpError::BadBody, "connect request: tunnel on layer 0x04 is no link-layer tunnel"},
        {"accepted connect without its CRD",
         {0x06, 0x10, 0x02, 0x06, 0x00, 0x10, 0x15, 0x00, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57},
         KnxIpError::BadBody, "connect response: connection response data needs 4 byte(s), 0 left"},
        {"connect response with a channel alone", {0x06, 0x10, 0x02, 0x06, 0x00, 0x07, 0x15},
         KnxIpError::BadBody, "connect response: channel and status needs 2 byte(s), 1 left"},
        {"connection-state request without endpoint", {0x06, 0x10, 0x02, 0x07, 0x00, 0x08, 0x15, 0x00},
         KnxIpError::BadBody, "connection-state request: control endpoint needs 8 byte(s), 0 left"},
        {"disconnect response with an extra byte", {0x06, 0x10, 0x02, 0x0A, 0x00, 0x09, 0x15, 0x00, 0x00},
         KnxIpError::BadBody, "disconnect response: 1 byte(s) after the end of the layout"},
        {"tunnelling request with a 5-byte connection header",
         {0x06, 0x10, 0x04, 0x20, 0x00, 0x0B, 0x05, 0x15, 0x07, 0x00, 0x11}, KnxIpError::BadBody,
         "tunnelling request: connection header has length 5, expected 4"},
        {"tunnelling request cut in its header", {0x06, 0x10, 0x04, 0x20, 0x00, 0x09, 0x04, 0x15, 0x07},
         KnxIpError::BadBody, "tunnelling request: connection header needs 4 byte(s), 3 left"},
        {"tunnelling ack with a byte after it",
         {0x06, 0x10, 0x04, 0x21, 0x00, 0x0B, 0x04, 0x15, 0x07, 0x00, 0x00}, KnxIpError::BadBody,
         "tunnelling ack: 1 byte(s) after the end of the layout"},
        {"routing busy of length 4", {0x06, 0x10, 0x05, 0x32, 0x00, 0x0C, 0x04, 0x01, 0x00, 0x64, 0x00, 0x00},
         KnxIpError::BadBody, "routing busy: busy information has length 4, expected 6"},
        {"routing lost message cut short", {0x06, 0x10, 0x05, 0x31, 0x00, 0x09, 0x04, 0x00, 0x01},
         KnxIpError::BadBody, "routing lost message: lost message information needs 4 byte(s), 3 left"},
    };
    // clang-format on
    LumTest::ExpectEachNamed(cases, DecodeKnxIpFrame, KnxIpErrorName);
    EXPECT_STREQ(KnxIpErrorName(KnxIpError::Truncated), "truncated");
    EXPECT_STREQ(KnxIpErrorName(KnxIpError::BadVersion), "bad protocol version");
    EXPECT_STREQ(KnxIpErrorName(KnxIpError::UnknownService), "unknown service type");
}

// Every prefix of every valid frame, and every frame with a wrong total
// length, is refused: no layout is complete before its last byte.
TEST(BusKnxIpFrame, NoPrefixOfAFrameDecodes)
{
    for (const FrameCase& c : FrameCases())
    {
        SCOPED_TRACE(c.name);
        for (std::size_t size = 0; size < c.bytes.size(); ++size)
        {
            EXPECT_NE(DecodeKnxIpFrame(c.bytes.data(), size).error, KnxIpError::None) << size;
            // The same prefix with its total length corrected.
            Bytes cut(c.bytes.begin(), c.bytes.begin() + static_cast<long>(size));
            if (size < kKnxIpHeaderSize)
                continue;
            cut[4] = 0;
            cut[5] = static_cast<std::uint8_t>(size);
            const KnxIpFrame frame = DecodeKnxIpFrame(cut.data(), cut.size());
            // cEMI stays bytes: a tunnelling or routing frame is whole once its header is.
            const bool cemiTail = std::holds_alternative<RoutingIndication>(c.body) ||
                                  (std::holds_alternative<TunnellingRequest>(c.body) &&
                                   size >= kKnxIpHeaderSize + kConnectionHeaderSize);
            EXPECT_EQ(frame.error, cemiTail ? KnxIpError::None : KnxIpError::BadBody) << size << frame.detail;
        }
    }
}
