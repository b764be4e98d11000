/**
 * @file
 * Reading an edit. For the edit's own files only.
 */
#pragma once

#include "engine/edit/edit_tree.h"

namespace engine
{

/** @throws InputError  With all names and values that the model does not allow. */
EditTree parse_edit(const Schema &schema, const Source &edit);

} // namespace engine
