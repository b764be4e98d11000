/**
 * @file
 * Answers of rules that are used again, as long as nothing has changed that they depend on.
 */
#pragma once

#include "checker/outcome.h"
#include "engine/session/change_scan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace host
{

/**
 * Keeps answers that hold for the committed configuration: those that depend on nothing that the
 * change touched which they were given for. Such an answer holds for another change, too, if that
 * touches nothing of what it depends on. What an answer depends on is what its request read.
 *
 * For each check: choose, ask what was chosen, finish. What this takes follows from the change, not
 * from the number of requests that it calls for: of a rule that must be asked everywhere, only the
 * instances without a valid answer are gone through, once it was asked everywhere before.
 */
class AnswerStore
{
public:
    AnswerStore();
    ~AnswerStore();
    AnswerStore(const AnswerStore &) = delete;
    AnswerStore &operator=(const AnswerStore &) = delete;

    /**
     * Sets the requests apart that have to be made.
     * @param plan  Of the transaction; both are referred to until `finish`.
     * @param all   Requests behind one that is rejected are made as well.
     * @return These requests, in the order of asking.
     */
    std::vector<engine::Request> choose(const engine::Transaction &transaction,
                                        const engine::Plan &plan, bool all);

    /** How many requests the plan calls for. */
    std::size_t planned() const;

    /**
     * Adds the answers that are used again to an outcome that has those of the requests made, and
     * keeps the new ones.
     */
    void finish(Outcome &outcome);

    /** Forgets what does not hold any more once the transaction, still open, is committed. */
    void commit(const engine::Transaction &transaction);

private:
    struct Known;
    struct PointState;
    struct Item;
    struct Choice;
    /** Answers by what they depend on. */
    using Index = std::unordered_map<std::uint64_t, std::vector<const Known *>>;

    void prepare(const engine::Schema &schema);
    void choose_from_list(std::size_t point);
    void choose_from_counts(std::size_t point);
    bool is_valid(const Known &known) const;
    std::unordered_set<const Known *> touched(const engine::ChangeScan &scan,
                                              engine::ReadSide side) const;
    std::size_t merge_runs(Outcome &outcome);
    void tell_reused(std::size_t end, Outcome &outcome) const;
    std::size_t silent_before(std::size_t item) const;
    void keep(const RuleRun &run, const Item &item);
    void start_counting();
    void drop(const Known &known);
    void commit_counts(std::size_t point, const engine::ValidationPoint &asked,
                       const engine::ChangeScan &scan);

    std::vector<PointState> m_points; /**< As in the model. */
    std::array<Index, 2> m_index;     /**< For either side of the configuration. */
    std::unordered_set<const engine::SchemaNode *> m_watched; /**< Nodes that requests name. */
    std::unique_ptr<Choice> m_choice;                         /**< Between choose and finish. */
};

} // namespace host
