#include "KnxIpFrame.h"

#include "DecodeFailure.h"
#include "NameTable.h"

#include <cstdio>
#include <iterator>
#include <stdexcept>

namespace LumBus
{

namespace
{

std::string Hex(unsigned value, int digits)
{
    char text[12];
    std::snprintf(text, sizeof text, "0x%0*X", digits, value);
    return text;
}

// Reads a body front to back; every read is preceded by a check of what is
// left, and the first failed check is the error.
class Reader
{
public:
    Reader(const std::uint8_t* bytes, std::size_t size) : m_bytes(bytes), m_size(size) {}

    bool Need(std::size_t count, const char* what)
    {
        if (!m_error.empty())
            return false;
        if (Left() >= count)
            return true;
        m_error = std::string(what) + " needs " + std::to_string(count) + " byte(s), " +
                  std::to_string(Left()) + " left";
        return false;
    }
    void Fail(std::string error)
    {
        if (m_error.empty())
            m_error = std::move(error);
    }
    std::uint8_t Byte() { return m_bytes[m_pos++]; }
    std::uint16_t Word()
    {
        const std::uint16_t high = Byte();
        return static_cast<std::uint16_t>(high << 8 | Byte());
    }
    template <std::size_t N> std::array<std::uint8_t, N> Bytes()
    {
        std::array<std::uint8_t, N> out{};
        for (auto& b : out)
            b = Byte();
        return out;
    }
    std::vector<std::uint8_t> Rest()
    {
        std::vector<std::uint8_t> out(m_bytes + m_pos, m_bytes + m_size);
        m_pos = m_size;
        return out;
    }
    void Skip(std::size_t count) { m_pos += count; }
    std::size_t Left() const { return m_size - m_pos; }
    // Anything after the layout is an error: a sender that adds bytes means
    // something this codec does not understand.
    bool End()
    {
        if (m_error.empty() && Left() != 0)
            m_error = std::to_string(Left()) + " byte(s) after the end of the layout";
        return m_error.empty();
    }
    const std::string& Error() const { return m_error; }

private:
    const std::uint8_t* m_bytes;
    std::size_t m_size;
    std::size_t m_pos = 0;
    std::string m_error;
};

bool ReadHpai(Reader& in, Hpai& out, const char* what)
{
    if (!in.Need(kHpaiSize, what))
        return false;
    const std::uint8_t size = in.Byte();
    if (size != kHpaiSize)
    {
        in.Fail(std::string(what) + " has length " + std::to_string(size) + ", expected 8");
        return false;
    }
    out.protocol = in.Byte();
    if (out.protocol != kHostProtocolUdp4 && out.protocol != kHostProtocolTcp4)
    {
        in.Fail(std::string(what) + " has host protocol " + Hex(out.protocol, 2));
        return false;
    }
    out.address = in.Bytes<4>();
    out.port = in.Word();
    return true;
}

bool ReadConnectionHeader(Reader& in, std::uint8_t& channel, std::uint8_t& sequence, std::uint8_t& last)
{
    if (!in.Need(kConnectionHeaderSize, "connection header"))
        return false;
    const std::uint8_t size = in.Byte();
    if (size != kConnectionHeaderSize)
    {
        in.Fail("connection header has length " + std::to_string(size) + ", expected 4");
        return false;
    }
    channel = in.Byte();
    sequence = in.Byte();
    last = in.Byte();
    return true;
}

void ReadDeviceInfo(Reader& in, DeviceInfo& out)
{
    out.medium = in.Byte();
    out.status = in.Byte();
    out.individualAddress = in.Word();
    out.projectInstallation = in.Word();
    out.serial = in.Bytes<6>();
    out.multicast = in.Bytes<4>();
    out.mac = in.Bytes<6>();
    const auto name = in.Bytes<kDeviceNameSize>();
    std::size_t end = 0;
    while (end < name.size() && name[end] != 0)
        ++end;
    out.name.assign(name.begin(), name.begin() + static_cast<long>(end));
}

bool ReadSearchResponse(Reader& in, SearchResponse& out)
{
    if (!ReadHpai(in, out.control, "control endpoint"))
        return false;
    bool device = false;
    bool families = false;
    while (in.Left() > 0)
    {
        if (!in.Need(kDibHeaderSize, "description block"))
            return false;
        const std::uint8_t size = in.Byte();
        const std::uint8_t type = in.Byte();
        if (size < kDibHeaderSize || size - kDibHeaderSize > in.Left())
        {
            in.Fail("description block " + Hex(type, 2) + " has length " + std::to_string(size) + ", " +
                    std::to_string(in.Left() + kDibHeaderSize) + " byte(s) left");
            return false;
        }
        if (type == kDibDeviceInfo)
        {
            if (size != kDeviceInfoSize || device)
            {
                in.Fail(device ? std::string("device info twice")
                               : "device info has length " + std::to_string(size) + ", expected 54");
                return false;
            }
            ReadDeviceInfo(in, out.device);
            device = true;
        }
        else if (type == kDibServiceFamilies)
        {
            if (size % kServiceFamilyEntrySize != 0 || families)
            {
                in.Fail(families ? std::string("service families twice")
                                 : "service families have odd length " + std::to_string(size));
                return false;
            }
            for (std::size_t i = kDibHeaderSize; i < size; i += kServiceFamilyEntrySize)
            {
                ServiceFamily f;
                f.family = in.Byte();
                f.version = in.Byte();
                out.families.push_back(f);
            }
            families = true;
        }
        else
            in.Skip(size - kDibHeaderSize);
    }
    if (!device || !families)
        in.Fail(device ? "no service families" : "no device info");
    return in.Error().empty();
}

// Length and connection type.
constexpr std::size_t kCriHeaderSize = 2;

bool ReadTunnelCri(Reader& in)
{
    // Length and type first: another connection type has another length.
    if (!in.Need(kCriHeaderSize, "connection request information"))
        return false;
    const std::uint8_t size = in.Byte();
    const std::uint8_t type = in.Byte();
    if (size != kTunnelCriSize || type != kConnectionTypeTunnel)
    {
        in.Fail("connection request information of type " + Hex(type, 2) + " and length " +
                std::to_string(size) + " is no tunnel");
        return false;
    }
    if (!in.Need(kTunnelCriSize - kCriHeaderSize, "tunnel layer"))
        return false;
    const std::uint8_t layer = in.Byte();
    in.Skip(1); // reserved
    if (layer != kTunnelLinkLayer)
    {
        in.Fail("tunnel on layer " + Hex(layer, 2) + " is no link-layer tunnel");
        return false;
    }
    return true;
}

// Responses start with channel and status; requests with channel and a reserved byte.
constexpr std::size_t kChannelAndStatusSize = 2;

// Decodes the body of `service`; false with the reader's error when it does
// not have the layout.
bool ReadBody(std::uint16_t service, Reader& in, KnxIpBody& body)
{
    switch (service)
    {
    case kServiceSearchRequest:
    {
        SearchRequest r;
        ReadHpai(in, r.discovery, "discovery endpoint");
        body = r;
        return in.End();
    }
    case kServiceSearchResponse:
    {
        SearchResponse r;
        ReadSearchResponse(in, r);
        body = std::move(r);
        return in.End();
    }
    case kServiceConnectRequest:
    {
        ConnectRequest r;
        if (ReadHpai(in, r.control, "control endpoint") && ReadHpai(in, r.data, "data endpoint"))
            ReadTunnelCri(in);
        body = r;
        return in.End();
    }
    case kServiceConnectResponse:
    {
        ConnectResponse r;
        if (!in.Need(kChannelAndStatusSize, "channel and status"))
            return false;
        r.channel = in.Byte();
        r.status = in.Byte();
        if (r.status != kStatusNoError)
        {
            // Servers differ in what follows a refusal; only the status counts.
            in.Rest();
            body = r;
            return true;
        }
        if (ReadHpai(in, r.data, "data endpoint") && in.Need(kTunnelCriSize, "connection response data"))
        {
            const std::uint8_t size = in.Byte();
            const std::uint8_t type = in.Byte();
            if (size != kTunnelCriSize || type != kConnectionTypeTunnel)
                in.Fail("connection response data of type " + Hex(type, 2) + " and length " +
                        std::to_string(size) + " is no tunnel");
            else
                r.individualAddress = in.Word();
        }
        body = r;
        return in.End();
    }
    case kServiceConnectionStateRequest:
    case kServiceDisconnectRequest:
    {
        if (!in.Need(kChannelAndStatusSize, "channel"))
            return false;
        const std::uint8_t channel = in.Byte();
        in.Skip(1); // reserved
        Hpai control;
        ReadHpai(in, control, "control endpoint");
        if (service == kServiceDisconnectRequest)
            body = DisconnectRequest{channel, control};
        else
            body = ConnectionStateRequest{channel, control};
        return in.End();
    }
    case kServiceConnectionStateResponse:
    case kServiceDisconnectResponse:
    {
        if (!in.Need(kChannelAndStatusSize, "channel and status"))
            return false;
        const std::uint8_t channel = in.Byte();
        const std::uint8_t status = in.Byte();
        if (service == kServiceDisconnectResponse)
            body = DisconnectResponse{channel, status};
        else
            body = ConnectionStateResponse{channel, status};
        return in.End();
    }
    case kServiceTunnellingRequest:
    {
        TunnellingRequest r;
        std::uint8_t reserved = 0;
        if (!ReadConnectionHeader(in, r.channel, r.sequence, reserved))
            return false;
        r.cemi = in.Rest();
        body = std::move(r);
        return true;
    }
    case kServiceTunnellingAck:
    {
        TunnellingAck r;
        ReadConnectionHeader(in, r.channel, r.sequence, r.status);
        body = r;
        return in.End();
    }
    case kServiceRoutingIndication:
        body = RoutingIndication{in.Rest()};
        return true;
    case kServiceRoutingBusy:
    case kServiceRoutingLostMessage:
    {
        const bool busy = service == kServiceRoutingBusy;
        const std::uint8_t expected = busy ? kRoutingBusySize : kRoutingLostSize;
        if (!in.Need(expected, busy ? "busy information" : "lost message information"))
            return false;
        const std::uint8_t size = in.Byte();
        if (size != expected)
        {
            in.Fail(std::string(busy ? "busy" : "lost message") + " information has length " +
                    std::to_string(size) + ", expected " + std::to_string(expected));
            return false;
        }
        const std::uint8_t state = in.Byte();
        const std::uint16_t first = in.Word();
        if (busy)
            body = RoutingBusy{state, first, in.Word()};
        else
            body = RoutingLostMessage{state, first};
        return in.End();
    }
    default:
        return false; // unknown services are rejected before the body is read
    }
}

void PutWord(std::vector<std::uint8_t>& out, std::uint16_t word)
{
    out.push_back(static_cast<std::uint8_t>(word >> 8));
    out.push_back(static_cast<std::uint8_t>(word & 0xFF));
}

void PutHpai(std::vector<std::uint8_t>& out, const Hpai& hpai)
{
    out.push_back(kHpaiSize);
    out.push_back(hpai.protocol);
    out.insert(out.end(), hpai.address.begin(), hpai.address.end());
    PutWord(out, hpai.port);
}

void PutConnectionHeader(std::vector<std::uint8_t>& out, std::uint8_t channel, std::uint8_t sequence,
                         std::uint8_t last)
{
    out.insert(out.end(), {kConnectionHeaderSize, channel, sequence, last});
}

// Appends each body's layout; the overloads mirror ReadBody.
struct BodyWriter
{
    std::vector<std::uint8_t>& out;

