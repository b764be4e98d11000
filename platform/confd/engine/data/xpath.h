/**
 * @file
 * XPath over a tree, as far as libyang answers.
 */
#pragma once

#include "engine/data/datastore.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace engine
{

/** The argument, when the whole expression is a call of this function. */
std::optional<std::string> argument_of(std::string_view function, std::string_view expression);

/** Nodes of an expression, in document order. @throws Error CONFD_ERR_XPATH. */
std::vector<const lyd_node *> select_nodes(const Datastore &tree, const lyd_node *context,
                                           const std::string &expression);

/**
 * Result as text: a node set's first value (empty for an empty set and for a node that holds no
 * value), a count, a string, a boolean. In a boolean without a context node, paths must be
 * absolute: relative ones would start at the first top-level node.
 * @throws Error  CONFD_ERR_XPATH: broken, or beyond these.
 */
std::string evaluate(const Datastore &tree, const lyd_node *context, const std::string &expression);

} // namespace engine
