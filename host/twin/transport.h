/**
 * @file
 * How clients come in: a UNIX socket, SSH and TLS.
 */
#pragma once

#include "twin/relay.h"
#include "twin/session_loop.h"
#include "twin/tls_server.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace host::twin
{

struct TlsSetup {
    TlsFiles files;
    std::uint16_t port = 6513; /**< 0: any that is free. */
};

struct TransportSetup {
    std::string address = "127.0.0.1";
    std::optional<std::uint16_t> ssh_port; /**< 0: any that is free. */
    std::filesystem::path keys;            /**< Who may enter over SSH and TLS. */
    std::filesystem::path host_key;
    std::optional<std::filesystem::path> unix_socket;
    std::optional<TlsSetup> tls;
    RelayLimits limits{};
};

/** Listens, and lets each client have threads of its own: none waits for another to speak. */
class Transports
{
public:
    /** @param loop  Runs the sessions. @throws std::runtime_error  A place cannot be listened at,
     * or a key cannot be used. */
    Transports(TransportSetup setup, SessionLoop &loop);
    ~Transports();
    Transports(const Transports &) = delete;
    Transports &operator=(const Transports &) = delete;

    std::uint16_t ssh_port() const { return m_ssh_port; }
    std::uint16_t tls_port() const { return m_tls_port; }

private:
    /** Makes of a connection one that is known. */
    using Admit = std::function<Admitted(int fd)>;

    void listen(int fd, const char *transport, Admit admit);
    void accept_at(int listener, const char *transport, const Admit &admit);
    void serve(int fd, const char *transport, const Admit &admit);

    TransportSetup m_setup;
    SessionLoop &m_loop;
    std::optional<TlsServer> m_tls;
    std::atomic<bool> m_ends{false};
    std::uint16_t m_ssh_port = 0;
    std::uint16_t m_tls_port = 0;
    std::vector<int> m_listeners;
    std::vector<std::thread> m_threads;
};

} // namespace host::twin
