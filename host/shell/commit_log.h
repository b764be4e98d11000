/**
 * @file
 * The commits of this run, and what undoes them.
 */
#pragma once

#include "engine/data/datastore.h"
#include "shell/session.h"

#include <string>
#include <vector>

namespace host::shell
{

class CommitLog
{
public:
    struct Commit {
        std::string time;
        std::string undo; /**< An edit. */
        std::string note;
    };

    /** A commit that makes `after` of `before`. */
    static Commit commit_of(const engine::Datastore &before, const engine::Datastore &after);

    void add(Commit commit) { m_commits.push_back(std::move(commit)); }
    /** The newest first, at most so many. */
    std::vector<CommitEntry> entries(std::size_t limit) const;
    /** Edits that undo the last commits, one after the other. @throws SessionError  There are not
     * so many. */
    std::vector<engine::Source> undo(std::size_t commits) const;

private:
    std::vector<Commit> m_commits; /**< The newest last. */
};

} // namespace host::shell
