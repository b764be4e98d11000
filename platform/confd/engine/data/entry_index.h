/**
 * @file
 * Finds list entries by their keys without libyang.
 */
#pragma once

#include "engine/data/path.h"

#include <array>
#include <cstddef>
#include <unordered_map>
#include <vector>

namespace engine
{

/**
 * Index of the lists of a tree that stays as it is: of a candidate while rules look at it. libyang
 * must store a key, with all checks of its type, before it can look for it. A list is indexed once
 * the lookups so far took as long as that does: a rule that is asked once must not pay for all of a
 * long list. Who goes through a list finds each entry behind the one before.
 */
class EntryIndex : public EntryFinder
{
public:
    const lyd_node *find_first(const lyd_node *siblings, const SchemaNode &node) override;
    const lyd_node *find(const lyd_node *first, const Path::Step &step) override;

private:
    /** What was found the last time. */
    struct First {
        const lyd_node *siblings = nullptr;
        const SchemaNode *node = nullptr;
        const lyd_node *found = nullptr;
    };
    /** One list's entries, by the hash of their keys. */
    struct Entries {
        const lyd_node *last = nullptr;       /**< That was found. */
        bool is_walked = false;               /**< It stood behind the one before. */
        std::size_t lookups = 0;              /**< Before it was indexed. */
        std::size_t count = 0;                /**< Known after a few of them. */
        std::vector<const lyd_node *> places; /**< A power of two of them, half of them empty. */
    };

    static const lyd_node *search(Entries &entries, const lyd_node *first, const Path::Step &step);
    static void fill(Entries &entries, const lyd_node *first);
    static const lyd_node *find_in(const Entries &entries, const std::vector<std::string> &keys);

    static constexpr std::size_t kFirsts = 64;
    std::array<First, kFirsts> m_firsts;                   /**< By a hash. */
    std::unordered_map<const lyd_node *, Entries> m_lists; /**< By the first entry. */
};

} // namespace engine
