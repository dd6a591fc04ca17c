#include "NetInterface.h"

#include <boost/asio/ip/multicast.hpp>

#include <cerrno>
#include <cstring>
#include <memory>

#include <ifaddrs.h>
#include <netinet/in.h>

namespace LumBus
{

boost::asio::ip::address_v4 InterfaceIpv4Address(const std::string& name)
{
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        throw NetInterfaceError(std::string("cannot list the network interfaces: ") + std::strerror(errno));
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    bool exists = false;
    for (const ifaddrs* i = list; i != nullptr; i = i->ifa_next)
    {
        if (name != i->ifa_name)
            continue;
        exists = true;
        if (i->ifa_addr == nullptr || i->ifa_addr->sa_family != AF_INET)
            continue;
        sockaddr_in in{};
        std::memcpy(&in, i->ifa_addr, sizeof in);
        return boost::asio::ip::address_v4(ntohl(in.sin_addr.s_addr));
    }
    throw NetInterfaceError(exists ? "network interface '" + name + "' has no IPv4 address"
                                   : "no network interface '" + name + "'");
}

void SetMulticastSending(boost::asio::ip::udp::socket& socket, const boost::asio::ip::address_v4& local,
                         boost::system::error_code& ec)
{
    socket.set_option(boost::asio::ip::multicast::outbound_interface(local), ec);
    if (!ec)
        socket.set_option(boost::asio::ip::multicast::enable_loopback(true), ec);
}

} // namespace LumBus
