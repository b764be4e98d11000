/**
 * @file
 * The server's configurations: running and candidate.
 */
#pragma once

#include "engine/data/datastore.h"
#include "engine/data/error.h"
#include "twin/tree_change.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

namespace host::twin
{

/** Who wants to write waits for those who read now, not for all who come after. */
class FairLock
{
public:
    void lock()
    {
        const std::lock_guard gate(m_gate);
        m_lock.lock();
    }
    void unlock() { m_lock.unlock(); }
    void lock_shared()
    {
        const std::lock_guard gate(m_gate);
        m_lock.lock_shared();
    }
    void unlock_shared() { m_lock.unlock_shared(); }

private:
    std::mutex m_gate;
    std::shared_mutex m_lock;
};

/**
 * Both trees, for many threads. They are read side by side; whoever changes one waits for those
 * who read it, never for a check. The candidate is a tree of its own from the first edit on, and
 * remembers where it may differ.
 */
class Datastores
{
public:
    using Read = std::function<void(const engine::Datastore &)>;

    explicit Datastores(engine::Datastore running);

    const std::shared_ptr<const engine::Schema> &schema() const { return m_running.schema_ptr(); }

    void read_running(const Read &read) const;
    /** Counts the changes of what is running; for who reads it just now. */
    std::uint64_t running_generation() const { return m_running_generation; }
    void read_candidate(const Read &read) const;

    /** Carries out an edit on the candidate: all of it or nothing. @throws engine::InputError */
    void edit_candidate(const engine::Source &edit);
    /** Carries out what fits of it. @return What does not. @throws engine::InputError  It cannot
     *  be read. */
    std::vector<engine::Problem> edit_candidate_where_possible(const engine::Source &edit);
    /** Puts a whole configuration in the candidate's place. @throws engine::InputError */
    void replace_candidate(const engine::Source &configuration);
    /** Makes the candidate what is running. */
    void discard();
    /** Whether the candidate may differ from what is running. */
    bool is_modified() const;

    /** A change of the running configuration that may be checked and committed. */
    struct Plan {
        TreeEdit edit; /**< Without text: nothing changes. */
        /** State of the candidate that it leads to; nothing: it is none of the candidate. */
        std::optional<std::uint64_t> candidate{};
    };
    /** What leads from running to the candidate. */
    Plan plan_commit();
    /** What leads from running to the candidate with an edit that is not kept.
     *  @throws engine::InputError */
    Plan plan_trial(const engine::Source &edit);
    /** What an edit of the running configuration amounts to. @throws engine::InputError */
    Plan plan_edit(const engine::Source &edit);
    /** The same of what fits. @param misfits  Gets what does not. */
    Plan plan_edit_where_possible(const engine::Source &edit,
                                  std::vector<engine::Problem> &misfits);
    /** The same for a whole configuration. @throws engine::InputError */
    Plan plan_replacement(const engine::Source &configuration);
    Plan plan_replacement(const engine::Datastore &configuration);

    /** Makes a plan part of the running configuration. Since it was made, no other may have been.
     */
    void commit(const Plan &plan);

private:
    engine::Datastore &candidate();

    engine::Datastore m_running;
    std::uint64_t m_running_generation = 0;
    std::optional<engine::Datastore> m_candidate; /**< Nothing: it is what is running. */
    Touched m_touched;                            /**< In the candidate. */
    std::uint64_t m_generation = 0;               /**< Counts the changes of the candidate. */
    std::mutex m_edit; /**< Held by whoever uses the engine's functions that change trees. */
    mutable FairLock m_running_lock;
    mutable FairLock m_candidate_lock;
};

} // namespace host::twin
