#include "twin/transport.h"

#include <array>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace host::twin
{
namespace
{

namespace fs = std::filesystem;

constexpr int kRound = 500;       /**< ms after which a thread looks whether it shall end. */
constexpr int kAcceptThreads = 8; /**< A client that says nothing holds one for some seconds. */
constexpr const char *kSsh = "ssh";
constexpr const char *kTls = "tls";

[[noreturn]] void fail(const std::string &what)
{
    throw TransportError(what + ": " + std::strerror(errno));
}

void require(int result, const std::string &what)
{
    if (result != 0) {
        throw TransportError(what);
    }
}

/** Who is at the other end of a UNIX socket: who runs the server, and root, are admins. */
std::optional<Identity> peer_of(int fd, const fs::path &keys)
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
    return fs::exists(keys) ? AuthorizedKeys::read(keys).find(name) : std::nullopt;
}

/** The socket of a session that libnetconf2 has accepted, by its peer. */
int socket_of(const nc_session *session)
{
    const std::string host = nc_session_get_host(session);
    const auto port = nc_session_get_port(session);
    std::error_code failure;
    for (const auto &entry : fs::directory_iterator("/proc/self/fd", failure)) {
        const int fd = std::atoi(entry.path().filename().c_str());
        sockaddr_storage peer{};
        socklen_t size = sizeof(peer);
        std::array<char, INET6_ADDRSTRLEN> text{};
        if (::getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &size) != 0) {
            continue;
        }
        const auto *v4 = reinterpret_cast<const sockaddr_in *>(&peer);
        const auto *v6 = reinterpret_cast<const sockaddr_in6 *>(&peer);
        const bool is_v6 = peer.ss_family == AF_INET6;
        if (!is_v6 && peer.ss_family != AF_INET) {
            continue;
        }
        const void *address = is_v6 ? static_cast<const void *>(&v6->sin6_addr) : &v4->sin_addr;
        ::inet_ntop(peer.ss_family, address, text.data(), text.size());
        if (host == text.data() && port == ntohs(is_v6 ? v6->sin6_port : v4->sin_port)) {
            return fd;
        }
    }
    return -1;
}

/** A free port, which somebody else may take before it is used. */
std::uint16_t free_port(const std::string &address)
{
    const bool is_v6 = address.find(':') != std::string::npos;
    const int fd = ::socket(is_v6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 v6{};
    sockaddr_in v4{};
    v6.sin6_family = AF_INET6;
    v4.sin_family = AF_INET;
    auto *place = is_v6 ? reinterpret_cast<sockaddr *>(&v6) : reinterpret_cast<sockaddr *>(&v4);
    socklen_t size = is_v6 ? sizeof(v6) : sizeof(v4);
    const bool is_bound = ::bind(fd, place, size) == 0 && ::getsockname(fd, place, &size) == 0;
    ::close(fd);
    if (!is_bound) {
        fail("no free port");
    }
    return ntohs(is_v6 ? v6.sin6_port : v4.sin_port);
}

/** Made at the first start. */
void make_host_key(const fs::path &path)
{
    ssh_key key = nullptr;
    const ::mode_t before = ::umask(077);
    const bool is_made =
        ssh_pki_generate(SSH_KEYTYPE_ECDSA_P256, 256, &key) == SSH_OK &&
        ssh_pki_export_privkey_file(key, nullptr, nullptr, nullptr, path.c_str()) == SSH_OK;
    ::umask(before);
    ssh_key_free(key);
    require(is_made ? 0 : -1, path.string() + " cannot be written: no host key for SSH");
}

int give_host_key(const char *, void *data, char **path, char **, NC_SSH_KEY_TYPE *)
{
    *path = ::strdup(static_cast<const TransportSetup *>(data)->host_key.c_str());
    return 0;
}

/** The file is read at each login, so that a key that was taken out has no entry any more. */
int allow_key(const nc_session *session, ssh_key key, void *data)
{
    const auto &keys = static_cast<const TransportSetup *>(data)->keys;
    char *text = nullptr;
    if (!fs::exists(keys) || ssh_pki_export_pubkey_base64(key, &text) != SSH_OK) {
        return 1;
    }
    const std::string base64(text);
    ssh_string_free_char(text);
    try {
        const char *type = ssh_key_type_to_char(ssh_key_type(key));
        return AuthorizedKeys::read(keys).find(type, base64, nc_session_get_username(session)) ? 0
                                                                                               : 1;
    } catch (const AccessError &) {
        return 1;
    }
}

} // namespace

