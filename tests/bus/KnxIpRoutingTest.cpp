// The routing client's pure parts: its URL, the indications it sends byte for
// byte, how it sorts what arrives on the group (its own echoes apart from a
// server's datagrams on the same host) and its flow control over time.
#include "LumBus/KnxIpRouting.h"

#include "BusTables.h"

#include <gtest/gtest.h>

using namespace LumBus;
using Bytes = std::vector<std::uint8_t>;
using boost::asio::ip::udp;

TEST(BusKnxIpRouting, ParsesUrls)
{
    struct Case
    {
        const char* text;
        const char* interfaceName;
        std::array<std::uint8_t, 4> group;
        std::uint16_t port;
    } const cases[] = {
        {"ipr:eth0", "eth0", {224, 0, 23, 12}, 3671},
        {"ipr:v0@239.1.2.3", "v0", {239, 1, 2, 3}, 3671},
        {"ipr:v0@224.0.23.12:3700", "v0", {224, 0, 23, 12}, 3700},
        {"ipr:enp0s31f6.100@239.255.255.255:1", "enp0s31f6.100", {239, 255, 255, 255}, 1},
        {"ipr:abcdefghijklmno", "abcdefghijklmno", {224, 0, 23, 12}, 3671},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.text);
        EXPECT_TRUE(IsKnxIpRoutingUrl(c.text));
        const KnxIpRoutingUrl url = ParseKnxIpRoutingUrl(c.text);
        EXPECT_EQ(url.interfaceName, c.interfaceName);
        EXPECT_EQ(url.group, c.group);
        EXPECT_EQ(url.port, c.port);
    }
}

