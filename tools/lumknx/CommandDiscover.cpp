// lumknx discover: a KNXnet/IP search request, by multicast from one
// interface or to one host, and every search response that comes back
// within the timeout, one device per line.
#include "BusCommon.h"
#include "Output.h"

#include "LumBus/HostPort.h"
#include "LumBus/KnxAddress.h"
#include "LumBus/KnxIpFrame.h"
#include "LumBus/NetInterface.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <array>
#include <cstdio>
#include <functional>
#include <iostream>
#include <set>

namespace LumKnx
{

namespace
{
using boost::asio::ip::udp;
using Address = boost::asio::ip::address_v4;
constexpr unsigned long kDefaultDiscoverTimeoutMs = 3000;

// The interface's address; its problems are the user's input.
Address InterfaceAddress(const std::string& name)
{
    try
    {
        return LumBus::InterfaceIpv4Address(name);
    }
    catch (const LumBus::NetInterfaceError& e)
    {
        throw InputError(e.what());
    }
}

// HOST or HOST:PORT, HOST an IPv4 address or a name.
udp::endpoint HostArgument(boost::asio::io_context& io, const std::string& text)
{
    LumBus::HostPort where;
    const LumBus::HostPortProblem problem = LumBus::ParseHostPort(text, LumBus::kKnxIpPort, where);
    if (problem == LumBus::HostPortProblem::BadPort)
        throw UsageError("--host needs HOST or HOST:PORT with a port of 1 to 65535, not '" + text + "'");
    if (problem == LumBus::HostPortProblem::NoHost)
        throw UsageError("--host needs HOST or HOST:PORT, not '" + text + "'");
    boost::system::error_code ec;
    udp::resolver resolver(io);
    const auto results = resolver.resolve(udp::v4(), where.host, std::to_string(where.port), ec);
    if (ec || results.empty())
        throw InputError("cannot resolve '" + where.host + "': " + ec.message());
    return *results.begin();
}

// The local address the kernel would send to `target` from; connecting a
// UDP socket sends nothing.
Address RouteSource(boost::asio::io_context& io, const udp::endpoint& target)
{
    udp::socket probe(io, udp::v4());
    boost::system::error_code ec;
    probe.connect(target, ec);
    if (ec)
        throw InputError("no route to " + target.address().to_string() + ": " + ec.message());
    return probe.local_endpoint().address().to_v4();
}

std::string Endpoint(const udp::endpoint& e)
{
    return e.address().to_string() + ":" + std::to_string(e.port());
}

std::string HexBytes(const std::uint8_t* bytes, std::size_t size, const char* separator)
{
    std::string out;
    char text[4];
    for (std::size_t i = 0; i < size; ++i)
    {
        std::snprintf(text, sizeof text, "%02X", bytes[i]);
        out += (i == 0 ? "" : separator);
        out += text;
    }
    return out;
}

struct Found
{
    LumBus::SearchResponse response;
    // Where to reach it: its control endpoint, or where the answer came from
    // when it gave 0.0.0.0:0.
    udp::endpoint control;
};

void WriteText(Output& out, const Found& f)
{
    out.CharacterField(LumBus::DeviceNameUtf8(f.response.device.name), 30);
    out.Field(LumBus::FormatIndividualAddress(f.response.device.individualAddress), 10);
    out.Field(Endpoint(f.control), 21);
    out.Field(LumBus::MediumName(f.response.device.medium), 6);
    std::string services;
    for (const LumBus::ServiceFamily& s : f.response.families)
        services += (services.empty() ? "" : ", ") + LumBus::ServiceFamilyName(s.family);
    out.Append(services);
    out.EndLine();
}

void WriteJson(Output& out, const Found& f)
{
    const LumBus::DeviceInfo& d = f.response.device;
    std::string t = "{\"name\":\"" + JsonEscaped(LumBus::DeviceNameUtf8(d.name)) + "\"";
    t += ",\"address\":\"" + LumBus::FormatIndividualAddress(d.individualAddress) + "\"";
    t += ",\"host\":\"" + f.control.address().to_string() + "\",\"port\":" + std::to_string(f.control.port());
    t += ",\"medium\":\"" + JsonEscaped(LumBus::MediumName(d.medium)) + "\"";
    t += ",\"mac\":\"" + HexBytes(d.mac.data(), d.mac.size(), ":") + "\"";
    t += ",\"serial\":\"" + HexBytes(d.serial.data(), d.serial.size(), "") + "\"";
    t += ",\"services\":[";
    for (std::size_t i = 0; i < f.response.families.size(); ++i)
    {
        const LumBus::ServiceFamily& s = f.response.families[i];
        t += (i == 0 ? "{\"name\":\"" : ",{\"name\":\"") + JsonEscaped(LumBus::ServiceFamilyName(s.family)) +
             "\",\"version\":" + std::to_string(s.version) + "}";
    }
    t += "]}";
    out.Append(t);
    out.EndLine();
}
} // namespace

int RunDiscover(const Arguments& options)
{
    if (!options.positional.empty())
        throw UsageError("discover takes no arguments, only options");
    const unsigned long timeout = options.Number("--timeout", 3600000UL).value_or(kDefaultDiscoverTimeoutMs);
    const bool json = options.Has("--json");

    boost::asio::io_context io;
    const bool multicast = !options.Has("--host");
    const udp::endpoint target =
        multicast ? udp::endpoint(Address(LumBus::kKnxIpMulticastAddress), LumBus::kKnxIpPort)
                  : HostArgument(io, options.values.at("--host"));
    const Address local = options.Has("--interface") ? InterfaceAddress(options.values.at("--interface"))
                                                     : RouteSource(io, target);

    udp::socket socket(io, udp::v4());
    boost::system::error_code ec;
    socket.bind(udp::endpoint(local, 0), ec);
    if (!ec && multicast)
        LumBus::SetMulticastSending(socket, local, ec);
    if (ec)
        throw InputError("cannot open a UDP socket on " + local.to_string() + ": " + ec.message());

    LumBus::SearchRequest request;
    request.discovery.address = local.to_bytes();
    request.discovery.port = socket.local_endpoint().port();
    const std::vector<std::uint8_t> frame = LumBus::EncodeKnxIpFrame(request);
    socket.send_to(boost::asio::buffer(frame), target, 0, ec);
    if (ec)
        throw InputError("cannot send the search request to " + Endpoint(target) + ": " + ec.message());

    Output out;
    std::set<std::pair<std::string, std::uint16_t>> seen;
    unsigned ignored = 0;
    std::array<std::uint8_t, 1024> buffer{};
    udp::endpoint from;
    const auto handle = [&](std::size_t size)
    {
        const LumBus::KnxIpFrame in = LumBus::DecodeKnxIpFrame(buffer.data(), size);
        const auto* response = std::get_if<LumBus::SearchResponse>(&in.body);
        if (!response)
        {
            ++ignored;
            std::cerr << "lumknx: ignored a datagram from " << Endpoint(from) << ": "
                      << (in.error != LumBus::KnxIpError::None
                              ? std::string(LumBus::KnxIpErrorName(in.error)) + ": " + in.detail
                              : std::string(LumBus::KnxIpServiceName(in.service)) +
                                    " instead of a search response")
                      << '\n';
            return;
        }
        Found found{*response, from};
        if (!response->control.IsNat())
            found.control = udp::endpoint(Address(response->control.address), response->control.port);
        // A device that answers twice (two routes, two requests) prints once.
        if (!seen.insert({Endpoint(found.control), response->device.individualAddress}).second)
            return;
        if (json)
            WriteJson(out, found);
        else
            WriteText(out, found);
        out.Flush();
    };

    boost::asio::steady_timer timer(io, std::chrono::milliseconds(timeout));
    timer.async_wait([&socket](const boost::system::error_code&) { socket.close(); });
    std::function<void()> receive = [&]()
    {
        socket.async_receive_from(boost::asio::buffer(buffer), from,
                                  [&](const boost::system::error_code& error, std::size_t size)
                                  {
                                      // Refusals of the unicast request (ICMP) end nothing: the timeout does.
                                      if (error == boost::asio::error::operation_aborted || !socket.is_open())
                                          return;
                                      if (!error)
                                          handle(size);
                                      receive();
                                  });
    };
    receive();
    io.run();

    if (!out.Flush())
    {
        std::cerr << "lumknx: standard output was closed\n";
        return 1;
    }
    if (seen.empty())
    {
        std::cerr << "lumknx: no device answered within " << timeout << " ms\n";
        return 1;
    }
    std::cerr << "lumknx: " << seen.size() << " device(s) answered within " << timeout << " ms";
    if (ignored != 0)
        std::cerr << ", " << ignored << " other datagram(s) ignored";
    std::cerr << '\n';
    return 0;
}

} // namespace LumKnx
