/**
 * @file
 * Secrets that not everybody may see.
 */
#pragma once

#include "engine/schema/schema.h"

#include <string>
#include <string_view>
#include <unordered_set>

namespace host::twin
{

/** Knows the secrets of the card's model, in trees of any context that holds that model. */
class Masking
{
public:
    explicit Masking(const engine::Schema &schema);

    /** Whether the node is a leaf or leaf-list whose value must not be shown. */
    bool is_secret(const lyd_node *node) const;
    /** Whether there is one at or below the first sibling or those behind it. */
    bool has_secrets(const lyd_node *tree) const;
    /**
     * Puts engine::kMaskedValue in place of all secrets below the first node and its siblings, for
     * printing: the masked nodes are opaque, and the last of their siblings.
     */
    void mask(lyd_node *tree) const;
    /**
     * Whether an edit gives a secret what stands in place of one: whoever sees no secrets sends
     * back what was read, and would overwrite them.
     * @param xml  As libyang prints it.
     */
    bool is_masked(std::string_view xml) const;

private:
    std::unordered_set<std::string> m_paths; /**< Schema paths, without choices and cases. */
    std::unordered_set<std::string> m_names; /**< The last names in them, to look at few paths. */
    std::string m_ns;
};

} // namespace host::twin
