/**
 * @file
 * The PON links and line profiles of a configuration.
 */
#pragma once

#include "headroom/figures.h"
#include "headroom/rule_session.h"

namespace host
{

/** Fills in the links and line profiles, and how many ONUs more fit. */
void read_links(const RuleSession &session, const lyd_node *config, Figures &figures);

} // namespace host
