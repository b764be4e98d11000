#include "twin/device.h"

#include "checker/model_schema.h"
#include "engine/data/defaults.h"
#include "twin/stored_tree.h"

#include <algorithm>

namespace host::twin
{
namespace
{

using engine::Datastore;
using engine::Source;
using namespace std::chrono_literals;

/** Others must be answered within a second, if only that somebody is at it. */
constexpr std::chrono::milliseconds kPatience = 800ms;

Author server_itself()
{
    return {"", "", 0, "local", ""};
}

Datastore parsed(const std::shared_ptr<const engine::Schema> &schema, const Source &source)
{
    auto tree = Datastore::parse(schema, source);
    engine::add_defaults(tree);
    return tree;
}

History open(const DeviceSetup &setup)
{
    return setup.state ? History::open(*setup.state, History::Access::kServe)
                       : History::in_memory();
}

/** The first start puts the configuration that the card comes with into the history. */
Datastore load_running(const std::shared_ptr<const engine::Schema> &schema,
                       const DeviceSetup &setup, History &history)
{
    if (history.empty()) {
        Datastore tree(schema);
        engine::add_defaults(tree);
        if (setup.running) {
            tree = parsed(schema, *setup.running);
        }
        history.begin(tree.print(engine::Format::kXml));
        return tree;
    }
    if (const auto pending = history.pending()) {
        Commit commit;
        commit.author = server_itself();
        commit.kind = CommitKind::kRevert;
        history.add(commit, {Step::Form::kRestore, "", pending->restores}, std::nullopt);
    }
    return tree_of(schema, history.running());
}

std::string xml_of(const Datastores &data)
{
    std::string text;
    data.read_running([&](const Datastore &tree) { text = tree.print(engine::Format::kXml); });
    return text;
}

} // namespace

Device::Device(DeviceSetup setup, const ly_ctx *context)
    : m_schema(model_schema()), m_setup(std::move(setup)), m_history(open(m_setup)),
      m_data(load_running(m_schema, m_setup, m_history)),
      m_checks(m_setup.check, [this] { return xml_of(m_data); }), m_masking(*m_schema),
      m_notifications(context, std::chrono::system_clock::now())
{
    m_checks.warm_up();
    m_watch = std::thread([this] { watch_time(); });
}

Device::~Device()
{
    {
        const std::lock_guard lock(m_state);
        m_ends = true;
    }
    m_changed.notify_all();
    m_watch.join();
}

bool Device::waits_for_confirmation() const
{
    const std::lock_guard lock(m_state);
    return m_confirmed.pending().has_value();
}

CheckClient::Turn Device::take_turn()
{
    auto turn = m_checks.take_turn(kPatience);
    if (!turn) {
        throw RpcFailure(RpcError{"in-use", "Another session's change is being checked."});
    }
    return std::move(*turn);
}

void Device::change_running(const ChangeRequest &request, const std::function<Plan()> &make)
{
    auto turn = take_turn();
    {
        const std::lock_guard lock(m_state);
        if (const auto refusal = m_confirmed.refuse(request.commit, request.session.id())) {
            throw RpcFailure(*refusal);
        }
    }
    const Plan plan = make();
    const CheckReport report = ask(turn, plan, request);
    if (report.result != Result::kAccepted) {
        record_refusal(request, plan, report);
        throw RpcFailure(errors_of(report));
    }
    if (request.session.killed_by() != 0) {
        throw RpcFailure(RpcError{"operation-failed", "The session was killed."});
    }
    keep(turn, request, plan, report);
}

CheckReport Device::ask(CheckClient::Turn &turn, const Plan &plan, const ChangeRequest &request)
{
    CheckReport report;
    report.result = Result::kAccepted;
    if (!plan.edit.text.empty()) {
        try {
            report = turn.check({ChangeForm::kEdit, {name_of(request.kind), plan.edit.text}},
                                request.confirms_warnings);
        } catch (const CheckFailure &failure) {
            throw RpcFailure(RpcError{"operation-failed",
                                      std::string(failure.what()) + ". Nothing has changed."});
        }
    }
    return report;
}

void Device::record_refusal(const ChangeRequest &request, const Plan &plan,
                            const CheckReport &report)
{
    Commit commit;
    commit.author = request.session.author();
    commit.kind = request.kind;
    commit.verdict = name_of(report.result);
    m_history.add(commit, {Step::Form::kNothing, plan.edit.text});
}

void Device::keep(CheckClient::Turn &turn, const ChangeRequest &request, const Plan &plan,
                  const CheckReport &report)
{
    const Author &author = request.session.author();
    const CommitNumber before = m_history.running_number();
    const bool changes = !plan.edit.text.empty();
    Commit commit;
    commit.author = author;
    commit.kind = changes ? request.kind : CommitKind::kConfirm;
    commit.confirmations = report.confirmed;
    std::optional<PendingConfirmation> pending;
    bool was_pending = false;
    {
        const std::lock_guard lock(m_state);
        was_pending = m_confirmed.pending().has_value();
        pending = m_confirmed.after(request.commit, author, before);
    }
    if (changes || pending || was_pending) {
        m_history.add(
            commit, changes ? Step{Step::Form::kEdit, plan.edit.text} : Step{Step::Form::kNothing},
            pending);
    }
    if (changes) {
        turn.commit();
    }
    m_data.commit(plan);
    std::optional<ConfirmEvent> event;
    {
        const std::lock_guard lock(m_state);
        event = m_confirmed.committed(request.commit, author, before, now());
    }
    m_changed.notify_all();
    if (event) {
        publish(confirmed_commit_body(author, *event, request.commit.timeout));
    }
    if (changes) {
        tell_change(author, plan);
    }
}

void Device::tell_change(const Author &author, const Plan &plan)
{
    const auto *module = m_schema->module();
    publish(config_change_body(author, "running", plan.edit.places, {{module->name, module->ns}}));
}

void Device::check(const Session &session, bool confirms_warnings,
                   const std::function<Change()> &make)
{
    auto turn = take_turn();
    const Change change = make();
    if (change.form == ChangeForm::kEdit && change.source.text.empty()) {
        return;
    }
    CheckReport report;
    try {
        report = turn.check(change, confirms_warnings);
    } catch (const CheckFailure &failure) {
        throw RpcFailure(RpcError{"operation-failed", std::string(failure.what()) + "."});
    }
    static_cast<void>(session);
    if (report.result != Result::kAccepted) {
        throw RpcFailure(errors_of(report));
    }
}

void Device::cancel(const Session &session, const std::optional<std::string> &persist_id)
{
    Reversal reversal;
    {
        const std::lock_guard lock(m_state);
        if (const auto refusal = m_confirmed.refuse_cancel(persist_id, session.id())) {
            throw RpcFailure(*refusal);
        }
        reversal = m_confirmed.cancel();
    }
    go_back(reversal, session.author());
}

/** Goes back to what was there before: it was accepted then, and nobody is asked. */
void Device::go_back(const Reversal &reversal, const Author &author)
{
    auto turn = m_checks.take_turn(std::chrono::hours(1));
    Commit commit;
    commit.author = author;
    commit.kind = CommitKind::kRevert;
    const Plan plan = plan_rollback(reversal.restores);
    m_history.add(commit, {Step::Form::kRestore, "", reversal.restores}, std::nullopt);
    m_data.commit(plan);
    if (turn) {
        turn->forget();
    }
    publish(confirmed_commit_body(author, reversal.event, 0s));
    if (!plan.edit.text.empty()) {
        tell_change(author, plan);
    }
}

Device::Plan Device::plan_rollback(CommitNumber number)
{
    return m_data.plan_replacement(configuration(number));
}

Datastore Device::configuration(CommitNumber number) const
{
    return configuration(m_history.configuration(number));
}

Datastore Device::configuration(const StoredConfiguration &stored) const
{
    return tree_of(m_schema, stored);
}

Datastore Device::startup() const
{
    const auto stored = m_history.startup();
    return stored ? configuration(*stored) : Datastore(m_schema);
}

void Device::begin_session(const SessionPtr &session)
{
    m_sessions.add(session);
    publish(session_start_body(session->author()));
}

void Device::release(const Session &session)
{
    for (const auto datastore :
         {DatastoreName::kRunning, DatastoreName::kCandidate, DatastoreName::kStartup}) {
        if (m_sessions.lock_of(datastore).value_or(Sessions::Lock{}).session != session.id()) {
            continue;
        }
        if (datastore == DatastoreName::kCandidate) {
            m_data.discard();
        }
        m_sessions.unlock(datastore, session.id());
    }
}

void Device::end_session(const SessionPtr &session, const std::string &reason)
{
    release(*session);
    m_sessions.remove(session->id(), reason == "dropped" || reason == "timeout");
    std::optional<Reversal> reversal;
    {
        const std::lock_guard lock(m_state);
        m_notifications.session_ended(session->id());
        reversal = m_confirmed.session_ended(session->id());
    }
    if (reversal) {
        go_back(*reversal, session->author());
    }
    const auto killer = session->killed_by();
    publish(session_end_body(session->author(), reason,
                             killer != 0 ? std::optional(killer) : std::nullopt));
}

void Device::publish(const std::string &body)
{
    const std::lock_guard lock(m_state);
    send(m_notifications.publish({std::chrono::system_clock::now(), body}));
}

void Device::subscribe(const SessionPtr &session, SubscriptionRequest request)
{
    std::vector<Delivery> replay;
    {
        const std::lock_guard lock(m_state);
        if (const auto refusal = m_notifications.subscribe(
                session->id(), std::move(request), std::chrono::system_clock::now(), replay)) {
            throw RpcFailure(*refusal);
        }
        send(replay);
    }
    m_changed.notify_all();
}

EventTime Device::log_created() const
{
    const std::lock_guard lock(m_state);
    return m_notifications.log_created();
}

/** @pre  m_state is held, so that events come in their order. */
void Device::send(const std::vector<Delivery> &deliveries)
{
    for (const auto &delivery : deliveries) {
        if (const auto session = m_sessions.find(delivery.session)) {
            session->post({delivery.event});
        }
    }
}

ConfirmedCommit::Clock::time_point Device::now() const
{
    using Clock = ConfirmedCommit::Clock;
    const std::chrono::duration<double> passed = Clock::now() - m_start;
    return m_start + std::chrono::duration_cast<Clock::duration>(passed * m_setup.time_scale);
}

void Device::watch_time()
{
    constexpr auto kRound = 1s;
    std::unique_lock lock(m_state);
    while (!m_ends) {
        auto wait = std::chrono::duration<double>(kRound);
        if (const auto deadline = m_confirmed.deadline()) {
            wait = std::min(wait,
                            std::chrono::duration<double>(*deadline - now()) / m_setup.time_scale);
        }
        if (const auto deadline = m_notifications.deadline()) {
            wait = std::min<std::chrono::duration<double>>(
                wait, *deadline - std::chrono::system_clock::now());
        }
        m_changed.wait_for(lock, std::max<std::chrono::duration<double>>(wait, 1ms));
        lock.unlock();
        expire();
        lock.lock();
    }
}

void Device::expire()
{
    std::optional<Reversal> reversal;
    {
        const std::lock_guard lock(m_state);
        send(m_notifications.expire(std::chrono::system_clock::now()));
        reversal = m_confirmed.expire(now());
    }
    if (reversal) {
        go_back(*reversal, server_itself());
    }
    take_snapshot();
}

void Device::take_snapshot()
{
    if (!m_history.needs_snapshot()) {
        return;
    }
    std::string text;
    CommitNumber number = 0;
    if (const auto turn = m_checks.take_turn(0ms)) {
        text = xml_of(m_data);
        number = m_history.running_number();
    }
    if (!text.empty()) {
        m_history.add_snapshot(number, text);
    }
}

} // namespace host::twin
