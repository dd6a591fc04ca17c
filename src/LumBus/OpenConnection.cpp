#include "OpenConnection.h"

namespace LumBus
{

std::unique_ptr<GroupConnection> OpenGroupConnection(boost::asio::io_context& io, const std::string& url,
                                                     const ConnectionOptions& options)
{
    if (IsKnxIpRoutingUrl(url))
        return std::make_unique<KnxIpRouting>(io, url, options.routing);
    if (IsKnxIpTunnelUrl(url))
        return std::make_unique<KnxIpTunnel>(io, url, options.reconnect, options.tunnelTimes);
    return std::make_unique<KnxdConnection>(io, url);
}

} // namespace LumBus
