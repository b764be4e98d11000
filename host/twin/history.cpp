#include "twin/history.h"

#include "twin/history_file.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <mutex>
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
constexpr const char *kAccepted = "accepted";

/** Applying more edits than this makes a start slow. */
constexpr std::size_t kMaxEdits = 200;
/** Below this size of all edits a snapshot is not worth its place. */
constexpr std::size_t kFewBytes = 65536;
/** Snapshots that are kept besides the first. */
constexpr int kMaxSnapshots = 8;

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

/** The row of a commit. @throws HistoryError  There is none. */
SQLite::Statement row_of(SQLite::Database &database, CommitNumber number)
{
    SQLite::Statement row(database, "SELECT * FROM commits WHERE number = ?");
    row.bind(1, number);
    if (!row.executeStep()) {
        throw HistoryError("there is no commit " + std::to_string(number));
    }
    return row;
}

std::optional<std::string> snapshot(SQLite::Database &database, CommitNumber number)
{
    SQLite::Statement row(database, "SELECT text FROM snapshots WHERE number = ?");
    row.bind(1, number);
    return row.executeStep() ? std::optional(row.getColumn(0).getString()) : std::nullopt;
}

/** Follows commits back to a snapshot, or to a configuration that was given as a whole. */
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

CommitNumber insert(SQLite::Database &database, const Commit &commit, const Step &step,
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

} // namespace

const char *name_of(CommitKind kind)
{
    return text_of(kKinds, kind);
}

struct History::Storage {
    template <typename... Arguments>
    explicit Storage(const Arguments &...arguments) : file(arguments...)
    {
    }

    /** Works on the file, alone; failures get its name. */
    template <typename Work>
    auto with(const Work &work)
    {
        const std::lock_guard guard(mutex);
        try {
            return work(file.database());
        } catch (const SQLite::Exception &failure) {
            throw HistoryError(file.name() + ": " + failure.what());
        } catch (const HistoryError &failure) {
            throw HistoryError(file.name() + ": " + failure.what());
        }
    }

    /** As above, all or nothing. */
    template <typename Work>
    auto change(const Work &work)
    {
        return with([&](SQLite::Database &database) {
            SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
            auto result = work(database);
            transaction.commit();
            return result;
        });
    }

    void count(const StoredConfiguration &configuration)
    {
        edits = configuration.edits.size();
        edit_bytes = 0;
        for (const auto &edit : configuration.edits) {
            edit_bytes += edit.size();
        }
        snapshot_bytes = configuration.snapshot.size();
    }

    HistoryFile file;
    std::mutex mutex;
    /** What the running configuration is made of. */
    std::size_t edits = 0;
    std::size_t edit_bytes = 0;
    std::size_t snapshot_bytes = 0;
};

History::History(std::unique_ptr<Storage> storage) : m_storage(std::move(storage))
{
    if (!empty()) {
        m_storage->count(running());
    }
}

History::~History() = default;
History::History(History &&) noexcept = default;
History &History::operator=(History &&) noexcept = default;

History History::open(const std::filesystem::path &folder, Access access)
{
    return History(std::make_unique<Storage>(folder, access));
}

History History::in_memory()
{
    return History(std::make_unique<Storage>());
}

bool History::empty() const
{
    return m_storage->with([](auto &database) { return !running_of(database); });
}

void History::begin(const std::string &configuration)
{
    m_storage->change([&](auto &database) {
        if (running_of(database)) {
            throw HistoryError("there is a configuration already");
        }
        SQLite::Statement row(database, "INSERT INTO snapshots VALUES (0, ?)");
        row.bind(1, configuration);
        row.exec();
        set_running(database, 0);
        m_storage->count({0, configuration, {}});
        return true;
    });
}

StoredConfiguration History::running() const
{
    return m_storage->with([](auto &database) {
        const auto number = running_of(database);
        if (!number) {
            throw HistoryError("there is no configuration yet");
        }
        return configuration_after(database, *number);
    });
}

StoredConfiguration History::configuration(CommitNumber number) const
{
    return m_storage->with([&](auto &database) {
        if (number != 0) {
            auto row = row_of(database, number);
            const Commit commit = commit_of(row);
            if (commit.verdict != kAccepted) {
                throw HistoryError("commit " + std::to_string(number) +
                                   " was not made: " + commit.verdict);
            }
        }
        return configuration_after(database, number);
    });
}

