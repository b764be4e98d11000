/**
 * @file
 * TLS for those with a certificate (RFC 7589).
 */
#pragma once

#include "twin/ssh_server.h"

#include <filesystem>
#include <memory>

struct ssl_ctx_st;

namespace host::twin
{

struct TlsFiles {
    std::filesystem::path certificate;
    std::filesystem::path key;
    std::filesystem::path authorities; /**< Of clients. */
};

class TlsServer
{
public:
    /** @throws std::runtime_error  A file cannot be used. */
    explicit TlsServer(const TlsFiles &files);

    /**
     * The client's name is its certificate's common name, which the authorized keys must know.
     * @param fd  Is taken over.
     * @throws std::runtime_error
     */
    Admitted accept(int fd, const std::filesystem::path &keys) const;

private:
    std::shared_ptr<ssl_ctx_st> m_context;
};

} // namespace host::twin
