#include "twin/rpc.h"

namespace host::twin
{
namespace
{

std::string startup_text(const Call &call)
{
    return call.device.startup().print(engine::Format::kXml);
}

/** What a datastore or an inline configuration would make of what is running. */
Change change_of(const Call &call, const Place &source)
{
    if (source.config) {
        return {ChangeForm::kCandidate, *source.config};
    }
    switch (*source.datastore) {
    case DatastoreName::kCandidate:
        return {ChangeForm::kEdit, {"candidate", call.device.data().plan_commit().edit.text}};
    case DatastoreName::kStartup:
        return {ChangeForm::kCandidate, {"startup", startup_text(call)}};
    case DatastoreName::kRunning:
        break;
    }
    return {ChangeForm::kNone, {"running", ""}};
}

CommitRequest request_of(const Call &call)
{
    CommitRequest request;
    request.confirmed = call.has("confirmed");
    if (const auto timeout = call.text("confirm-timeout")) {
        request.timeout = std::chrono::seconds(std::stoul(*timeout));
    }
    request.persist = call.text("persist");
    request.persist_id = call.text("persist-id");
    return request;
}

} // namespace

Reply validate(const Call &call)
{
    const auto source = place_of(call, "source");
    call.device.check(*call.session, call.has("confirm-warnings"),
                      [&] { return change_of(call, source); });
    return {};
}

Reply commit(const Call &call)
{
    require_unlocked(call, DatastoreName::kRunning);
    require_unlocked(call, DatastoreName::kCandidate);
    call.device.change_running(
        {*call.session, CommitKind::kCommit, request_of(call), call.has("confirm-warnings")},
        [&call] { return call.device.data().plan_commit(); });
    return {};
}

Reply cancel_commit(const Call &call)
{
    call.device.cancel(*call.session, call.text("persist-id"));
    return {};
}

} // namespace host::twin
