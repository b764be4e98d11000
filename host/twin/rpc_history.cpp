#include "twin/event_bodies.h"
#include "twin/rpc.h"
#include "twin/server_context.h"

#include <pugixml.hpp>
#include <sstream>

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

void add_commit(pugi::xml_node commits, const Commit &commit)
{
    auto entry = commits.append_child("commit");
    const auto add = [&entry](const char *name, const std::string &text) {
        entry.append_child(name).text() = text.c_str();
    };
    add("number", std::to_string(commit.number));
    add("base", std::to_string(commit.base));
    add("time", text_of(EventTime(std::chrono::milliseconds(commit.time_ms))));
    if (!commit.author.user.empty()) {
        add("user", commit.author.user);
    }
    add("kind", name_of(commit.kind));
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
    pugi::xml_document document;
    auto commits = document.append_child("commits");
    commits.append_attribute("xmlns") = kHistoryNamespace;
    unsigned long told = 0;
    for (const auto &commit : call.device.history().commits()) {
        const bool changed_running =
            commit.verdict == name_of(Result::kAccepted) && commit.kind != CommitKind::kConfirm;
        if (changed_running && told++ < limit) {
            add_commit(commits, commit);
        }
    }
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return Reply{text.str()};
}

} // namespace host::twin
