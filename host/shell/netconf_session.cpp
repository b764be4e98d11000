#include "shell/netconf_session.h"

#include "checker/model_schema.h"
#include "engine/data/defaults.h"
#include "report/words.h"
#include "shell/server_texts.h"
#include "twin/masking.h"

#include <utility>

namespace host::shell
{
namespace
{

using engine::Datastore;

std::string in_netconf(const std::string &name, const std::string &content)
{
    return "<" + name + " xmlns=\"" + twin::kNetconfNamespace + "\">" + content + "</" + name + ">";
}

} // namespace

NetconfSession::NetconfSession(ServerAddress address, FileSetup rules, Interrupt &interrupt)
    : m_interrupt(interrupt), m_client(std::move(address), interrupt), m_rules(std::move(rules))
{
    m_client.connect();
    if (!m_client.offers("urn:ietf:params:netconf:capability:candidate:1.0")) {
        throw SessionError(name() + " has no candidate to work on");
    }
    load();
}

// Datastores lends its trees for as long as others cannot change them. Here nobody else is.
const Datastore &NetconfSession::running() const
{
    const Datastore *tree = nullptr;
    m_data->read_running([&tree](const Datastore &running) { tree = &running; });
    return *tree;
}

const Datastore &NetconfSession::candidate() const
{
    const Datastore *tree = nullptr;
    m_data->read_candidate([&tree](const Datastore &candidate) { tree = &candidate; });
    return *tree;
}

std::string NetconfSession::read(const std::string &datastore)
{
    auto reply = m_client.ask(in_netconf("get-config", "<source><" + datastore + "/></source>"));
    if (!reply.errors.empty()) {
        refuse(reply.errors);
    }
    return std::move(reply.data);
}

Datastore NetconfSession::parsed(const std::string &datastore, const std::string &xml) const
{
    // A device has other models besides.
    Datastore tree =
        xml.empty()
            ? Datastore(model_schema())
            : Datastore::parse(model_schema(),
                               {datastore + " of " + name(), without_masked(xml), {true, ""}});
    if (!xml.empty() && tree.root() == nullptr) {
        throw SessionError(name() + " has no configuration of this card's model");
    }
    engine::add_defaults(tree);
    return tree;
}

void NetconfSession::take_candidate(twin::Datastores &data, const std::string &xml) const
{
    const auto difference = data.plan_replacement(parsed("candidate", xml));
    data.discard();
    if (!difference.edit.text.empty()) {
        data.edit_candidate({"candidate", difference.edit.text, {}});
    }
}

/** The copies. The candidate is compared, so that it counts as modified only if it is. */
void NetconfSession::load()
{
    const auto running = read("running");
    const auto candidate = read("candidate");
    auto data = std::make_unique<twin::Datastores>(parsed("running", running));
    if (candidate != running) {
        take_candidate(*data, candidate);
    }
    m_data = std::move(data);
    m_hides_secrets = twin::Masking(*model_schema()).is_masked(candidate);
    m_is_lost = false;
}

void NetconfSession::refresh()
{
    if (m_is_lost) { // The copies are all that there is.
        return;
    }
    try {
        if (m_client.tells_events()) { // Of what is running, but not of the candidate.
            take_candidate(*m_data, read("candidate"));
        } else {
            load();
        }
    } catch (const ConnectionLost &failure) {
        recover(failure.what());
    }
}

/** Makes what was not committed again where the server has lost it. @return What has happened. */
std::string NetconfSession::connect_again()
{
    const std::string pending = m_data->plan_commit().edit.text;
    const Datastore wanted = candidate().copy();
    m_client.connect();
    load();
    std::string news = "connected again";
    if (std::exchange(m_awaits_confirmation, false)) { // It ends with the session that made it.
        news += "; the commit that was not confirmed is undone";
    }
    if (pending.empty() || is_modified()) {
        return news;
    }
    if (m_data->plan_replacement(wanted).edit.text.empty()) {
        return news + "; what was to be committed is running";
    }
    try {
        m_data->edit_candidate({"", pending, {}});
        const auto reply = m_client.ask(in_netconf(
            "edit-config", "<target><candidate/></target><config>" + pending + "</config>"));
        if (reply.errors.empty()) {
            return news + "; what was not committed is in the candidate again";
        }
    } catch (const engine::InputError &) {
        // What is running now has no place for it.
    }
    load();
    return news + "; what was not committed is lost";
}

ServerReply NetconfSession::ask(const std::string &body)
{
    require_connection();
    try {
        return m_client.ask(body);
    } catch (const ConnectionLost &failure) {
        recover(failure.what());
    }
}

void NetconfSession::recover(const std::string &reason)
{
    m_is_lost = true;
    std::string now;
    try {
        now = connect_again() + ". `show | compare` tells what is not committed";
    } catch (const SessionError &failure) {
        m_is_lost = true;
        now = failure.what();
    }
    throw SessionError(reason + ": " + now);
}

void NetconfSession::refuse(const std::vector<ServerError> &errors) const
{
    throw SessionError(name() + " refuses: " + words_of(errors));
}

void NetconfSession::require_done(const std::string &body)
{
    const auto reply = ask(body);
    if (!reply.errors.empty()) {
        load(); // What is held here must not be ahead of the server.
        refuse(reply.errors);
    }
}

void NetconfSession::send_candidate(const std::string &edit)
{
    if (!edit.empty()) {
        require_done(in_netconf("edit-config",
                                "<target><candidate/></target><config>" + edit + "</config>"));
    }
}

void NetconfSession::require_connection() const
{
    if (m_is_lost) {
        throw SessionError(name() + " is gone");
    }
}

/** Tried here first: its faults are told as for a file. */
void NetconfSession::edit(const engine::Source &edit)
{
    require_connection();
    if (edit.name.empty()) { // Of a command: the server takes it as it is.
        m_data->edit_candidate(edit);
        send_candidate(edit.text);
        return;
    }
    const Datastore before = candidate().copy();
    m_data->edit_candidate(edit);
    twin::Touched anywhere;
    anywhere.add_everything();
    send_candidate(twin::edit_between(before, candidate(), anywhere).text);
}

void NetconfSession::replace(const engine::Source &configuration)
{
    require_connection();
    const Datastore before = candidate().copy();
    m_data->replace_candidate(configuration);
    twin::Touched anywhere;
    anywhere.add_everything();
    send_candidate(twin::edit_between(before, candidate(), anywhere).text);
}

void NetconfSession::discard()
{
    require_done(in_netconf("discard-changes", ""));
    m_data->discard();
}

Verdict NetconfSession::commit(const CommitRequest &request)
{
    std::string content =
        request.checks_only ? "<source><candidate/></source>"
        : request.confirm_within
            ? "<confirmed/><confirm-timeout>" +
                  std::to_string(std::chrono::seconds(*request.confirm_within).count()) +
                  "</confirm-timeout>"
            : "";
    if (request.confirms_warnings) {
        content += std::string("<confirm-warnings xmlns=\"") + twin::kConfirmNamespace + "\"/>";
    }
    const bool changes = is_modified();
    std::optional<CommitLog::Commit> entry;
    if (changes && !request.checks_only && !keeps_history()) {
        entry = CommitLog::commit_of(running(), candidate());
    }
    m_last = ask(in_netconf(request.checks_only ? "validate" : "commit", content)).errors;
    m_has_verdict = true;
    Verdict verdict = verdict_of(m_last, m_rules.style);
    if (verdict.result == Result::kAccepted && !request.checks_only) {
        if (m_awaits_confirmation) {
            verdict.conclusion += "The commit before is confirmed.\n";
        }
        m_awaits_confirmation = request.confirm_within.has_value();
        if (entry) {
            m_commits.add(std::move(*entry));
        }
        try {
            load();
        } catch (const ConnectionLost &) {
            m_is_lost = true; // It is committed all the same.
        }
    }
    return verdict;
}

std::string NetconfSession::explain() const
{
    return m_has_verdict ? explanation_of(m_last, m_rules.style) : "";
}

nlohmann::ordered_json NetconfSession::explain_json() const
{
    return m_has_verdict ? json_of(m_last) : nullptr;
}

/** The rules of this machine, asked about what the server has. */
std::string NetconfSession::headroom(const HeadroomDetail &detail)
{
    refresh();
    FileSetup setup = m_rules;
    setup.running = {"running of " + name(), running().print(engine::Format::kXml), {}};
    FileSession card(std::move(setup), m_interrupt);
    if (is_modified()) {
        card.replace({"candidate of " + name(), candidate().print(engine::Format::kXml), {}});
    }
    return card.headroom(detail);
}

bool NetconfSession::keeps_history() const
{
    return m_client.offers(twin::kHistoryNamespace);
}

CommitHistory NetconfSession::history(std::size_t limit)
{
    if (!keeps_history()) {
        return {m_commits.entries(limit),
                "The server keeps no history: these are the commits of this shell."};
    }
    const auto reply = ask(std::string("<get-commits xmlns=\"") + twin::kHistoryNamespace +
                           "\"><limit>" + std::to_string(limit) + "</limit></get-commits>");
    if (!reply.errors.empty()) {
        refuse(reply.errors);
    }
    CommitHistory history;
    for (auto &commit : commits_in(reply.data)) {
        history.commits.push_back(std::move(commit.entry));
    }
    return history;
}

void NetconfSession::roll_back(std::size_t commits)
{
    if (!keeps_history()) {
        const auto edits = m_commits.undo(commits);
        discard();
        for (const auto &one : edits) {
            edit(one);
        }
        return;
    }
    const std::string ns = std::string(" xmlns=\"") + twin::kHistoryNamespace + "\"";
    const auto reply =
        ask("<get-commits" + ns + "><limit>" + std::to_string(commits) + "</limit></get-commits>");
    const auto known = commits_in(reply.data);
    if (!reply.errors.empty() || known.size() < commits) {
        throw SessionError(reply.errors.empty()
                               ? "the server knows " + plural(known.size(), "commit") + ", no more"
                               : name() + " refuses: " + words_of(reply.errors));
    }
    require_done("<rollback" + ns + "><commit>" + std::to_string(known.back().base) +
                 "</commit><candidate/></rollback>");
    refresh();
}

/** What other sessions, and time, have done. */
std::string NetconfSession::news_of_others()
{
    std::string news;
    bool is_stale = false;
    bool is_undone = false;
    for (const auto &xml : m_client.take_events()) {
        const auto event = read_event(xml);
        if (event.is_too_late) {
            m_awaits_confirmation = false;
            is_undone = true;
            news += "A commit was not confirmed in time: it is undone.\n";
        } else if (event.is_change && event.session != m_client.session_id()) {
            is_stale = true;
            if (!is_undone || !event.user.empty()) {
                news += (event.user.empty() ? "The server" : event.user) +
                        " has changed what is running.\n";
            }
        }
    }
    if (is_stale) {
        load();
    }
    return news;
}

std::string NetconfSession::news()
{
    try {
        auto news = news_of_others(); // Notices where the server is gone.
        if (m_client.is_connected() && !m_is_lost) {
            return news;
        }
    } catch (const ConnectionLost &) {
        m_is_lost = true;
    }
    try {
        return name() + " was gone: " + connect_again() + ".\n";
    } catch (const SessionError &failure) {
        m_is_lost = true;
        return std::string(failure.what()) + ". What is shown was read before.\n";
    }
}

std::string NetconfSession::unsaved() const
{
    if (has_changes()) {
        return m_is_lost ? "Changes were not committed, and are lost with the server."
                         : "Changes were not committed; they stay in the server's candidate.";
    }
    return m_awaits_confirmation ? "A commit is not confirmed: it is undone when this session ends."
                                 : "";
}

} // namespace host::shell
