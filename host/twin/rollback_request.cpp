#include "twin/rollback_request.h"

#include "report/printable.h"
#include "twin/selection.h"
#include "twin/server_context.h"

#include <nc_client.h>

#include <cstring>
#include <memory>
#include <ostream>

namespace host::twin
{
namespace
{

/** Longer than a server waits for a plug-in that hangs. */
constexpr int kTimeoutMs = 120'000;

struct Client {
    Client()
    {
        nc_client_init();
        // It asks for modules that no server has to have, and says so.
        nc_set_print_clb_session([](const nc_session *, NC_VERB_LEVEL, const char *) {});
    }
    ~Client() { nc_client_destroy(); }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;
};

struct Close {
    void operator()(nc_session *session) const { nc_session_free(session, nullptr); }
    void operator()(nc_rpc *rpc) const { nc_rpc_free(rpc); }
};

std::string text_of(const lyd_node *node, const char *name)
{
    for (const auto *child = lyd_child(node); child != nullptr; child = child->next) {
        if (std::strcmp(LYD_NAME(child), name) == 0) {
            return lyd_get_value(child) != nullptr ? lyd_get_value(child) : "";
        }
    }
    return "";
}

/** Prints the errors of a reply. */
Result result_of(const lyd_node *reply, std::ostream &out)
{
    Result result = Result::kAccepted;
    for (const auto *node = lyd_child(reply); node != nullptr; node = node->next) {
        if (std::strcmp(LYD_NAME(node), "rpc-error") != 0) {
            continue;
        }
        const std::string tag = text_of(node, "error-app-tag");
        if (tag == "confirmation-required") {
            result = Result::kNotConfirmed;
            continue;
        }
        result = result == Result::kAccepted ? Result::kRejected : result;
        out << text_of(node, "error-severity") << ": " << printable(text_of(node, "error-message"))
            << '\n';
        const std::string path = text_of(node, "error-path");
        if (!path.empty()) {
            out << "  " << printable(path) << " (" << printable(tag) << ")\n";
        }
    }
    return result;
}

} // namespace

Result request_rollback(const std::string &socket, CommitNumber number, bool confirms_warnings,
                        std::ostream &out)
{
    const auto context = make_server_context(false);
    const Client client;
    const std::unique_ptr<nc_session, Close> session(
        nc_connect_unix(socket.c_str(), context.get()));
    if (!session) {
        throw HistoryError(socket + ": the server cannot be asked");
    }
    const std::string text = "<rollback xmlns=\"" + std::string(kHistoryNamespace) + "\"><commit>" +
                             std::to_string(number) + "</commit>" +
                             (confirms_warnings ? "<confirm-warnings/>" : "") + "</rollback>";
    const std::unique_ptr<nc_rpc, Close> rpc(
        nc_rpc_act_generic_xml(text.c_str(), NC_PARAMTYPE_CONST));
    std::uint64_t message = 0;
    lyd_node *reply = nullptr;
    lyd_node *output = nullptr;
    if (nc_send_rpc(session.get(), rpc.get(), kTimeoutMs, &message) != NC_MSG_RPC ||
        nc_recv_reply(session.get(), rpc.get(), message, kTimeoutMs, &reply, &output) !=
            NC_MSG_REPLY) {
        throw HistoryError(socket + ": the server gives no answer");
    }
    const Tree owned_reply(reply);
    const Tree owned_output(output);
    return result_of(reply, out);
}

} // namespace host::twin
