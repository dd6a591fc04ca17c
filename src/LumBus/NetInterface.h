#pragma once
// Network interfaces by name, for the KNXnet/IP transports and lumknx
// discover that send multicast from one chosen interface.
//
//     const boost::asio::ip::address_v4 local = LumBus::InterfaceIpv4Address("eth0");
//     LumBus::SetMulticastSending(socket, local, ec);
#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/udp.hpp>

#include <stdexcept>
#include <string>

namespace LumBus
{

// Why an interface cannot be used; what() is one line for the user.
class NetInterfaceError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The first IPv4 address of the interface called `name`. Throws
// NetInterfaceError: "no network interface 'NAME'", "network interface 'NAME'
// has no IPv4 address", "cannot list the network interfaces: ...".
boost::asio::ip::address_v4 InterfaceIpv4Address(const std::string& name);

// Multicast from `socket` leaves through the interface with address `local`
// and loops back to this machine, so that a server here (a test network's)
// sees it too. Sets `ec` on failure.
void SetMulticastSending(boost::asio::ip::udp::socket& socket, const boost::asio::ip::address_v4& local,
                         boost::system::error_code& ec);

} // namespace LumBus
