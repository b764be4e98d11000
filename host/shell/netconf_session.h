/**
 * @file
 * A card's NETCONF server that is being configured.
 */
#pragma once

#include "shell/commit_log.h"
#include "shell/file_session.h"
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
    /** @param rules  The card and the plug-in that headroom is told with; the server has its own.
     *  @throws SessionError, engine::InputError */
    NetconfSession(ServerAddress address, FileSetup rules, Interrupt &interrupt);

    std::string name() const override { return m_client.name(); }
    const engine::Datastore &running() const override;
    const engine::Datastore &candidate() const override;
    bool is_modified() const override { return m_data->is_modified(); }
    bool hides_secrets() const override { return m_hides_secrets; }
    void refresh() override;
    void edit(const engine::Source &edit) override;
    void replace(const engine::Source &configuration) override;
    void discard() override;
    Verdict commit(const CommitRequest &request) override;
    std::string explain() const override;
    nlohmann::ordered_json explain_json() const override;
    std::string headroom(const HeadroomDetail &detail) override;
    CommitHistory history(std::size_t limit) override;
    void roll_back(std::size_t commits) override;
    std::string news() override;
    std::string unsaved() const override;
    void note_saved() override {}

private:
    void load();
    engine::Datastore parsed(const std::string &datastore, const std::string &xml) const;
    std::string read(const std::string &datastore);
    void take_candidate(twin::Datastores &data, const std::string &xml) const;
    std::string connect_again();
    /** Connects again after the connection was lost, and tells of it. @throws SessionError */
    [[noreturn]] void recover(const std::string &reason);
    std::string news_of_others();
    bool keeps_history() const;
    /** @throws SessionError  The server is gone. */
    void require_connection() const;
    /** @throws SessionError  With the server's words, where it refuses. */
    void require_done(const std::string &body);
    [[noreturn]] void refuse(const std::vector<ServerError> &errors) const;
    ServerReply ask(const std::string &body);
    /** Sends what makes the server's candidate the one that is held here. */
    void send_candidate(const std::string &edit);

    Interrupt &m_interrupt;
    NetconfClient m_client;
    FileSetup m_rules;
    std::unique_ptr<twin::Datastores> m_data;
    CommitLog m_commits; /**< For a server that keeps no history. */
    std::vector<ServerError> m_last;
    bool m_has_verdict = false;
    bool m_is_lost = false;
    bool m_hides_secrets = false;
    bool m_awaits_confirmation = false; /**< Of a commit of this session. */
};

} // namespace host::shell
