#include "twin/history_rows.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <sstream>
#include <utility>

namespace host::twin
{
namespace
{

using Form = Step::Form;

constexpr std::array<std::pair<CommitKind, const char *>, 6> kKinds{
    {{CommitKind::kCommit, "commit"},
     {CommitKind::kEdit, "edit"},
     {CommitKind::kCopy, "copy"},
     {CommitKind::kConfirm, "confirm"},
     {CommitKind::kRevert, "revert"},
     {CommitKind::kRollback, "rollback"}}};
constexpr std::array<std::pair<Form, const char *>, 4> kForms{{{Form::kEdit, "edit"},
                                                               {Form::kWhole, "whole"},
                                                               {Form::kRestore, "restore"},
                                                               {Form::kNothing, "nothing"}}};
template <typename Table, typename Value>
const char *text_of(const Table &table, Value value)
{
    return std::find_if(table.begin(), table.end(),
                        [&](const auto &row) { return row.first == value; })
        ->second;
}

template <typename Table>
auto value_of(const Table &table, const std::string &text)
{
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const auto &row) { return row.second == text; });
    if (found == table.end()) {
        throw HistoryError("the history holds \"" + text + "\", which is not known here");
    }
    return found->first;
}

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const auto &word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

std::vector<std::string> words_of(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

std::int64_t now_ms()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

void bind(SQLite::Statement &statement, const Author &author)
{
    statement.bind(":user", author.user);
    statement.bind(":role", author.role);
    statement.bind(":session", author.session);
    statement.bind(":transport", author.transport);
    statement.bind(":host", author.host);
}

Author author_of(SQLite::Statement &row)
{
    return {row.getColumn("user").getString(), row.getColumn("role").getString(),
            row.getColumn("session").getUInt(), row.getColumn("transport").getString(),
            row.getColumn("host").getString()};
}

std::optional<std::string> snapshot(SQLite::Database &database, CommitNumber number)
{
    SQLite::Statement row(database, "SELECT text FROM snapshots WHERE number = ?");
    row.bind(1, number);
    return row.executeStep() ? std::optional(row.getColumn(0).getString()) : std::nullopt;
}

} // namespace

const char *name_of(CommitKind kind)
{
    return text_of(kKinds, kind);
}

Commit commit_of(SQLite::Statement &row)
{
    Commit commit;
    commit.number = row.getColumn("number").getInt64();
    commit.base = row.getColumn("base").getInt64();
    commit.time_ms = row.getColumn("time_ms").getInt64();
    commit.author = author_of(row);
    commit.kind = value_of(kKinds, row.getColumn("kind").getString());
    commit.verdict = row.getColumn("verdict").getString();
    commit.confirmations = words_of(row.getColumn("confirmations").getString());
    return commit;
}

Step step_of(SQLite::Statement &row)
{
    return {value_of(kForms, row.getColumn("form").getString()), row.getColumn("text").getString(),
            row.getColumn("restored").getInt64()};
}

SQLite::Statement row_of(SQLite::Database &database, CommitNumber number)
{
    SQLite::Statement row(database, "SELECT * FROM commits WHERE number = ?");
    row.bind(1, number);
    if (!row.executeStep()) {
        throw HistoryError("there is no commit " + std::to_string(number));
    }
    return row;
}

StoredConfiguration configuration_after(SQLite::Database &database, CommitNumber number)
{
    StoredConfiguration configuration;
    configuration.number = number;
    auto text = snapshot(database, number);
    while (!text) {
        auto row = row_of(database, number);
        const Form form = value_of(kForms, row.getColumn("form").getString());
        if (form == Form::kWhole) {
            text = row.getColumn("text").getString();
            break;
        }
        if (form == Form::kEdit) {
            configuration.edits.push_back(row.getColumn("text").getString());
        }
        const CommitNumber before =
            row.getColumn(form == Form::kRestore ? "restored" : "base").getInt64();
        if (before >= number) {
            throw HistoryError("commit " + std::to_string(number) + " has no beginning");
        }
        number = before;
        text = snapshot(database, number);
    }
    configuration.snapshot = std::move(*text);
    std::reverse(configuration.edits.begin(), configuration.edits.end());
    return configuration;
}

std::optional<CommitNumber> running_of(SQLite::Database &database)
{
    SQLite::Statement row(database, "SELECT number FROM running");
    return row.executeStep() ? std::optional(row.getColumn(0).getInt64()) : std::nullopt;
}

void set_running(SQLite::Database &database, CommitNumber number)
{
    SQLite::Statement statement(database, "INSERT OR REPLACE INTO running VALUES (1, ?)");
    statement.bind(1, number);
    statement.exec();
}

CommitNumber insert_commit(SQLite::Database &database, const Commit &commit, const Step &step,
                           CommitNumber base)
{
    SQLite::Statement row(database,
                          "INSERT INTO commits (time_ms, user, role, session, transport, host, "
                          "kind, verdict, confirmations, form, text, base, restored) VALUES "
                          "(:time_ms, :user, :role, :session, :transport, :host, :kind, :verdict, "
                          ":confirmations, :form, :text, :base, :restored)");
    row.bind(":time_ms", commit.time_ms != 0 ? commit.time_ms : now_ms());
    bind(row, commit.author);
    row.bind(":kind", text_of(kKinds, commit.kind));
    row.bind(":verdict", commit.verdict);
    row.bind(":confirmations", joined(commit.confirmations));
    row.bind(":form", text_of(kForms, step.form));
    row.bind(":text", step.text);
    row.bind(":base", base);
    row.bind(":restored", step.restored);
    row.exec();
    return database.getLastInsertRowid();
}

void set_pending(SQLite::Database &database, const std::optional<PendingConfirmation> &pending)
{
    database.exec("DELETE FROM pending");
    if (!pending) {
        return;
    }
    SQLite::Statement row(database, "INSERT INTO pending VALUES (1, :restores, :user, :role, "
                                    ":session, :transport, :host, :persist_id)");
    row.bind(":restores", pending->restores);
    bind(row, pending->author);
    if (pending->persist_id) {
        row.bind(":persist_id", *pending->persist_id);
    }
    row.exec();
}

std::optional<PendingConfirmation> pending_of(SQLite::Database &database)
{
    SQLite::Statement row(database, "SELECT * FROM pending");
    if (!row.executeStep()) {
        return std::nullopt;
    }
    PendingConfirmation pending{row.getColumn("restores").getInt64(), author_of(row), {}};
    const auto persist_id = row.getColumn("persist_id");
    if (!persist_id.isNull()) {
        pending.persist_id = persist_id.getString();
    }
    return pending;
}

} // namespace host::twin
