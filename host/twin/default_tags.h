/**
 * @file
 * Leaves of an edit or a configuration that a client has tagged as defaults (RFC 6243, section 6).
 */
#pragma once

#include "twin/selection.h"

#include <functional>
#include <optional>
#include <string>

namespace host::twin
{

/** What the tags of an edit depend on. */
struct EditOfDefaults {
    std::string default_operation;
    /** Whether somebody has set the node at this path. */
    std::function<bool(const std::string &path)> is_set;
};

/** Whether there are such leaves. */
bool has_default_tags(const lyd_node *tree);

/**
 * Whoever tags a leaf wants its default, and has to name it. In an edit such a leaf becomes one to
 * remove; from a configuration it is taken out.
 * @param tree  A copy of what the client has sent.
 * @param edit  Nothing: it is a whole configuration.
 * @throws RpcFailure  The value is not the default, or the operation does not allow it.
 */
void resolve_default_tags(Tree &tree, const std::optional<EditOfDefaults> &edit);

} // namespace host::twin
