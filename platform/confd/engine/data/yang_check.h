/**
 * @file
 * YANG validity of a configuration, told with every place that is at fault.
 */
#pragma once

#include "engine/data/datastore.h"

namespace engine
{

/**
 * Checks the whole tree (mandatory, must, leafref, unique, min- and max-elements) and adds default
 * values.
 * @param source  What the errors name; with its text they have lines and columns: of the node at
 *                fault, or of the deepest node above it that is in the text.
 * @throws InputError  With every fault that libyang tells.
 */
void check_yang(Datastore &tree, const Source &source);
inline void check_yang(Datastore &tree, const std::string &source_name)
{
    check_yang(tree, Source{source_name, ""});
}

} // namespace engine
