#pragma once
// A group connection through a KNXnet/IP tunnel (link layer) to a KNX IP
// interface, or to knxd's server, over UDP. Single-threaded on the caller's
// io_context as KnxdConnection is: acks, resends, heartbeats and reconnects
// happen while the caller waits in Send or Receive.
//
//     boost::asio::io_context io;
//     LumBus::KnxIpTunnel bus(io, "ipt:192.168.1.10");     // throws BusError
//     bus.Send({0, 0x0801, LumBus::GroupService::Write, {0x0C, 0x33}});
#include "LumBus/Cemi.h"
#include "LumBus/KnxIpFrame.h"
#include "LumBus/KnxdConnection.h"
#include "LumBus/TelegramInbox.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace LumBus
{

// "ipt:HOST[:PORT]" and, in NAT mode (the server answers where datagrams come
// from, for clients behind address translation), "iptn:HOST[:PORT]"; the port
// is 3671 when not given.
struct KnxIpTunnelUrl
{
    std::string host;
    std::uint16_t port = kKnxIpPort;
    bool nat = false;
};
bool IsKnxIpTunnelUrl(std::string_view text);
// Throws BusError(BadUrl) saying what is wrong.
KnxIpTunnelUrl ParseKnxIpTunnelUrl(std::string_view text);

// The times of the standard, shorter in tests.
struct KnxIpTunnelTimes
{
    std::chrono::milliseconds connect{10000};
    std::chrono::milliseconds ack{1000};
    std::chrono::milliseconds heartbeat{60000};
    std::chrono::milliseconds heartbeatAnswer{10000};
    // How long a sent telegram may wait for its L_Data.con.
    std::chrono::milliseconds confirm{3000};
};

// What came in that could not be used: counted, the latest named; never fatal.
struct KnxIpTunnelCounters
{
    std::uint64_t malformed = 0;     // frames or cEMI messages that are not what they say
    std::uint64_t duplicates = 0;    // a tunnelling request repeated: acked again, delivered once
    std::uint64_t outOfSequence = 0; // neither the expected nor the previous sequence number
    std::uint64_t unexpected = 0;    // other services, other channels, other hosts
    std::uint64_t resends = 0;       // tunnelling requests sent a second time
    std::uint64_t reconnects = 0;
    std::uint64_t dropped = 0; // telegrams that came while the inbox was full
    std::string lastProblem;   // one line about the latest of the above
};

// Telegrams kept while nobody receives; beyond this they are counted and dropped.
constexpr std::size_t kTunnelInboxLimit = 65536;

class KnxIpTunnel final : public GroupConnection
{
public:
    // Connects within `times.connect`. Throws BusError: BadUrl, NoDaemon (no
    // answer, nothing listens) or Refused (the server said why, e.g. "no more
    // connections").
    KnxIpTunnel(boost::asio::io_context& io, const std::string& url, bool reconnect = true,
                KnxIpTunnelTimes times = {});
    // Disconnects, waiting a moment for the server's answer.
    ~KnxIpTunnel() override;
    KnxIpTunnel(const KnxIpTunnel&) = delete;
    KnxIpTunnel& operator=(const KnxIpTunnel&) = delete;

    // Sends one telegram and waits for its ack (resent once) and its
    // L_Data.con. Throws BusError(NotConfirmed) on a negative confirmation or
    // none, BusError(Lost) when the tunnel is gone and could not be made again.
    void Send(const GroupTelegram& telegram) override;
    ReceiveStatus Receive(ReceivedTelegram& out,
                          std::optional<std::chrono::steady_clock::time_point> deadline) override;
    void Stop() override { m_stopped = true; }
    std::string Anomalies() const override;

    // The individual address the server gave the tunnel.
    std::uint16_t IndividualAddress() const { return m_individualAddress; }
    const KnxIpTunnelCounters& Counters() const { return m_counters; }

private:
    using Clock = std::chrono::steady_clock;

    void Connect();
    void Disconnect();
    // Reconnects after a loss, or throws BusError(Lost).
    void Recover();
    void SendFrame(const KnxIpBody& body, const boost::asio::ip::udp::endpoint& to);
    void StartReceive();
    void OnDatagram(std::size_t size);
    void OnTunnellingRequest(const TunnellingRequest& request);
    void StartHeartbeat(std::chrono::milliseconds after);
    void OnHeartbeat();
    void Problem(std::uint64_t& counter, std::string what);

    boost::asio::io_context& m_io;
    std::string m_url;
    KnxIpTunnelUrl m_where;
    bool m_reconnect;
    KnxIpTunnelTimes m_times;
    boost::asio::ip::udp::socket m_socket;
    boost::asio::ip::udp::endpoint m_control; // the server's control endpoint
    boost::asio::ip::udp::endpoint m_data;    // where tunnelling requests go
    boost::asio::ip::udp::endpoint m_from;
    std::array<std::uint8_t, 64 * 1024> m_buffer{};
    boost::asio::steady_timer m_heartbeat;
    // Handlers that run after the destructor find it expired.
    std::shared_ptr<bool> m_alive;
    Hpai m_localHpai;                             // ours, or 0.0.0.0:0 in NAT mode
    boost::asio::ip::udp::endpoint m_connectFrom; // where the connect response came from

    bool m_connected = false;
    std::uint8_t m_channel = 0;
    std::uint16_t m_individualAddress = 0;
    std::uint8_t m_sendSequence = 0;
    std::uint8_t m_receiveSequence = 0;
    int m_heartbeatTries = 0;
    bool m_heartbeatPending = false;
    bool m_stopped = false;
    std::string m_lost; // why the tunnel is gone, "" while it stands

    // Answers to what a call waits for, set by the handlers.
    std::optional<ConnectResponse> m_connectResponse;
    std::optional<TunnellingAck> m_ack;
    std::optional<CemiLData> m_awaiting; // the request whose L_Data.con Send waits for
    std::optional<CemiLData> m_confirmation;
    bool m_disconnected = false;

    TelegramInbox m_inbox{kTunnelInboxLimit};
    KnxIpTunnelCounters m_counters;
};

} // namespace LumBus
