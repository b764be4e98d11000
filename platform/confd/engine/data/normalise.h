/**
 * @file
 * What makes a parsed or edited tree a configuration: key order and encrypted values.
 */
#pragma once

#include "engine/schema/yang.h"

namespace engine
{

/**
 * Brings system-ordered lists and leaf-lists into key order, at all levels. Linear where they
 * stand in order already.
 * @param root  First top-level node; follows if another becomes the first.
 */
void order_by_keys(lyd_node *&root);

/** The same for one level. @param first  First of the siblings; follows likewise. */
void order_siblings(lyd_node *&first);

/**
 * Stores encrypted leaves that were entered as clear text ($0$) encrypted.
 * @param committed  First top-level node of the committed configuration: where it holds the same
 * clear text at the same place, its cipher text is kept. May be null.
 */
void encrypt_leaves(lyd_node *root, const lyd_node *committed);

/** The same for one node, which may be any. */
void encrypt_if_clear(lyd_node *node, const lyd_node *committed);

} // namespace engine
