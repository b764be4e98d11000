/**
 * @file
 * A card's NETCONF server that is being configured.
 */
#pragma once

#include "shell/commit_log.h"
#include "shell/netconf_client.h"
#include "twin/datastores.h"

#include <memory>

namespace host::shell
{

/**
 * Running and candidate are the server's; what is held here are copies, for completion and show.
 * When the server is lost it is connected again, with the next command at the latest.
 */
class NetconfSession : public Session
{
public:
    /** @throws SessionError, engine::InputError */
    NetconfSession(ServerAddress address, const std::atomic<bool> &interrupt, Style style);

    std::string name() const override { return m_client.name(); }
    const engine::Datastore &running() const override;
    const engine::Datastore &candidate() const override;
    bool is_modified() const override { return m_data->is_modified(); }
    void edit(const engine::Source &edit) override;
    void replace(const engine::Source &configuration) override;
    void discard() override;
    Verdict commit(const CommitRequest &request) override;
    std::string explain() const override;
    std::vector<CommitEntry> history() override { return m_commits.entries(); }
    void roll_back(std::size_t commits) override;
    std::string news() override;
    std::string unsaved() const override;
    void note_saved() override {}

private:
    void load();
    engine::Datastore read(const std::string &datastore);
    void connect_again();
    /** @throws SessionError  With the server's words, where it refuses. */
    void require_done(const std::string &body);
    ServerReply ask(const std::string &body);
    /** Sends what makes the server's candidate the one that is held here. */
    void send_candidate(const std::string &edit);
    Verdict verdict_of(const std::vector<ServerError> &errors) const;

    NetconfClient m_client;
    Style m_style;
    std::unique_ptr<twin::Datastores> m_data;
    CommitLog m_commits;
    std::vector<ServerError> m_last;
    bool m_has_verdict = false;
    bool m_is_lost = false;
};

} // namespace host::shell
