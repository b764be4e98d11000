/**
 * @file
 * Keypaths of the client interface, made from data nodes.
 */
#pragma once

#include "engine/schema/schema.h"

namespace engine
{

/** Keypath of a data node. Texts are copies; release with free_keypath. */
void fill_keypath(confd_hkeypath_t &keypath, const lyd_node *node);
/** Keypath of a list below a node, without keys. */
void fill_list_keypath(confd_hkeypath_t &keypath, const lyd_node *parent, const SchemaNode &list);
void free_keypath(confd_hkeypath_t &keypath);

} // namespace engine
