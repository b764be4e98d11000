/**
 * @file
 * What many ask for is printed once.
 */
#pragma once

#include "twin/with_defaults.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace host::twin
{

/** The running configuration as it was printed last, in each way. For any thread. */
class PrintedCache
{
public:
    using Way = std::pair<WithDefaults, bool>; /**< The mode, and whether secrets are masked. */

    /** Null: it must be printed. */
    std::shared_ptr<const std::string> find(std::uint64_t generation, const Way &way)
    {
        const std::lock_guard lock(m_mutex);
        forget_others(generation);
        const auto found = m_texts.find(way);
        return found != m_texts.end() ? found->second : nullptr;
    }
    void add(std::uint64_t generation, const Way &way, const std::string &text)
    {
        const std::lock_guard lock(m_mutex);
        forget_others(generation);
        m_texts[way] = std::make_shared<const std::string>(text);
    }

private:
    void forget_others(std::uint64_t generation)
    {
        if (generation != m_generation) {
            m_texts.clear();
            m_generation = generation;
        }
    }

    std::mutex m_mutex;
    std::uint64_t m_generation = 0;
    std::map<Way, std::shared_ptr<const std::string>> m_texts;
};

} // namespace host::twin
