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

    /** @param print  Prints it, if nobody else has or is about to: who asks meanwhile waits. */
    template <typename Print>
    std::shared_ptr<const std::string> text(std::uint64_t generation, const Way &way,
                                            const Print &print)
    {
        const auto slot = slot_of(generation, way);
        const std::lock_guard lock(slot->mutex);
        if (slot->text == nullptr) {
            slot->text = std::make_shared<const std::string>(print());
        }
        return slot->text;
    }

private:
    struct Slot {
        std::mutex mutex;
        std::shared_ptr<const std::string> text;
    };

    std::shared_ptr<Slot> slot_of(std::uint64_t generation, const Way &way)
    {
        const std::lock_guard lock(m_mutex);
        if (generation != m_generation) {
            m_slots.clear();
            m_generation = generation;
        }
        auto &slot = m_slots[way];
        if (slot == nullptr) {
            slot = std::make_shared<Slot>();
        }
        return slot;
    }

    std::mutex m_mutex;
    std::uint64_t m_generation = 0;
    std::map<Way, std::shared_ptr<Slot>> m_slots;
};

} // namespace host::twin
