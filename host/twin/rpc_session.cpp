#include "twin/rpc.h"

namespace host::twin
{
namespace
{

RpcFailure lock_denied(std::uint32_t owner, const std::string &message)
{
    RpcError error{"lock-denied", message};
    error.type = "protocol";
    error.info.emplace_back("session-id", std::to_string(owner));
    return RpcFailure(std::move(error));
}

} // namespace

Reply lock(const Call &call)
{
    const DatastoreName target = place_of(call, "target").datastore.value();
    auto &sessions = call.device.sessions();
    if (const auto owner = sessions.lock(target, call.session->id())) {
        throw lock_denied(*owner, "Session " + std::to_string(*owner) + " has locked it.");
    }
    const bool is_modified =
        target == DatastoreName::kCandidate && call.device.data().is_modified();
    const bool is_pending =
        target == DatastoreName::kRunning && call.device.waits_for_confirmation();
    if (is_modified || is_pending) {
        sessions.unlock(target, call.session->id());
        throw lock_denied(0, is_modified ? "The candidate has changes that are not committed."
                                         : "A commit waits for its confirmation.");
    }
    return {};
}

Reply unlock(const Call &call)
{
    const DatastoreName target = place_of(call, "target").datastore.value();
    if (!call.device.sessions().unlock(target, call.session->id())) {
        RpcError error{"operation-failed",
                       std::string("This session has not locked ") + name_of(target) + "."};
        error.type = "protocol";
        throw RpcFailure(std::move(error));
    }
    return {};
}

Reply kill_session(const Call &call)
{
    const auto wanted = static_cast<std::uint32_t>(std::stoul(*call.text("session-id")));
    const auto session = call.device.sessions().find(wanted);
    if (session == nullptr || wanted == call.session->id()) {
        RpcError error{"invalid-value", session == nullptr ? "There is no such session."
                                                           : "A session cannot kill itself."};
        error.type = "protocol";
        error.info.emplace_back("bad-element", "session-id");
        throw RpcFailure(std::move(error));
    }
    session->kill(call.session->id());
    return {};
}

/** Who has got its answer may count on the locks to be free. */
Reply close_session(const Call &call)
{
    call.device.release(*call.session);
    nc_session_set_term_reason(call.handle, NC_SESSION_TERM_CLOSED);
    return {};
}

} // namespace host::twin
