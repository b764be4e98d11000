#include "twin/state_data.h"

#include "twin/event_bodies.h"

#include <array>

namespace host::twin
{
namespace
{

constexpr const char *kState = "/ietf-netconf-monitoring:netconf-state";

/** Adds leaves to one tree by their paths. */
class StateTree
{
public:
    explicit StateTree(const ly_ctx *context) : m_context(context) {}

    void add(const std::string &path, const std::string &value)
    {
        lyd_node *node = nullptr;
        lyd_new_path(m_tree.get(), m_context, path.c_str(), value.c_str(), LYD_NEW_PATH_UPDATE,
                     &node);
        if (m_tree == nullptr) {
            m_tree.reset(node);
        }
    }
    /** An entry of a leaf-list, which has no path of its own. */
    void add_entry(const std::string &parent, const char *name, const char *value)
    {
        add(parent, "");
        lyd_node *node = nullptr;
        if (lyd_find_path(m_tree.get(), parent.c_str(), 0, &node) == LY_SUCCESS) {
            lyd_new_term(node, nullptr, name, value, 0, nullptr);
        }
    }
    void merge(lyd_node *other)
    {
        lyd_node *tree = m_tree.release();
        lyd_merge_siblings(&tree, other, LYD_MERGE_DESTRUCT);
        m_tree.reset(tree);
    }
    Tree take() { return std::move(m_tree); }

private:
    const ly_ctx *m_context;
    Tree m_tree;
};

void add_schemas(StateTree &state, const ly_ctx *context)
{
    std::uint32_t index = 0;
    while (const auto *module = ly_ctx_get_module_iter(context, &index)) {
        const std::string entry = std::string(kState) + "/schemas/schema[identifier='" +
                                  module->name + "'][version='" +
                                  (module->revision != nullptr ? module->revision : "") +
                                  "'][format='ietf-netconf-monitoring:yang']";
        state.add(entry + "/namespace", module->ns);
        state.add(entry + "/location", "NETCONF");
    }
}

const char *transport_of(const Author &author)
{
    return author.transport == "ssh"   ? "ietf-netconf-monitoring:netconf-ssh"
           : author.transport == "tls" ? "ietf-netconf-monitoring:netconf-tls"
                                       : nullptr;
}

void add_counts(StateTree &state, const std::string &parent, const MessageCounts &counts)
{
    state.add(parent + "/in-rpcs", std::to_string(counts.in_rpcs));
    state.add(parent + "/in-bad-rpcs", std::to_string(counts.in_bad_rpcs));
    state.add(parent + "/out-rpc-errors", std::to_string(counts.out_rpc_errors));
    state.add(parent + "/out-notifications", std::to_string(counts.out_notifications));
}

/** The module knows no transport for a UNIX socket, and a session must have one. */
void add_session(StateTree &state, const Session &session)
{
    const auto &author = session.author();
    const std::string entry = std::string(kState) + "/sessions/session[session-id='" +
                              std::to_string(session.id()) + "']";
    const char *transport = transport_of(author);
    state.add(entry + "/transport",
              transport != nullptr ? transport : "ietf-netconf-monitoring:netconf-ssh");
    state.add(entry + "/username", author.user);
    if (!author.host.empty()) {
        state.add(entry + "/source-host", author.host);
    }
    state.add(entry + "/login-time", text_of(session.begin()));
    add_counts(state, entry, session.counts());
}

void add_statistics(StateTree &state, const Device &device, const SessionCounts &counts)
{
    const std::string statistics = std::string(kState) + "/statistics";
    state.add(statistics + "/netconf-start-time", text_of(device.log_created()));
    state.add(statistics + "/in-bad-hellos", std::to_string(counts.in_bad_hellos));
    state.add(statistics + "/in-sessions", std::to_string(counts.in_sessions));
    state.add(statistics + "/dropped-sessions", std::to_string(counts.dropped_sessions));
    add_counts(state, statistics, counts.messages);
}

void add_datastores(StateTree &state, const Sessions &sessions)
{
    for (const auto datastore :
         {DatastoreName::kRunning, DatastoreName::kCandidate, DatastoreName::kStartup}) {
        const std::string entry =
            std::string(kState) + "/datastores/datastore[name='" + name_of(datastore) + "']";
        state.add(entry, "");
        if (const auto lock = sessions.lock_of(datastore)) {
            const std::string global = entry + "/locks/global-lock/";
            state.add(global + "locked-by-session", std::to_string(lock->session));
            state.add(global + "locked-time", text_of(lock->since));
        }
    }
}

void add_stream(StateTree &state, const Device &device)
{
    const std::string stream = "/nc-notifications:netconf/streams/stream[name='NETCONF']/";
    state.add(stream + "description", "All events of the card.");
    state.add(stream + "replaySupport", "true");
    state.add(stream + "replayLogCreationTime", text_of(device.log_created()));
}

} // namespace

Tree state_data(Device &device, const ly_ctx *context)
{
    StateTree state(context);
    const char **capabilities = nc_server_get_cpblts(const_cast<ly_ctx *>(context));
    for (const char **one = capabilities; one != nullptr && *one != nullptr; ++one) {
        state.add_entry(std::string(kState) + "/capabilities", "capability", *one);
        lydict_remove(context, *one);
    }
    std::free(capabilities);
    add_datastores(state, device.sessions());
    add_schemas(state, context);
    for (const auto &session : device.sessions().all()) {
        add_session(state, *session);
    }
    add_statistics(state, device, device.sessions().counts());
    add_stream(state, device);
    lyd_node *library = nullptr;
    if (ly_ctx_get_yanglib_data(context, &library, "%u", ly_ctx_get_change_count(context)) ==
        LY_SUCCESS) {
        state.merge(library);
    }
    return state.take();
}

} // namespace host::twin
