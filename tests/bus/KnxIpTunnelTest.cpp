// The tunnel client against a scripted server on the loopback interface: what
// it sends, byte for byte, and how it takes lost acks, repeats, malformed
// frames, heartbeats and a server that goes away. Nothing leaves 127.0.0.1.
#include "LumBus/KnxIpTunnel.h"

#include "LoopbackUdp.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

using namespace LumBus;
using Bytes = std::vector<std::uint8_t>;
using namespace std::chrono_literals;

namespace
{

constexpr std::uint8_t kChannel = 21;
constexpr std::uint16_t kTunnelAddress = 0x1105; // 1.1.5

// A KNXnet/IP server that does what a test says, on a plain UDP socket.
class ScriptedServer
{
public:
    ScriptedServer() = default;
    ~ScriptedServer()
    {
        if (m_thread.joinable())
            m_thread.join();
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::string Url() const { return "ipt:127.0.0.1:" + std::to_string(m_udp.Port()); }
    Hpai Endpoint() const { return {kHostProtocolUdp4, {127, 0, 0, 1}, m_udp.Port()}; }

    void Run(std::function<void(ScriptedServer&)> script)
    {
        m_thread = std::thread([this, script] { script(*this); });
    }
    void Join() { m_thread.join(); }

    // The next datagram within `timeout`, its raw bytes kept in Last(); the
    // client's endpoint is remembered for Send.
    std::optional<KnxIpFrame> Next(std::chrono::milliseconds timeout = 3000ms)
    {
        m_last = m_udp.Receive(timeout);
        if (m_last.empty())
            return std::nullopt;
        return DecodeKnxIpFrame(m_last.data(), m_last.size());
    }
    template <typename Body> std::optional<Body> NextOf(std::chrono::milliseconds timeout = 3000ms)
    {
        const auto frame = Next(timeout);
        if (!frame || frame->error != KnxIpError::None || !std::holds_alternative<Body>(frame->body))
        {
            ADD_FAILURE() << "expected service " << KnxIpServiceName(KnxIpServiceType(Body{})) << ", got "
                          << (frame ? KnxIpServiceName(frame->service) : "nothing");
            return std::nullopt;
        }
        return std::get<Body>(frame->body);
    }
    const Bytes& Last() const { return m_last; }
    std::uint16_t ClientPort() const { return m_udp.PeerPort(); }

    void SendRaw(const Bytes& bytes) { m_udp.Send(bytes); }
    void Send(const KnxIpBody& body) { SendRaw(EncodeKnxIpFrame(body)); }

    // Takes the connect request and opens the tunnel on `channel`.
    bool Accept(std::uint8_t channel = kChannel)
    {
        const auto request = NextOf<ConnectRequest>();
        if (!request)
            return false;
        Send(ConnectResponse{channel, kStatusNoError, Endpoint(), kTunnelAddress});
        return true;
    }
    // Takes one tunnelling request and acks it; its cEMI, or nothing.
    std::optional<TunnellingRequest> AckNext()
    {
        auto request = NextOf<TunnellingRequest>();
        if (request)
            Send(TunnellingAck{request->channel, request->sequence, kStatusNoError});
        return request;
    }
    // The client's ack of `sequence`, and nothing else, within the timeout.
    void ExpectAck(std::uint8_t sequence)
    {
        const auto ack = NextOf<TunnellingAck>();
        if (ack)
        {
            EXPECT_EQ(ack->channel, kChannel);
            EXPECT_EQ(ack->sequence, sequence);
            EXPECT_EQ(ack->status, kStatusNoError);
        }
    }
    // Takes the client's disconnect request and confirms it on `channel`.
    std::optional<DisconnectRequest> Release(std::uint8_t channel = kChannel)
    {
        auto request = NextOf<DisconnectRequest>();
        if (request)
            Send(DisconnectResponse{channel, kStatusNoError});
        return request;
    }
    // Sends the cEMI message in a tunnelling request.
    void Indicate(std::uint8_t sequence, const Bytes& cemi, std::uint8_t channel = kChannel)
    {
        Send(TunnellingRequest{channel, sequence, cemi});
    }
    // Indicates and takes the client's ack.
    void Deliver(std::uint8_t sequence, const Bytes& cemi)
    {
        Indicate(sequence, cemi);
        ExpectAck(sequence);
    }

private:
    LumTest::LoopbackUdp m_udp;
    Bytes m_last;
    std::thread m_thread;
};

KnxIpTunnelTimes FastTimes()
{
    KnxIpTunnelTimes times;
    times.connect = 1000ms;
    times.ack = 200ms;
    times.confirm = 1000ms;
    return times;
}

// A tunnel client of the server, on an io_context of its own.
struct Client
{
    explicit Client(const ScriptedServer& server, bool reconnect = true, KnxIpTunnelTimes times = FastTimes())
        : tunnel(io, server.Url(), reconnect, times)
    {
    }
    ReceiveStatus Receive(ReceivedTelegram& in, std::chrono::milliseconds timeout)
    {
        return tunnel.Receive(in, std::chrono::steady_clock::now() + timeout);
    }

