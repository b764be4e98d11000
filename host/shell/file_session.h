/**
 * @file
 * A configuration of a file, held open with the card's rules.
 */
#pragma once

#include "checker/checker.h"
#include "shell/commit_log.h"
#include "shell/session.h"
#include "twin/datastores.h"

#include <atomic>

namespace host::shell
{

/** Set while somebody wants what runs to end. */
using Interrupt = std::atomic<bool>;

struct FileSetup {
    fm::Card card;
    bool assumes_card = false;             /**< Nobody told its capabilities. */
    std::optional<engine::Source> running; /**< Nothing: the card has no configuration yet. */
    std::string plugin;
    std::chrono::seconds idle_timeout{60};
    Style style{false};
};

/** Commits stay in memory: the file is not written. */
class FileSession : public Session
{
public:
    /** @throws engine::InputError */
    FileSession(FileSetup setup, const Interrupt &interrupt);
    ~FileSession() override;

    std::string name() const override;
    const engine::Datastore &running() const override;
    const engine::Datastore &candidate() const override;
    bool is_modified() const override { return m_data.is_modified(); }
    void edit(const engine::Source &edit) override;
    void replace(const engine::Source &configuration) override;
    void discard() override { m_data.discard(); }
    Verdict commit(const CommitRequest &request) override;
    std::string explain() const override;
    nlohmann::ordered_json explain_json() const override;
    std::string headroom(const HeadroomDetail &detail) override;
    CommitHistory history(std::size_t limit) override;
    void roll_back(std::size_t commits) override;
    std::string news() override;
    std::string unsaved() const override;
    void note_saved() override;

private:
    using Clock = std::chrono::steady_clock;

    Outcome check(const twin::Datastores::Plan &plan, bool confirms_warnings);
    Verdict verdict_of(const Outcome &outcome) const;

    FileSetup m_setup;
    const Interrupt &m_interrupt;
    std::string m_name;
    twin::Datastores m_data;
    std::unique_ptr<Checker> m_checker;
    Policy m_policy;
    std::optional<Outcome> m_last;
    CommitLog m_commits;
    bool m_is_saved = true; /**< What is running is in a file. */
    std::optional<Clock::time_point> m_confirm_until;
};

} // namespace host::shell
