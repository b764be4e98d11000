/**
 * @file
 * A NETCONF server, asked by a client.
 */
#pragma once

#include "shell/session.h"
#include "twin/server_context.h"

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct nc_session;

namespace host::shell
{

/** Where a server is. */
struct ServerAddress {
    std::string socket; /**< A UNIX socket; empty: SSH. */
    std::string user;
    std::string host;
    std::uint16_t port = 0;
    std::string key;         /**< Private; the public one stands beside it. */
    std::string known_hosts; /**< File with keys of servers; empty: the user's. */
    /** Whether to trust a server that nobody knows yet; empty: no. */
    std::function<std::optional<bool>(const std::string &question)> ask;
};

/** A socket, or user@host:port. @throws SessionError */
ServerAddress read_address(const std::string &text);

/** One rpc-error. */
struct ServerError {
    bool is_warning = false;
    std::string app_tag;
    std::string path; /**< In braces. */
    std::string text;
    std::string cause;
    std::string help;
    std::string page;
};

struct ServerReply {
    std::vector<ServerError> errors;
    std::string data; /**< XML; empty: there was none. */
};

/** The session is lost: nobody knows what became of the last request. */
class ConnectionLost : public SessionError
{
public:
    using SessionError::SessionError;
};

class NetconfClient
{
public:
    /** @param interrupt  Ends a request; cleared where it did. */
    NetconfClient(ServerAddress address, std::atomic<bool> &interrupt);
    ~NetconfClient();
    NetconfClient(const NetconfClient &) = delete;
    NetconfClient &operator=(const NetconfClient &) = delete;

    std::string name() const;
    /** @throws SessionError  It cannot be reached. */
    void connect();
    bool is_connected() const;
    /** Whether the server has a capability, such as a module's namespace. */
    bool offers(const std::string &capability) const;
    /** Whether it tells of changes of what is running. */
    bool tells_events() const;
    std::uint32_t session_id() const;
    /** What has happened on the server since the last call, each event as XML. Notices as well
     *  when the server is gone. */
    std::vector<std::string> take_events();
    /** @param body  What stands in <rpc>. @throws ConnectionLost */
    ServerReply ask(const std::string &body);

private:
    void close();

    ServerAddress m_address;
    std::atomic<bool> &m_interrupt;
    twin::ServerContext m_context;
    nc_session *m_session = nullptr;
};

/** An error-path in the notation of reports. */
std::string braces_of(const std::string &xpath);

} // namespace host::shell
