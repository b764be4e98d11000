#include "twin/listener.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <pwd.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace host::twin
{
namespace
{

[[noreturn]] void fail(const std::string &what, int fd)
{
    const std::string why = std::strerror(errno);
    if (fd >= 0) {
        ::close(fd);
    }
    throw std::runtime_error(what + " cannot be listened at: " + why);
}

std::uint16_t port_of(const sockaddr_storage &address)
{
    return ntohs(address.ss_family == AF_INET6
                     ? reinterpret_cast<const sockaddr_in6 &>(address).sin6_port
                     : reinterpret_cast<const sockaddr_in &>(address).sin_port);
}

} // namespace

std::pair<int, std::uint16_t> listen_tcp(const std::string &address, std::uint16_t port)
{
    const std::string name = address + " port " + std::to_string(port);
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        throw std::runtime_error(address + " is no address of this machine");
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo *)> owner(found, ::freeaddrinfo);
    const int fd = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    sockaddr_storage bound{};
    socklen_t size = sizeof(bound);
    if (fd < 0 || ::bind(fd, found->ai_addr, found->ai_addrlen) != 0 ||
        ::listen(fd, SOMAXCONN) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&bound), &size) != 0) {
        fail(name, fd);
    }
    return {fd, port_of(bound)};
}

int listen_unix(const std::filesystem::path &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof(address.sun_path)) {
        throw std::runtime_error(path.string() + " is too long for a UNIX socket: a name has " +
                                 std::to_string(sizeof(address.sun_path) - 1) + " characters");
    }
    std::strcpy(address.sun_path, path.c_str());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    ::unlink(path.c_str());
    const ::mode_t before = ::umask(0117);
    const int result = ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address));
    ::umask(before);
    if (result != 0 || ::listen(fd, SOMAXCONN) != 0) {
        fail(path.string(), fd);
    }
    return fd;
}

std::optional<Identity> peer_of(int fd, const std::filesystem::path &keys)
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return std::nullopt;
    }
    passwd entry{};
    passwd *found = nullptr;
    std::array<char, 4096> buffer{};
    ::getpwuid_r(peer.uid, &entry, buffer.data(), buffer.size(), &found);
    const std::string name = found != nullptr ? entry.pw_name : std::to_string(peer.uid);
    if (peer.uid == 0 || peer.uid == ::getuid()) {
        return Identity{name, Role::kAdmin};
    }
    return std::filesystem::exists(keys) ? AuthorizedKeys::read(keys).find(name) : std::nullopt;
}

std::string address_of(int fd)
{
    sockaddr_storage peer{};
    socklen_t size = sizeof(peer);
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (::getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &size) != 0 ||
        (peer.ss_family != AF_INET && peer.ss_family != AF_INET6)) {
        return "";
    }
    const void *address = &reinterpret_cast<const sockaddr_in &>(peer).sin_addr;
    if (peer.ss_family == AF_INET6) {
        address = &reinterpret_cast<const sockaddr_in6 &>(peer).sin6_addr;
    }
    ::inet_ntop(peer.ss_family, address, text.data(), text.size());
    return text.data();
}

void limit_waiting(int fd, int seconds)
{
    const timeval time{seconds, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof(time));
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof(time));
}

} // namespace host::twin