TEST(BusKnxIpRouting, RejectsBadUrlsSayingWhy)
{
    const std::string use = "; use ipr:INTERFACE or ipr:INTERFACE@GROUP[:PORT])";
    struct Case
    {
        const char* text;
        bool routing; // IsKnxIpRoutingUrl
        const char* why;
    } const cases[] = {
        {"ip:eth0", false, "it does not start with ipr:"},
        {"IPR:eth0", false, "it does not start with ipr:"},
        {"ipr:", true, "no network interface"},
        {"ipr:@224.0.23.12", true, "no network interface"},
        {"ipr:abcdefghijklmnop", true, "interface names have at most 15 bytes"},
        {"ipr:eth 0", true, "an interface name has no '/', spaces or zero bytes"},
        {"ipr:a/b", true, "an interface name has no '/', spaces or zero bytes"},
        {"ipr:eth0@", true, "no multicast group after '@'"},
        {"ipr:eth0@:3671", true, "no multicast group after '@'"},
        {"ipr:eth0@224.0.23", true, "'224.0.23' is no IPv4 address"},
        {"ipr:eth0@knx.local", true, "'knx.local' is no IPv4 address"},
        {"ipr:eth0@10.99.0.1", true, "10.99.0.1 is no multicast group (224.0.0.0 to 239.255.255.255)"},
        {"ipr:eth0@240.0.0.1", true, "240.0.0.1 is no multicast group (224.0.0.0 to 239.255.255.255)"},
        {"ipr:eth0@224.0.23.12:", true, "the port is no number of 1..65535"},
        {"ipr:eth0@224.0.23.12:0", true, "the port is no number of 1..65535"},
        {"ipr:eth0@224.0.23.12:65536", true, "the port is no number of 1..65535"},
        {"ipr:eth0@224.0.23.12:36x", true, "the port is no number of 1..65535"},
        {"ipr:eth0@224.0.23.12:-1", true, "the port is no number of 1..65535"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(IsKnxIpRoutingUrl(c.text), c.routing);
        try
        {
            ParseKnxIpRoutingUrl(c.text);
            ADD_FAILURE() << "accepted";
        }
        catch (const BusError& e)
        {
            EXPECT_EQ(e.GetKind(), BusError::Kind::BadUrl);
            EXPECT_EQ(e.what(),
                      "'" + std::string(c.text) + "' is no KNXnet/IP routing address (" + c.why + use);
        }
    }
}

TEST(BusKnxIpRouting, EncodesIndications)
{
    // clang-format off
    const LumTest::GroupRequestCase cases[] = {
        {"write 0C 33 to 1/2/3 from 15.15.255", 0x0A03, GroupService::Write, {0x0C, 0x33}, false,
         kDefaultRoutingSource,
         {0x06, 0x10, 0x05, 0x30, 0x00, 0x13, 0x29, 0x00, 0xBC, 0xE0, 0xFF, 0xFF, 0x0A, 0x03, 0x03, 0x00,
          0x80, 0x0C, 0x33}},
        {"switch on 0/0/1 from 1.1.250 in the short form", 0x0001, GroupService::Write, {0x01}, true, 0x11FA,
         {0x06, 0x10, 0x05, 0x30, 0x00, 0x11, 0x29, 0x00, 0xBC, 0xE0, 0x11, 0xFA, 0x00, 0x01, 0x01, 0x00,
          0x81}},
        {"read of 31/7/255", 0xFFFF, GroupService::Read, {}, false, kDefaultRoutingSource,
         {0x06, 0x10, 0x05, 0x30, 0x00, 0x11, 0x29, 0x00, 0xBC, 0xE0, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, 0x00,
          0x00}},
        {"response 2A", 0x0801, GroupService::Response, {0x2A}, false, 0x1105,
         {0x06, 0x10, 0x05, 0x30, 0x00, 0x12, 0x29, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x08, 0x01, 0x02, 0x00,
          0x40, 0x2A}},
    };
    // clang-format on
    for (const LumTest::GroupRequestCase& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(EncodeRoutingTelegram(c.Telegram(), c.source), c.bytes);
    }
    // 15 data bytes no longer fit a standard frame: control field 1 says extended.
    const Bytes longer =
        EncodeRoutingTelegram({0, 0x0801, GroupService::Write, Bytes(15, 0x41), false}, 0x1105);
    ASSERT_EQ(longer.size(), 32u); // header, 9 cEMI bytes, TPCI, APCI, data
    EXPECT_EQ(longer[8], 0x3C);
    EXPECT_EQ(longer[14], 16);
}

TEST(BusKnxIpRouting, SortsDatagrams)
{
    using Kind = RoutingDatagram::Kind;
    const auto address = boost::asio::ip::make_address_v4("10.99.0.1");
    const udp::endpoint own(address, 40000);
    // A server on the same host sends from the same address, another port.
    const udp::endpoint server(address, kKnxIpPort);
    const Bytes write = {0x06, 0x10, 0x05, 0x30, 0x00, 0x13, 0x29, 0x00, 0xBC, 0xE0,
                         0x11, 0x05, 0x0A, 0x03, 0x03, 0x00, 0x80, 0x0C, 0x33};
    // clang-format off
    struct Case
    {
        const char* name;
        Bytes bytes;
        udp::endpoint from;
        Kind kind;
        const char* problem;
    } const cases[] = {
        {"our own, looped back", write, own, Kind::OwnEcho, ""},
        {"the same from the server", write, server, Kind::Telegram, ""},
        {"ours even when malformed", {0x06, 0x10}, own, Kind::OwnEcho, ""},
        {"busy", {0x06, 0x10, 0x05, 0x32, 0x00, 0x0C, 0x06, 0x01, 0x00, 0x64, 0x00, 0x00}, server, Kind::Busy,
         ""},
        {"lost messages", {0x06, 0x10, 0x05, 0x31, 0x00, 0x0A, 0x04, 0x01, 0x01, 0x02}, server,
         Kind::LostMessages, ""},
        {"a search request",
         {0x06, 0x10, 0x02, 0x01, 0x00, 0x0E, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x02, 0xC3, 0x50}, server,
         Kind::Other, "datagram from 10.99.0.1:3671: search request"},
        {"a header alone", {0x06, 0x10, 0x05, 0x30, 0x00, 0x13}, server, Kind::Malformed, nullptr},
        {"an unknown service", {0x06, 0x10, 0x05, 0x3F, 0x00, 0x06}, server, Kind::Malformed, nullptr},
        {"an L_Data.req",
         {0x06, 0x10, 0x05, 0x30, 0x00, 0x13, 0x11, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x0A, 0x03, 0x03, 0x00,
          0x80, 0x0C, 0x33},
         server, Kind::BadCemi, "datagram from 10.99.0.1:3671: L_Data.req in a routing indication"},
        {"an NPDU longer than its bytes",
         {0x06, 0x10, 0x05, 0x30, 0x00, 0x13, 0x29, 0x00, 0xBC, 0xE0, 0x11, 0x05, 0x0A, 0x03, 0x05, 0x00,
          0x80, 0x0C, 0x33},
         server, Kind::BadCemi, nullptr},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        const RoutingDatagram d = ClassifyRoutingDatagram(c.bytes.data(), c.bytes.size(), c.from, own);
        EXPECT_EQ(d.kind, c.kind);
        if (c.problem)
            EXPECT_EQ(d.problem, c.problem);
        else // the codec's own words follow the origin
            EXPECT_EQ(d.problem.rfind("datagram from 10.99.0.1:3671: ", 0), 0u) << d.problem;
    }

    const Bytes& busy = cases[3].bytes;
    const RoutingDatagram b = ClassifyRoutingDatagram(busy.data(), busy.size(), server, own);
    EXPECT_EQ(b.busy.deviceState, 0x01);
    EXPECT_EQ(b.busy.waitTimeMs, 100);
    const Bytes& lost = cases[4].bytes;
    EXPECT_EQ(ClassifyRoutingDatagram(lost.data(), lost.size(), server, own).lost.lostMessages, 0x0102);
    const RoutingDatagram t = ClassifyRoutingDatagram(write.data(), write.size(), server, own);
    EXPECT_EQ(t.telegram.telegram.source, 0x1105);
    EXPECT_EQ(t.telegram.telegram.destination, 0x0A03);
    EXPECT_EQ(t.telegram.telegram.service, GroupService::Write);
    EXPECT_EQ(t.telegram.telegram.data, (Bytes{0x0C, 0x33}));
    EXPECT_EQ(t.telegram.problem, "");
    // Only the name of the codec's error is checked above: say it is there.
    const Bytes& header = cases[6].bytes;
    EXPECT_NE(ClassifyRoutingDatagram(header.data(), header.size(), server, own).problem.find("truncated"),
              std::string::npos);
}

TEST(BusKnxIpRouting, PacesSending)
{
    using Clock = RoutingPacer::Clock;
    using std::chrono::milliseconds;
    struct Event
    {
        long at;   // ms
        bool busy; // else a send
        long wait;
        double random;
    };
    struct Case
    {
        const char* name;
        std::vector<Event> events;
        long query;     // ms
        long nextSend;  // ms
        unsigned count; // N at the query
    };
    // clang-format off
    std::vector<Case> cases = {
        {"nothing yet", {}, 0, 0, 0},
        {"busy: its wait time", {{0, true, 20, 0.0}}, 0, 20, 1},
        {"busy: plus the back-off", {{0, true, 20, 0.5}}, 0, 45, 1},
        {"busy: past its pause", {{0, true, 20, 0.5}}, 50, 50, 1},
        {"two within 10 ms count once", {{0, true, 20, 1.0}, {9, true, 20, 1.0}}, 9, 79, 1},
        {"two 10 ms apart count twice", {{0, true, 20, 1.0}, {10, true, 20, 1.0}}, 10, 130, 2},
        {"a later short busy does not shorten the pause", {{0, true, 1000, 0.0}, {20, true, 10, 0.0}}, 20,
         1000, 2},
        {"a wait of a minute is cut to a second", {{0, true, 65535, 0.0}}, 0, 1000, 1},
        {"N holds for 100 ms", {{0, true, 20, 0.0}}, 104, 104, 1},
        {"then falls every 5 ms", {{0, true, 20, 0.0}}, 105, 105, 0},
        {"three hold for 300 ms after the last",
         {{0, true, 20, 0.0}, {20, true, 20, 0.0}, {40, true, 20, 0.0}}, 339, 339, 3},
        {"and fall one per 5 ms", {{0, true, 20, 0.0}, {20, true, 20, 0.0}, {40, true, 20, 0.0}}, 345, 345,
         2},
        {"to none", {{0, true, 20, 0.0}, {20, true, 20, 0.0}, {40, true, 20, 0.0}}, 355, 355, 0},
        {"a busy after the fall counts from there",
         {{0, true, 20, 0.0}, {20, true, 20, 0.0}, {40, true, 20, 0.0}, {345, true, 20, 1.0}}, 345,
         345 + 20 + 150, 3},
    };
    // clang-format on
    Case many{"N stops at 20", {}, 0, 0, 20};
    for (long i = 0; i < 30; ++i)
        many.events.push_back({i * 20, true, 0, 1.0});
    many.query = 29 * 20;
    many.nextSend = 29 * 20 + 20 * 50;
    cases.push_back(many);
    Case rate{"50 sends fill the second", {}, 49, 1000, 0};
    for (long i = 0; i < 50; ++i)
        rate.events.push_back({i, false, 0, 0.0});
    cases.push_back(rate);
    Case under{"49 do not", rate.events, 49, 49, 0};
    under.events.pop_back();
    cases.push_back(under);
    Case sliding{"the 51st waits for the second one's second", rate.events, 1000, 1001, 0};
    sliding.events.push_back({1000, false, 0, 0.0});
    cases.push_back(sliding);

    const Clock::time_point start = Clock::now();
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        RoutingPacer pacer;
        for (const Event& e : c.events)
            if (e.busy)
                pacer.Busy(start + milliseconds(e.at), milliseconds(e.wait), e.random);
            else
                pacer.Sent(start + milliseconds(e.at));
        EXPECT_EQ(pacer.NextSend(start + milliseconds(c.query)) - start, milliseconds(c.nextSend));
        EXPECT_EQ(pacer.BusyCount(start + milliseconds(c.query)), c.count);
    }
}

TEST(BusKnxIpRouting, NamesTheInterfaceItCannotUse)
{
    boost::asio::io_context io;
    try
    {
        KnxIpRouting bus(io, "ipr:nosuch-if9");
        ADD_FAILURE() << "opened";
    }
    catch (const BusError& e)
    {
        EXPECT_EQ(e.GetKind(), BusError::Kind::NoDaemon);
        EXPECT_STREQ(e.what(), "no network interface 'nosuch-if9'");
    }
}
