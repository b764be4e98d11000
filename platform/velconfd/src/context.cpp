#include "velconfd.h"
#include "velconfd_host.h"

#include "engine/session/framework.h"
#include "zlog_host.h"

#include <map>
#include <string>
#include <vector>

using engine::Framework;
using engine::SocketKind;

namespace velconfd
{

namespace
{

/** What a live context has open. */
struct Sockets {
    int maapi = 0;
    std::vector<int> sessions; /**< CDB sockets; the latest is last. */
};

/** All live contexts by their words. */
std::map<const void *, Sockets> &live_contexts()
{
    static std::map<const void *, Sockets> contexts;
    return contexts;
}

/** Callers see no more than -1: the reason goes into the trace. */
void note(const std::string &text)
{
    constexpr int kErrorLevel = 12;
    zlog_host::write({"velconfd", "", "", 0, kErrorLevel, text});
}

/** Null, and a note, for a word behind which no context stands. */
Sockets *find(const void *word)
{
    const auto found = live_contexts().find(word);
    if (found == live_contexts().end()) {
        note("the context word is not that of a live context");
        return nullptr;
    }
    return &found->second;
}

/** A framework that has gone took its sockets with it. */
void close(int sock)
{
    if (Framework::exists()) {
        Framework::current().close_socket(sock);
    }
}

} // namespace

Context::Context()
{
    const int maapi = Framework::current().open_socket(SocketKind::kMaapi);
    live_contexts().emplace(this, Sockets{maapi, {}});
}

Context::~Context()
{
    const auto self = live_contexts().extract(this);
    for (const int session : self.mapped().sessions) {
        close(session);
    }
    close(self.mapped().maapi);
}

int Context::open_sessions() const
{
    return static_cast<int>(live_contexts().at(this).sessions.size());
}

} // namespace velconfd

int velconfd_maapi_socket_get(void *context)
{
    const velconfd::Sockets *sockets = velconfd::find(context);
    return sockets != nullptr ? sockets->maapi : -1;
}

int velconfd_config_session_start(void *context)
{
    velconfd::Sockets *sockets = velconfd::find(context);
    if (sockets == nullptr) {
        return -1;
    }
    try {
        engine::Hooks::instance().on_call("velconfd_config_session_start");
        const int session = Framework::current().open_socket(SocketKind::kCdb);
        sockets->sessions.push_back(session);
        return session;
    } catch (const engine::Error &error) {
        velconfd::note(std::string("no read session: ") + error.what());
        return -1;
    }
}

void velconfd_config_session_end(void *context)
{
    velconfd::Sockets *sockets = velconfd::find(context);
    if (sockets == nullptr || sockets->sessions.empty()) {
        return;
    }
    velconfd::close(sockets->sessions.back());
    sockets->sessions.pop_back();
}
