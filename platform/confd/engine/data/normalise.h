/**
 * @file
 * What makes a parsed or edited tree a configuration: key order and encrypted values.
 */
#pragma once

#include "engine/schema/yang.h"

#include <functional>

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

/** Whether the node is an entry whose place its keys decide. */
bool is_system_ordered(const lyd_node *node);

/** Whether entry `a` stands before entry `b` of the same list, by their keys. */
bool is_before(const lyd_node *a, const lyd_node *b);

/** Tells the node of the same path in another configuration; null when it is not there. */
using Counterpart = std::function<const lyd_node *(const lyd_node *)>;

/**
 * Stores encrypted leaves that were entered as clear text ($0$) encrypted.
 * @param committed  Where what is committed holds the same clear text at the same place, its cipher
 * text is kept.
 */
void encrypt_leaves(lyd_node *root, const Counterpart &committed);

/** The same for one node, which may be any. */
void encrypt_if_clear(lyd_node *node, const Counterpart &committed);

} // namespace engine
