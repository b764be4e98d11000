/**
 * Sequences of RPCs of three sessions, an admin, an operator and a viewer, as the server answers
 * them, without its sockets. Whatever they ask, what is running must be what the history says, a
 * viewer changes nothing and sees no secret, what a session holds goes with it, and the edit of a
 * commit gives the candidate.
 *
 * An input that begins with `<` is the body of one RPC; any other is decisions of which RPCs are
 * made up.
 */
#include "base_card.h"
#include "byte_reader.h"
#include "edit_maker.h"
#include "finding.h"

#include "checker/model_schema.h"
#include "engine/data/error.h"
#include "engine/edit/edit.h"
#include "twin/check_process.h"
#include "twin/inspection.h"
#include "twin/rpc.h"
#include "twin/server_context.h"
#include "twin/stored_tree.h"

#include <fm_host.h>

#include <array>
#include <cstring>
#include <string>
#include <unistd.h>

namespace
{

using namespace host::twin;
using fuzz::require;

constexpr std::array<Role, 3> kRoles{Role::kAdmin, Role::kOperator, Role::kViewer};
constexpr std::array<DatastoreName, 3> kDatastores{
    DatastoreName::kRunning, DatastoreName::kCandidate, DatastoreName::kStartup};
constexpr const char *kRpcBegin =
    "<rpc message-id='1' xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'>";

/** What was made of the inputs, told in the end. */
struct Statistics {
    std::size_t rpcs = 0;
    std::size_t changes = 0; /**< Of what is running. */
    std::size_t dropped = 0; /**< None of the model. */

    ~Statistics()
    {
        std::cout << rpcs << " RPCs, " << changes << " changed what is running; " << dropped
                  << " were none\n";
    }
};

Statistics &statistics()
{
    static Statistics all;
    return all;
}

/** A server without sockets, for many inputs: a new one takes longer than an input. */
struct Server {
    Server() : context(make_server_context(true)), device(setup(), context.get()) {}

    static DeviceSetup setup()
    {
        DeviceSetup setup;
        setup.check.plugin = CARD_PLUGIN;
        setup.running = engine::Source{"running.xml", test_support::kBaseCard};
        return setup;
    }

    ServerContext context;
    Device device;
};

Server &server()
{
    static Server one;
    return one;
}

SessionPtr begin_session(Role role)
{
    static std::uint32_t last = 0;
    auto session =
        std::make_shared<Session>(Author{name_of(role), name_of(role), ++last, "unix", ""}, role);
    server().device.begin_session(session);
    return session;
}

/** Makes up the bodies of RPCs. */
class RpcMaker
{
public:
    explicit RpcMaker(fuzz::ByteReader &bytes) : m_bytes(bytes) {}

