/**
 * @file
 * Sockets that are listened at, and who is at the other end.
 */
#pragma once

#include "twin/access.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace host::twin
{

/** @return Socket and port. @param port  0: any that is free. @throws std::runtime_error */
std::pair<int, std::uint16_t> listen_tcp(const std::string &address, std::uint16_t port);

/** Who may connect is for the file's mode to say: its owner and group. @throws std::runtime_error
 */
int listen_unix(const std::filesystem::path &path);

/** Who is at the other end of a UNIX socket: who runs the server, and root, are admins. */
std::optional<Identity> peer_of(int fd, const std::filesystem::path &keys);

/** Address of the other end; empty for a UNIX socket. */
std::string address_of(int fd);

/** Lets calls on a socket fail that take too long. */
void limit_waiting(int fd, int seconds);

} // namespace host::twin
