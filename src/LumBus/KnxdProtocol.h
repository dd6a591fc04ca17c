#pragma once
// knxd's client protocol, apart from any I/O so that it can be tested and
// fuzzed alone. Every message is a 2-byte big-endian length of what follows,
// a 2-byte big-endian type and a body.
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace LumBus
{

// Message types (knxd's eibtypes.h).
constexpr std::uint16_t kEibInvalidRequest = 0x0000;
constexpr std::uint16_t kEibConnectionInuse = 0x0001;
constexpr std::uint16_t kEibProcessingError = 0x0002;
constexpr std::uint16_t kEibClosed = 0x0003;
constexpr std::uint16_t kEibResetConnection = 0x0004;
// Body: 2 unused bytes and a write-only flag; knxd answers with the same type.
constexpr std::uint16_t kEibOpenGroupcon = 0x0026;
// Body to knxd: destination(2) + APDU; from knxd: source(2) + destination(2) + APDU.
constexpr std::uint16_t kEibGroupPacket = 0x0027;

// knxd's own messages stay far below this; anything longer is a broken stream.
constexpr std::size_t kMaxKnxdMessage = 1024;

struct KnxdMessage
{
    std::uint16_t type = 0;
    std::vector<std::uint8_t> body;
};

// Length, type and body, ready to send. Throws std::invalid_argument when the
// body does not fit kMaxKnxdMessage.
std::vector<std::uint8_t> EncodeKnxdMessage(std::uint16_t type, const std::vector<std::uint8_t>& body);

// The request that turns a connection into a group socket.
std::vector<std::uint8_t> EncodeOpenGroupcon(bool writeOnly);

// A group telegram to send: destination and APDU.
std::vector<std::uint8_t> EncodeGroupPacket(std::uint16_t destination, const std::vector<std::uint8_t>& apdu);

struct GroupPacket
{
    std::uint16_t source = 0;
    std::uint16_t destination = 0;
    std::vector<std::uint8_t> apdu;
};

// The body of a received kEibGroupPacket; none when it is shorter than the
// two addresses and a 2-byte APDU.
std::optional<GroupPacket> DecodeGroupPacket(const std::vector<std::uint8_t>& body);

// The name of a knxd error type ("invalid request", ...), or "" for others.
const char* KnxdErrorName(std::uint16_t type);

// Cuts the byte stream from knxd into messages. Feed it whatever arrived;
// take messages while Next() yields them. After a framing error (a length
// below 2 or above kMaxKnxdMessage) the stream cannot be resynchronised:
// Failed() stays true and Next() yields nothing. Memory stays bounded by what
// one Feed() adds plus one message.
class KnxdMessageParser
{
public:
    void Feed(const std::uint8_t* bytes, std::size_t size);
    std::optional<KnxdMessage> Next();
    bool Failed() const { return !m_error.empty(); }
    const std::string& Error() const { return m_error; }
    // Bytes held that do not yet make a whole message.
    std::size_t Pending() const { return m_buffer.size() - m_start; }

private:
    std::vector<std::uint8_t> m_buffer;
    std::size_t m_start = 0;
    std::string m_error;
};

} // namespace LumBus
