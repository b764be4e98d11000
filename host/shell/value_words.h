/**
 * @file
 * Values that a leaf or a key may have.
 */
#pragma once

#include "shell/path_words.h"

#include <string>
#include <vector>

namespace host::shell
{

/** A word that may stand at the end of a line. */
struct Candidate {
    std::string text; /**< As it is typed, quotes included. */
    std::string help;
};

/** Enumerations, truth values and what a leafref refers to. @param steps  The path to the leaf, or
 *  to the list whose key it is. */
std::vector<Candidate> values_of(const engine::Datastore &tree, const PathSteps &steps,
                                 const engine::SchemaNode &leaf);

/** The keys of entries that there are, of which the first ones stand in the last step. */
std::vector<Candidate> existing_keys(const engine::Datastore &tree, const PathSteps &steps);

/** The description of a node in one line. */
std::string description_of(const engine::SchemaNode &node);

/** The same, with the values that a leaf takes. */
std::string help_of(const engine::SchemaNode &node);

} // namespace host::shell