    boost::asio::io_context io;
    KnxIpTunnel tunnel;
};

// L_Data.con of a request, as the interface sends it back with its own address.
Bytes Confirmation(Bytes request, bool positive = true)
{
    request[0] = kCemiLDataCon;
    request[4] = kTunnelAddress >> 8;
    request[5] = kTunnelAddress & 0xFF;
    if (!positive)
        request[2] |= 0x01;
    return request;
}

// An L_Data.ind from 1.1.7 to a group address with a TPDU.
Bytes Indication(std::uint16_t group, const Bytes& tpdu)
{
    Bytes cemi = {0x29,
                  0x00,
                  0xBC,
                  0xE0,
                  0x11,
                  0x07,
                  static_cast<std::uint8_t>(group >> 8),
                  static_cast<std::uint8_t>(group & 0xFF),
                  static_cast<std::uint8_t>(tpdu.size() - 1)};
    for (const std::uint8_t byte : tpdu)
        cemi.push_back(byte);
    return cemi;
}

struct WriteCase
{
    GroupTelegram telegram;
    Bytes cemi;
};

std::vector<WriteCase> WriteCases()
{
    std::vector<WriteCase> cases;
    const auto add = [&](GroupTelegram telegram, Bytes cemi) {
        cases.push_back({std::move(telegram), std::move(cemi)});
    };
    add(GroupTelegram{0, 0x0A03, GroupService::Write, {0x01}, true},
        {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x0A, 0x03, 0x01, 0x00, 0x81});
    add(GroupTelegram{0, 0x0A03, GroupService::Write, {0xFF}},
        {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x0A, 0x03, 0x02, 0x00, 0x80, 0xFF});
    add(GroupTelegram{0, 0x0A03, GroupService::Write, {0x0C, 0x33}},
        {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x0A, 0x03, 0x03, 0x00, 0x80, 0x0C, 0x33});
    add(GroupTelegram{0, 0x0A03, GroupService::Read, {}},
        {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x0A, 0x03, 0x01, 0x00, 0x00});
    add(GroupTelegram{0, 0xFFFF, GroupService::Response, {0x41, 0xA8, 0x00, 0x00}},
        {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0xFF, 0xFF, 0x05, 0x00, 0x40, 0x41, 0xA8, 0x00, 0x00});
    Bytes text = {0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x00, 0x01, 0x0F, 0x00, 0x80};
    text.resize(text.size() + 14, 0x41);
    add(GroupTelegram{0, 0x0001, GroupService::Write, Bytes(14, 0x41)}, text);
    return cases;
}

} // namespace

// Every size class of group value in the cEMI L_Data.req the interface gets,
// written out by hand: message code, no additional info, control fields
// (standard frame, no repeat, broadcast, low priority; group address, 6 hops),
// source 0.0.0 for the interface to fill in, destination, NPDU length, TPCI/APCI.
TEST(BusKnxIpTunnel, WritesEachSizeOfValueAndWaitsForItsConfirmation)
{
    const std::vector<WriteCase> cases = WriteCases();
    ScriptedServer server;
    server.Run(
        [&](ScriptedServer& s)
        {
            const auto connect = s.NextOf<ConnectRequest>();
            ASSERT_TRUE(connect);
            // Both endpoints are where the client sends from (no NAT).
            const Hpai client{kHostProtocolUdp4, {127, 0, 0, 1}, s.ClientPort()};
            EXPECT_EQ(connect->control.address, client.address);
            EXPECT_EQ(connect->control.port, client.port);
            EXPECT_EQ(connect->data.port, client.port);
            s.Send(ConnectResponse{kChannel, kStatusNoError, s.Endpoint(), kTunnelAddress});
            std::uint8_t sequence = 0;
            for (const WriteCase& c : cases)
            {
                const auto request = s.AckNext();
                ASSERT_TRUE(request);
                Bytes frame = {
                    0x06, 0x10,     0x04,     0x20, 0x00, static_cast<std::uint8_t>(10 + c.cemi.size()),
                    0x04, kChannel, sequence, 0x00};
                frame.insert(frame.end(), c.cemi.begin(), c.cemi.end());
                EXPECT_EQ(s.Last(), frame) << "telegram " << int(sequence);
                s.Deliver(sequence, Confirmation(c.cemi));
                ++sequence;
            }
            const auto disconnect = s.Release();
            ASSERT_TRUE(disconnect);
            EXPECT_EQ(disconnect->channel, kChannel);
        });
    {
        Client client(server);
        EXPECT_EQ(client.tunnel.IndividualAddress(), kTunnelAddress);
        for (const WriteCase& c : cases)
            EXPECT_NO_THROW(client.tunnel.Send(c.telegram));
        EXPECT_EQ(client.tunnel.Anomalies(), "");
    }
    server.Join();
}

TEST(BusKnxIpTunnel, ANegativeOrMissingConfirmationIsAnError)
{
    const GroupTelegram write{0, 0x0A03, GroupService::Write, {0x0C, 0x33}};
    ScriptedServer server;
    server.Run(
        [&](ScriptedServer& s)
        {
            ASSERT_TRUE(s.Accept());
            auto request = s.AckNext();
            ASSERT_TRUE(request);
            s.Deliver(0, Confirmation(request->cemi, false));
            // The second goes unconfirmed.
            ASSERT_TRUE(s.AckNext());
        });
    Client client(server);
    const std::string at = "the KNXnet/IP interface at '" + server.Url() + "' ";
    for (const std::string& expected : {at + "could not send the telegram to 1/2/3 (negative confirmation)",
                                        at + "did not confirm the telegram to 1/2/3 within 1000 ms"})
    {
        try
        {
            client.tunnel.Send(write);
            ADD_FAILURE() << "no error";
        }
        catch (const BusError& e)
        {
            EXPECT_EQ(e.GetKind(), BusError::Kind::NotConfirmed);
            EXPECT_EQ(e.what(), expected);
        }
    }
    server.Join();
}

TEST(BusKnxIpTunnel, ConnectingFailsInWords)
{
    struct Case
    {
        const char* name;
        std::function<void(ScriptedServer&)> script;
        BusError::Kind kind;
        std::string error; // after "... at 'URL'"
    } const cases[] = {
        {"no more connections",
         [](ScriptedServer& s)
         {
             if (s.NextOf<ConnectRequest>())
                 s.Send(ConnectResponse{0, kStatusNoMoreConnections, {}, 0});
         },
         BusError::Kind::Refused, "' refused the tunnel: no more connections"},
        {"silence", [](ScriptedServer& s) { s.Next(); }, BusError::Kind::NoDaemon, "' within 1000 ms"},
        {"garbage only",
         [](ScriptedServer& s)
         {
             if (s.Next())
                 s.SendRaw({0x06, 0x10, 0x02, 0x06, 0x00, 0x40});
         },
         BusError::Kind::NoDaemon, "' within 1000 ms"},
    };
    for (const Case& c : cases)
    {
        ScriptedServer server;
        server.Run(c.script);
        try
        {
            Client client(server);
            ADD_FAILURE() << c.name << ": connected";
        }
        catch (const BusError& e)
        {
            EXPECT_EQ(e.GetKind(), c.kind) << c.name;
            const std::string what = e.what();
            EXPECT_NE(what.find(server.Url() + c.error), std::string::npos) << c.name << ": " << what;
        }
        server.Join();
    }
}

// A lost ack costs a resend; two cost the tunnel, which is made again and
// carries the telegram; without reconnecting that is the end.
TEST(BusKnxIpTunnel, ResendsOnceThenReconnects)
{
    const GroupTelegram write{0, 0x0A03, GroupService::Write, {0x0C, 0x33}};
    for (const bool reconnect : {true, false})
    {
        ScriptedServer server;
        server.Run(
            [&](ScriptedServer& s)
            {
                ASSERT_TRUE(s.Accept());
                // First telegram: the first request goes unacked, the resend is acked.
                auto first = s.NextOf<TunnellingRequest>();
                ASSERT_TRUE(first);
                auto again = s.AckNext();
                ASSERT_TRUE(again);
                EXPECT_EQ(again->sequence, first->sequence);
                s.Deliver(0, Confirmation(again->cemi));
                // Second telegram: neither is acked.
                ASSERT_TRUE(s.NextOf<TunnellingRequest>());
                ASSERT_TRUE(s.NextOf<TunnellingRequest>());
                ASSERT_TRUE(s.Release());
                if (!reconnect)
                    return;
                ASSERT_TRUE(s.Accept(kChannel + 1));
                auto resent = s.NextOf<TunnellingRequest>();
                ASSERT_TRUE(resent);
                EXPECT_EQ(resent->channel, kChannel + 1);
                EXPECT_EQ(resent->sequence, 0);
                s.Send(TunnellingAck{kChannel + 1, 0, kStatusNoError});
                s.Indicate(0, Confirmation(resent->cemi), kChannel + 1);
                s.Next(); // its ack
                ASSERT_TRUE(s.Release(kChannel + 1));
            });
        {
            Client client(server, reconnect);
            EXPECT_NO_THROW(client.tunnel.Send(write));
            EXPECT_EQ(client.tunnel.Counters().resends, 1u);
            if (reconnect)
            {
                EXPECT_NO_THROW(client.tunnel.Send(write));
                EXPECT_EQ(client.tunnel.Counters().reconnects, 1u);
                EXPECT_EQ(client.tunnel.Counters().resends, 2u);
            }
            else
            {
                try
                {
                    client.tunnel.Send(write);
                    ADD_FAILURE() << "sent without a tunnel";
                }
                catch (const BusError& e)
                {
                    EXPECT_EQ(e.GetKind(), BusError::Kind::Lost);
                    EXPECT_STREQ(e.what(), "connection lost: no ack for tunnelling request 1");
                }
            }
        }
        server.Join();
    }
}

// What the server sends is acked as the standard says and delivered once;
// nothing malformed ends the tunnel.
TEST(BusKnxIpTunnel, ReceivesEachTelegramOnceAndCountsWhatIsWrong)
{
    const Bytes write = Indication(0x0A03, {0x00, 0x80, 0x0C, 0x33});
    const Bytes later = Indication(0x0A04, {0x00, 0x81});
    Bytes badInfo = write;
    badInfo[1] = 0xFF; // additional info longer than the message
    ScriptedServer server;
    server.Run(
        [&](ScriptedServer& s)
        {
            ASSERT_TRUE(s.Accept());
            s.Deliver(0, write);
            s.Deliver(0, write);                 // our ack "was lost": acked again
            s.Indicate(5, write);                // out of sequence: dropped without an ack
            s.SendRaw({0x06, 0x10, 0x04, 0x20}); // truncated
            s.SendRaw({0x06, 0x10, 0x04, 0x20, 0x00, 0x40, 0x04, 0x15});             // lies about its length
            s.SendRaw({0x06, 0x10, 0x09, 0x99, 0x00, 0x06});                         // unknown service
            s.SendRaw({0x06, 0x20, 0x04, 0x21, 0x00, 0x0A, 0x04, 0x15, 0x00, 0x00}); // version 2.0
            s.Deliver(1, badInfo);
            s.Deliver(2, later);
            ASSERT_TRUE(s.Release());
        });
    {
        Client client(server);
        ReceivedTelegram in;
        ASSERT_EQ(client.Receive(in, 3s), ReceiveStatus::Telegram);
        EXPECT_EQ(in.telegram.source, 0x1107);
        EXPECT_EQ(in.telegram.destination, 0x0A03);
        EXPECT_EQ(in.telegram.data, (Bytes{0x0C, 0x33}));
        ASSERT_EQ(client.Receive(in, 3s), ReceiveStatus::Telegram);
        EXPECT_EQ(in.telegram.destination, 0x0A04);
        EXPECT_EQ(in.telegram.data, (Bytes{0x01}));
        EXPECT_EQ(client.Receive(in, 100ms), ReceiveStatus::Timeout);
        const KnxIpTunnelCounters& c = client.tunnel.Counters();
        EXPECT_EQ(c.duplicates, 1u);
        EXPECT_EQ(c.outOfSequence, 1u);
        EXPECT_EQ(c.malformed, 5u);
        EXPECT_EQ(
            client.tunnel.Anomalies().rfind("5 malformed, 1 duplicate, 1 out of sequence (latest: cEMI ", 0),
            0u)
            << client.tunnel.Anomalies();
    }
    server.Join();
}

// A server that no longer knows the tunnel (restarted) or closes it: the
// client makes a new one, or ends with "connection lost".
TEST(BusKnxIpTunnel, HeartbeatAndServerDisconnect)
{
    struct Case
    {
        const char* name;
        bool reconnect;
        std::function<void(ScriptedServer&)> end; // how the first tunnel ends
        std::string lost;
    } const cases[] = {
        {"connection id unknown", true,
         [](ScriptedServer& s)
         {
             if (s.NextOf<ConnectionStateRequest>())
                 s.Send(ConnectionStateResponse{kChannel, kStatusConnectionId});
         },
         ""},
        {"server disconnects", false,
         [](ScriptedServer& s)
         {
             s.Send(DisconnectRequest{kChannel, s.Endpoint()});
             const auto response = s.NextOf<DisconnectResponse>();
             ASSERT_TRUE(response);
             EXPECT_EQ(response->channel, kChannel);
         },
         "connection lost: the server closed the tunnel"},
        {"heartbeats unanswered", false,
         [](ScriptedServer& s)
         {
             for (int i = 0; i < 3; ++i)
                 ASSERT_TRUE(s.NextOf<ConnectionStateRequest>());
         },
         "connection lost: no answer to 3 connection-state requests"},
    };
    for (const Case& c : cases)
    {
        ScriptedServer server;
        server.Run(
            [&](ScriptedServer& s)
            {
                ASSERT_TRUE(s.Accept());
                c.end(s);
                if (!c.reconnect)
                    return;
                ASSERT_TRUE(s.Accept(kChannel));
                s.Deliver(0, Indication(0x0A03, {0x00, 0x81}));
            });
        KnxIpTunnelTimes times = FastTimes();
        times.heartbeat = 100ms;
        times.heartbeatAnswer = 100ms;
        Client client(server, c.reconnect, times);
        ReceivedTelegram in;
        try
        {
            EXPECT_EQ(client.Receive(in, 3s), ReceiveStatus::Telegram) << c.name;
            EXPECT_TRUE(c.lost.empty()) << c.name;
            EXPECT_EQ(client.tunnel.Counters().reconnects, 1u) << c.name;
        }
        catch (const BusError& e)
        {
            EXPECT_EQ(e.GetKind(), BusError::Kind::Lost) << c.name;
            EXPECT_EQ(e.what(), c.lost) << c.name;
        }
        server.Join();
    }
}

TEST(BusKnxIpTunnel, Urls)
{
    struct Case
    {
        const char* text;
        const char* host;
        std::uint16_t port;
        bool nat;
        const char* error;
    } const cases[] = {
        {"ipt:10.99.0.1", "10.99.0.1", 3671, false, nullptr},
        {"ipt:knx-ip.local:3700", "knx-ip.local", 3700, false, nullptr},
        {"iptn:10.99.0.1", "10.99.0.1", 3671, true, nullptr},
        {"ipt:", nullptr, 0, false,
         "'ipt:' is no KNXnet/IP tunnel address (no host; use ipt:host[:port] or iptn:host[:port])"},
        {"ipt:h:0", nullptr, 0, false,
         "'ipt:h:0' is no KNXnet/IP tunnel address (the port is no number of 1..65535; use ipt:host[:port] "
         "or "
         "iptn:host[:port])"},
        {"ipt:h:65536", nullptr, 0, false,
         "'ipt:h:65536' is no KNXnet/IP tunnel address (the port is no number of 1..65535; use "
         "ipt:host[:port] or "
         "iptn:host[:port])"},
    };
    for (const Case& c : cases)
    {
        EXPECT_TRUE(IsKnxIpTunnelUrl(c.text));
        try
        {
            const KnxIpTunnelUrl url = ParseKnxIpTunnelUrl(c.text);
            ASSERT_EQ(c.error, nullptr) << c.text;
            EXPECT_EQ(url.host, c.host);
            EXPECT_EQ(url.port, c.port);
            EXPECT_EQ(url.nat, c.nat);
        }
        catch (const BusError& e)
        {
            ASSERT_NE(c.error, nullptr) << c.text << ": " << e.what();
            EXPECT_EQ(e.GetKind(), BusError::Kind::BadUrl);
            EXPECT_STREQ(e.what(), c.error);
        }
    }
    EXPECT_FALSE(IsKnxIpTunnelUrl("ip:10.99.0.1"));
    EXPECT_FALSE(IsKnxIpTunnelUrl("local:/ipt:x"));
}

// A server that repeats itself without end: every repeat is acked, the
// telegram is delivered once, and the tunnel goes on.
TEST(BusKnxIpTunnel, AFloodOfRepeatsIsAckedAndDeliveredOnce)
{
    constexpr int kBursts = 20;
    constexpr int kBurst = 25;
    const Bytes write = Indication(0x0A03, {0x00, 0x80, 0x0C, 0x33});
    int acks = 0;
    ScriptedServer server;
    server.Run(
        [&](ScriptedServer& s)
        {
            ASSERT_TRUE(s.Accept());
            for (int burst = 0; burst < kBursts; ++burst)
            {
                // Bursts small enough for the socket buffers of both ends.
                for (int i = 0; i < kBurst; ++i)
                    s.Indicate(0, write);
                for (int i = 0; i < kBurst; ++i)
                    if (const auto frame = s.Next(1000ms);
                        frame && std::holds_alternative<TunnellingAck>(frame->body))
                        ++acks;
            }
            s.Deliver(1, Indication(0x0A04, {0x00, 0x81}));
            ASSERT_TRUE(s.Release());
        });
    {
        Client client(server);
        ReceivedTelegram in;
        ASSERT_EQ(client.Receive(in, 10s), ReceiveStatus::Telegram);
        EXPECT_EQ(in.telegram.destination, 0x0A03);
        ASSERT_EQ(client.Receive(in, 10s), ReceiveStatus::Telegram);
        EXPECT_EQ(in.telegram.destination, 0x0A04);
        EXPECT_EQ(client.tunnel.Counters().duplicates, static_cast<std::uint64_t>(kBursts * kBurst - 1));
    }
    server.Join();
    EXPECT_EQ(acks, kBursts * kBurst);
}
