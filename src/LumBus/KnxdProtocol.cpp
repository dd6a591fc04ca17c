#include "KnxdProtocol.h"

#include "NameTable.h"

#include <stdexcept>

namespace LumBus
{

namespace
{
constexpr std::size_t kLengthBytes = 2;
constexpr std::size_t kTypeBytes = 2;
constexpr std::size_t kAddressBytes = 2;
constexpr std::uint8_t kWriteOnly = 0xFF;

void PutU16(std::vector<std::uint8_t>& out, std::uint16_t value)
{
    out.push_back(static_cast<std::uint8_t>(value >> 8));
    out.push_back(static_cast<std::uint8_t>(value & 0xFF));
}

std::uint16_t GetU16(const std::uint8_t* p)
{
    return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}
} // namespace

std::vector<std::uint8_t> EncodeKnxdMessage(std::uint16_t type, const std::vector<std::uint8_t>& body)
{
    const std::size_t length = kTypeBytes + body.size();
    if (length > kMaxKnxdMessage)
        throw std::invalid_argument("a knxd message has at most " + std::to_string(kMaxKnxdMessage) +
                                    " bytes");
    std::vector<std::uint8_t> out;
    out.reserve(kLengthBytes + length);
    PutU16(out, static_cast<std::uint16_t>(length));
    PutU16(out, type);
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

std::vector<std::uint8_t> EncodeOpenGroupcon(bool writeOnly)
{
    return EncodeKnxdMessage(kEibOpenGroupcon, {0x00, 0x00, writeOnly ? kWriteOnly : std::uint8_t{0x00}});
}

std::vector<std::uint8_t> EncodeGroupPacket(std::uint16_t destination, const std::vector<std::uint8_t>& apdu)
{
    std::vector<std::uint8_t> body;
    body.reserve(kAddressBytes + apdu.size());
    PutU16(body, destination);
    body.insert(body.end(), apdu.begin(), apdu.end());
    return EncodeKnxdMessage(kEibGroupPacket, body);
}

std::optional<GroupPacket> DecodeGroupPacket(const std::vector<std::uint8_t>& body)
{
    if (body.size() < 2 * kAddressBytes + 2)
        return std::nullopt;
    GroupPacket packet;
    packet.source = GetU16(body.data());
    packet.destination = GetU16(body.data() + kAddressBytes);
    packet.apdu.assign(body.begin() + 2 * kAddressBytes, body.end());
    return packet;
}

const char* KnxdErrorName(std::uint16_t type)
{
    static constexpr LumInternal::CodeName<std::uint16_t> kNames[] = {
        {kEibInvalidRequest, "invalid request"},
        {kEibConnectionInuse, "connection in use"},
        {kEibProcessingError, "processing error"},
        {kEibClosed, "closed"},
        {kEibResetConnection, "reset connection"}};
    return LumInternal::NameOf(kNames, type, "");
}

void KnxdMessageParser::Feed(const std::uint8_t* bytes, std::size_t size)
{
    if (Failed() || size == 0)
        return;
    // Drop what was consumed before growing, so the buffer never holds more
    // than one partial message plus this feed.
    if (m_start > 0)
    {
        m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(m_start));
        m_start = 0;
    }
    m_buffer.insert(m_buffer.end(), bytes, bytes + size);
}

std::optional<KnxdMessage> KnxdMessageParser::Next()
{
    if (Failed() || Pending() < kLengthBytes)
        return std::nullopt;
    const std::uint8_t* head = m_buffer.data() + m_start;
    const std::size_t length = GetU16(head);
    if (length < kTypeBytes || length > kMaxKnxdMessage)
    {
        m_error = "knxd sent a message of " + std::to_string(length) + " bytes (allowed " +
                  std::to_string(kTypeBytes) + ".." + std::to_string(kMaxKnxdMessage) + ")";
        m_buffer.clear();
        m_start = 0;
        return std::nullopt;
    }
    if (Pending() < kLengthBytes + length)
        return std::nullopt;
    KnxdMessage message;
    message.type = GetU16(head + kLengthBytes);
    message.body.assign(head + kLengthBytes + kTypeBytes, head + kLengthBytes + length);
    m_start += kLengthBytes + length;
    if (m_start == m_buffer.size())
    {
        m_buffer.clear();
        m_start = 0;
    }
    return message;
}

} // namespace LumBus
