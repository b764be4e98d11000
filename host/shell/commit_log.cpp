#include "shell/commit_log.h"

#include "checker/difference.h"
#include "engine/data/changes.h"
#include "report/words.h"
#include "twin/tree_change.h"

#include <ctime>

namespace host::shell
{
namespace
{

std::string time_text()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    std::string text(32, '\0');
    text.resize(std::strftime(text.data(), text.size(), "%F %T", &parts));
    return text;
}

std::string note_of(const std::vector<Difference> &differences)
{
    const auto counts = count(differences);
    std::string text;
    for (const auto &[number, word] :
         {std::pair{counts.created, "created"}, std::pair{counts.deleted, "deleted"},
          std::pair{counts.changed, "changed"}, std::pair{counts.moved, "moved"}}) {
        if (number != 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(number) + " " + word;
        }
    }
    return text;
}

} // namespace

CommitLog::Commit CommitLog::commit_of(const engine::Datastore &before,
                                       const engine::Datastore &after)
{
    twin::Touched everywhere;
    everywhere.add_everything();
    return {time_text(), twin::edit_between(after, before, everywhere).text,
            note_of(differences_of(engine::compare(before, after)))};
}

std::vector<CommitEntry> CommitLog::entries(std::size_t limit) const
{
    std::vector<CommitEntry> entries;
    for (std::size_t i = m_commits.size(); i-- > 0 && entries.size() < limit;) {
        entries.push_back({i + 1, m_commits[i].time, "", m_commits[i].note});
    }
    return entries;
}

std::vector<engine::Source> CommitLog::undo(std::size_t commits) const
{
    if (commits > m_commits.size()) {
        throw SessionError("this shell made " + plural(m_commits.size(), "commit") + ", no more");
    }
    std::vector<engine::Source> edits;
    for (std::size_t i = 0; i < commits; ++i) {
        edits.push_back({"commit", m_commits[m_commits.size() - 1 - i].undo, {}});
    }
    return edits;
}

} // namespace host::shell
