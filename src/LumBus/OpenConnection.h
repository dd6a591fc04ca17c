#pragma once
// One entry for every transport: the URL's form picks the connection.
#include "LumBus/KnxIpRouting.h"
#include "LumBus/KnxIpTunnel.h"
#include "LumBus/KnxdConnection.h"

#include <boost/asio/io_context.hpp>

#include <memory>
#include <string>

namespace LumBus
{

// "local:/path" and "ip:host[:port]": knxd's client socket; "ipt:host[:port]"
// and "iptn:host[:port]": a KNXnet/IP tunnel (NAT mode); "ipr:IF[@GROUP[:PORT]]":
// KNXnet/IP routing on a network interface. Throws BusError as the
// connection's constructor does; any other form is knxd's BadUrl.
struct ConnectionOptions
{
    // Whether a broken tunnel is made again (else BusError(Lost)).
    bool reconnect = true;
    KnxIpTunnelTimes tunnelTimes;
    KnxIpRoutingOptions routing;
};
std::unique_ptr<GroupConnection> OpenGroupConnection(boost::asio::io_context& io, const std::string& url,
                                                     const ConnectionOptions& options = {});

} // namespace LumBus
