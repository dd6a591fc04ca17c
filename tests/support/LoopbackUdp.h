#pragma once
// A UDP socket on 127.0.0.1 with a port of the kernel's choice, for the tests
// that play a KNXnet/IP device or server: nothing they send leaves the machine.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace LumTest
{

class LoopbackUdp
{
public:
    LoopbackUdp()
    {
        m_fd = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in self{};
        self.sin_family = AF_INET;
        self.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof self;
        if (m_fd < 0 || ::bind(m_fd, reinterpret_cast<sockaddr*>(&self), sizeof self) != 0 ||
            ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&self), &size) != 0)
            throw std::runtime_error(std::string("loopback socket: ") + std::strerror(errno));
        m_port = ntohs(self.sin_port);
    }
    ~LoopbackUdp() { ::close(m_fd); }
    LoopbackUdp(const LoopbackUdp&) = delete;
    LoopbackUdp& operator=(const LoopbackUdp&) = delete;

    std::uint16_t Port() const { return m_port; }
    // Where the last datagram came from; Send answers there.
    std::uint16_t PeerPort() const { return ntohs(m_peer.sin_port); }

    // The next datagram within `timeout`; empty when none came.
    std::vector<std::uint8_t> Receive(std::chrono::milliseconds timeout)
    {
        pollfd p{m_fd, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(timeout.count())) != 1)
            return {};
        std::vector<std::uint8_t> bytes(2048);
        socklen_t size = sizeof m_peer;
        const ssize_t n =
            ::recvfrom(m_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&m_peer), &size);
        bytes.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
        return bytes;
    }
    void Send(const std::vector<std::uint8_t>& bytes) const
    {
        ::sendto(m_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&m_peer),
                 sizeof m_peer);
    }

private:
    int m_fd = -1;
    std::uint16_t m_port = 0;
    sockaddr_in m_peer{};
};

} // namespace LumTest
