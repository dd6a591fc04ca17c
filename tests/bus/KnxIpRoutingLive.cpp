// Drives a routing connection from the command line, for the KNXnet/IP stage
// that runs it against knxd inside a private network namespace (never under
// ctest: it sends multicast). Actions run in order:
//
//     knxip-routing-live URL [--source A.L.D] [--inbox N] ACTION...
//       write:GA:HEX[:N]   N group writes of the bytes HEX (one byte < 40 in the short form if HEX is "s" + 2
//       digits) read:GA            a group read inject:HEX         one datagram as it stands receive:MS[:MAX]
//       prints what arrives for MS ms (at most MAX telegrams)
//
// Telegrams go to standard output ("write from 1.1.5 to 1/2/3: 0C 33", with
// "problem: ..." for unusable ones); the counters go to standard error as the
// last line. Exit 0, 1 on a BusError, 2 on bad arguments.
#include "LumBus/KnxAddress.h"
#include "LumBus/KnxIpRouting.h"

#include <charconv>
#include <cstdio>
#include <iostream>
#include <optional>
#include <sstream>

// GCC 12 takes the strings inside the std::optional below for uninitialised.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace
{
struct Usage
{
    std::string why;
};

std::vector<std::string> Split(const std::string& text)
{
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, ':');)
        parts.push_back(part);
    return parts;
}

std::vector<std::uint8_t> Hex(const std::string& text)
{
    if (text.size() % 2 != 0)
        throw Usage{"odd number of hex digits in '" + text + "'"};
    std::vector<std::uint8_t> out;
    for (std::size_t i = 0; i < text.size(); i += 2)
    {
        unsigned value = 0;
        const auto [end, ec] = std::from_chars(text.data() + i, text.data() + i + 2, value, 16);
        if (ec != std::errc() || end != text.data() + i + 2)
            throw Usage{"'" + text + "' is no hex"};
        out.push_back(static_cast<std::uint8_t>(value));
    }
    return out;
}

unsigned long Number(const std::string& text)
{
    unsigned long value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || text.empty())
        throw Usage{"'" + text + "' is no number"};
    return value;
}

std::uint16_t Group(const std::string& text)
{
    const auto address = LumBus::ParseGroupAddress(text);
    if (!address)
        throw Usage{"'" + text + "' is no group address"};
    return *address;
}

std::string Bytes(const std::vector<std::uint8_t>& bytes)
{
    std::string out;
    char text[4];
    for (std::uint8_t b : bytes)
    {
        std::snprintf(text, sizeof text, " %02X", b);
        out += text;
    }
    return out;
}

void Print(const LumBus::ReceivedTelegram& in)
{
    const LumBus::GroupTelegram& t = in.telegram;
    const char* service = t.service == LumBus::GroupService::Read       ? "read"
                          : t.service == LumBus::GroupService::Response ? "response"
                                                                        : "write";
    std::cout << (in.problem.empty() ? service : "telegram") << " from "
              << LumBus::FormatIndividualAddress(t.source) << " to "
              << LumBus::FormatGroupAddress(t.destination);
    if (!in.problem.empty())
        std::cout << ": problem: " << in.problem << '\n';
    else
        std::cout << ':' << Bytes(t.data) << '\n';
    std::cout.flush();
}

void PrintCounters(const LumBus::KnxIpRoutingCounters& c)
{
    std::cerr << "counters: sent=" << c.sent << " received=" << c.received << " own=" << c.ownEchoes
              << " busy=" << c.busy << " lost-frames=" << c.lostFrames << " lost=" << c.lostMessages
              << " malformed=" << c.malformed << " bad-cemi=" << c.badCemi << " other=" << c.other
              << " dropped=" << c.dropped << " last=" << c.lastProblem << '\n';
}
} // namespace

int main(int argc, char** argv)
{
    try
    {
        if (argc < 3)
            throw Usage{"URL and at least one action needed"};
        LumBus::KnxIpRoutingOptions options;
        int next = 2;
        for (; next + 2 < argc && argv[next][0] == '-'; next += 2)
        {
            const std::string option = argv[next];
            if (option == "--source")
            {
                const auto source = LumBus::ParseIndividualAddress(argv[next + 1]);
                if (!source)
                    throw Usage{std::string("'") + argv[next + 1] + "' is no individual address"};
                options.source = *source;
            }
            else if (option == "--inbox")
                options.inboxLimit = Number(argv[next + 1]);
            else
                throw Usage{"unknown option '" + option + "'"};
        }
        boost::asio::io_context io;
        // Reopened in place: a handler of the old one that outlived it would act on the new one.
        std::optional<LumBus::KnxIpRouting> bus;
        bus.emplace(io, argv[1], options);
        for (; next < argc; ++next)
        {
            const std::vector<std::string> a = Split(argv[next]);
            if (a.size() >= 3 && a.size() <= 4 && a[0] == "write")
            {
                LumBus::GroupTelegram t{0, Group(a[1]), LumBus::GroupService::Write, {}, false};
                if (a[2].size() == 3 && a[2][0] == 's')
                {
                    t.data = Hex(a[2].substr(1));
                    t.shortForm = true;
                }
                else
                    t.data = Hex(a[2]);
                const unsigned long count = a.size() == 4 ? Number(a[3]) : 1;
                for (unsigned long i = 0; i < count; ++i)
                    bus->Send(t);
            }
            else if (a.size() == 2 && a[0] == "read")
                bus->Send({0, Group(a[1]), LumBus::GroupService::Read, {}, false});
            else if (a.size() == 2 && a[0] == "inject")
                bus->SendRaw(Hex(a[1]));
            else if (a.size() >= 2 && a.size() <= 3 && a[0] == "receive")
            {
                const auto deadline =
                    std::chrono::steady_clock::now() + std::chrono::milliseconds(Number(a[1]));
                const unsigned long max = a.size() == 3 ? Number(a[2]) : ~0UL;
                LumBus::ReceivedTelegram in;
                for (unsigned long n = 0;
                     n < max && bus->Receive(in, deadline) == LumBus::ReceiveStatus::Telegram; ++n)
                    Print(in);
            }
            else if (a.size() == 1 && a[0] == "reopen")
            {
                PrintCounters(bus->Counters());
                bus.reset();
                bus.emplace(io, argv[1], options);
            }
            else
                throw Usage{std::string("unknown action '") + argv[next] + "'"};
        }
        PrintCounters(bus->Counters());
        return 0;
    }
    catch (const Usage& u)
    {
        std::cerr << "knxip-routing-live: " << u.why
                  << "\nusage: knxip-routing-live URL [--source A.L.D] [--inbox N] write:GA:HEX[:N] | "
                     "read:GA | inject:HEX | "
                     "receive:MS[:MAX] | reopen ...\n";
        return 2;
    }
    catch (const LumBus::BusError& e)
    {
        std::cerr << "knxip-routing-live: " << e.what() << '\n';
        return 1;
    }
}