Transports::Transports(TransportSetup setup, SessionLoop &loop)
    : m_setup(std::move(setup)), m_loop(loop)
{
    if (m_setup.unix_socket) {
        listen_unix(*m_setup.unix_socket);
    }
    if (m_setup.ssh_port) {
        listen_ssh(*m_setup.ssh_port);
    }
    if (m_setup.tls) {
        listen_tls(*m_setup.tls);
    }
    if (m_unix_fd >= 0) {
        m_threads.emplace_back([this] { accept_unix(); });
    }
    for (int i = 0; i < kAcceptThreads && (m_setup.ssh_port || m_setup.tls); ++i) {
        m_threads.emplace_back([this] { accept_others(); });
    }
}

Transports::~Transports()
{
    m_ends = true;
    for (auto &thread : m_threads) {
        thread.join();
    }
    if (m_unix_fd >= 0) {
        ::close(m_unix_fd);
        ::unlink(m_setup.unix_socket->c_str());
    }
}

void Transports::listen_unix(const fs::path &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof(address.sun_path)) {
        throw TransportError(path.string() + " is too long for the name of a UNIX socket");
    }
    std::strcpy(address.sun_path, path.c_str());
    m_unix_fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    ::unlink(path.c_str());
    const ::mode_t before = ::umask(0117); // The group decides who may connect, the keys who may
                                           // enter.
    const int result = ::bind(m_unix_fd, reinterpret_cast<sockaddr *>(&address), sizeof(address));
    ::umask(before);
    if (result != 0 || ::listen(m_unix_fd, SOMAXCONN) != 0) {
        fail(path.string());
    }
}

void Transports::accept_unix()
{
    while (!m_ends) {
        pollfd ready{m_unix_fd, POLLIN, 0};
        ::poll(&ready, 1, kRound);
        const int fd = ::accept4(m_unix_fd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            continue;
        }
        m_loop.spawn([this, fd] {
            const auto who = peer_of(fd, m_setup.keys);
            nc_session *session = nullptr;
            if (who && nc_accept_inout(fd, fd, who->name.c_str(), &session) == NC_MSG_HELLO) {
                m_loop.run(session, *who, "unix", fd);
            }
            ::close(fd);
        });
    }
}

void Transports::listen_ssh(std::uint16_t port)
{
    if (!fs::exists(m_setup.host_key)) {
        make_host_key(m_setup.host_key);
    }
    nc_server_ssh_set_hostkey_clb(give_host_key, &m_setup, nullptr);
    nc_server_ssh_set_pubkey_auth_clb(allow_key, &m_setup, nullptr);
    require(nc_server_add_endpt(kSsh, NC_TI_LIBSSH), "SSH cannot be used");
    require(nc_server_ssh_endpt_add_hostkey(kSsh, "host", -1), "the host key cannot be used");
    require(nc_server_ssh_endpt_set_auth_methods(kSsh, NC_SSH_AUTH_PUBLICKEY), "SSH keys");
    require(nc_server_endpt_set_address(kSsh, m_setup.address.c_str()), m_setup.address);
    m_ssh_port = port != 0 ? port : free_port(m_setup.address);
    int attempts = 5;
    while (nc_server_endpt_set_port(kSsh, m_ssh_port) != 0) {
        if (port != 0 || --attempts == 0) {
            throw TransportError("port " + std::to_string(m_ssh_port) + " of " + m_setup.address +
                                 " cannot be listened at: is it in use?");
        }
        m_ssh_port = free_port(m_setup.address);
    }
}

void Transports::listen_tls(const TlsSetup &) {}

void Transports::accept_others()
{
    while (!m_ends) {
        nc_session *session = nullptr;
        if (nc_accept(kRound, &session) != NC_MSG_HELLO) {
            continue;
        }
        const char *name = nc_session_get_username(session);
        std::optional<Identity> who;
        try {
            who = AuthorizedKeys::read(m_setup.keys).find(name != nullptr ? name : "");
        } catch (const AccessError &) {
            // It was there a moment ago, when the client logged in: it has no entry now.
        }
        if (!who) {
            nc_session_free(session, nullptr);
            continue;
        }
        const char *transport = nc_session_get_ti(session) == NC_TI_LIBSSH ? kSsh : kTls;
        m_loop.spawn([this, session, who, transport] {
            m_loop.run(session, *who, transport, socket_of(session));
        });
    }
}

} // namespace host::twin