    std::string make()
    {
        static constexpr std::array kBodies{
            "<edit-config><target>D</target>TX<config>E</config></edit-config>",
            "<edit-config><target><candidate/></target>O<config>E</config></edit-config>",
            "<edit-config><target><candidate/></target><config>E</config></edit-config>",
            "<commit>W</commit>",
            "<commit>W</commit>",
            "<commit><confirmed/><confirm-timeout>1000</confirm-timeout>P</commit>",
            "<commit>I</commit>",
            "<cancel-commit>I</cancel-commit>",
            "<discard-changes/>",
            "<validate><source>D</source>W</validate>",
            "<validate><source><config>E</config></source>W</validate>",
            "<copy-config><target>D</target><source>D</source></copy-config>",
            "<copy-config><target>D</target><source><config>E</config></source></copy-config>",
            "<delete-config><target>D</target></delete-config>",
            "<lock><target>D</target></lock>",
            "<unlock><target>D</target></unlock>",
            "<get-config><source>D</source>FM</get-config>",
            "<get>FM</get>",
            "<kill-session><session-id>N</session-id></kill-session>",
            "<rollback xmlns='urn:olt:gpon:twin:history'><commit>N</commit></rollback>",
            "<create-subscription xmlns='urn:ietf:params:xml:ns:netconf:notification:1.0'>F"
            "</create-subscription>",
            "<get-schema xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring'>"
            "<identifier>base</identifier></get-schema>"};
        std::string text;
        for (const char *letter = m_bytes.pick(kBodies); *letter != '\0'; ++letter) {
            text += filled(*letter);
        }
        return m_bytes.one_in(10) ? broken(text) : text;
    }

private:
    std::string filled(char letter)
    {
        switch (letter) {
        case 'D':
            return std::string("<") + name_of(m_bytes.pick(kDatastores)) + "/>";
        case 'E':
            return fuzz::EditMaker(*host::model_schema(), m_bytes).make_small();
        case 'T':
            return pick({"", "<test-option>test-then-set</test-option>",
                         "<test-option>test-only</test-option>"});
        case 'O':
            return pick({"", "<default-operation>replace</default-operation>",
                         "<default-operation>none</default-operation>"});
        case 'X':
            return pick({"", "<error-option>continue-on-error</error-option>",
                         "<error-option>rollback-on-error</error-option>"});
        case 'W':
            return pick({"", "<confirm-warnings xmlns='urn:olt:gpon:twin:confirm'/>"});
        case 'P':
            return pick({"", "<persist>a</persist>", "<persist-id>a</persist-id>"});
        case 'I':
            return pick({"", "<persist-id>a</persist-id>", "<persist-id>b</persist-id>"});
        case 'N':
            return std::to_string(m_bytes.below(12));
        case 'F':
            return filter();
        case 'M':
            return pick({"", "trim", "report-all", "report-all-tagged"},
                        [](const std::string &mode) {
                            return "<with-defaults xmlns='urn:ietf:params:xml:ns:yang:"
                                   "ietf-netconf-with-defaults'>" +
                                   mode + "</with-defaults>";
                        });
        default:
            return {letter};
        }
    }

    std::string filter()
    {
        switch (m_bytes.below(4)) {
        case 0:
            return "";
        case 1:
            return "<filter type='xpath' select=\"" +
                   pick({"//*", "/base:config//onu[onu-id=1]", "//onu/..", "count(/*)",
                         "//password", "/base:config/interface/gpon[port-id='1'] | /x:y"}) +
                   "\"/>";
        default:
            // An edit is as good a filter as any.
            return "<filter type='subtree'>" +
                   fuzz::EditMaker(*host::model_schema(), m_bytes).make_small() + "</filter>";
        }
    }

    std::string pick(const std::vector<std::string> &choices) { return m_bytes.pick(choices); }
    template <typename Wrap>
    std::string pick(const std::vector<std::string> &choices, const Wrap &wrap)
    {
        const std::string one = m_bytes.pick(choices);
        return one.empty() ? one : wrap(one);
    }

    /** Something is missing from the text, or is in it once more. */
    std::string broken(std::string text)
    {
        const std::size_t begin = m_bytes.word() % text.size();
        const std::string part = text.substr(begin, m_bytes.below(40));
        return m_bytes.one_in(2) ? text.insert(begin, part) : text.erase(begin, part.size());
    }