    void operator()(const SearchRequest& r) const { PutHpai(out, r.discovery); }
    void operator()(const SearchResponse& r) const
    {
        PutHpai(out, r.control);
        const DeviceInfo& d = r.device;
        if (d.name.size() > kDeviceNameSize)
            throw std::invalid_argument("a device name has at most 30 bytes");
        out.insert(out.end(), {kDeviceInfoSize, kDibDeviceInfo, d.medium, d.status});
        PutWord(out, d.individualAddress);
        PutWord(out, d.projectInstallation);
        out.insert(out.end(), d.serial.begin(), d.serial.end());
        out.insert(out.end(), d.multicast.begin(), d.multicast.end());
        out.insert(out.end(), d.mac.begin(), d.mac.end());
        out.insert(out.end(), d.name.begin(), d.name.end());
        out.insert(out.end(), kDeviceNameSize - d.name.size(), 0);
        if (r.families.size() > kMaxServiceFamilies)
            throw std::invalid_argument("a search response lists at most " +
                                        std::to_string(kMaxServiceFamilies) + " service families");
        out.push_back(
            static_cast<std::uint8_t>(kDibHeaderSize + kServiceFamilyEntrySize * r.families.size()));
        out.push_back(kDibServiceFamilies);
        for (const ServiceFamily& f : r.families)
            out.insert(out.end(), {f.family, f.version});
    }
    void operator()(const ConnectRequest& r) const
    {
        PutHpai(out, r.control);
        PutHpai(out, r.data);
        out.insert(out.end(), {kTunnelCriSize, kConnectionTypeTunnel, kTunnelLinkLayer, 0x00});
    }
    void operator()(const ConnectResponse& r) const
    {
        out.insert(out.end(), {r.channel, r.status});
        if (r.status != kStatusNoError)
            return;
        PutHpai(out, r.data);
        out.insert(out.end(), {kTunnelCriSize, kConnectionTypeTunnel});
        PutWord(out, r.individualAddress);
    }
    template <std::uint16_t Service> void operator()(const ChannelRequest<Service>& r) const
    {
        out.insert(out.end(), {r.channel, 0x00});
        PutHpai(out, r.control);
    }
    template <std::uint16_t Service> void operator()(const ChannelResponse<Service>& r) const
    {
        out.insert(out.end(), {r.channel, r.status});
    }
    void operator()(const TunnellingRequest& r) const
    {
        PutConnectionHeader(out, r.channel, r.sequence, 0x00);
        out.insert(out.end(), r.cemi.begin(), r.cemi.end());
    }
    void operator()(const TunnellingAck& r) const
    {
        PutConnectionHeader(out, r.channel, r.sequence, r.status);
    }
    void operator()(const RoutingIndication& r) const { out.insert(out.end(), r.cemi.begin(), r.cemi.end()); }
    void operator()(const RoutingBusy& r) const
    {
        out.insert(out.end(), {kRoutingBusySize, r.deviceState});
        PutWord(out, r.waitTimeMs);
        PutWord(out, r.control);
    }
    void operator()(const RoutingLostMessage& r) const
    {
        out.insert(out.end(), {kRoutingLostSize, r.deviceState});
        PutWord(out, r.lostMessages);
    }
};

// The name of a one-byte code, or "<kind> 0xNN" for a code without one.
template <std::size_t N>
std::string NameOrHex(const LumInternal::CodeName<std::uint8_t> (&names)[N], std::uint8_t code,
                      const char* kind)
{
    const char* name = LumInternal::NameOf(names, code, nullptr);
    return name != nullptr ? name : kind + (" " + Hex(code, 2));
}

// Service types and their names, in the order of KnxIpBody's alternatives.
constexpr LumInternal::CodeName<std::uint16_t> kServices[] = {
    {kServiceSearchRequest, "search request"},
    {kServiceSearchResponse, "search response"},
    {kServiceConnectRequest, "connect request"},
    {kServiceConnectResponse, "connect response"},
    {kServiceConnectionStateRequest, "connection-state request"},
    {kServiceConnectionStateResponse, "connection-state response"},
    {kServiceDisconnectRequest, "disconnect request"},
    {kServiceDisconnectResponse, "disconnect response"},
    {kServiceTunnellingRequest, "tunnelling request"},
    {kServiceTunnellingAck, "tunnelling ack"},
    {kServiceRoutingIndication, "routing indication"},
    {kServiceRoutingBusy, "routing busy"},
    {kServiceRoutingLostMessage, "routing lost message"}};
static_assert(std::size(kServices) == std::variant_size_v<KnxIpBody>);

} // namespace

const char* KnxIpErrorName(KnxIpError error)
{
    static constexpr const char* kNames[] = {"",
                                             "truncated",
                                             "bad header length",
                                             "bad protocol version",
                                             "length mismatch",
                                             "unknown service type",
                                             "bad body"};
    return LumInternal::NameAt<KnxIpError::BadBody>(kNames, error, "");
}

KnxIpFrame DecodeKnxIpFrame(const std::uint8_t* bytes, std::size_t size)
{
    KnxIpFrame frame;
    const auto fail = [&frame](KnxIpError error, std::string detail)
    { return Failed(frame, error, std::move(detail)); };
    if (size < kKnxIpHeaderSize)
        return fail(KnxIpError::Truncated,
                    "datagram of " + std::to_string(size) + " byte(s) is shorter than the 6-byte header");
    if (bytes[0] != kKnxIpHeaderSize)
        return fail(KnxIpError::BadHeaderLength, "header length " + Hex(bytes[0], 2) + ", expected 0x06");
    if (bytes[1] != kKnxIpVersion)
        return fail(KnxIpError::BadVersion, "protocol version " + Hex(bytes[1], 2) + ", expected 0x10");
    frame.service = static_cast<std::uint16_t>(bytes[2] << 8 | bytes[3]);
    const std::size_t total = static_cast<std::size_t>(bytes[4] << 8 | bytes[5]);
    if (total < kKnxIpHeaderSize)
        return fail(KnxIpError::LengthMismatch,
                    "total length " + std::to_string(total) + " is shorter than the 6-byte header");
    if (total > size)
        return fail(KnxIpError::Truncated, "total length " + std::to_string(total) + " but " +
                                               std::to_string(size) + " byte(s) received");
    if (total < size)
        return fail(KnxIpError::LengthMismatch, "total length " + std::to_string(total) + " but " +
                                                    std::to_string(size) + " byte(s) received");
    const char* name = KnxIpServiceName(frame.service);
    if (*name == '\0')
        return fail(KnxIpError::UnknownService, "service type " + Hex(frame.service, 4));
    Reader in(bytes + kKnxIpHeaderSize, size - kKnxIpHeaderSize);
    if (!ReadBody(frame.service, in, frame.body))
    {
        frame.body = KnxIpBody{};
        return fail(KnxIpError::BadBody, std::string(name) + ": " + in.Error());
    }
    return frame;
}

std::uint16_t KnxIpServiceType(const KnxIpBody& body)
{
    if (body.valueless_by_exception())
        throw std::bad_variant_access();
    return kServices[body.index()].code;
}

std::vector<std::uint8_t> EncodeKnxIpFrame(const KnxIpBody& body)
{
    std::vector<std::uint8_t> out = {kKnxIpHeaderSize, kKnxIpVersion};
    PutWord(out, KnxIpServiceType(body));
    PutWord(out, 0); // the total length, once known
    std::visit(BodyWriter{out}, body);
    if (out.size() > kMaxKnxIpFrame)
        throw std::invalid_argument("a KNXnet/IP frame has at most " + std::to_string(kMaxKnxIpFrame) +
                                    " bytes");
    out[4] = static_cast<std::uint8_t>(out.size() >> 8);
    out[5] = static_cast<std::uint8_t>(out.size() & 0xFF);
    return out;
}

const char* KnxIpServiceName(std::uint16_t service)
{
    return LumInternal::NameOf(kServices, service, "");
}

std::string KnxIpStatusText(std::uint8_t status)
{
    static constexpr LumInternal::CodeName<std::uint8_t> kNames[] = {
        {kStatusNoError, "no error"},
        {kStatusHostProtocolType, "host protocol type not supported"},
        {kStatusVersionNotSupported, "protocol version not supported"},
        {kStatusSequenceNumber, "sequence number out of order"},
        {kStatusConnectionId, "no active connection with that channel"},
        {kStatusConnectionType, "connection type not supported"},
        {kStatusConnectionOption, "connection option not supported"},
        {kStatusNoMoreConnections, "no more connections"},
        {kStatusDataConnection, "error in the data connection"},
        {kStatusKnxConnection, "error in the KNX connection"},
        {kStatusTunnellingLayer, "tunnelling layer not supported"}};
    return NameOrHex(kNames, status, "status");
}

std::string ServiceFamilyName(std::uint8_t family)
{
    static constexpr LumInternal::CodeName<std::uint8_t> kNames[] = {
        {kFamilyCore, "core"},
        {kFamilyDeviceManagement, "device management"},
        {kFamilyTunnelling, "tunnelling"},
        {kFamilyRouting, "routing"},
        {kFamilyRemoteLogging, "remote logging"},
        {kFamilyRemoteConfiguration, "remote configuration"},
        {kFamilyObjectServer, "object server"}};
    return NameOrHex(kNames, family, "family");
}

std::string MediumName(std::uint8_t medium)
{
    static constexpr LumInternal::CodeName<std::uint8_t> kNames[] = {
        {kMediumTp1, "TP1"}, {kMediumPl110, "PL110"}, {kMediumRf, "RF"}, {kMediumIp, "IP"}};
    return NameOrHex(kNames, medium, "medium");
}

std::string FormatHpai(const Hpai& hpai)
{
    return std::to_string(hpai.address[0]) + "." + std::to_string(hpai.address[1]) + "." +
           std::to_string(hpai.address[2]) + "." + std::to_string(hpai.address[3]) + ":" +
           std::to_string(hpai.port);
}

std::string DeviceNameUtf8(const std::string& latin1)
{
    std::string out;
    for (const char c : latin1)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F || (byte >= 0x80 && byte < 0xA0))
            out += '?';
        else if (byte < 0x80)
            out += c;
        else
        {
            out += static_cast<char>(0xC0 | byte >> 6);
            out += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return out;
}

} // namespace LumBus
