/**
 * @file
 * How values that YANG supplies are reported (RFC 6243).
 */
#pragma once

#include "engine/schema/yang.h"

#include <optional>
#include <string>
#include <string_view>

namespace host::twin
{

enum class WithDefaults {
    kReportAll,       /**< All values. */
    kReportAllTagged, /**< All values; those that nobody has set have an attribute. */
    kTrim,            /**< No values that equal their default. */
    kExplicit         /**< Values that were set, also to their default. This is the basic mode. */
};

inline constexpr WithDefaults kBasicMode = WithDefaults::kExplicit;

/** The mode of a <with-defaults> element's text; nothing for any other text. */
std::optional<WithDefaults> with_defaults_of(std::string_view text);

/** As in <with-defaults>. */
const char *name_of(WithDefaults mode);

/** The mode that an RPC asks for by a child <with-defaults>, else the basic mode. */
WithDefaults with_defaults_of(const lyd_node *rpc);

/**
 * A tree with all its siblings in this mode, as XML. The tagged mode needs
 * ietf-netconf-with-defaults, implemented, in the context.
 * @throws std::runtime_error
 */
std::string printed(const lyd_node *tree, WithDefaults mode);

} // namespace host::twin
