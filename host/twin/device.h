/**
 * @file
 * The card as the server knows it: its configurations, its rules, its history and its events.
 */
#pragma once

#include "twin/check_client.h"
#include "twin/confirmed_commit.h"
#include "twin/datastores.h"
#include "twin/history.h"
#include "twin/masking.h"
#include "twin/notifications.h"
#include "twin/printed_cache.h"
#include "twin/reply.h"
#include "twin/session.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace host::twin
{

struct DeviceSetup {
    CheckSetup check;
    /** What the card comes with, if it has no history yet. */
    std::optional<engine::Source> running;
    std::optional<std::filesystem::path> state; /**< Nothing: it keeps nothing. */
    double time_scale = 1; /**< How much faster the time of confirmed commits passes. */
};

/** Who asks for a change, and what may come of it. */
struct ChangeRequest {
    const Session &session;
    CommitKind kind = CommitKind::kCommit;
    CommitRequest commit{};
    bool confirms_warnings = false;
};

/** One for each server. For any thread. What it refuses it throws as RpcFailure. */
class Device
{
public:
    using Plan = Datastores::Plan;

    /** Opens the history and what is running, and starts the check process.
     *  @param context  In which events are read.
     *  @throws HistoryError, engine::InputError, CheckFailure */
    Device(DeviceSetup setup, const ly_ctx *context);
    ~Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    const engine::Schema &schema() const { return *m_schema; }
    Datastores &data() { return m_data; }
    Sessions &sessions() { return m_sessions; }
    const Masking &masking() const { return m_masking; }
    History &history() { return m_history; }
    PrintedCache &printed() { return m_printed; }
    bool waits_for_confirmation() const;

    /** Asks the rules about a change, commits it and tells of it. @param make  The change. */
    void change_running(const ChangeRequest &request, const std::function<Plan()> &make);
    /** Asks the rules, and changes nothing. */
    void check(const Session &session, bool confirms_warnings, const std::function<Change()> &make);
    /** Cancels a confirmed commit. */
    void cancel(const Session &session, const std::optional<std::string> &persist_id);
    /** What was running after a commit, as a change of what is running. @throws HistoryError */
    Plan plan_rollback(CommitNumber number);
    /** The same as a whole. @throws HistoryError */
    engine::Datastore configuration(CommitNumber number) const;

    /** What is in startup; an empty configuration when there is none. */
    engine::Datastore startup() const;

    void begin_session(const SessionPtr &session);
    /** Releases its locks; with the candidate's go the changes that were not committed. */
    void release(const Session &session);
    /** The same, and undoes what it leaves unfinished. @param reason  As in RFC 6470. */
    void end_session(const SessionPtr &session, const std::string &reason);

    /** Sends events to whoever has subscribed. */
    void publish(const std::string &body);
    void subscribe(const SessionPtr &session, SubscriptionRequest request);
    /** When the log of events began. */
    EventTime log_created() const;

private:
    CheckClient::Turn take_turn();
    CheckReport ask(CheckClient::Turn &turn, const Plan &plan, const ChangeRequest &request);
    void record_refusal(const ChangeRequest &request, const Plan &plan, const CheckReport &report);
    void keep(CheckClient::Turn &turn, const ChangeRequest &request, const Plan &plan,
              const CheckReport &report);
    void tell_change(const Author &author, const Plan &plan);
    void go_back(const Reversal &reversal, const Author &author);
    engine::Datastore configuration(const StoredConfiguration &stored) const;
    ConfirmedCommit::Clock::time_point now() const;
    void send(const std::vector<Delivery> &deliveries);
    void watch_time();
    void expire();
    void take_snapshot();

    std::shared_ptr<const engine::Schema> m_schema;
    DeviceSetup m_setup;
    History m_history;
    Datastores m_data;
    CheckClient m_checks;
    Sessions m_sessions;
    Masking m_masking;
    PrintedCache m_printed;

    mutable std::mutex m_state; /**< Of the two below. */
    ConfirmedCommit m_confirmed;
    Notifications m_notifications;

    const ConfirmedCommit::Clock::time_point m_start = ConfirmedCommit::Clock::now();
    std::condition_variable m_changed;
    bool m_ends = false;
    std::thread m_watch;
};

} // namespace host::twin
