#include "KnxIpTunnel.h"

#include "LumBus/HostPort.h"
#include "LumBus/KnxAddress.h"
#include "LumBus/RunUntil.h"

#include <boost/asio/buffer.hpp>

#include <variant>

namespace LumBus
{

namespace
{
constexpr std::string_view kTunnelPrefix = "ipt:";
constexpr std::string_view kNatTunnelPrefix = "iptn:";
// Connection-state requests without an answer before the tunnel counts as lost.
constexpr int kHeartbeatTries = 3;
// How long a disconnect waits for the server's answer.
constexpr std::chrono::milliseconds kDisconnectWait{1000};

[[noreturn]] void BadUrl(std::string_view url, const std::string& why)
{
    throw BusError(BusError::Kind::BadUrl, "'" + std::string(url) + "' is no KNXnet/IP tunnel address (" +
                                               why + "; use ipt:host[:port] or iptn:host[:port])");
}

Hpai ToHpai(const boost::asio::ip::udp::endpoint& endpoint)
{
    Hpai hpai;
    hpai.address = endpoint.address().to_v4().to_bytes();
    hpai.port = endpoint.port();
    return hpai;
}

std::string Milliseconds(std::chrono::milliseconds time)
{
    return std::to_string(time.count()) + " ms";
}
} // namespace

bool IsKnxIpTunnelUrl(std::string_view text)
{
    return text.substr(0, kTunnelPrefix.size()) == kTunnelPrefix ||
           text.substr(0, kNatTunnelPrefix.size()) == kNatTunnelPrefix;
}

KnxIpTunnelUrl ParseKnxIpTunnelUrl(std::string_view text)
{
    KnxIpTunnelUrl url;
    std::string_view rest;
    if (text.substr(0, kNatTunnelPrefix.size()) == kNatTunnelPrefix)
    {
        url.nat = true;
        rest = text.substr(kNatTunnelPrefix.size());
    }
    else if (text.substr(0, kTunnelPrefix.size()) == kTunnelPrefix)
        rest = text.substr(kTunnelPrefix.size());
    else
        BadUrl(text, "unknown form");
    HostPort where;
    if (const char* why = HostPortProblemText(ParseHostPort(rest, kKnxIpPort, where)))
        BadUrl(text, why);
    url.host = std::move(where.host);
    url.port = where.port;
    return url;
}

KnxIpTunnel::KnxIpTunnel(boost::asio::io_context& io, const std::string& url, bool reconnect,
                         KnxIpTunnelTimes times)
    : m_io(io), m_url(url), m_where(ParseKnxIpTunnelUrl(url)), m_reconnect(reconnect), m_times(times),
      m_socket(io), m_heartbeat(io), m_alive(std::make_shared<bool>(true))
{
    boost::system::error_code ec;
    boost::asio::ip::udp::resolver resolver(io);
    const auto results =
        resolver.resolve(boost::asio::ip::udp::v4(), m_where.host, std::to_string(m_where.port), ec);
    if (ec || results.empty())
        throw BusError(BusError::Kind::NoDaemon,
                       "cannot resolve '" + m_where.host + "': " + (ec ? ec.message() : "no IPv4 address"));
    m_control = results.begin()->endpoint();

    // The data endpoint the server is told is this machine's address on the
    // route to the server; a second socket finds it without sending anything.
    boost::asio::ip::udp::socket probe(io);
    probe.open(boost::asio::ip::udp::v4(), ec);
    if (!ec)
        probe.connect(m_control, ec);
    if (ec)
        throw BusError(BusError::Kind::NoDaemon, "no route to '" + m_where.host + "': " + ec.message());
    const boost::asio::ip::address local = probe.local_endpoint().address();
    m_socket.open(boost::asio::ip::udp::v4());
    m_socket.bind({local, 0}, ec);
    if (ec)
        throw BusError(BusError::Kind::NoDaemon,
                       "cannot open a UDP socket on " + local.to_string() + ": " + ec.message());
    m_localHpai = m_where.nat ? Hpai{} : ToHpai(m_socket.local_endpoint());
    StartReceive();
    Connect();
}

KnxIpTunnel::~KnxIpTunnel()
{
    try
    {
        Disconnect();
    }
    catch (...)
    {
        // A destructor reports nothing; the server drops the tunnel after its heartbeat timeout.
    }
    m_alive.reset();
    boost::system::error_code ignored;
    m_heartbeat.cancel();
    m_socket.close(ignored);
}

std::string KnxIpTunnel::Anomalies() const
{
    const KnxIpTunnelCounters& c = m_counters;
    return AnomalyLine()
        .Count(c.malformed, "malformed")
        .Count(c.duplicates, "duplicate")
        .Count(c.outOfSequence, "out of sequence")
        .Count(c.unexpected, "unexpected")
        .Count(c.resends, "resent")
        .Count(c.reconnects, "reconnect(s)")
        .Count(c.dropped, "dropped")
        .Latest(c.lastProblem);
}

void KnxIpTunnel::Connect()
{
    m_connectResponse.reset();
    m_lost.clear();
    SendFrame(ConnectRequest{m_localHpai, m_localHpai}, m_control);
    if (!RunUntil(m_io, Clock::now() + m_times.connect,
                  [&] { return m_connectResponse.has_value() || !m_lost.empty(); }))
        throw BusError(BusError::Kind::NoDaemon, "no KNXnet/IP server answered at '" + m_url + "' within " +
                                                     Milliseconds(m_times.connect));
    if (!m_lost.empty())
        throw BusError(BusError::Kind::NoDaemon, "no KNXnet/IP server at '" + m_url + "': " + m_lost);
    const ConnectResponse response = *m_connectResponse;
    if (response.status != kStatusNoError)
        throw BusError(BusError::Kind::Refused,
                       "the KNXnet/IP server at '" + m_url +
                           "' refused the tunnel: " + KnxIpStatusText(response.status));
    m_channel = response.channel;
    m_individualAddress = response.individualAddress;
    // A server behind NAT, or one that leaves it to us, answers with 0.0.0.0:0.
    m_data = response.data.IsNat()
                 ? m_connectFrom
                 : boost::asio::ip::udp::endpoint(boost::asio::ip::address_v4(response.data.address),
                                                  response.data.port);
    m_sendSequence = 0;
    m_receiveSequence = 0;
    m_heartbeatTries = 0;
    m_heartbeatPending = false;
    m_connected = true;
    StartHeartbeat(m_times.heartbeat);
}

void KnxIpTunnel::Disconnect()
{
    if (!m_connected)
        return;
    m_connected = false;
    m_heartbeat.cancel();
    m_disconnected = false;
    SendFrame(DisconnectRequest{m_channel, m_localHpai}, m_control);
    RunUntil(m_io, Clock::now() + kDisconnectWait, [&] { return m_disconnected; });
}

void KnxIpTunnel::Recover()
{
    const std::string why = m_lost.empty() ? "the tunnel is closed" : m_lost;
    Disconnect();
    if (!m_reconnect)
        throw BusError(BusError::Kind::Lost, "connection lost: " + why);
    try
    {
        Connect();
    }
    catch (const BusError& e)
    {
        m_lost = why;
        throw BusError(BusError::Kind::Lost,
                       "connection lost: " + why + "; reconnecting failed: " + e.what());
    }
    Problem(m_counters.reconnects, "reconnected after: " + why);
}

void KnxIpTunnel::SendFrame(const KnxIpBody& body, const boost::asio::ip::udp::endpoint& to)
{
    boost::system::error_code ec;
    m_socket.send_to(boost::asio::buffer(EncodeKnxIpFrame(body)), to, 0, ec);
    if (ec && m_lost.empty())
        m_lost =
            "sending to " + to.address().to_string() + ":" + std::to_string(to.port()) + ": " + ec.message();
}

void KnxIpTunnel::Problem(std::uint64_t& counter, std::string what)
{
    ++counter;
    m_counters.lastProblem = std::move(what);
}

void KnxIpTunnel::StartReceive()
{
    std::weak_ptr<bool> alive = m_alive;
    m_socket.async_receive_from(boost::asio::buffer(m_buffer), m_from,
                                [this, alive](const boost::system::error_code& ec, std::size_t size)
                                {
                                    if (alive.expired() || ec == boost::asio::error::operation_aborted)
                                        return;
                                    if (ec)
                                        Problem(m_counters.unexpected, "receiving: " + ec.message());
                                    else
                                        OnDatagram(size);
                                    StartReceive();
                                });
}

void KnxIpTunnel::OnDatagram(std::size_t size)
{
    if (m_from.address() != m_control.address())
        return Problem(m_counters.unexpected,
                       "a datagram from " + m_from.address().to_string() + ", which is not the server");
    const KnxIpFrame frame = DecodeKnxIpFrame(m_buffer.data(), size);
    if (frame.error != KnxIpError::None)
        return Problem(m_counters.malformed, std::string(KnxIpErrorName(frame.error)) + ": " + frame.detail);

    if (const auto* response = std::get_if<ConnectResponse>(&frame.body); response != nullptr && !m_connected)
    {
        m_connectResponse = *response;
        m_connectFrom = m_from;
    }
    else if (const auto* ack = std::get_if<TunnellingAck>(&frame.body);
             ack != nullptr && ack->channel == m_channel)
        m_ack = *ack;
    else if (const auto* request = std::get_if<TunnellingRequest>(&frame.body))
        OnTunnellingRequest(*request);
    else if (const auto* state = std::get_if<ConnectionStateResponse>(&frame.body);
             state != nullptr && state->channel == m_channel && m_connected)
    {
        m_heartbeatPending = false;
        m_heartbeatTries = 0;
        if (state->status != kStatusNoError)
        {
            m_connected = false;
            m_lost = "the server no longer knows the tunnel (" + KnxIpStatusText(state->status) + ")";
        }
        else
            StartHeartbeat(m_times.heartbeat);
    }
    else if (const auto* disconnect = std::get_if<DisconnectRequest>(&frame.body);
             disconnect != nullptr && disconnect->channel == m_channel && m_connected)
    {
        SendFrame(DisconnectResponse{m_channel, kStatusNoError}, m_control);
        m_connected = false;
        m_heartbeat.cancel();
        m_lost = "the server closed the tunnel";
    }
    else if (std::holds_alternative<DisconnectResponse>(frame.body))
        m_disconnected = true;
    else
        Problem(m_counters.unexpected,
                std::string("a ") + KnxIpServiceName(frame.service) + " that does not belong to this tunnel");
}

void KnxIpTunnel::OnTunnellingRequest(const TunnellingRequest& request)
{
    if (request.channel != m_channel || !m_connected)
        return Problem(m_counters.unexpected,
                       "a tunnelling request for channel " + std::to_string(request.channel));
    const std::uint8_t previous = static_cast<std::uint8_t>(m_receiveSequence - 1);
    if (request.sequence == previous)
    {
        // Our ack was lost: ack again, but the telegram was delivered already.
        SendFrame(TunnellingAck{m_channel, request.sequence, kStatusNoError}, m_data);
        return Problem(m_counters.duplicates, "tunnelling request " + std::to_string(request.sequence) +
                                                  " came again: acked, not delivered twice");
    }
    if (request.sequence != m_receiveSequence)
        return Problem(m_counters.outOfSequence, "tunnelling request " + std::to_string(request.sequence) +
                                                     " where " + std::to_string(m_receiveSequence) +
                                                     " was due: dropped");
    SendFrame(TunnellingAck{m_channel, request.sequence, kStatusNoError}, m_data);
    ++m_receiveSequence;

    const CemiDecoded cemi = DecodeCemi(request.cemi.data(), request.cemi.size());
    if (cemi.error != CemiError::None)
        return Problem(m_counters.malformed,
                       std::string("cEMI ") + CemiErrorName(cemi.error) + ": " + cemi.detail);
    const CemiLData& frame = cemi.frame;
    if (frame.messageCode == kCemiLDataCon)
    {
        if (m_awaiting && frame.destination == m_awaiting->destination && frame.tpdu == m_awaiting->tpdu)
            m_confirmation = frame;
        else
            Problem(m_counters.unexpected, "an L_Data.con of a telegram this tunnel did not send");
        return;
    }
    if (frame.messageCode != kCemiLDataInd)
        return Problem(m_counters.unexpected,
                       "an " + CemiMessageName(frame.messageCode) + " from the server");
    if (!m_inbox.Push(ToReceivedTelegram(frame)))
        Problem(m_counters.dropped, "a telegram to " + FormatGroupAddress(frame.destination) + " while " +
                                        std::to_string(kTunnelInboxLimit) + " waited unread");
}

void KnxIpTunnel::StartHeartbeat(std::chrono::milliseconds after)
{
    std::weak_ptr<bool> alive = m_alive;
    m_heartbeat.expires_after(after);
    m_heartbeat.async_wait(
        [this, alive](const boost::system::error_code& ec)
        {
            if (!alive.expired() && !ec)
                OnHeartbeat();
        });
}

void KnxIpTunnel::OnHeartbeat()
{
    if (!m_connected)
        return;
    if (m_heartbeatPending && ++m_heartbeatTries >= kHeartbeatTries)
    {
        m_lost = "no answer to " + std::to_string(kHeartbeatTries) + " connection-state requests";
        return;
    }
    m_heartbeatPending = true;
    SendFrame(ConnectionStateRequest{m_channel, m_localHpai}, m_control);
    StartHeartbeat(m_times.heartbeatAnswer);
}

void KnxIpTunnel::Send(const GroupTelegram& telegram)
{
    const CemiLData request = MakeGroupRequest(telegram);
    const KnxIpBody frame = TunnellingRequest{0, 0, EncodeCemi(request)};
    // One resend, then the tunnel is made again and the telegram goes once more.
    for (int tunnel = 0;; ++tunnel)
    {
        if (!m_connected || !m_lost.empty())
            Recover();
        TunnellingRequest sent = std::get<TunnellingRequest>(frame);
        sent.channel = m_channel;
        sent.sequence = m_sendSequence;
        m_awaiting = request;
        m_confirmation.reset();
        bool acked = false;
        for (int attempt = 0; attempt < 2 && !acked && m_lost.empty(); ++attempt)
        {
            if (attempt > 0)
                Problem(m_counters.resends, "no ack for tunnelling request " + std::to_string(sent.sequence) +
                                                " within " + Milliseconds(m_times.ack) + ": sent again");
            m_ack.reset();
            SendFrame(sent, m_data);
            RunUntil(m_io, Clock::now() + m_times.ack,
                     [&] { return (m_ack && m_ack->sequence == sent.sequence) || !m_lost.empty(); });
            acked = m_ack && m_ack->sequence == sent.sequence && m_ack->status == kStatusNoError;
        }
        if (acked)
            break;
        if (m_lost.empty())
            m_lost = m_ack && m_ack->sequence == sent.sequence
                         ? "the server refused tunnelling request " + std::to_string(sent.sequence) + ": " +
                               KnxIpStatusText(m_ack->status)
                         : "no ack for tunnelling request " + std::to_string(sent.sequence);
        if (tunnel > 0)
            Recover(); // a second tunnel that does not ack either: give up unless it comes back
    }
    ++m_sendSequence;

    RunUntil(m_io, Clock::now() + m_times.confirm,
             [&] { return m_confirmation.has_value() || !m_lost.empty(); });
    m_awaiting.reset();
    if (!m_confirmation)
        throw BusError(BusError::Kind::NotConfirmed, "the KNXnet/IP interface at '" + m_url +
                                                         "' did not confirm the telegram to " +
                                                         FormatGroupAddress(telegram.destination) +
                                                         " within " + Milliseconds(m_times.confirm));
    if (m_confirmation->IsNegativeConfirmation())
        throw BusError(BusError::Kind::NotConfirmed,
                       "the KNXnet/IP interface at '" + m_url + "' could not send the telegram to " +
                           FormatGroupAddress(telegram.destination) + " (negative confirmation)");
}

ReceiveStatus KnxIpTunnel::Receive(ReceivedTelegram& out, std::optional<Clock::time_point> deadline)
{
    const Clock::time_point until = deadline.value_or(Clock::time_point::max());
    for (;;)
    {
        if (m_stopped)
            return ReceiveStatus::Stopped;
        if (m_inbox.Take(out))
            return ReceiveStatus::Telegram;
        if (!m_connected || !m_lost.empty())
            Recover();
        if (Clock::now() >= until)
            return ReceiveStatus::Timeout;
        RunUntil(m_io, until, [&] { return !m_inbox.Empty() || m_stopped || !m_lost.empty(); });
    }
}

} // namespace LumBus
