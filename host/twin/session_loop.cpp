#include "twin/session_loop.h"

#include "report/printable.h"
#include "twin/inspection.h"
#include "twin/rpc.h"

#include <cstring>
#include <iostream>
#include <poll.h>
#include <thread>

namespace host::twin
{
namespace
{

/** Of one session, for the callback. */
struct Client {
    SessionPtr session;
    Output output; /**< What is being sent. */
};

/** libnetconf2 has one callback for all servers of a process. */
std::atomic<SessionLoop *> current_loop{nullptr};

nc_server_reply *answer_rpc(lyd_node *rpc, nc_session *session)
{
    SessionLoop *loop = current_loop;
    return loop != nullptr ? loop->answer(rpc, session) : nullptr;
}

const char *reason_of(const nc_session *session)
{
    switch (nc_session_get_term_reason(session)) {
    case NC_SESSION_TERM_CLOSED:
        return "closed";
    case NC_SESSION_TERM_KILLED:
        return "killed";
    case NC_SESSION_TERM_TIMEOUT:
        return "timeout";
    case NC_SESSION_TERM_DROPPED:
        return "dropped";
    default:
        return "other";
    }
}

lyd_node *event_tree(const ly_ctx *context, const std::string &body)
{
    ly_in *input = nullptr;
    lyd_node *tree = nullptr;
    if (ly_in_new_memory(body.c_str(), &input) == LY_SUCCESS) {
        lyd_parse_op(context, nullptr, input, LYD_XML, LYD_TYPE_NOTIF_YANG, &tree, nullptr);
        ly_in_free(input, 0);
    }
    return tree;
}

/** One that the relay has found to be no request at all. */
bool is_bad_rpc(const lyd_node *rpc)
{
    return std::strcmp(rpc->schema->module->name, kRejectModule) == 0 &&
           error_of_reject(rpc).type == "rpc";
}

} // namespace

SessionLoop::SessionLoop(Device &device, const ly_ctx *context, LoopSetup setup)
    : m_device(device), m_context(context), m_setup(std::move(setup)),
      m_until_failure(m_setup.fail_at)
{
    current_loop = this;
    nc_set_global_rpc_clb(answer_rpc);
    // libnetconf2 has answers of its own, but for those that have one already.
    for (const char *path :
         {"/ietf-netconf-monitoring:get-schema", "/ietf-netconf:close-session"}) {
        const auto *schema = lys_find_path(context, nullptr, path, 0);
        const_cast<lysc_node *>(schema)->priv = reinterpret_cast<void *>(answer_rpc);
    }
}

SessionLoop::~SessionLoop()
{
    end();
    current_loop = nullptr;
}

void SessionLoop::end()
{
    m_ends = true;
    m_device.sessions().wake_all();
    std::unique_lock lock(m_mutex);
    m_ended.wait(lock, [this] { return m_running == 0; });
}

bool SessionLoop::spawn(std::function<void()> work)
{
    constexpr int kMaxThreads = 1000;
    {
        const std::lock_guard lock(m_mutex);
        if (m_running >= kMaxThreads) {
            return false;
        }
        ++m_running;
    }
    std::thread([this, work = std::move(work)] {
        work();
        const std::lock_guard lock(m_mutex);
        --m_running;
        m_ended.notify_all();
    }).detach();
    return true;
}

void SessionLoop::note(const std::string &text) const
{
    if (m_setup.verbose) {
        std::cerr << "gpon-twin: " << printable(text) << '\n';
    }
}

nc_server_reply *SessionLoop::answer(const lyd_node *rpc, nc_session *handle)
{
    ly_err_clean(const_cast<ly_ctx *>(m_context), nullptr);
    auto &client = *static_cast<Client *>(nc_session_get_data(handle));
    const auto &session = client.session;
    session->count(is_bad_rpc(rpc) ? &MessageCounts::in_bad_rpcs : &MessageCounts::in_rpcs);
    std::this_thread::sleep_for(m_setup.latency);
    if (must_fail(rpc->schema->name)) {
        return make_reply(m_context, {RpcError{"operation-failed", "This call fails on purpose."}});
    }
    return twin::answer(
        {m_device, session, rpc, m_context, handle, client.output, m_setup.writable_running});
}

bool SessionLoop::must_fail(const std::string &rpc)
{
    return rpc == m_setup.fail_rpc && --m_until_failure == 0;
}

void SessionLoop::serve(int fd, const Author &author, Role role)
{
    nc_session *handle = nullptr;
    if (nc_accept_inout(fd, fd, author.user.c_str(), &handle) == NC_MSG_HELLO) {
        run(handle, author, role, fd);
    } else {
        m_device.sessions().count_bad_hello();
    }
}

void SessionLoop::run(nc_session *handle, Author author, Role role, int fd)
{
    author.session = nc_session_get_id(handle);
    const auto session = std::make_shared<Session>(std::move(author), role);
    Client client{session, {}};
    nc_session_set_data(handle, &client);
    nc_pollsession *polled = nc_ps_new();
    nc_ps_add_session(polled, handle);
    m_device.begin_session(session);
    while (!m_ends && step(polled, session, fd)) {
        client.output = {};
    }
    if (session->killed_by() != 0) {
        nc_session_set_term_reason(handle, NC_SESSION_TERM_KILLED);
        nc_session_set_killed_by(handle, session->killed_by());
    }
    m_device.end_session(session, reason_of(handle));
    nc_ps_clear(polled, 1, nullptr);
    nc_ps_free(polled);
}

bool SessionLoop::step(nc_pollsession *polled, const SessionPtr &session, int fd)
{
    session->clear_wake();
    send_posts(nc_ps_get_session(polled, 0), *session);
    if (session->killed_by() != 0) {
        return false;
    }
    const int result = nc_ps_poll(polled, 0, nullptr);
    if ((result & NC_PSPOLL_BAD_RPC) != 0) {
        session->count(&MessageCounts::in_bad_rpcs);
    }
    if ((result & NC_PSPOLL_REPLY_ERROR) != 0) {
        session->count(&MessageCounts::out_rpc_errors);
    }
    if ((result & (NC_PSPOLL_SESSION_TERM | NC_PSPOLL_ERROR)) != 0) {
        return false;
    }
    if ((result & NC_PSPOLL_TIMEOUT) != 0) {
        pollfd ready[] = {{session->wake_fd(), POLLIN, 0}, {fd, POLLIN, 0}};
        ::poll(ready, 2, -1);
    }
    return true;
}

void SessionLoop::send_posts(nc_session *handle, Session &session)
{
    constexpr int kPatience = 10'000;
    for (const auto &event : session.take_posts()) {
        if (nc_session_get_notif_status(handle) == 0) {
            nc_session_inc_notif_status(handle); // libnetconf2 sends events to nobody else.
        }
        lyd_node *tree = event_tree(m_context, event.body);
        if (tree == nullptr) {
            continue;
        }
        nc_server_notif *notification =
            nc_server_notif_new(tree, strdup(text_of(event.time).c_str()), NC_PARAMTYPE_FREE);
        if (nc_server_notif_send(handle, notification, kPatience) == NC_MSG_NOTIF) {
            session.count(&MessageCounts::out_notifications);
        }
        nc_server_notif_free(notification);
    }
}

} // namespace host::twin
