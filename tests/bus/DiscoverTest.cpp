// lumknx discover against a stand-in device on the loopback interface: the
// search request it sends, byte for byte, and what it prints of the answers,
// malformed ones included. Nothing leaves the machine: the request goes to
// 127.0.0.1 only.
#include "LiveProcess.h"
#include "LoopbackUdp.h"
#include "ToolProcess.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

// A search response laid out field by field: control endpoint, device info, families.
Bytes SearchResponse(const Bytes& endpoint, std::uint8_t medium, std::uint16_t address,
                     const std::string& name, const Bytes& families)
{
    Bytes b = {0x06, 0x10, 0x02, 0x02, 0x00, 0x00, 0x08, 0x01};
    b.insert(b.end(), endpoint.begin(), endpoint.end());
    b.insert(b.end(), {0x36, 0x01, medium, 0x00, static_cast<std::uint8_t>(address >> 8),
                       static_cast<std::uint8_t>(address & 0xFF), 0x00, 0x00});
    b.insert(b.end(), {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0xE0, 0x00, 0x17, 0x0C, 0x02, 0x00, 0x00, 0x00,
                       0x00, 0x01});
    b.insert(b.end(), name.begin(), name.end());
    b.insert(b.end(), 30 - name.size(), 0x00);
    b.push_back(static_cast<std::uint8_t>(2 + families.size()));
    b.push_back(0x02);
    b.insert(b.end(), families.begin(), families.end());
    b[5] = static_cast<std::uint8_t>(b.size());
    return b;
}

const Bytes kKnxd = SearchResponse({0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57}, 0x02, 0x0001, "knxd",
                                   {0x02, 0x01, 0x04, 0x01, 0x05, 0x01});
// Behind NAT: 0.0.0.0:0, so reached where its answer came from.
const Bytes kKitchen = SearchResponse({0x00, 0x00, 0x00, 0x00, 0x00, 0x00}, 0x20, 0x11FA,
                                      "K\xFC"
                                      "che",
                                      {0x02, 0x02, 0x03, 0x01, 0x04, 0x02});
// Total length 16 in a datagram of 14 bytes.
const Bytes kLying = {0x06, 0x10, 0x02, 0x01, 0x00, 0x10, 0x08, 0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57};
const Bytes kOtherService = {0x06, 0x10, 0x02, 0x01, 0x00, 0x0E, 0x08,
                             0x01, 0x0A, 0x63, 0x00, 0x01, 0x0E, 0x57};

const char* const kKnxdLine =
    "knxd                           0.0.1      10.99.0.1:3671        TP1    core, tunnelling, routing\n";
const char* const kKnxdJson =
    R"({"name":"knxd","address":"0.0.1","host":"10.99.0.1","port":3671,"medium":"TP1",)"
    R"("mac":"02:00:00:00:00:01","serial":"000102030405","services":[{"name":"core",)"
    R"("version":1},{"name":"tunnelling","version":1},{"name":"routing","version":1}]})"
    "\n";

std::vector<std::string> Lumknx(const std::vector<std::string>& args)
{
    return LumTest::EmulatedArgv(LUMKNX_EMULATOR, LUMKNX_PATH, args);
}

std::string Replace(std::string text, const std::string& what, const std::string& with)
{
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

class BusDiscover : public testing::Test
{
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/lumdisc.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
    }
    void TearDown() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_dir, ignored);
    }
    std::string m_dir;
};

} // namespace

