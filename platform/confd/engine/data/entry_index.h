/**
 * @file
 * Finds list entries by their keys without libyang.
 */
#pragma once

#include "engine/data/path.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace engine
{

/**
 * Index of the lists of a tree that stays as it is: of a candidate while rules look at it. libyang
 * must store a key, with all checks of its type, before it can look for it. A list is indexed once
 * it was looked into a few times: a rule that is asked once must not pay for the whole list.
 */
class EntryIndex : public EntryFinder
{
public:
    const lyd_node *find(const lyd_node *first, const Path::Step &step) override;

private:
    /** One list's entries, by the hash of their keys. */
    struct Entries {
        unsigned int lookups = 0;
        std::vector<const lyd_node *> places; /**< A power of two of them, half of them empty. */
    };

    static void fill(Entries &entries, const lyd_node *first);
    static const lyd_node *find_in(const Entries &entries, const std::vector<std::string> &keys);

    std::unordered_map<const lyd_node *, Entries> m_lists; /**< By the first entry. */
};

} // namespace engine
