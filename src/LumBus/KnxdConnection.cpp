#include "KnxdConnection.h"

#include "LumBus/HostPort.h"
#include "LumBus/RunUntil.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/write.hpp>

namespace LumBus
{

namespace
{
using Clock = std::chrono::steady_clock;
using GenericEndpoint = boost::asio::generic::stream_protocol::endpoint;

constexpr std::string_view kLocalPrefix = "local:";
constexpr std::string_view kIpPrefix = "ip:";
// sun_path holds 108 bytes with the terminating zero.
constexpr std::size_t kMaxSocketPath = 107;

bool StartsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

[[noreturn]] void BadUrl(std::string_view url, const std::string& why)
{
    throw BusError(BusError::Kind::BadUrl, "'" + std::string(url) + "' is no knxd address (" + why +
                                               "; use local:/path/to/socket or ip:host[:port])");
}
} // namespace

KnxdUrl ParseKnxdUrl(std::string_view text)
{
    KnxdUrl url;
    if (StartsWith(text, kLocalPrefix))
    {
        url.kind = KnxdUrl::Kind::Local;
        url.path = std::string(text.substr(kLocalPrefix.size()));
        if (url.path.empty())
            BadUrl(text, "no socket path");
        if (url.path.size() > kMaxSocketPath)
            BadUrl(text, "socket paths have at most " + std::to_string(kMaxSocketPath) + " bytes");
        if (url.path.find('\0') != std::string::npos)
            BadUrl(text, "a zero byte in the path");
        return url;
    }
    if (StartsWith(text, kIpPrefix))
    {
        url.kind = KnxdUrl::Kind::Tcp;
        HostPort where;
        if (const char* why =
                HostPortProblemText(ParseHostPort(text.substr(kIpPrefix.size()), kKnxdDefaultPort, where)))
            BadUrl(text, why);
        url.path = std::move(where.host);
        url.port = where.port;
        return url;
    }
    BadUrl(text, "unknown form");
}

KnxdConnection::KnxdConnection(boost::asio::io_context& io, const std::string& url,
                               std::chrono::milliseconds timeout)
    : m_io(io), m_socket(io), m_url(url)
{
    const KnxdUrl where = ParseKnxdUrl(url);
    const Clock::time_point deadline = Clock::now() + timeout;

    std::vector<GenericEndpoint> endpoints;
    if (where.kind == KnxdUrl::Kind::Local)
        endpoints.emplace_back(boost::asio::local::stream_protocol::endpoint(where.path));
    else
    {
        boost::system::error_code ec;
        boost::asio::ip::tcp::resolver resolver(io);
        const auto results = resolver.resolve(where.path, std::to_string(where.port), ec);
        if (ec)
            throw BusError(BusError::Kind::NoDaemon, "cannot resolve '" + where.path + "': " + ec.message());
        for (const auto& entry : results)
            endpoints.emplace_back(entry.endpoint());
    }

    boost::system::error_code connectError = boost::asio::error::host_not_found;
    for (const GenericEndpoint& endpoint : endpoints)
    {
        bool done = false;
        m_socket = boost::asio::generic::stream_protocol::socket(io);
        m_socket.async_connect(endpoint,
                               [&](const boost::system::error_code& ec)
                               {
                                   connectError = ec;
                                   done = true;
                               });
        if (!RunUntil(io, deadline, [&] { return done; }))
        {
            m_socket.close();
            RunUntil(io, Clock::now() + timeout, [&] { return done; });
            throw BusError(BusError::Kind::NoDaemon, "no knxd at '" + url + "': connecting timed out");
        }
        if (!connectError)
            break;
    }
    if (connectError)
        throw BusError(BusError::Kind::NoDaemon, "no knxd at '" + url + "': " + connectError.message());

    SendBytes(EncodeOpenGroupcon(false));
    const auto reply = NextMessage(deadline);
    if (!reply)
        Lost("knxd at '" + url + "' did not answer the group-socket request in time");
    if (reply->type != kEibOpenGroupcon)
    {
        const std::string name = KnxdErrorName(reply->type);
        throw BusError(BusError::Kind::Refused,
                       "knxd at '" + url + "' refused a group socket (" +
                           (name.empty() ? "message type " + std::to_string(reply->type) : name) + ")");
    }
}

void KnxdConnection::Lost(const std::string& why) const
{
    throw BusError(BusError::Kind::Lost, "connection lost: " + why);
}

void KnxdConnection::SendBytes(const std::vector<std::uint8_t>& bytes)
{
    boost::system::error_code ec;
    // Asio sends with MSG_NOSIGNAL on Linux: a dead daemon is an error here, not SIGPIPE.
    boost::asio::write(m_socket, boost::asio::buffer(bytes), ec);
    if (ec)
        Lost("writing to knxd at '" + m_url + "': " + ec.message());
}

void KnxdConnection::Send(const GroupTelegram& telegram)
{
    SendBytes(EncodeGroupPacket(telegram.destination,
                                EncodeGroupApdu(telegram.service, telegram.data, telegram.shortForm)));
}

void KnxdConnection::SendApdu(std::uint16_t destination, const std::vector<std::uint8_t>& apdu)
{
    SendBytes(EncodeGroupPacket(destination, apdu));
}

void KnxdConnection::StartRead()
{
    if (m_reading || !m_readError.empty())
        return;
    m_reading = true;
    std::weak_ptr<bool> alive = m_alive;
    m_socket.async_read_some(boost::asio::buffer(m_readBuffer),
                             [this, alive](const boost::system::error_code& ec, std::size_t size)
                             {
                                 // Destroyed meanwhile: the io_context runs on for others.
                                 if (alive.expired())
                                     return;
                                 m_reading = false;
                                 if (ec == boost::asio::error::eof)
                                     m_readError = "knxd at '" + m_url + "' closed the connection";
                                 else if (ec)
                                     m_readError = "reading from knxd at '" + m_url + "': " + ec.message();
                                 else
                                     m_parser.Feed(m_readBuffer.data(), size);
                             });
}

std::optional<KnxdMessage> KnxdConnection::NextMessage(std::optional<Clock::time_point> deadline)
{
    for (;;)
    {
        if (m_stopped)
            return std::nullopt;
        if (auto message = m_parser.Next())
            return message;
        if (m_parser.Failed())
            Lost(m_parser.Error());
        if (!m_readError.empty())
            Lost(m_readError);
        StartRead();
        if (m_io.stopped())
            m_io.restart();
        if (!deadline)
            m_io.run_one();
        else if (Clock::now() >= *deadline)
            return std::nullopt;
        else
            m_io.run_one_until(*deadline);
    }
}

ReceiveStatus KnxdConnection::Receive(ReceivedTelegram& out, std::optional<Clock::time_point> deadline)
{
    for (;;)
    {
        const auto message = NextMessage(deadline);
        if (!message)
            return m_stopped ? ReceiveStatus::Stopped : ReceiveStatus::Timeout;
        if (message->type != kEibGroupPacket)
        {
            const std::string name = KnxdErrorName(message->type);
            if (!name.empty())
                Lost("knxd at '" + m_url + "' reported " + name);
            continue; // nothing else is meant for a group socket; skip it
        }
        const auto packet = DecodeGroupPacket(message->body);
        if (!packet)
        {
            // Too short for two addresses and an APDU: still a telegram to count.
            out = ReceivedTelegram{};
            out.apdu = message->body;
            out.problem = "group packet of " + std::to_string(message->body.size()) + " bytes is too short";
            return ReceiveStatus::Telegram;
        }
        out = DecodeReceivedTelegram(packet->source, packet->destination, packet->apdu);
        return ReceiveStatus::Telegram;
    }
}

} // namespace LumBus
