#include "shell/netconf_client.h"

#include "engine/data/path.h"
#include "engine/data/print_tree.h"

#include <charconv>
#include <libssh/libssh.h>
#include <memory>
#include <nc_client.h>
#include <netdb.h>
#include <pugixml.hpp>
#include <string_view>

namespace host::shell
{
namespace
{

constexpr int kSendMs = 10'000;
constexpr int kTickMs = 200;
constexpr const char *kNotificationNamespace = "urn:ietf:params:xml:ns:netconf:notification:1.0";

struct FreeTree {
    void operator()(lyd_node *tree) const { lyd_free_all(tree); }
};
struct FreeRpc {
    void operator()(nc_rpc *rpc) const { nc_rpc_free(rpc); }
};
using Tree = std::unique_ptr<lyd_node, FreeTree>;

std::string printed(const lyd_node *tree)
{
    return engine::print_tree(tree, LYD_XML, engine::Siblings::kPrinted, LYD_PRINT_SHRINK);
}

/** A child by its name, whatever prefix stands in front of it. */
std::string text_in(const pugi::xml_node &node, std::string_view name)
{
    for (const auto &child : node.children()) {
        std::string_view own = child.name();
        own.remove_prefix(own.find(':') + 1); // Without a prefix: npos + 1, which is nothing.
        if (own == name) {
            return child.text().get();
        }
    }
    return "";
}

ServerError error_of(const pugi::xml_node &node)
{
    ServerError error;
    error.is_warning = text_in(node, "error-severity") == "warning";
    error.app_tag = text_in(node, "error-app-tag");
    error.path = braces_of(text_in(node, "error-path"));
    error.text = text_in(node, "error-message");
    const auto info = node.child("error-info");
    error.cause = text_in(info, "cause");
    error.help = text_in(info, "resolution");
    error.page = text_in(info, "page");
    return error;
}

std::vector<ServerError> errors_in(const lyd_node *envelope)
{
    pugi::xml_document document;
    document.load_string(printed(envelope).c_str());
    std::vector<ServerError> errors;
    for (const auto &node : document.document_element().children("rpc-error")) {
        errors.push_back(error_of(node));
    }
    return errors;
}

std::string data_in(const lyd_node *reply)
{
    const auto *data = reply != nullptr ? lyd_child(reply) : nullptr;
    if (data == nullptr || data->schema == nullptr || (data->schema->nodetype & LYS_ANYDATA) == 0) {
        return "";
    }
    const auto *any = reinterpret_cast<const lyd_node_any *>(data);
    return any->value_type == LYD_ANYDATA_DATATREE ? printed(any->value.tree)
           : any->value.str != nullptr             ? any->value.str
                                                   : "";
}

/** Why there is no connection: what the library said last, or our own reason. */
std::string last_words;
bool is_refused = false;

void note_words(const nc_session * /*session*/, NC_VERB_LEVEL /*level*/, const char *message)
{
    if (!is_refused && message != nullptr) {
        last_words = message;
    }
}

/** Such as SHA256:...; empty: there is none. */
std::string fingerprint_of(ssh_session session)
{
    ssh_key key = nullptr;
    unsigned char *hash = nullptr;
    std::size_t length = 0;
    std::string text;
    if (ssh_get_server_publickey(session, &key) != SSH_OK) {
        return text;
    }
    if (ssh_get_publickey_hash(key, SSH_PUBLICKEY_HASH_SHA256, &hash, &length) == 0) {
        char *printed = ssh_get_fingerprint_hash(SSH_PUBLICKEY_HASH_SHA256, hash, length);
        text = printed != nullptr ? printed : "";
        ssh_string_free_char(printed);
        ssh_clean_pubkey_hash(&hash);
    }
    ssh_key_free(key);
    return text;
}

/** The library has no words for a name that nobody knows. @throws SessionError */
void require_known_host(const std::string &host)
{
    addrinfo *found = nullptr;
    const int failure = getaddrinfo(host.c_str(), nullptr, nullptr, &found);
    if (failure != 0) {
        throw SessionError(host + ": " + gai_strerror(failure));
    }
    freeaddrinfo(found);
}

int refuse(const std::string &reason)
{
    last_words = reason;
    is_refused = true;
    return 1;
}

/** @return 0: the server is who it says. */
int check_server(const char *host, ssh_session session, void *data)
{
    const auto &address = *static_cast<const ServerAddress *>(data);
    if (!address.known_hosts.empty()) {
        ssh_options_set(session, SSH_OPTIONS_KNOWNHOSTS, address.known_hosts.c_str());
    }
    const auto known = ssh_session_is_known_server(session);
    if (known == SSH_KNOWN_HOSTS_OK) {
        return 0;
    }
    const auto key = fingerprint_of(session);
    if (known == SSH_KNOWN_HOSTS_CHANGED || known == SSH_KNOWN_HOSTS_OTHER) {
        return refuse("its key is another than it was: " + key);
    }
    const std::string question =
        std::string(host) + " is not known; its key is " + key + ". Go on? [yes,no] ";
    if (!address.ask || address.ask(question) != true) {
        return refuse("its key " + key + " is not known; --known-hosts names a file that has it");
    }
    static_cast<void>(ssh_session_update_known_hosts(session));
    return 0;
}

} // namespace

ServerAddress read_address(const std::string &text)
{
    ServerAddress address;
    const auto at = text.find('@');
    const auto colon = text.rfind(':');
    if (at == std::string::npos || text.find('/') != std::string::npos) {
        address.socket = text;
        return address;
    }
    address.user = text.substr(0, at);
    const auto bracket = text.rfind(']'); // Around an IPv6 address.
    const bool has_port = colon != std::string::npos && colon > at &&
                          (bracket == std::string::npos || colon > bracket);
    address.host = text.substr(at + 1, has_port ? colon - at - 1 : std::string::npos);
    if (address.host.size() > 2 && address.host.front() == '[' && address.host.back() == ']') {
        address.host = address.host.substr(1, address.host.size() - 2);
    }
    const std::string_view port = has_port ? std::string_view(text).substr(colon + 1) : "830";
    const auto [end, failure] =
        std::from_chars(port.data(), port.data() + port.size(), address.port);
    if (failure != std::errc() || end != port.data() + port.size() || address.host.empty() ||
        address.user.empty()) {
        throw SessionError(text + " is neither a socket nor user@host:port");
    }
    return address;
}

std::string braces_of(const std::string &xpath)
{
    std::string text;
    bool has_keys = false;
    for (std::size_t i = 0; i < xpath.size(); ++i) {
        if (xpath[i] == '/') {
            text += has_keys ? "}/" : "/";
            has_keys = false;
            const auto end = xpath.find_first_of(":/[", i + 1);
            i = end != std::string::npos && xpath[end] == ':' ? end : i; // The prefix.
        } else if (xpath[i] == '[') {
            const auto quote = xpath.find_first_of("'\"", i);
            const auto end =
                quote != std::string::npos ? xpath.find(xpath[quote], quote + 1) : quote;
            if (end == std::string::npos) {
                return xpath;
            }
            text += has_keys ? " " : "{";
            text += engine::quote_key(xpath.substr(quote + 1, end - quote - 1));
            has_keys = true;
            i = end + 1; // The closing bracket.
        } else {
            text += xpath[i];
        }
    }
    return text + (has_keys ? "}" : "");
}

NetconfClient::NetconfClient(ServerAddress address, std::atomic<bool> &interrupt)
    : m_address(std::move(address)), m_interrupt(interrupt),
      m_context(twin::make_server_context(true))
{
    nc_client_init();
    nc_set_print_clb_session(note_words);
    if (m_address.socket.empty()) {
        nc_client_ssh_set_auth_hostkey_check_clb(check_server, &m_address);
        nc_client_ssh_set_username(m_address.user.c_str());
        if (!m_address.key.empty() && nc_client_ssh_add_keypair((m_address.key + ".pub").c_str(),
                                                                m_address.key.c_str()) != 0) {
            throw SessionError("the key " + m_address.key + " cannot be used");
        }
    }
}

NetconfClient::~NetconfClient()
{
    close();
    nc_client_destroy();
}

std::string NetconfClient::name() const
{
    return m_address.socket.empty()
               ? m_address.user + "@" + m_address.host + ":" + std::to_string(m_address.port)
               : m_address.socket;
}

void NetconfClient::connect()
{
    close();
    if (m_address.socket.empty()) {
        require_known_host(m_address.host);
    }
    last_words.clear();
    is_refused = false;
    m_session = m_address.socket.empty()
                    ? nc_connect_ssh(m_address.host.c_str(), m_address.port, m_context.get())
                    : nc_connect_unix(m_address.socket.c_str(), m_context.get());
    if (m_session == nullptr) {
        throw SessionError(name() + " cannot be reached" +
                           (last_words.empty() ? "" : ": " + last_words));
    }
    if (tells_events()) {
        ask(std::string("<create-subscription xmlns=\"") + kNotificationNamespace + "\"/>");
    }
}

bool NetconfClient::offers(const std::string &capability) const
{
    return is_connected() && nc_session_cpblt(m_session, capability.c_str()) != nullptr;
}

bool NetconfClient::tells_events() const
{
    return offers("urn:ietf:params:netconf:capability:interleave:1.0");
}

std::uint32_t NetconfClient::session_id() const
{
    return m_session != nullptr ? nc_session_get_id(m_session) : 0;
}

std::vector<std::string> NetconfClient::take_events()
{
    std::vector<std::string> events;
    while (is_connected()) {
        lyd_node *envelope = nullptr;
        lyd_node *event = nullptr;
        const auto kind = nc_recv_notif(m_session, 0, &envelope, &event);
        const Tree envelope_owner(envelope);
        const Tree event_owner(event);
        if (kind != NC_MSG_NOTIF) {
            break;
        }
        events.push_back(printed(event));
    }
    return events;
}

bool NetconfClient::is_connected() const
{
    return m_session != nullptr && nc_session_get_status(m_session) == NC_STATUS_RUNNING;
}

void NetconfClient::close()
{
    if (m_session != nullptr) {
        nc_session_free(m_session, nullptr);
        m_session = nullptr;
    }
}

ServerReply NetconfClient::ask(const std::string &body)
{
    const std::unique_ptr<nc_rpc, FreeRpc> rpc(
        nc_rpc_act_generic_xml(body.c_str(), NC_PARAMTYPE_CONST));
    std::uint64_t id = 0;
    if (!is_connected() || rpc == nullptr ||
        nc_send_rpc(m_session, rpc.get(), kSendMs, &id) != NC_MSG_RPC) {
        throw ConnectionLost(name() + " does not answer any more");
    }
    for (;;) {
        lyd_node *envelope = nullptr;
        lyd_node *reply = nullptr;
        const auto kind = nc_recv_reply(m_session, rpc.get(), id, kTickMs, &envelope, &reply);
        const Tree envelope_owner(envelope);
        const Tree reply_owner(reply);
        if (kind == NC_MSG_REPLY) {
            return {errors_in(envelope), data_in(reply)};
        }
        if (kind == NC_MSG_WOULDBLOCK && m_interrupt.exchange(false)) {
            throw ConnectionLost("interrupted");
        }
        if (kind != NC_MSG_WOULDBLOCK && kind != NC_MSG_NOTIF) {
            throw ConnectionLost(name() + " does not answer any more");
        }
    }
}

} // namespace host::shell
