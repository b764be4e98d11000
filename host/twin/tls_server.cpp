#include "twin/tls_server.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace host::twin
{
namespace
{

constexpr int kPatience_ms = 30'000;

struct Free {
    void operator()(SSL *connection) const
    {
        const int fd = SSL_get_fd(connection);
        SSL_shutdown(connection);
        SSL_free(connection);
        ::close(fd);
    }
    void operator()(X509 *certificate) const { X509_free(certificate); }
};
using Connection = std::unique_ptr<SSL, Free>;

[[noreturn]] void fail(const std::string &what)
{
    std::array<char, 256> text{};
    ERR_error_string_n(ERR_get_error(), text.data(), text.size());
    throw std::runtime_error(what + ": " + text.data());
}

/** Waits for what a call on a socket that does not block needs to go on. */
void wait(SSL *connection, int result)
{
    const int error = SSL_get_error(connection, result);
    pollfd ready{SSL_get_fd(connection), POLLIN, 0};
    if (error == SSL_ERROR_WANT_WRITE) {
        ready.events = POLLOUT;
    } else if (error != SSL_ERROR_WANT_READ) {
        fail("TLS");
    }
    if (::poll(&ready, 1, kPatience_ms) == 0) {
        throw std::runtime_error("the client does not answer");
    }
}

class TlsStream : public Stream
{
public:
    explicit TlsStream(Connection connection) : m_connection(std::move(connection)) {}
    int fd() const override { return SSL_get_fd(m_connection.get()); }

    std::optional<std::size_t> read(char *data, std::size_t size) override
    {
        const int count = SSL_read(m_connection.get(), data, static_cast<int>(size));
        if (count > 0) {
            return static_cast<std::size_t>(count);
        }
        const int error = SSL_get_error(m_connection.get(), count);
        if (error == SSL_ERROR_ZERO_RETURN) {
            return std::nullopt;
        }
        if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE) {
            throw std::runtime_error("the client has gone");
        }
        return 0;
    }

    void write(const char *data, std::size_t size) override
    {
        while (size > 0) {
            const int count = SSL_write(m_connection.get(), data, static_cast<int>(size));
            if (count > 0) {
                data += count;
                size -= static_cast<std::size_t>(count);
            } else {
                wait(m_connection.get(), count);
            }
        }
    }

private:
    Connection m_connection;
};

std::string common_name(SSL *connection)
{
    const std::unique_ptr<X509, Free> certificate(SSL_get1_peer_certificate(connection));
    std::array<char, 256> name{};
    if (certificate) {
        X509_NAME_get_text_by_NID(X509_get_subject_name(certificate.get()), NID_commonName,
                                  name.data(), static_cast<int>(name.size()));
    }
    return name.data();
}

} // namespace

TlsServer::TlsServer(const TlsFiles &files)
    : m_context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free)
{
    SSL_CTX *context = m_context.get();
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    if (SSL_CTX_use_certificate_chain_file(context, files.certificate.c_str()) != 1) {
        fail(files.certificate.string());
    }
    if (SSL_CTX_use_PrivateKey_file(context, files.key.c_str(), SSL_FILETYPE_PEM) != 1) {
        fail(files.key.string());
    }
    if (SSL_CTX_load_verify_file(context, files.authorities.c_str()) != 1) {
        fail(files.authorities.string());
    }
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
}

Admitted TlsServer::accept(int fd, const std::filesystem::path &keys) const
{
    Connection connection(SSL_new(m_context.get()));
    SSL_set_fd(connection.get(), fd);
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    int result = 0;
    while ((result = SSL_accept(connection.get())) != 1) {
        wait(connection.get(), result);
    }
    const auto who = std::filesystem::exists(keys)
                         ? AuthorizedKeys::read(keys).find(common_name(connection.get()))
                         : std::nullopt;
    if (!who) {
        throw std::runtime_error("nobody knows " + common_name(connection.get()));
    }
    return {std::make_unique<TlsStream>(std::move(connection)), *who};
}

} // namespace host::twin
