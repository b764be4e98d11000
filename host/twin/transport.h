/**
 * @file
 * How clients come in: a UNIX socket, SSH and TLS.
 */
#pragma once

#include "twin/device.h"
#include "twin/session_loop.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace host::twin
{

struct TlsSetup {
    std::filesystem::path certificate;
    std::filesystem::path key;
    std::filesystem::path authorities; /**< Of clients. */
    std::uint16_t port = 6513;
};

struct TransportSetup {
    std::string address = "127.0.0.1";
    std::optional<std::uint16_t> ssh_port; /**< 0: any that is free. */
    std::filesystem::path keys;            /**< Who may enter over SSH and TLS. */
    std::filesystem::path host_key;
    std::optional<std::filesystem::path> unix_socket;
    std::optional<TlsSetup> tls;
};

/** A place that cannot be listened at, or a key that cannot be used. */
class TransportError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** Listens, and lets each session run in a thread of its own. */
class Transports
{
public:
    /** @param loop  Runs the sessions. @throws TransportError, AccessError */
    Transports(TransportSetup setup, SessionLoop &loop);
    ~Transports();
    Transports(const Transports &) = delete;
    Transports &operator=(const Transports &) = delete;

    std::uint16_t ssh_port() const { return m_ssh_port; }
    std::uint16_t tls_port() const { return m_tls_port; }

private:
    void listen_unix(const std::filesystem::path &path);
    void accept_unix();
    void listen_ssh(std::uint16_t port);
    void listen_tls(const TlsSetup &tls);
    void accept_others();

    TransportSetup m_setup;
    SessionLoop &m_loop;
    std::atomic<bool> m_ends{false};
    int m_unix_fd = -1;
    std::uint16_t m_ssh_port = 0;
    std::uint16_t m_tls_port = 0;
    std::vector<std::thread> m_threads;
};

} // namespace host::twin
