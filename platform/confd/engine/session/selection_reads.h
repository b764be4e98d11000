/**
 * @file
 * What the result of an XPath expression depends on.
 */
#pragma once

#include "engine/session/reads.h"

#include <optional>
#include <string>

namespace engine
{

/** Where nodes of a selection stand. */
struct SelectionPlace {
    const SchemaNode *node = nullptr; /**< Null: above all. */
    PlaceId place = kRootPlace;
    bool is_exact = true; /**< No list was gone through without the keys of an entry. */
};

/**
 * Notes what an expression that selects nodes of the candidate depends on: for a path of names,
 * with predicates that compare leaves with constants, the nodes on the way; of a list whose keys
 * are all given, one entry. For any other expression everything.
 *
 * @param context  Where the expression starts; null: nowhere, it has to be absolute.
 * @return Where the selected nodes stand; nothing when everything was noted.
 */
std::optional<SelectionPlace> note_selection(const Schema &schema, const SelectionPlace *context,
                                             const std::string &expression);

/** The same for an expression that is evaluated to a text. */
void note_evaluation(const Schema &schema, const SelectionPlace *context,
                     const std::string &expression);

} // namespace engine