    fuzz::ByteReader &m_bytes;
};

struct FreeInput {
    void operator()(ly_in *input) const { ly_in_free(input, 0); }
};

void require_no_secret(const Call &call)
{
    const bool reads = std::strcmp(call.rpc->schema->name, "get-config") == 0;
    if (!reads || may(call.session->role(), Right::kSeeSecrets)) {
        return;
    }
    try {
        const auto data = get_config(call).data;
        require(data->find("$8$") == std::string::npos, "a secret is told: " + *data);
    } catch (const RpcFailure &) {
    } catch (const engine::InputError &) {
    }
}

/** As the library does with what it receives: what is none of the model has no answer of ours. */
void answer(const SessionPtr &session, const std::string &body)
{
    Server &one = server();
    std::string text = kRpcBegin + body + "</rpc>";
    if (const auto rejection = inspect(one.context.get(), text)) {
        text = message_of(*rejection);
    }
    ly_in *input = nullptr;
    ly_in_new_memory(text.c_str(), &input);
    const std::unique_ptr<ly_in, FreeInput> owned(input);
    lyd_node *envelope = nullptr;
    lyd_node *rpc = nullptr;
    const LY_ERR result = lyd_parse_op(one.context.get(), nullptr, input, LYD_XML,
                                       LYD_TYPE_RPC_NETCONF, &envelope, &rpc);
    const Tree owned_envelope(envelope);
    const Tree owned_rpc(rpc);
    ly_err_clean(one.context.get(), nullptr);
    if (result != LY_SUCCESS || rpc == nullptr ||
        std::strcmp(rpc->schema->name, "close-session") == 0) {
        ++statistics().dropped;
        return;
    }
    const auto before = one.device.history().running_number();
    Output output;
    const Call call{one.device, session, rpc, one.context.get(), nullptr, output, true};
    nc_server_reply *reply = host::twin::answer(call);
    require(reply != nullptr, "no answer to " + body);
    nc_server_reply_free(reply);
    require_no_secret(call);
    ++statistics().rpcs;
    statistics().changes += one.device.history().running_number() != before ? 1 : 0;
    require(session->role() != Role::kViewer || one.device.history().running_number() == before,
            "a viewer has changed what is running with " + body);
}

std::string running_text()
{
    std::string text;
    server().device.data().read_running(
        [&](const engine::Datastore &tree) { text = tree.print(engine::Format::kXml); });
    return text;
}

/** What is running is what the history would start with. */
void require_history(const std::string &input)
{
    const auto stored = server().device.history().running();
    const std::string text = tree_of(host::model_schema(), stored).print(engine::Format::kXml);
    require(text == running_text(),
            "the history has\n" + text + "\nrunning is\n" + running_text() + "\nafter\n" + input);
}

/** The edit of a commit gives the candidate wherever what is running is there. */
void require_plan(const std::string &input)
{
    auto &data = server().device.data();
    const std::string edit = data.plan_commit().edit.text;
    std::string expected;
    std::string actual;
    data.read_candidate(
        [&](const engine::Datastore &tree) { expected = tree.print(engine::Format::kXml); });
    data.read_running([&](const engine::Datastore &tree) {
        try {
            actual = (edit.empty() ? tree.copy() : engine::apply_edit(tree, {"change", edit}))
                         .print(engine::Format::kXml);
        } catch (const engine::InputError &failure) {
            // A candidate with an entry twice has no edit; the commit is told so.
            const bool is_twice = failure.problems().front().fault == engine::Fault::kDuplicate;
            actual = is_twice ? expected : failure.what();
        }
    });
    require(actual == expected, "the edit\n" + edit + "\ngives\n" + actual +
                                    "\nthe candidate is\n" + expected + "\nafter\n" + input);
}

void end_all(const std::vector<SessionPtr> &sessions)
{
    Device &device = server().device;
    for (const auto &session : sessions) {
        device.end_session(session, "closed");
    }
    require(device.sessions().size() == 0, "a session is left");
    for (const auto datastore : kDatastores) {
        require(!device.sessions().lock_of(datastore), "a lock is left");
    }
}

/** Back to how it began. */
void reset()
{
    const auto session = begin_session(Role::kAdmin);
    for (const char *body :
         {"<cancel-commit><persist-id>a</persist-id></cancel-commit>", "<discard-changes/>",
          "<rollback xmlns='urn:olt:gpon:twin:history'><commit>0</commit><confirm-warnings/>"
          "</rollback>"}) {
        answer(session, body);
    }
    end_all({session});
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // The check process is this program once more.
    if (*argc == 2 && std::strcmp((*argv)[1], kCheckProcess) == 0) {
        _exit(run_check_process());
    }
    server();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr int kMaxRpcs = 16;
    std::vector<SessionPtr> sessions;
    for (const Role role : kRoles) {
        sessions.push_back(begin_session(role));
    }
    std::string told;
    const auto ask = [&](const SessionPtr &session, const std::string &body) {
        told += std::string(name_of(session->role())) + ": " + body + '\n';
        answer(session, body);
    };
    if (size > 0 && data[0] == '<') {
        ask(sessions.front(), {reinterpret_cast<const char *>(data), size});
    } else {
        fuzz::ByteReader bytes(data, size);
        for (int i = 0; i < kMaxRpcs && !bytes.is_empty(); ++i) {
            const SessionPtr session = bytes.pick(sessions);
            ask(session, RpcMaker(bytes).make());
        }
    }
    require_history(told);
    require_plan(told);
    end_all(sessions);
    require_history(told + "(all sessions have ended)");
    reset();
    return 0;
}
