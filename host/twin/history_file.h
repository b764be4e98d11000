/**
 * @file
 * The file that a history is kept in.
 */
#pragma once

#include "twin/commit_record.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <memory>
#include <string>

namespace host::twin
{

/** An SQLite database of this program, with its tables. */
class HistoryFile
{
public:
    /** @throws HistoryError  As History::open. */
    HistoryFile(const std::filesystem::path &folder, HistoryAccess access);
    /** In memory. */
    HistoryFile();
    ~HistoryFile();
    HistoryFile(const HistoryFile &) = delete;
    HistoryFile &operator=(const HistoryFile &) = delete;

    SQLite::Database &database() { return *m_database; }
    const std::string &name() const { return m_name; }

private:
    void lock(const std::filesystem::path &folder);
    void set_up();

    std::string m_name;
    int m_lock = -1;
    std::unique_ptr<SQLite::Database> m_database;
};

} // namespace host::twin