CommitNumber History::running_number() const
{
    return m_storage->with([](auto &database) { return running_of(database).value_or(0); });
}

CommitNumber History::add(const Commit &commit, const Step &step)
{
    return add(commit, step, pending());
}

CommitNumber History::add(const Commit &commit, const Step &step,
                          const std::optional<PendingConfirmation> &pending)
{
    Storage &storage = *m_storage;
    const CommitNumber number = storage.change([&](auto &database) {
        const CommitNumber added = insert(database, commit, step, running_of(database).value_or(0));
        if (step.form != Form::kNothing) {
            set_running(database, added);
        }
        set_pending(database, pending);
        return added;
    });
    if (step.form == Form::kEdit) {
        const std::lock_guard guard(storage.mutex);
        ++storage.edits;
        storage.edit_bytes += step.text.size();
    } else if (step.form != Form::kNothing) {
        storage.count(running());
    }
    return number;
}

std::optional<PendingConfirmation> History::pending() const
{
    return m_storage->with([](auto &database) -> std::optional<PendingConfirmation> {
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
    });
}

bool History::needs_snapshot() const
{
    const std::lock_guard guard(m_storage->mutex);
    return m_storage->edits >= kMaxEdits ||
           m_storage->edit_bytes >= std::max(kFewBytes, m_storage->snapshot_bytes);
}

void History::add_snapshot(CommitNumber number, const std::string &configuration)
{
    m_storage->change([&](auto &database) {
        SQLite::Statement row(database, "INSERT OR REPLACE INTO snapshots VALUES (?, ?)");
        row.bind(1, number);
        row.bind(2, configuration);
        row.exec();
        SQLite::Statement rest(database,
                               "DELETE FROM snapshots WHERE number > 0 AND number NOT IN "
                               "(SELECT number FROM snapshots ORDER BY number DESC LIMIT ?)");
        rest.bind(1, kMaxSnapshots);
        rest.exec();
        m_storage->count(configuration_after(database, running_of(database).value_or(0)));
        return true;
    });
}

std::optional<StoredConfiguration> History::startup() const
{
    return m_storage->with([](auto &database) -> std::optional<StoredConfiguration> {
        SQLite::Statement row(database, "SELECT number, text FROM startup");
        if (!row.executeStep()) {
            return std::nullopt;
        }
        const auto number = row.getColumn(0);
        if (number.isNull()) {
            return StoredConfiguration{0, row.getColumn(1).getString(), {}};
        }
        return configuration_after(database, number.getInt64());
    });
}

void History::set_startup(const std::string &configuration)
{
    m_storage->with([&](auto &database) {
        SQLite::Statement row(database, "INSERT OR REPLACE INTO startup VALUES (1, NULL, ?)");
        row.bind(1, configuration);
        return row.exec();
    });
}

void History::set_startup_to_running()
{
    m_storage->with([](auto &database) {
        return database.exec("INSERT OR REPLACE INTO startup SELECT 1, number, NULL FROM running");
    });
}

void History::delete_startup()
{
    m_storage->with([](auto &database) { return database.exec("DELETE FROM startup"); });
}

std::vector<Commit> History::commits(std::size_t limit) const
{
    return m_storage->with([&](auto &database) {
        SQLite::Statement row(database, "SELECT * FROM commits ORDER BY number DESC LIMIT ?");
        row.bind(1, limit == 0 ? std::int64_t{-1} : static_cast<std::int64_t>(limit));
        std::vector<Commit> commits;
        while (row.executeStep()) {
            commits.push_back(commit_of(row));
        }
        return commits;
    });
}

Commit History::commit(CommitNumber number) const
{
    return m_storage->with([&](auto &database) {
        auto row = row_of(database, number);
        return commit_of(row);
    });
}

Step History::step(CommitNumber number) const
{
    return m_storage->with([&](auto &database) {
        auto row = row_of(database, number);
        return Step{value_of(kForms, row.getColumn("form").getString()),
                    row.getColumn("text").getString(), row.getColumn("restored").getInt64()};
    });
}

} // namespace host::twin
