/** A state folder that is gone with its test. */
#pragma once

#include "twin/history.h"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace test_support
{

class StateFolder
{
public:
    StateFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "history-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    ~StateFolder() { std::filesystem::remove_all(m_path); }
    StateFolder(const StateFolder &) = delete;
    StateFolder &operator=(const StateFolder &) = delete;

    host::twin::History serve() const
    {
        return host::twin::History::open(m_path, host::twin::History::Access::kServe);
    }
    std::filesystem::path file() const { return m_path / "history.sqlite"; }
    const std::filesystem::path &path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace test_support
