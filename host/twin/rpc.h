/**
 * @file
 * The operations of NETCONF: a handler for each, in files by group.
 */
#pragma once

#include "twin/default_tags.h"
#include "twin/device.h"
#include "twin/reply.h"

namespace host::twin
{

/** A request of a client. */
struct Call {
    Device &device;
    SessionPtr session;
    const lyd_node *rpc;
    const ly_ctx *context;
    nc_session *handle;
    Output &output; /**< Gets what is answered. */
    bool writable_running = false;

    /** Child of that name; null when the client has not sent it. */
    const lyd_node *child(const char *name) const;
    /** Its text; nothing when it is not there. */
    std::optional<std::string> text(const char *name) const;
    bool has(const char *name) const { return child(name) != nullptr; }
};

/** What `source` or `target` names. */
struct Place {
    std::optional<DatastoreName> datastore;
    std::optional<engine::Source> config; /**< Given inline instead. */
};
/** What to throw where a parameter must be there. */
RpcFailure missing_element(const std::string &name);
/** @throws RpcFailure */
Place place_of(const Call &call, const char *parameter);
/** The XML below an anyxml, in an element <config>.
 *  @param edit  How tagged defaults are read; nothing: it is a whole configuration.
 *  @throws RpcFailure */
engine::Source config_of(const lyd_node *any, const std::optional<EditOfDefaults> &edit = {});
/** @throws RpcFailure  Another session has locked it. */
void require_unlocked(const Call &call, DatastoreName datastore);

/** Whether there is an operation of that name. */
bool is_operation(const std::string &name);
/** Answers a request, with all that there is to refuse. */
nc_server_reply *answer(const Call &call);

Reply get(const Call &call);
Reply get_config(const Call &call);
Reply get_schema(const Call &call);

Reply edit_config(const Call &call);
Reply copy_config(const Call &call);
Reply delete_config(const Call &call);
Reply discard_changes(const Call &call);

Reply validate(const Call &call);
Reply commit(const Call &call);
Reply cancel_commit(const Call &call);
Reply rollback(const Call &call);
Reply get_commits(const Call &call);

Reply lock(const Call &call);
Reply unlock(const Call &call);
Reply kill_session(const Call &call);
Reply close_session(const Call &call);

Reply create_subscription(const Call &call);

} // namespace host::twin
