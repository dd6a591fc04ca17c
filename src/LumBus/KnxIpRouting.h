#pragma once
// A group connection by KNXnet/IP routing: routing indications (cEMI
// L_Data.ind) sent to and received from a multicast group on one network
// interface, with no server in between. Same single-threaded style as
// KnxdConnection: the caller's io_context runs only while the caller waits in
// Send or Receive.
//
//     boost::asio::io_context io;
//     LumBus::KnxIpRouting bus(io, "ipr:eth0");               // throws BusError
//     bus.Send({0, 0x0A03, LumBus::GroupService::Write, {0x0C, 0x33}});
//     if (bus.Receive(in, deadline) == LumBus::ReceiveStatus::Telegram) ...
//     const LumBus::KnxIpRoutingCounters& c = bus.Counters();   // what went wrong, never fatal
#include "LumBus/KnxIpFrame.h"
#include "LumBus/KnxdConnection.h"
#include "LumBus/TelegramInbox.h"

#include <boost/asio/ip/udp.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>

namespace LumBus
{

// "ipr:IF" (224.0.23.12:3671 on interface IF) or "ipr:IF@GROUP[:PORT]", GROUP
// an IPv4 multicast address (224.0.0.0/4), PORT 3671 when not given.
struct KnxIpRoutingUrl
{
    std::string interfaceName;
    std::array<std::uint8_t, 4> group = kKnxIpMulticastAddress;
    std::uint16_t port = kKnxIpPort;
};
// Throws BusError(BadUrl) with one line saying what is wrong.
KnxIpRoutingUrl ParseKnxIpRoutingUrl(std::string_view text);
// Whether `text` is meant for routing ("ipr:..."), well-formed or not.
bool IsKnxIpRoutingUrl(std::string_view text);

// 15.15.255: the last address of the last line, which installations leave
// free for such clients; routers take any.
constexpr std::uint16_t kDefaultRoutingSource = 0xFFFF;

struct KnxIpRoutingOptions
{
    std::uint16_t source = kDefaultRoutingSource; // the telegrams' individual address
    std::uint8_t ttl = 1;                         // multicast hops: the local network only
    std::size_t inboxLimit = 256;                 // received telegrams kept while nobody receives
};

// Flow control towards the IP side, apart from I/O so that it can be tested:
// at most kRoutingRateLimit indications in any kRoutingRateWindow, and after a
// routing busy a pause of its wait time (at most kMaxRoutingBusyWait, as a
// hostile frame could stall us for a minute) plus a random back-off of up to
// N × 50 ms, N the busy frames counted lately (those within 10 ms of the last
// counted one count once; N falls by one every 5 ms once N × 100 ms passed
// without one; at most kMaxRoutingBusyCount).
constexpr std::size_t kRoutingRateLimit = 50;
constexpr std::chrono::milliseconds kRoutingRateWindow{1000};
constexpr std::chrono::milliseconds kMaxRoutingBusyWait{1000};
constexpr unsigned kMaxRoutingBusyCount = 20;

class RoutingPacer
{
public:
    using Clock = std::chrono::steady_clock;
    // A routing busy arrived at `now`; `random` in [0, 1) scales the back-off.
    void Busy(Clock::time_point now, std::chrono::milliseconds wait, double random);
    // The earliest moment the next indication may go.
    Clock::time_point NextSend(Clock::time_point now) const;
    // An indication went at `now`.
    void Sent(Clock::time_point now);
    // N at `now`, as the back-off uses it.
    unsigned BusyCount(Clock::time_point now) const;

private:
    std::deque<Clock::time_point> m_sent; // the last kRoutingRateLimit sends
    Clock::time_point m_pauseUntil{};
    Clock::time_point m_lastBusy{};
    unsigned m_busyCount = 0;
};

// What one datagram on the group is to a routing client.
struct RoutingDatagram
{
    enum class Kind
    {
        OwnEcho,      // ours, looped back
        Telegram,     // a routing indication with an L_Data.ind: `telegram`
        Busy,         // a routing busy: `busy`
        LostMessages, // a routing lost message: `lost`
        Other,        // a well-formed frame of another service (search requests...)
        Malformed,    // no KNXnet/IP frame this codec can read: `problem`
        BadCemi       // a routing indication whose cEMI is unusable: `problem`
    };
    Kind kind = Kind::Malformed;
    ReceivedTelegram telegram;
    RoutingBusy busy;
    RoutingLostMessage lost;
    std::string problem;
};
// Classifies a datagram from `from`; `own` is the endpoint we send from.
RoutingDatagram ClassifyRoutingDatagram(const std::uint8_t* bytes, std::size_t size,
                                        const boost::asio::ip::udp::endpoint& from,
                                        const boost::asio::ip::udp::endpoint& own);

// The routing indication that carries `telegram` from `source`. Throws
// std::invalid_argument as EncodeGroupApdu does.
std::vector<std::uint8_t> EncodeRoutingTelegram(const GroupTelegram& telegram, std::uint16_t source);

struct KnxIpRoutingCounters
{
    std::uint64_t sent = 0;
    std::uint64_t received = 0;     // telegrams delivered by Receive or waiting in the inbox
    std::uint64_t ownEchoes = 0;    // our own indications looped back, not delivered
    std::uint64_t busy = 0;         // routing busy frames
    std::uint64_t lostFrames = 0;   // routing lost message frames
    std::uint64_t lostMessages = 0; // the sum of the messages they report lost
    std::uint64_t malformed = 0;    // datagrams that are no KNXnet/IP frame we can read
    std::uint64_t badCemi = 0;      // routing indications with unusable cEMI
    std::uint64_t other = 0;        // other services on the group (search requests...)
    std::uint64_t dropped = 0;      // telegrams dropped because the inbox was full
    std::string lastProblem;        // one line: the latest of the above that is a problem
};

class KnxIpRouting final : public GroupConnection
{
public:
    // Joins the group on the interface, sharing the port with a router on
    // this machine (knxd's server). Throws BusError: BadUrl (the URL),
    // NoDaemon (no such interface, no IPv4 address there, the socket cannot
    // be set up).
    KnxIpRouting(boost::asio::io_context& io, const std::string& url, KnxIpRoutingOptions options = {});

