/**
 * @file
 * Leafrefs that the engine checks itself. libyang evaluates each one's path anew, which takes a
 * third of a whole check; an index of values takes next to nothing.
 */
#pragma once

#include "engine/schema/schema.h"

#include <memory>
#include <vector>

namespace engine
{

/**
 * Finds the leafrefs whose path has no predicates and goes up only in front, tells the nodes about
 * them, and ends libyang's check of them. All others are libyang's to check.
 * @param targets  Receives what they refer to.
 */
std::vector<LeafrefType> read_references(const Schema &schema,
                                         const std::vector<std::unique_ptr<SchemaNode>> &nodes,
                                         std::vector<std::unique_ptr<ReferenceTarget>> &targets);

/** libyang checks all leafrefs as long as this lives: its texts are the ones that are shown. */
class YangReferences
{
public:
    explicit YangReferences(const Schema &schema);
    ~YangReferences();
    YangReferences(const YangReferences &) = delete;
    YangReferences &operator=(const YangReferences &) = delete;

private:
    const Schema &m_schema;
};

} // namespace engine
