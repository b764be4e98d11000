#include "twin/history.h"

#include "twin/history_file.h"
#include "twin/history_rows.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace host::twin
{
namespace
{

using Form = Step::Form;

constexpr const char *kAccepted = "accepted";

/** Applying more edits than this makes a start slow. */
constexpr std::size_t kMaxEdits = 200;
/** Below this size of all edits a snapshot is not worth its place. */
constexpr std::size_t kFewBytes = 65536;
/** Snapshots that are kept besides the first. */
constexpr int kMaxSnapshots = 8;

} // namespace

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
        const CommitNumber added =
            insert_commit(database, commit, step, running_of(database).value_or(0));
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
    return m_storage->with([](auto &database) { return pending_of(database); });
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
        return step_of(row);
    });
}

} // namespace host::twin
