/**
 * @file
 * SSH: the subsystem `netconf` for those whose key is known.
 */
#pragma once

#include "twin/access.h"
#include "twin/relay.h"

#include <filesystem>
#include <memory>

namespace host::twin
{

/** A client that has come in. */
struct Admitted {
    std::unique_ptr<Stream> stream;
    Identity who;
};

/** Makes the server's key where there is none yet. @throws std::runtime_error */
void ensure_host_key(const std::filesystem::path &path);

/**
 * Speaks SSH with a client until it has asked for NETCONF.
 * @param fd    Is taken over.
 * @param keys  File of authorized keys: read anew each time, so that who was taken out is out.
 * @throws std::runtime_error  It did not come to that: no known key, or no answer in time.
 */
Admitted accept_ssh(int fd, const std::filesystem::path &host_key,
                    const std::filesystem::path &keys);

} // namespace host::twin
