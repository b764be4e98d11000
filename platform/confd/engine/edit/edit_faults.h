/**
 * @file
 * What is wrong with an edit as it was written. For the edit's own files only.
 */
#pragma once

#include "engine/edit/edit_tree.h"

#include <vector>

namespace engine
{

/** What the model does not allow in a tree that was parsed with opaque nodes. */
std::vector<Problem> find_faults(const Schema &schema, const Source &edit, const EditTree &tree);

} // namespace engine
