// knxd's client framing against the byte layouts of its protocol.
#include "LumBus/KnxdProtocol.h"
#include "LumBus/KnxdConnection.h"

#include <gtest/gtest.h>

using namespace LumBus;
using Bytes = std::vector<std::uint8_t>;

TEST(BusKnxdProtocol, EncodesRequests)
{
    EXPECT_EQ(EncodeOpenGroupcon(false), (Bytes{0x00, 0x05, 0x00, 0x26, 0x00, 0x00, 0x00}));
    EXPECT_EQ(EncodeOpenGroupcon(true), (Bytes{0x00, 0x05, 0x00, 0x26, 0x00, 0x00, 0xFF}));
    // 9.001 21.5 to 1/0/1 (2049 = 0x0801).
    EXPECT_EQ(EncodeGroupPacket(0x0801, {0x00, 0x80, 0x0C, 0x33}),
              (Bytes{0x00, 0x08, 0x00, 0x27, 0x08, 0x01, 0x00, 0x80, 0x0C, 0x33}));
    // A read of 3/1/1 (0x1901).
    EXPECT_EQ(EncodeGroupPacket(0x1901, {0x00, 0x00}),
              (Bytes{0x00, 0x06, 0x00, 0x27, 0x19, 0x01, 0x00, 0x00}));
    EXPECT_EQ(EncodeKnxdMessage(0x1234, {}), (Bytes{0x00, 0x02, 0x12, 0x34}));
    EXPECT_THROW(EncodeKnxdMessage(kEibGroupPacket, Bytes(kMaxKnxdMessage - 1, 0)), std::invalid_argument);
    EXPECT_EQ(EncodeKnxdMessage(kEibGroupPacket, Bytes(kMaxKnxdMessage - 2, 0)).size(), kMaxKnxdMessage + 2);
}

TEST(BusKnxdProtocol, DecodesReceivedGroupPackets)
{
    // From 0.0.6 to 3/1/1: 0C 33.
    const auto packet = DecodeGroupPacket({0x00, 0x06, 0x19, 0x01, 0x00, 0x80, 0x0C, 0x33});
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->source, 0x0006);
    EXPECT_EQ(packet->destination, 0x1901);
    EXPECT_EQ(packet->apdu, (Bytes{0x00, 0x80, 0x0C, 0x33}));
    EXPECT_FALSE(DecodeGroupPacket({}));
    EXPECT_FALSE(DecodeGroupPacket({0x00, 0x06, 0x19, 0x01, 0x00}));
    EXPECT_TRUE(DecodeGroupPacket({0x00, 0x06, 0x19, 0x01, 0x00, 0x00}));
}

TEST(BusKnxdProtocol, ParserCutsAStreamFedInAnyPieces)
{
    // The open reply, a write and a read, as knxd sends them back to back.
    const Bytes stream = {0x00, 0x02, 0x00, 0x26,                                                 //
                          0x00, 0x0A, 0x00, 0x27, 0x11, 0x05, 0x08, 0x01, 0x00, 0x80, 0x0C, 0x33, //
                          0x00, 0x08, 0x00, 0x27, 0x00, 0x07, 0x19, 0x01, 0x00, 0x00};
    for (std::size_t piece = 1; piece <= stream.size(); ++piece)
    {
        KnxdMessageParser parser;
        std::vector<KnxdMessage> messages;
        for (std::size_t at = 0; at < stream.size(); at += piece)
        {
            parser.Feed(stream.data() + at, std::min(piece, stream.size() - at));
            while (auto m = parser.Next())
                messages.push_back(*m);
        }
        ASSERT_EQ(messages.size(), 3u) << "piece " << piece;
        EXPECT_EQ(messages[0].type, kEibOpenGroupcon);
        EXPECT_TRUE(messages[0].body.empty());
        EXPECT_EQ(messages[1].type, kEibGroupPacket);
        EXPECT_EQ(messages[1].body, (Bytes{0x11, 0x05, 0x08, 0x01, 0x00, 0x80, 0x0C, 0x33}));
        EXPECT_EQ(messages[2].body, (Bytes{0x00, 0x07, 0x19, 0x01, 0x00, 0x00}));
        EXPECT_EQ(parser.Pending(), 0u);
        EXPECT_FALSE(parser.Failed());
    }
}

