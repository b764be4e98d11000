#include "twin/history_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace host::twin
{
namespace
{

namespace fs = std::filesystem;

constexpr const char *kFileName = "history.sqlite";
constexpr const char *kLockName = "lock";
/** "gptw": tells the file from other programs'. */
constexpr int kApplicationId = 0x67707477;
constexpr int kVersion = 1;
/** For readers beside a server, which is quick. */
constexpr int kBusyTimeoutMs = 5000;

constexpr const char *kTables = R"(
CREATE TABLE commits (
    number INTEGER PRIMARY KEY, time_ms INTEGER NOT NULL,
    user TEXT NOT NULL, role TEXT NOT NULL, session INTEGER NOT NULL, transport TEXT NOT NULL,
    host TEXT NOT NULL, kind TEXT NOT NULL, verdict TEXT NOT NULL, confirmations TEXT NOT NULL,
    form TEXT NOT NULL, text TEXT NOT NULL, base INTEGER NOT NULL, restored INTEGER NOT NULL) STRICT;
CREATE TABLE snapshots (number INTEGER PRIMARY KEY, text TEXT NOT NULL) STRICT;
CREATE TABLE running (one INTEGER PRIMARY KEY CHECK (one = 1), number INTEGER NOT NULL) STRICT;
CREATE TABLE startup (one INTEGER PRIMARY KEY CHECK (one = 1), number INTEGER, text TEXT) STRICT;
CREATE TABLE pending (
    one INTEGER PRIMARY KEY CHECK (one = 1), restores INTEGER NOT NULL,
    user TEXT NOT NULL, role TEXT NOT NULL, session INTEGER NOT NULL, transport TEXT NOT NULL,
    host TEXT NOT NULL, persist_id TEXT) STRICT;
)";

int number_of(SQLite::Database &database, const char *pragma)
{
    return database.execAndGet(std::string("PRAGMA ") + pragma).getInt();
}

void set(SQLite::Database &database, const char *pragma, int value)
{
    database.exec(std::string("PRAGMA ") + pragma + " = " + std::to_string(value));
}

/** Makes the file, if there is none, for its owner alone: there are passwords in it. */
void make_private(const std::string &name)
{
    const int file = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file >= 0) {
        close(file);
    }
}

} // namespace

HistoryFile::HistoryFile(const fs::path &folder, HistoryAccess access)
    : m_name((folder / kFileName).string())
{
    const bool serves = access == HistoryAccess::kServe;
    if (serves) {
        std::error_code error;
        fs::create_directories(folder, error);
        lock(folder);
        make_private(m_name);
    } else if (!fs::exists(m_name)) {
        throw HistoryError(m_name + ": there is no history");
    }
    try {
        // A reader may have to tidy up after a server that was killed, so it may write as well.
        m_database = std::make_unique<SQLite::Database>(
            m_name, SQLite::OPEN_READWRITE | (serves ? SQLite::OPEN_CREATE : 0), kBusyTimeoutMs);
        set_up();
        if (!serves) {
            m_database->exec("PRAGMA query_only = 1");
        }
    } catch (const SQLite::Exception &failure) {
        throw HistoryError(m_name + ": " + failure.what());
    }
}

HistoryFile::HistoryFile()
    : m_name("history"), m_database(std::make_unique<SQLite::Database>(
                             ":memory:", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE))
{
    set_up();
}

HistoryFile::~HistoryFile()
{
    m_database.reset();
    if (m_lock >= 0) {
        close(m_lock);
    }
}

void HistoryFile::lock(const fs::path &folder)
{
    const std::string name = (folder / kLockName).string();
    m_lock = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (m_lock < 0) {
        throw HistoryError(name + ": " + std::strerror(errno));
    }
    // A lock that child processes do not inherit: it goes with the server, whatever they do.
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(m_lock, F_SETLK, &lock) == 0) {
        return;
    }
    fcntl(m_lock, F_GETLK, &lock);
    close(m_lock);
    m_lock = -1;
    throw HistoryInUse(folder.string() + ": process " + std::to_string(lock.l_pid) +
                       " serves from this folder");
}

void HistoryFile::set_up()
{
    SQLite::Database &database = *m_database;
    const int id = number_of(database, "application_id");
    const int version = number_of(database, "user_version");
    const bool is_new = id == 0 && version == 0 &&
                        database.execAndGet("SELECT count(*) FROM sqlite_master").getInt() == 0;
    if (!is_new && id != kApplicationId) {
        throw HistoryError(m_name + ": the file is another program's");
    }
    if (!is_new && version != kVersion) {
        throw HistoryError(m_name + ": the file is of version " + std::to_string(version) +
                           " of this program's histories, which is not known here (" +
                           std::to_string(kVersion) + " is)");
    }
    database.exec("PRAGMA journal_mode = WAL");
    database.exec("PRAGMA synchronous = FULL");
    if (is_new) {
        SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
        database.exec(kTables);
        set(database, "application_id", kApplicationId);
        set(database, "user_version", kVersion);
        transaction.commit();
        return;
    }
    const std::string damage = database.execAndGet("PRAGMA quick_check(1)").getString();
    if (damage != "ok") {
        throw HistoryError(m_name + ": the file is damaged: " + damage);
    }
}

} // namespace host::twin