TEST_F(BusDiscover, PrintsWhatAnswersAndNamesWhatIsMalformed)
{
    struct Case
    {
        const char* name;
        std::vector<std::string> options;
        std::vector<Bytes> answers;
        int status;
        // PORT stands for the stand-in's port.
        std::string out;
        std::string err;
    } const cases[] = {
        {"one device",
         {"--interface", "lo"},
         {kKnxd},
         0,
         kKnxdLine,
         "lumknx: 1 device(s) answered within 1000 ms\n"},
        {"one device as JSON",
         {"--json"},
         {kKnxd},
         0,
         kKnxdJson,
         "lumknx: 1 device(s) answered within 1000 ms\n"},
        {"malformed, other service, twice the same",
         {},
         {kLying, kKnxd, kOtherService, kKnxd},
         0,
         kKnxdLine,
         "lumknx: ignored a datagram from 127.0.0.1:PORT: truncated: total length 16 but 14 byte(s) "
         "received\n"
         "lumknx: ignored a datagram from 127.0.0.1:PORT: search request instead of a search response\n"
         "lumknx: 1 device(s) answered within 1000 ms, 2 other datagram(s) ignored\n"},
        {"behind NAT, with a Latin-1 name",
         {"--json"},
         {kKitchen, kKnxd},
         0,
         R"({"name":"K)"
         "\xC3\xBC"
         R"(che","address":"1.1.250","host":"127.0.0.1","port":PORT,"medium":"IP",)"
         R"("mac":"02:00:00:00:00:01","serial":"000102030405","services":[{"name":"core","version":2},)"
         R"({"name":"device management","version":1},{"name":"tunnelling","version":2}]})"
         "\n" +
             std::string(kKnxdJson),
         "lumknx: 2 device(s) answered within 1000 ms\n"},
        {"no answer", {}, {}, 1, "", "lumknx: no device answered within 1000 ms\n"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        LumTest::LoopbackUdp device;
        const std::string port = std::to_string(device.Port());
        // A second leaves room for a loaded machine or an emulator; every case waits it out.
        std::vector<std::string> args = {"discover", "--host", "127.0.0.1:" + port, "--timeout", "1000"};
        args.insert(args.end(), c.options.begin(), c.options.end());
        LiveBus::Child lumknx(Lumknx(args), m_dir + "/out", m_dir + "/err");

        const Bytes request = device.Receive(5000ms);
        const std::uint16_t from = device.PeerPort();
        // Header, then the discovery endpoint: UDP, 127.0.0.1, the port it sent from.
        EXPECT_EQ(request,
                  (Bytes{0x06, 0x10, 0x02, 0x01, 0x00, 0x0E, 0x08, 0x01, 0x7F, 0x00, 0x00, 0x01,
                         static_cast<std::uint8_t>(from >> 8), static_cast<std::uint8_t>(from & 0xFF)}));
        for (const Bytes& answer : c.answers)
            device.Send(answer);

        EXPECT_EQ(lumknx.Wait(10000ms), c.status);
        EXPECT_EQ(LiveBus::ReadFile(m_dir + "/out"), Replace(c.out, "PORT", port));
        EXPECT_EQ(LiveBus::ReadFile(m_dir + "/err"), Replace(c.err, "PORT", port));
    }
}

TEST_F(BusDiscover, RefusesWhatItCannotUseBeforeSendingAnything)
{
    // What follows "discover" on the command line, and the one line it earns.
    struct Case
    {
        std::vector<std::string> options;
        const char* err;
    } const cases[] = {
        {{"--interface", "nosuch0"}, "lumknx: no network interface 'nosuch0'\n"},
        {{"--host", "127.0.0.1:0"},
         "lumknx: --host needs HOST or HOST:PORT with a port of 1 to 65535, not '127.0.0.1:0'\n"},
        {{"--host", "127.0.0.1:3671x"},
         "lumknx: --host needs HOST or HOST:PORT with a port of 1 to 65535, not '127.0.0.1:3671x'\n"},
        {{"--host", ":3671"}, "lumknx: --host needs HOST or HOST:PORT, not ':3671'\n"},
        {{"--timeout", "0"}, "lumknx: --timeout takes a number of 1..3600000, not '0'\n"},
        {{"10.99.0.1"}, "lumknx: discover takes no arguments, only options\n"},
        {{"--port", "1"}, "lumknx: unknown option '--port'\n"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.options[0]);
        std::vector<std::string> args = {"discover"};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const LiveBus::RunResult r = LiveBus::Run(Lumknx(args), m_dir);
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.err, c.err);
        EXPECT_EQ(r.out, "");
    }
}