TEST(BusKnxdProtocol, ParserStopsOnBrokenFraming)
{
    struct Case
    {
        Bytes stream;
        const char* error;
    } const cases[] = {
        {{0x00, 0x00}, "knxd sent a message of 0 bytes (allowed 2..1024)"},
        {{0x00, 0x01, 0x00}, "knxd sent a message of 1 bytes (allowed 2..1024)"},
        {{0x04, 0x01}, "knxd sent a message of 1025 bytes (allowed 2..1024)"},
        {{0xFF, 0xFF, 0x00, 0x27}, "knxd sent a message of 65535 bytes (allowed 2..1024)"},
    };
    for (const auto& c : cases)
    {
        KnxdMessageParser parser;
        parser.Feed(c.stream.data(), c.stream.size());
        EXPECT_FALSE(parser.Next());
        EXPECT_TRUE(parser.Failed());
        EXPECT_EQ(parser.Error(), c.error);
        // Nothing more comes out, whatever follows.
        const Bytes good = {0x00, 0x02, 0x00, 0x26};
        parser.Feed(good.data(), good.size());
        EXPECT_FALSE(parser.Next());
        EXPECT_EQ(parser.Pending(), 0u);
    }
}

TEST(BusKnxdProtocol, ParserWaitsForAWholeMessage)
{
    KnxdMessageParser parser;
    const Bytes head = {0x04, 0x00, 0x00, 0x27}; // 1024 bytes announced, the largest allowed
    parser.Feed(head.data(), head.size());
    EXPECT_FALSE(parser.Next());
    EXPECT_FALSE(parser.Failed());
    const Bytes rest(1022, 0xAB);
    parser.Feed(rest.data(), rest.size() - 1);
    EXPECT_FALSE(parser.Next());
    parser.Feed(rest.data(), 1);
    const auto m = parser.Next();
    ASSERT_TRUE(m);
    EXPECT_EQ(m->body.size(), 1022u);
}

TEST(BusKnxdProtocol, ErrorNames)
{
    // By the numbers knxd sends, so a wrong constant shows too.
    EXPECT_STREQ(KnxdErrorName(0x0000), "invalid request");
    EXPECT_STREQ(KnxdErrorName(0x0001), "connection in use");
    EXPECT_STREQ(KnxdErrorName(0x0002), "processing error");
    EXPECT_STREQ(KnxdErrorName(0x0027), "");
}

TEST(BusKnxdUrl, Forms)
{
    struct Case
    {
        const char* text;
        KnxdUrl::Kind kind;
        const char* path;
        std::uint16_t port;
    } const cases[] = {
        {"local:/tmp/eib", KnxdUrl::Kind::Local, "/tmp/eib", 0},
        {"local:relative/sock", KnxdUrl::Kind::Local, "relative/sock", 0},
        {"ip:localhost", KnxdUrl::Kind::Tcp, "localhost", 6720},
        {"ip:192.168.1.10:6721", KnxdUrl::Kind::Tcp, "192.168.1.10", 6721},
        {"ip:knx.example:1", KnxdUrl::Kind::Tcp, "knx.example", 1},
    };
    for (const auto& c : cases)
    {
        const KnxdUrl url = ParseKnxdUrl(c.text);
        EXPECT_EQ(url.kind, c.kind) << c.text;
        EXPECT_EQ(url.path, c.path) << c.text;
        EXPECT_EQ(url.port, c.port) << c.text;
    }
}

TEST(BusKnxdUrl, BadForms)
{
    // Each reason with the texts that earn it.
    const std::pair<const char*, std::vector<std::string>> reasons[] = {
        {"unknown form", {"", "/tmp/eib", "unix:/tmp/eib"}},
        {"no socket path", {"local:"}},
        {"socket paths have at most 107 bytes", {"local:/" + std::string(107, 'a')}},
        {"no host", {"ip:", "ip::6720"}},
        {"the port is no number of 1..65535", {"ip:host:", "ip:host:0", "ip:host:65536", "ip:host:67x"}},
    };
    for (const auto& [reason, texts] : reasons)
        for (const std::string& text : texts)
        {
            try
            {
                ParseKnxdUrl(text);
                ADD_FAILURE() << "accepted '" << text << "'";
            }
            catch (const BusError& e)
            {
                EXPECT_EQ(e.GetKind(), BusError::Kind::BadUrl);
                EXPECT_EQ(std::string(e.what()), "'" + text + "' is no knxd address (" + reason +
                                                     "; use local:/path/to/socket or ip:host[:port])");
            }
        }
}
