/**
 * Requests of NETCONF, a line each, in the process of the fuzzer: looked at, parsed and answered as the server does.
 * Whatever they say there is an answer, and what makes the candidate of what is running stays true: the edit that a
 * commit would make gives the candidate wherever what is running is there.
 */
#include "engine/edit/edit.h"
#include "finding.h"
#include "twin/check_process.h"
#include "twin/inspection.h"
#include "twin/rpc.h"
#include "twin/server_context.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

namespace
{

using namespace host::twin;

constexpr const char *kRunning =
    R"(<config xmlns="urn:olt:gpon:base"><interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id>
<port-id>1</port-id><downstream-fec>false</downstream-fec><onu><onu-id>1</onu-id><description>first</description>
<auth-method><serial-number>ALCL00000A01</serial-number><password>rose</password></auth-method></onu><onu><onu-id>2</onu-id></onu></gpon></interface></config>)";

/** The same for all inputs; what an input leaves behind is undone. */
struct Server {
    ServerContext context = make_server_context(true);
    Device device{setup(), context.get()};
    SessionPtr session = std::make_shared<Session>(Author{"eve", "admin", 1, "unix", ""}, Role::kAdmin);

    Server() { device.begin_session(session); }

    static DeviceSetup setup()
    {
        DeviceSetup setup;
        setup.check.plugin = CARD_PLUGIN;
        setup.running = engine::Source{"running", kRunning};
        return setup;
    }
};

std::string text_of(const engine::Datastore &tree)
{
    return tree.print(engine::Format::kXml);
}

/** @return The reply's errors are none of our business; that there is one is. */
void ask(Server &server, const std::string &body)
{
    const std::string message =
        std::string("<rpc message-id=\"1\" xmlns=\"") + kNetconfNamespace + "\">" + body + "</rpc>";
    std::string passed = message;
    if (const auto rejection = inspect(server.context.get(), message)) {
        passed = message_of(*rejection);
    }
    ly_in *input = nullptr;
    lyd_node *envelope = nullptr;
    lyd_node *rpc = nullptr;
    ly_in_new_memory(passed.c_str(), &input);
    const LY_ERR result = lyd_parse_op(server.context.get(), nullptr, input, LYD_XML,
                                       LYD_TYPE_RPC_NETCONF, &envelope, &rpc);
    ly_in_free(input, 0);
    const bool ends = rpc != nullptr && std::strcmp(LYD_NAME(rpc), "close-session") == 0;
    if (result == LY_SUCCESS && !ends) {
        nc_server_reply *reply =
            answer({server.device, server.session, rpc, server.context.get(), nullptr, true});
        if (reply == nullptr) {
            fuzz::report("a request has no answer");
        }
        nc_server_reply_free(reply);
    }
    lyd_free_all(envelope);
    lyd_free_all(rpc);
    ly_err_clean(server.context.get(), nullptr);
}

void compare(Server &server)
{
    auto &data = server.device.data();
    const std::string edit = data.plan_commit().edit.text;
    std::string expected;
    std::string actual;
    data.read_candidate([&](const engine::Datastore &tree) { expected = text_of(tree); });
    data.read_running([&](const engine::Datastore &tree) {
        actual = text_of(edit.empty() ? tree.copy() : engine::apply_edit(tree, {"change", edit, {}}));
    });
    if (actual != expected) {
        fuzz::report("the edit of a commit gives another candidate:\n" + edit + "\nexpected:\n" +
                       expected + "\nactual:\n" + actual);
    }
}

/** As at the start, for the next input. */
void start_over(Server &server)
{
    server.device.release(*server.session);
    server.device.data().discard();
    server.device.history().delete_startup();
    try {
        server.device.cancel(*server.session, std::nullopt);
    } catch (const RpcFailure &) {
        // No commit waits for its confirmation.
    }
    ChangeRequest request{*server.session};
    request.confirms_warnings = true;
    server.device.change_running(request, [&] { return server.device.plan_rollback(0); });
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    if (*argc == 2 && std::strcmp((*argv)[1], kCheckProcess) == 0) {
        std::exit(run_check_process());
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static auto &server = *new Server;
    std::istringstream lines(std::string(reinterpret_cast<const char *>(data), size));
    for (std::string line; std::getline(lines, line);) {
        ask(server, line);
        compare(server);
    }
    start_over(server);
    return 0;
}
