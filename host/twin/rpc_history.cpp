#include "twin/event_bodies.h"
#include "twin/rpc.h"

#include <algorithm>

namespace host::twin
{
namespace
{

[[noreturn]] void refuse_commit(const HistoryError &failure)
{
    RpcError error{"invalid-value", failure.what()};
    error.info.emplace_back("bad-element", "commit");
    throw RpcFailure(std::move(error));
}

/** Into the candidate, for a commit to follow. */
void prepare_rollback(const Call &call, CommitNumber number)
{
    require_unlocked(call, DatastoreName::kCandidate);
    try {
        const auto tree = call.device.configuration(number);
        call.device.data().replace_candidate({"rollback", tree.print(engine::Format::kXml), {}});
    } catch (const HistoryError &failure) {
        refuse_commit(failure);
    }
}

void add_leaf(lyd_node *parent, const char *name, const std::string &value)
{
    lyd_new_term(parent, nullptr, name, value.c_str(), 1, nullptr);
}

void add_commit(lyd_node *output, const Commit &commit)
{
    lyd_node *entry = nullptr;
    lyd_new_list(output, nullptr, "commit", 1, &entry, std::to_string(commit.number).c_str());
    add_leaf(entry, "base", std::to_string(commit.base));
    add_leaf(entry, "time", text_of(EventTime(std::chrono::milliseconds(commit.time_ms))));
    if (!commit.author.user.empty()) {
        add_leaf(entry, "user", commit.author.user);
    }
    add_leaf(entry, "kind", name_of(commit.kind));
}

} // namespace

Reply rollback(const Call &call)
{
    const CommitNumber number = std::stol(call.text("commit").value());
    if (call.has("candidate")) {
        prepare_rollback(call, number);
        return {};
    }
    require_unlocked(call, DatastoreName::kRunning);
    call.device.change_running(
        {*call.session, CommitKind::kRollback, {}, call.has("confirm-warnings")}, [&] {
            try {
                return call.device.plan_rollback(number);
            } catch (const HistoryError &failure) {
                refuse_commit(failure);
            }
        });
    return {};
}

Reply get_commits(const Call &call)
{
    const auto limit = std::stoul(call.text("limit").value_or(std::to_string(UINT32_MAX)));
    lyd_node *output = nullptr;
    lyd_new_inner(nullptr, call.rpc->schema->module, call.rpc->schema->name, 0, &output);
    Reply reply;
    reply.output.reset(output);
    // Never empty: some clients take a reply without content for a broken one.
    add_leaf(output, "running", std::to_string(call.device.history().running_number()));
    unsigned long told = 0;
    for (const auto &commit : call.device.history().commits()) {
        const bool changed_running =
            commit.verdict == name_of(Result::kAccepted) && commit.kind != CommitKind::kConfirm;
        if (changed_running && told++ < limit) {
            add_commit(output, commit);
        }
    }
    return reply;
}

} // namespace host::twin
