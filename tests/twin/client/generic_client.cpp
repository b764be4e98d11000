// A client of libnetconf2 that knows nothing of the card: it learns the models from the server's
// yang-library, by get-schema, and reads what is running with them.
//
// usage: generic_client SOCKET

#include <libyang/libyang.h>
#include <nc_client.h>

#include <cstdlib>
#include <iostream>
#include <string>

namespace
{

int fail(const std::string &text)
{
    std::cerr << "generic_client: " << text << '\n';
    return EXIT_FAILURE;
}

int read_running(nc_session *session)
{
    const ly_ctx *context = nc_session_get_ctx(session);
    for (const char *name : {"base", "gpon-twin-history", "ietf-netconf-monitoring"}) {
        if (ly_ctx_get_module_implemented(context, name) == nullptr) {
            return fail(std::string("it has not learnt ") + name);
        }
    }
    nc_rpc *rpc = nc_rpc_getconfig(NC_DATASTORE_RUNNING, "/base:config/interface", NC_WD_ALL_TAG,
                                   NC_PARAMTYPE_CONST);
    std::uint64_t id = 0;
    if (nc_send_rpc(session, rpc, 1000, &id) != NC_MSG_RPC) {
        return fail("it cannot ask");
    }
    lyd_node *envelope = nullptr;
    lyd_node *reply = nullptr;
    if (nc_recv_reply(session, rpc, id, 10'000, &envelope, &reply) != NC_MSG_REPLY ||
        reply == nullptr) {
        return fail("there is no answer");
    }
    const auto *any = reinterpret_cast<const lyd_node_any *>(lyd_child(reply));
    const bool is_data = any->value_type == LYD_ANYDATA_DATATREE && any->value.tree != nullptr &&
                         any->value.tree->schema != nullptr;
    std::cout << (is_data ? LYD_NAME(any->value.tree) : "no data of the model") << '\n';
    lyd_free_all(reply);
    lyd_free_all(envelope);
    nc_rpc_free(rpc);
    return is_data ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        return EXIT_FAILURE;
    }
    nc_client_init();
    // It asks for modules that the server need not have, and tells that at length.
    nc_set_print_clb_session([](const nc_session *, NC_VERB_LEVEL, const char *) {});
    ly_log_options(LY_LOSTORE);
    nc_session *session = nc_connect_unix(argv[1], nullptr);
    const int code = session != nullptr ? read_running(session) : fail("it cannot connect");
    nc_session_free(session, nullptr);
    nc_client_destroy();
    return code;
}
