/**
 * @file
 * What a history knows of a commit.
 */
#pragma once

#include <cstdint>
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

/** Whether a history's folder is for this process alone. */
enum class HistoryAccess {
    kServe, /**< May write; one process at a time. */
    kRead   /**< Reads beside a server. */
};

} // namespace host::twin
