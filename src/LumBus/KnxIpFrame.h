#pragma once
// KNXnet/IP frames as they travel in UDP datagrams: a 6-byte header (header
// length 06, protocol version 10, service type and total length, both 2 bytes
// big-endian) and a body whose layout the service type fixes. Apart from any
// I/O so that it can be tested and fuzzed alone. The cEMI message inside
// tunnelling and routing frames stays bytes here; Cemi.h decodes it.
//
//     const LumBus::KnxIpFrame frame = LumBus::DecodeKnxIpFrame(datagram, size);
//     if (frame.error != LumBus::KnxIpError::None) count(frame.error), log(frame.detail);
//     else if (auto* r = std::get_if<LumBus::SearchResponse>(&frame.body)) ...
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace LumBus
{

// Header: length byte, protocol version byte.
constexpr std::uint8_t kKnxIpHeaderSize = 0x06;
constexpr std::uint8_t kKnxIpVersion = 0x10;
constexpr std::uint16_t kKnxIpPort = 3671;
// Where search requests and routing indications go: 224.0.23.12.
constexpr std::array<std::uint8_t, 4> kKnxIpMulticastAddress = {224, 0, 23, 12};

// Service types.
constexpr std::uint16_t kServiceSearchRequest = 0x0201;
constexpr std::uint16_t kServiceSearchResponse = 0x0202;
constexpr std::uint16_t kServiceConnectRequest = 0x0205;
constexpr std::uint16_t kServiceConnectResponse = 0x0206;
constexpr std::uint16_t kServiceConnectionStateRequest = 0x0207;
constexpr std::uint16_t kServiceConnectionStateResponse = 0x0208;
constexpr std::uint16_t kServiceDisconnectRequest = 0x0209;
constexpr std::uint16_t kServiceDisconnectResponse = 0x020A;
constexpr std::uint16_t kServiceTunnellingRequest = 0x0420;
constexpr std::uint16_t kServiceTunnellingAck = 0x0421;
constexpr std::uint16_t kServiceRoutingIndication = 0x0530;
constexpr std::uint16_t kServiceRoutingLostMessage = 0x0531;
constexpr std::uint16_t kServiceRoutingBusy = 0x0532;

// Host protocol codes of an endpoint (HPAI: length 08, code, IPv4 address, port).
constexpr std::uint8_t kHpaiSize = 0x08;
constexpr std::uint8_t kHostProtocolUdp4 = 0x01;
constexpr std::uint8_t kHostProtocolTcp4 = 0x02;

// Connection request/response information (CRI/CRD) of a tunnel:
// CRI = length 04, type 04, layer 02, reserved; CRD = length 04, type 04, individual address.
constexpr std::uint8_t kTunnelCriSize = 0x04;
constexpr std::uint8_t kConnectionTypeTunnel = 0x04;
constexpr std::uint8_t kTunnelLinkLayer = 0x02;

// Connection header of tunnelling frames: length 04, channel, sequence counter, status or reserved.
constexpr std::uint8_t kConnectionHeaderSize = 0x04;
// Routing busy: length 06, device state, wait time (ms), control field.
constexpr std::uint8_t kRoutingBusySize = 0x06;
// Routing lost message: length 04, device state, number of lost messages.
constexpr std::uint8_t kRoutingLostSize = 0x04;

// The total length is 2 bytes.
constexpr std::size_t kMaxKnxIpFrame = 0xFFFF;

// Description blocks (DIB: length, type, data) of a search response.
constexpr std::size_t kDibHeaderSize = 2;
constexpr std::uint8_t kDibDeviceInfo = 0x01;
constexpr std::uint8_t kDibServiceFamilies = 0x02;
// Device info: length, type, medium, status, individual address, project-installation id,
// serial number (6), routing multicast address (4), MAC address (6), name (30, Latin-1, NUL-padded).
constexpr std::uint8_t kDeviceInfoSize = 0x36;
constexpr std::size_t kDeviceNameSize = 30;

// Media of device info.
constexpr std::uint8_t kMediumTp1 = 0x02;
constexpr std::uint8_t kMediumPl110 = 0x04;
constexpr std::uint8_t kMediumRf = 0x10;
constexpr std::uint8_t kMediumIp = 0x20;

// Service families of the families DIB (pairs of family and version); its
// one-byte length leaves room for 126.
constexpr std::size_t kServiceFamilyEntrySize = 2;
constexpr std::size_t kMaxServiceFamilies = (0xFF - kDibHeaderSize) / kServiceFamilyEntrySize;
constexpr std::uint8_t kFamilyCore = 0x02;
constexpr std::uint8_t kFamilyDeviceManagement = 0x03;
constexpr std::uint8_t kFamilyTunnelling = 0x04;
constexpr std::uint8_t kFamilyRouting = 0x05;
constexpr std::uint8_t kFamilyRemoteLogging = 0x06;
constexpr std::uint8_t kFamilyRemoteConfiguration = 0x07;
constexpr std::uint8_t kFamilyObjectServer = 0x08;

// Status codes of responses and acks.
constexpr std::uint8_t kStatusNoError = 0x00;
constexpr std::uint8_t kStatusHostProtocolType = 0x01;
constexpr std::uint8_t kStatusVersionNotSupported = 0x02;
constexpr std::uint8_t kStatusSequenceNumber = 0x04;
constexpr std::uint8_t kStatusConnectionId = 0x21;
constexpr std::uint8_t kStatusConnectionType = 0x22;
constexpr std::uint8_t kStatusConnectionOption = 0x23;
constexpr std::uint8_t kStatusNoMoreConnections = 0x24;
constexpr std::uint8_t kStatusDataConnection = 0x26;
constexpr std::uint8_t kStatusKnxConnection = 0x27;
constexpr std::uint8_t kStatusTunnellingLayer = 0x29;

// An endpoint. 0.0.0.0:0 asks the peer to answer where the datagram came
// from (NAT mode).
struct Hpai
{
    std::uint8_t protocol = kHostProtocolUdp4;
    std::array<std::uint8_t, 4> address{};
    std::uint16_t port = 0;

    bool IsNat() const { return address == std::array<std::uint8_t, 4>{} && port == 0; }
};

struct DeviceInfo
{
    std::uint8_t medium = kMediumTp1;
    std::uint8_t status = 0;
    std::uint16_t individualAddress = 0;
    std::uint16_t projectInstallation = 0;
    std::array<std::uint8_t, 6> serial{};
    std::array<std::uint8_t, 4> multicast{};
    std::array<std::uint8_t, 6> mac{};
    // Latin-1, without the NUL padding; at most kDeviceNameSize bytes.
    std::string name;
};

struct ServiceFamily
{
    std::uint8_t family = 0;
    std::uint8_t version = 0;
};

struct SearchRequest
{
    Hpai discovery;
};

// Description blocks other than device info and service families are
// skipped when decoding.
struct SearchResponse
{
    Hpai control;
    DeviceInfo device;
    std::vector<ServiceFamily> families;
};

// A tunnel on the link layer (the only connection this codec knows).
struct ConnectRequest
{
    Hpai control;
    Hpai data;
};

// `data` and `individualAddress` only mean something when status is
// kStatusNoError; an error response is encoded as channel and status alone.
struct ConnectResponse
{
    std::uint8_t channel = 0;
    std::uint8_t status = kStatusNoError;
    Hpai data;
    std::uint16_t individualAddress = 0;
};

// Connection-state and disconnect frames have the same layouts; the service
// type keeps them apart as alternatives of KnxIpBody.
template <std::uint16_t Service> struct ChannelRequest
{
    std::uint8_t channel = 0;
    Hpai control;
};

template <std::uint16_t Service> struct ChannelResponse
{
    std::uint8_t channel = 0;
    std::uint8_t status = kStatusNoError;
};

using ConnectionStateRequest = ChannelRequest<kServiceConnectionStateRequest>;
using ConnectionStateResponse = ChannelResponse<kServiceConnectionStateResponse>;
using DisconnectRequest = ChannelRequest<kServiceDisconnectRequest>;
using DisconnectResponse = ChannelResponse<kServiceDisconnectResponse>;

struct TunnellingRequest
{
    std::uint8_t channel = 0;
    std::uint8_t sequence = 0;
    std::vector<std::uint8_t> cemi;
};

struct TunnellingAck
{
    std::uint8_t channel = 0;
    std::uint8_t sequence = 0;
    std::uint8_t status = kStatusNoError;
};

struct RoutingIndication
{
    std::vector<std::uint8_t> cemi;
};

struct RoutingBusy
{
    std::uint8_t deviceState = 0;
    std::uint16_t waitTimeMs = 0;
    std::uint16_t control = 0;
};

struct RoutingLostMessage
{
    std::uint8_t deviceState = 0;
    std::uint16_t lostMessages = 0;
};

using KnxIpBody =
    std::variant<SearchRequest, SearchResponse, ConnectRequest, ConnectResponse, ConnectionStateRequest,
                 ConnectionStateResponse, DisconnectRequest, DisconnectResponse, TunnellingRequest,
                 TunnellingAck, RoutingIndication, RoutingBusy, RoutingLostMessage>;

enum class KnxIpError
{
    None,
    Truncated,       // fewer bytes than the header or its total length
    BadHeaderLength, // the header's own length is not 06
    BadVersion,      // a protocol version other than 1.0
    LengthMismatch,  // the total length is shorter than the header or the datagram
    UnknownService,  // a service type this codec does not know
    BadBody          // the body does not have its service's layout
};

// "truncated", "bad header length", "bad protocol version", "length mismatch",
// "unknown service type", "bad body"; "" for None.
const char* KnxIpErrorName(KnxIpError error);

struct KnxIpFrame
{
    KnxIpError error = KnxIpError::None;
    std::uint16_t service = 0; // as the header says, whenever the header could be read
    KnxIpBody body;            // only when error is None
    std::string detail;        // when error is not None: one line saying what and where
};

// Decodes one datagram. Every length inside is checked against the bytes
// that are there: never throws, never reads past `size`.
KnxIpFrame DecodeKnxIpFrame(const std::uint8_t* bytes, std::size_t size);

// The service type of a body.
std::uint16_t KnxIpServiceType(const KnxIpBody& body);

// Header and body, ready to send. Throws std::invalid_argument when a field
// does not fit its place (a device name over kDeviceNameSize bytes, more than
// kMaxServiceFamilies, a frame over kMaxKnxIpFrame bytes).
std::vector<std::uint8_t> EncodeKnxIpFrame(const KnxIpBody& body);

// "search request", "tunnelling ack", ...; "" for an unknown type.
const char* KnxIpServiceName(std::uint16_t service);
// "no error", "no more connections", ...; "status 0xNN" for others.
std::string KnxIpStatusText(std::uint8_t status);
// "tunnelling", "routing", ...; "family 0xNN" for others.
std::string ServiceFamilyName(std::uint8_t family);
// "TP1", "PL110", "RF", "IP"; "medium 0xNN" for others.
std::string MediumName(std::uint8_t medium);
// "10.99.0.1:3671".
std::string FormatHpai(const Hpai& hpai);
// A device name (Latin-1) as UTF-8, control characters as '?'.
std::string DeviceNameUtf8(const std::string& latin1);

} // namespace LumBus
