/**
 * @file
 * A card that is being configured: a file that is held open, or a server.
 */
#pragma once

#include "checker/outcome.h"
#include "engine/data/datastore.h"
#include "headroom/headroom_text.h"
#include "report/style.h"

#include <chrono>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace host::shell
{

/** What came of a check, as it is shown. */
struct Verdict {
    Result result = Result::kAccepted;
    std::string findings;   /**< With the way to resolve them; may be empty. */
    std::string conclusion; /**< Of one line or a few. */
};

struct CommitRequest {
    bool checks_only = false;
    bool confirms_warnings = false;
    /** Undone if no other commit follows so soon. */
    std::optional<std::chrono::minutes> confirm_within;
};

/** A commit of the past. */
struct CommitEntry {
    std::size_t number = 0; /**< From 1, the oldest. */
    std::string time;
    std::string by;   /**< Empty: the user of this program. */
    std::string note; /**< What it was, such as how much it changed. */
};

/** The newest first. */
struct CommitHistory {
    std::vector<CommitEntry> commits;
    std::string remark; /**< What is missing in it, and why; may be empty. */
};

/** The server is gone, or cannot do what it was asked for. */
class SessionError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/**
 * Running, and a candidate of it. What does not work is thrown: engine::InputError for faults of
 * the data, SessionError for all else.
 */
class Session
{
public:
    virtual ~Session() = default;

    /** Such as the name of the file, or of the server. */
    virtual std::string name() const = 0;
    virtual const engine::Datastore &running() const = 0;
    virtual const engine::Datastore &candidate() const = 0;
    /** Whether the candidate may differ from what is running: known at once. */
    virtual bool is_modified() const = 0;
    /** Whether it does. */
    bool has_changes() const;

    /** Whether secrets are missing in them: the user may not see them. */
    virtual bool hides_secrets() const { return false; }
    /** Reads both anew, where others may have changed them. */
    virtual void refresh() {}

    /** Changes the candidate: all of the edit, or nothing. */
    virtual void edit(const engine::Source &edit) = 0;
    /** Puts a whole configuration in the candidate's place. */
    virtual void replace(const engine::Source &configuration) = 0;
    /** Makes the candidate what is running. */
    virtual void discard() = 0;

    /** Asks the rules, and commits if they accept. */
    virtual Verdict commit(const CommitRequest &request) = 0;
    /** How the last verdict came about; empty: there was none. */
    virtual std::string explain() const = 0;
    /** The same for programs: the report of `gpon-validate check --json`, or what a server tells
     *  of it; null: there was none. */
    virtual nlohmann::ordered_json explain_json() const = 0;
    /** How full the card is, and what the rules say of the candidate. */
    virtual std::string headroom(const HeadroomDetail &detail) = 0;
    /** The commits that rollback knows. @param limit  At most so many. */
    virtual CommitHistory history(std::size_t limit) = 0;
    /** Makes the candidate what was running before the last commits. */
    virtual void roll_back(std::size_t commits) = 0;
    /** What has happened meanwhile, such as a commit that was undone, in lines; empty: nothing. */
    virtual std::string news() = 0;
    /** What would be lost if the program ended now; empty: nothing. */
    virtual std::string unsaved() const = 0;
    /** The candidate was written to a file. */
    virtual void note_saved() = 0;
};

} // namespace host::shell
