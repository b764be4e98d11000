/**
 * @file
 * What outlives the server: the running configuration, the commits that led to it, the startup
 * configuration and a confirmed commit that nobody has confirmed yet.
 */
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace host::twin
{

/** A state folder that cannot be used, with a text for people. */
class HistoryError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** A folder that another server uses. */
class HistoryInUse : public HistoryError
{
public:
    using HistoryError::HistoryError;
};

/** Number of a commit, from 1; 0 is the configuration that the card came with. */
using CommitNumber = std::int64_t;

/** Who asks for something, and how. */
struct Author {
    std::string user;
    std::string role;
    std::uint32_t session = 0; /**< 0: no session, the server itself or a command. */
    std::string transport;     /**< ssh, unix, tls or local. */
    std::string host;          /**< Address of the peer; may be empty. */
};

/** What a commit was for. */
enum class CommitKind {
    kCommit,  /**< Of the candidate. */
    kEdit,    /**< Of the running configuration itself, with writable-running. */
    kCopy,    /**< A whole configuration in place of the running one. */
    kConfirm, /**< Confirmed an earlier commit, and changed nothing. */
    kRevert,  /**< A confirmed commit was cancelled, or not confirmed in time. */
    kRollback /**< The operator went back to an earlier commit. */
};
const char *name_of(CommitKind kind);

/** One line of the history. */
struct Commit {
    CommitNumber number = 0;  /**< Given by the history. */
    CommitNumber base = 0;    /**< What was running before it; given by the history. */
    std::int64_t time_ms = 0; /**< Since 1970, UTC; 0 is now for a commit to be added. */
    Author author;
    CommitKind kind = CommitKind::kCommit;
    std::string verdict = "accepted";       /**< As in reports: accepted, rejected, ... */
    std::vector<std::string> confirmations; /**< Rules whose warnings were confirmed. */
};

/** What a commit made of the running configuration. */
struct Step {
    enum class Form {
        kEdit,    /**< An edit of the configuration before, with NETCONF operations. */
        kWhole,   /**< A whole configuration. */
        kRestore, /**< The configuration after an earlier commit. */
        /** Nothing; the only form of what was not accepted. The text may be the edit that would
         *  have been made. */
        kNothing
    };

    Form form = Form::kNothing;
    /** XML. It must give the same configuration whenever it is applied: what is stored encrypted
     *  stands in it encrypted. */
    std::string text{};
    CommitNumber restored = 0; /**< For kRestore, and for a rollback that was not accepted. */
};

/** A configuration: a text and the edits that made it what it is, in order. */
struct StoredConfiguration {
    CommitNumber number = 0; /**< After this commit. */
    std::string snapshot;
    std::vector<std::string> edits;
};

/** A confirmed commit that waits for its confirmation. */
struct PendingConfirmation {
    CommitNumber restores = 0; /**< What it goes back to unless it is confirmed. */
    Author author;
    std::optional<std::string> persist_id;
};

/**
 * A file in the state folder. What a call has returned from is there after a power failure; what a
 * call was interrupted in has not happened. Calls may come from any thread. All throw HistoryError
 * where the file fails.
 */
class History
{
public:
    /** Whether the folder is for this process alone. */
    enum class Access {
        kServe, /**< May write; one process at a time. */
        kRead   /**< Reads beside a server. */
    };

    /**
     * Opens the folder's history, and makes both where there is none (not for kRead).
     * @throws HistoryError  It is another program's, or damaged, or of a later version.
     * @throws HistoryInUse  Another server uses the folder.
     */
    static History open(const std::filesystem::path &folder, Access access);
    /** One that is forgotten. */
    static History in_memory();
    ~History();
    History(History &&) noexcept;
    History &operator=(History &&) noexcept;

    /** Whether there is no configuration yet, as in a new folder. */
    bool empty() const;
    /** The configuration that the card comes with: number 0 of an empty history. */
    void begin(const std::string &configuration);

    /** What the running configuration is. */
    StoredConfiguration running() const;
    /** What it was after a commit. @throws HistoryError  There is none, or it was not accepted. */
    StoredConfiguration configuration(CommitNumber number) const;
    /** The last commit that made the running configuration; 0: none did. */
    CommitNumber running_number() const;

    /**
     * Adds a commit to the history and makes the running configuration what it says.
     * @param pending  What waits for a confirmation from now on.
     * @return Its number.
     */
    CommitNumber add(const Commit &commit, const Step &step,
                     const std::optional<PendingConfirmation> &pending);
    /** As above; what waits for a confirmation is as before. */
    CommitNumber add(const Commit &commit, const Step &step);

    /** What a server that ended left unconfirmed; it must go back to it. */
    std::optional<PendingConfirmation> pending() const;

    /** Whether edits have piled up, so that a snapshot would pay. */
    bool needs_snapshot() const;
    /** Stores the configuration after a commit, so that it need not be made from edits. It must be
     *  that configuration, word by word what `print` gives. */
    void add_snapshot(CommitNumber number, const std::string &configuration);

    /** The startup configuration; nothing when there is none. */
    std::optional<StoredConfiguration> startup() const;
    void set_startup(const std::string &configuration);
    /** Copies the running configuration: costs nothing. */
    void set_startup_to_running();
    void delete_startup();

    /** The commits, latest first. @param limit  0: all. */
    std::vector<Commit> commits(std::size_t limit = 0) const;
    /** @throws HistoryError  There is none of that number. */
    Commit commit(CommitNumber number) const;
    /** What that commit changed. */
    Step step(CommitNumber number) const;

private:
    struct Storage;
    explicit History(std::unique_ptr<Storage> storage);

    std::unique_ptr<Storage> m_storage;
};

} // namespace host::twin
