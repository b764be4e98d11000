#include "twin/transport.h"

#include "twin/listener.h"

#include <array>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace host::twin
{
namespace
{

constexpr int kRound = 500; /**< ms after which a thread looks whether it shall end. */

Admitted admit_local(int fd, const std::filesystem::path &keys)
{
    auto stream = std::make_unique<SocketStream>(fd);
    const auto who = peer_of(fd, keys);
    if (!who) {
        throw std::runtime_error("nobody knows the user at the other end");
    }
    return {std::move(stream), *who};
}

} // namespace

Transports::Transports(TransportSetup setup, SessionLoop &loop)
    : m_setup(std::move(setup)), m_loop(loop)
{
    const auto &keys = m_setup.keys;
    if (m_setup.unix_socket) {
        listen(listen_unix(*m_setup.unix_socket), "unix",
               [&keys](int fd) { return admit_local(fd, keys); });
    }
    if (m_setup.ssh_port) {
        ensure_host_key(m_setup.host_key);
        const auto [fd, port] = listen_tcp(m_setup.address, *m_setup.ssh_port);
        m_ssh_port = port;
        listen(fd, "ssh",
               [this](int client) { return accept_ssh(client, m_setup.host_key, m_setup.keys); });
    }
    if (m_setup.tls) {
        m_tls.emplace(m_setup.tls->files);
        const auto [fd, port] = listen_tcp(m_setup.address, m_setup.tls->port);
        m_tls_port = port;
        listen(fd, "tls", [this](int client) { return m_tls->accept(client, m_setup.keys); });
    }
}

Transports::~Transports()
{
    m_ends = true;
    for (auto &thread : m_threads) {
        thread.join();
    }
    for (const int fd : m_listeners) {
        ::close(fd);
    }
    if (m_setup.unix_socket) {
        ::unlink(m_setup.unix_socket->c_str());
    }
    m_loop.end(); // Its threads use what is here.
}

void Transports::listen(int fd, const char *transport, Admit admit)
{
    m_listeners.push_back(fd);
    m_threads.emplace_back(
        [this, fd, transport, admit = std::move(admit)] { accept_at(fd, transport, admit); });
}

void Transports::accept_at(int listener, const char *transport, const Admit &admit)
{
    while (!m_ends) {
        pollfd ready{listener, POLLIN, 0};
        ::poll(&ready, 1, kRound);
        const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            continue;
        }
        limit_waiting(fd, static_cast<int>(m_setup.limits.stall.count()));
        if (!m_loop.spawn([this, fd, transport, admit] { serve(fd, transport, admit); })) {
            ::close(fd); // There are too many already.
        }
    }
}

/** A client that does not come in, or goes, or sends no messages: that is the end of it. */
void Transports::serve(int fd, const char *transport, const Admit &admit)
{
    try {
        const std::string address = address_of(fd);
        const Admitted client = admit(fd);
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            return;
        }
        const SocketStream library(ends[0]);
        const Author author{client.who.name, name_of(client.who.role), 0, transport, address};
        if (!m_loop.spawn([this, author, role = client.who.role, end = ends[1]] {
                m_loop.serve(end, author, role);
                ::close(end);
            })) {
            ::close(ends[1]);
            return;
        }
        relay(*client.stream, library.fd(), m_loop.context(), m_setup.limits, m_ends);
    } catch (const std::exception &failure) {
        m_loop.note(failure.what());
    }
}

} // namespace host::twin
