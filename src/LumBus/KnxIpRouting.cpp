#include "KnxIpRouting.h"

#include "LumBus/Cemi.h"
#include "LumBus/HostPort.h"
#include "LumBus/KnxAddress.h"
#include "LumBus/NetInterface.h"

#include <boost/asio/ip/multicast.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>

#include <netinet/in.h>

namespace LumBus
{

namespace
{
using Clock = std::chrono::steady_clock;
using boost::asio::ip::udp;
using Address = boost::asio::ip::address_v4;

constexpr std::string_view kRoutingPrefix = "ipr:";
// Interface names have at most IFNAMSIZ - 1 bytes.
constexpr std::size_t kMaxInterfaceName = 15;
// Busy frames this close together count once.
constexpr std::chrono::milliseconds kBusyMergeTime{10};
// Per counted busy frame: the back-off's upper bound and how long N holds before it falls.
constexpr std::chrono::milliseconds kBackoffPerBusy{50};
constexpr std::chrono::milliseconds kSlowDurationPerBusy{100};
// Once N holds no longer, it falls by one each of these.
constexpr std::chrono::milliseconds kBusyDecayStep{5};

[[noreturn]] void BadUrl(std::string_view url, const std::string& why)
{
    throw BusError(BusError::Kind::BadUrl, "'" + std::string(url) + "' is no KNXnet/IP routing address (" +
                                               why + "; use ipr:INTERFACE or ipr:INTERFACE@GROUP[:PORT])");
}

std::string Endpoint(const udp::endpoint& e)
{
    return e.address().to_string() + ":" + std::to_string(e.port());
}
} // namespace

bool IsKnxIpRoutingUrl(std::string_view text)
{
    return text.substr(0, kRoutingPrefix.size()) == kRoutingPrefix;
}

KnxIpRoutingUrl ParseKnxIpRoutingUrl(std::string_view text)
{
    if (!IsKnxIpRoutingUrl(text))
        BadUrl(text, "it does not start with ipr:");
    KnxIpRoutingUrl url;
    const std::string_view rest = text.substr(kRoutingPrefix.size());
    const auto at = rest.find('@');
    const std::string_view name = rest.substr(0, at);
    if (name.empty())
        BadUrl(text, "no network interface");
    if (name.size() > kMaxInterfaceName)
        BadUrl(text, "interface names have at most " + std::to_string(kMaxInterfaceName) + " bytes");
    if (std::any_of(name.begin(), name.end(),
                    [](char c)
                    { return c == '/' || c == '\0' || std::isspace(static_cast<unsigned char>(c)); }))
        BadUrl(text, "an interface name has no '/', spaces or zero bytes");
    url.interfaceName = std::string(name);
    if (at == std::string_view::npos)
        return url;

    HostPort group;
    if (const char* why = HostPortProblemText(ParseHostPort(rest.substr(at + 1), kKnxIpPort, group),
                                              "no multicast group after '@'"))
        BadUrl(text, why);
    url.port = group.port;
    boost::system::error_code ec;
    const Address address = boost::asio::ip::make_address_v4(group.host, ec);
    if (ec)
        BadUrl(text, "'" + group.host + "' is no IPv4 address");
    if (!address.is_multicast())
        BadUrl(text, address.to_string() + " is no multicast group (224.0.0.0 to 239.255.255.255)");
    url.group = address.to_bytes();
    return url;
}

void RoutingPacer::Busy(Clock::time_point now, std::chrono::milliseconds wait, double random)
{
    unsigned n = BusyCount(now);
    if (m_busyCount == 0 || now - m_lastBusy >= kBusyMergeTime)
    {
        n = std::min(n + 1, kMaxRoutingBusyCount);
        m_lastBusy = now;
    }
    m_busyCount = n;
    const auto backoff = std::chrono::duration_cast<Clock::duration>(kBackoffPerBusy * n * random);
    m_pauseUntil = std::max(m_pauseUntil, now + std::min(wait, kMaxRoutingBusyWait) + backoff);
}

unsigned RoutingPacer::BusyCount(Clock::time_point now) const
{
    if (m_busyCount == 0)
        return 0;
    const Clock::time_point slowEnd = m_lastBusy + kSlowDurationPerBusy * m_busyCount;
    if (now < slowEnd)
        return m_busyCount;
    const auto fallen = static_cast<unsigned long long>((now - slowEnd) / kBusyDecayStep);
    return fallen >= m_busyCount ? 0 : m_busyCount - static_cast<unsigned>(fallen);
}

RoutingPacer::Clock::time_point RoutingPacer::NextSend(Clock::time_point now) const
{
    Clock::time_point next = std::max(now, m_pauseUntil);
    if (m_sent.size() >= kRoutingRateLimit)
        next = std::max(next, m_sent.front() + kRoutingRateWindow);
    return next;
}

void RoutingPacer::Sent(Clock::time_point now)
{
    m_sent.push_back(now);
    while (m_sent.size() > kRoutingRateLimit)
        m_sent.pop_front();
}

RoutingDatagram ClassifyRoutingDatagram(const std::uint8_t* bytes, std::size_t size,
                                        const udp::endpoint& from, const udp::endpoint& own)
{
    RoutingDatagram out;
    if (from == own)
    {
        out.kind = RoutingDatagram::Kind::OwnEcho;
        return out;
    }
    const std::string origin = "datagram from " + Endpoint(from) + ": ";
    KnxIpFrame frame = DecodeKnxIpFrame(bytes, size);
    if (frame.error != KnxIpError::None)
    {
        out.kind = RoutingDatagram::Kind::Malformed;
        out.problem = origin + KnxIpErrorName(frame.error) + ": " + frame.detail;
        return out;
    }
    if (const auto* indication = std::get_if<RoutingIndication>(&frame.body))
    {
        const CemiDecoded cemi = DecodeCemi(indication->cemi.data(), indication->cemi.size());
        out.kind = RoutingDatagram::Kind::BadCemi;
        if (cemi.error != CemiError::None)
            out.problem = origin + "cEMI " + CemiErrorName(cemi.error) + ": " + cemi.detail;
        else if (cemi.frame.messageCode != kCemiLDataInd)
            out.problem = origin + CemiMessageName(cemi.frame.messageCode) + " in a routing indication";
        else
        {
            out.kind = RoutingDatagram::Kind::Telegram;
            out.telegram = ToReceivedTelegram(cemi.frame);
        }
    }
    else if (const auto* busy = std::get_if<RoutingBusy>(&frame.body))
    {
        out.kind = RoutingDatagram::Kind::Busy;
        out.busy = *busy;
    }
    else if (const auto* lost = std::get_if<RoutingLostMessage>(&frame.body))
    {
        out.kind = RoutingDatagram::Kind::LostMessages;
        out.lost = *lost;
    }
    else
    {
        out.kind = RoutingDatagram::Kind::Other;
        out.problem = origin + KnxIpServiceName(frame.service);
    }
    return out;
}

std::vector<std::uint8_t> EncodeRoutingTelegram(const GroupTelegram& telegram, std::uint16_t source)
{
    CemiLData frame = MakeGroupRequest(telegram, source);
    frame.messageCode = kCemiLDataInd;
    return EncodeKnxIpFrame(RoutingIndication{EncodeCemi(frame)});
}

KnxIpRouting::KnxIpRouting(boost::asio::io_context& io, const std::string& url, KnxIpRoutingOptions options)
    : m_io(io), m_options(options), m_receiver(io), m_sender(io), m_inbox(options.inboxLimit),
      m_random(std::random_device{}())
{
    const KnxIpRoutingUrl where = ParseKnxIpRoutingUrl(url);
    m_group = udp::endpoint(Address(where.group), where.port);
    Address local;
    try
    {
        local = InterfaceIpv4Address(where.interfaceName);
    }
    catch (const NetInterfaceError& e)
    {
        throw BusError(BusError::Kind::NoDaemon, e.what());
    }

    boost::system::error_code ec;
    std::string step = "open a socket";
    const auto failed = [&](const char* next)
    {
        if (!ec)
            step = next;
        return static_cast<bool>(ec);
    };
    m_receiver.open(udp::v4(), ec);
    // The group's port is shared with any server on this machine (knxd's).
    if (!failed("share the port"))
        m_receiver.set_option(udp::socket::reuse_address(true), ec);
    if (!failed("bind to the group"))
        m_receiver.bind(m_group, ec);
    if (!failed("join the group"))
        m_receiver.set_option(boost::asio::ip::multicast::join_group(m_group.address().to_v4(), local), ec);
    if (!failed("leave other groups out"))
    {
        // Only the groups this socket joined, not every group any socket here joined.
        const int all = 0;
        if (setsockopt(m_receiver.native_handle(), IPPROTO_IP, IP_MULTICAST_ALL, &all, sizeof all) != 0)
            ec.assign(errno, boost::system::system_category());
    }
    if (!failed("open the sending socket"))
        m_sender.open(udp::v4(), ec);
    if (!failed("bind the sending socket"))
        m_sender.bind(udp::endpoint(local, 0), ec);
    if (!failed("send multicast from the interface"))
        SetMulticastSending(m_sender, local, ec);
    if (!failed("set the multicast TTL"))
        m_sender.set_option(boost::asio::ip::multicast::hops(options.ttl), ec);
    if (!failed("learn the sending port"))
        m_own = m_sender.local_endpoint(ec);
    if (ec)
        throw BusError(BusError::Kind::NoDaemon, "cannot " + step + " for " + Endpoint(m_group) + " on " +
                                                     where.interfaceName + " (" + local.to_string() +
                                                     "): " + ec.message());
}

void KnxIpRouting::Lost(const std::string& why) const
{
    throw BusError(BusError::Kind::Lost, "connection lost: " + why);
}

void KnxIpRouting::SendRaw(const std::vector<std::uint8_t>& datagram)
{
    boost::system::error_code ec;
    m_sender.send_to(boost::asio::buffer(datagram), m_group, 0, ec);
    if (ec)
        Lost("sending to " + Endpoint(m_group) + " from " + Endpoint(m_own) + ": " + ec.message());
}

void KnxIpRouting::Send(const GroupTelegram& telegram)
{
    const std::vector<std::uint8_t> datagram = EncodeRoutingTelegram(telegram, m_options.source);
    for (Clock::time_point now = Clock::now(), next = m_pacer.NextSend(now); next > now;
         now = Clock::now(), next = m_pacer.NextSend(now))
        RunOnce(next);
    SendRaw(datagram);
    m_pacer.Sent(Clock::now());
    ++m_counters.sent;
}

void KnxIpRouting::StartReceive()
{
    if (m_receiving || !m_receiveError.empty())
        return;
    m_receiving = true;
    // Closing the socket in the destructor completes this later, on the
    // caller's io_context, maybe when a new connection lives at our address.
    m_receiver.async_receive_from(
        boost::asio::buffer(m_buffer), m_from,
        [this, alive = std::weak_ptr<char>(m_alive)](const boost::system::error_code& ec, std::size_t size)
        {
            if (alive.expired())
                return;
            m_receiving = false;
            if (ec)
                m_receiveError = "receiving from " + Endpoint(m_group) + ": " + ec.message();
            else
                Handle(size);
        });
}

void KnxIpRouting::RunOnce(std::optional<Clock::time_point> until)
{
    StartReceive();
    if (m_io.stopped())
        m_io.restart();
    if (until)
        m_io.run_one_until(*until);
    else
        m_io.run_one();
    if (!m_receiveError.empty())
        Lost(m_receiveError);
}

void KnxIpRouting::Problem(std::uint64_t& counter, const std::string& what)
{
    ++counter;
    m_counters.lastProblem = what;
}

void KnxIpRouting::Handle(std::size_t size)
{
    RoutingDatagram in = ClassifyRoutingDatagram(m_buffer.data(), size, m_from, m_own);
    switch (in.kind)
    {
    case RoutingDatagram::Kind::OwnEcho:
        ++m_counters.ownEchoes;
        break;
    case RoutingDatagram::Kind::Telegram:
        if (m_inbox.Push(std::move(in.telegram)))
            ++m_counters.received;
        else
            Problem(m_counters.dropped, "a telegram from " + Endpoint(m_from) + " dropped: " +
                                            std::to_string(m_inbox.Size()) + " wait to be received");
        break;
    case RoutingDatagram::Kind::Busy:
        m_pacer.Busy(Clock::now(), std::chrono::milliseconds(in.busy.waitTimeMs),
                     std::uniform_real_distribution<double>(0.0, 1.0)(m_random));
        Problem(m_counters.busy,
                Endpoint(m_from) + " is busy: wait " + std::to_string(in.busy.waitTimeMs) + " ms");
        break;
    case RoutingDatagram::Kind::LostMessages:
        m_counters.lostMessages += in.lost.lostMessages;
        Problem(m_counters.lostFrames,
                Endpoint(m_from) + " lost " + std::to_string(in.lost.lostMessages) + " message(s)");
        break;
    case RoutingDatagram::Kind::Other:
        ++m_counters.other;
        break;
    case RoutingDatagram::Kind::Malformed:
        Problem(m_counters.malformed, in.problem);
        break;
    case RoutingDatagram::Kind::BadCemi:
        Problem(m_counters.badCemi, in.problem);
        break;
    }
}

ReceiveStatus KnxIpRouting::Receive(ReceivedTelegram& out, std::optional<Clock::time_point> deadline)
{
    for (;;)
    {
        if (m_stopped)
            return ReceiveStatus::Stopped;
        if (m_inbox.Take(out))
            return ReceiveStatus::Telegram;
        if (deadline && Clock::now() >= *deadline)
            return ReceiveStatus::Timeout;
        RunOnce(deadline);
    }
}

std::string KnxIpRouting::Anomalies() const
{
    const KnxIpRoutingCounters& c = m_counters;
    return AnomalyLine()
        .Count(c.malformed, "malformed")
        .Count(c.badCemi, "with bad cEMI")
        .Count(c.other, "of other services")
        .Count(c.busy, "routing busy")
        .Count(c.lostFrames,
               "lost-message indication(s) reporting " + std::to_string(c.lostMessages) + " lost")
        .Count(c.dropped, "dropped")
        .Latest(c.lastProblem);
}

} // namespace LumBus
