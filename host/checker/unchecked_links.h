/**
 * @file
 * PON links that a change touches and no bandwidth check looks at.
 */
#pragma once

#include "checker/outcome.h"
#include "engine/session/validation_plan.h"

#include <vector>

namespace host
{

/**
 * The card checks the bandwidth of a link where its settings are, at /config/gpon/pon-link: a link
 * without an entry there is not asked about when one of its ONUs changes. The answer stands all
 * the same; this tells what it does not cover.
 * @param plan  Of the transaction.
 */
std::vector<UncheckedLink> find_unchecked_links(const engine::Transaction &transaction,
                                                const engine::Plan &plan);

} // namespace host
