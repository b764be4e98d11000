/**
 * @file
 * What outlives the server: the running configuration, the commits that led to it, the startup
 * configuration and a confirmed commit that nobody has confirmed yet.
 */
#pragma once

#include "twin/commit_record.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host::twin
{

/**
 * A file in the state folder. What a call has returned from is there after a power failure; what a
 * call was interrupted in has not happened. Calls may come from any thread. All throw HistoryError
 * where the file fails.
 */
class History
{
public:
    using Access = HistoryAccess;

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
