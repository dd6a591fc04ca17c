#include "OpenConnection.h"

#include "LumBus/KnxIpTunnel.h"

namespace LumBus
{

std::unique_ptr<GroupConnection> OpenGroupConnection(boost::asio::io_context& io, const std::string& url,
                                                     bool reconnect)
{
    if (IsKnxIpTunnelUrl(url))
        return std::make_unique<KnxIpTunnel>(io, url, reconnect);
    return std::make_unique<KnxdConnection>(io, url);
}

} // namespace LumBus