    // Waits as flow control asks (receiving meanwhile), then sends. Throws
    // BusError(Lost) when the socket fails.
    void Send(const GroupTelegram& telegram) override;
    // Sends a datagram as it stands to the group, for tests of how peers take
    // malformed frames; no flow control, not counted. Throws BusError(Lost).
    void SendRaw(const std::vector<std::uint8_t>& datagram);
    // The next telegram of somebody else on the group, from the inbox first.
    // One to an individual address comes with `problem` set, as
    // ToReceivedTelegram gives it. Throws BusError(Lost) when the socket fails.
    ReceiveStatus Receive(ReceivedTelegram& out,
                          std::optional<std::chrono::steady_clock::time_point> deadline) override;
    void Stop() override { m_stopped = true; }

    const KnxIpRoutingCounters& Counters() const { return m_counters; }
    std::string Anomalies() const override;

private:
    void StartReceive();
    void Handle(std::size_t size);
    void Problem(std::uint64_t& counter, const std::string& what);
    // Runs one handler until `until` (none: until one ran); throws on a socket failure.
    void RunOnce(std::optional<std::chrono::steady_clock::time_point> until);
    [[noreturn]] void Lost(const std::string& why) const;

    boost::asio::io_context& m_io;
    KnxIpRoutingOptions m_options;
    boost::asio::ip::udp::socket m_receiver; // bound to the group, member on the interface
    boost::asio::ip::udp::socket m_sender;   // bound to the interface's address
    boost::asio::ip::udp::endpoint m_group;
    boost::asio::ip::udp::endpoint m_own;
    boost::asio::ip::udp::endpoint m_from;
    std::array<std::uint8_t, kMaxKnxIpFrame> m_buffer{};
    bool m_receiving = false;
    bool m_stopped = false;
    std::string m_receiveError;
    TelegramInbox m_inbox;
    RoutingPacer m_pacer;
    std::minstd_rand m_random;
    KnxIpRoutingCounters m_counters;
    std::shared_ptr<char> m_alive = std::make_shared<char>(); // outlived by pending handlers
};

} // namespace LumBus
