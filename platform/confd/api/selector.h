/**
 * @file
 * The select and sort expressions of queries.
 */
#pragma once

#include "engine/data/datastore.h"

#include <string>
#include <vector>

namespace api
{

/**
 * An expression relative to a query's results. A plain path of child names, such as
 * profile-references/line-profile, is walked directly; everything else is left to XPath.
 */
class Selector
{
public:
    explicit Selector(const char *expression);

    /**
     * Prepares for the query's results.
     * @throws engine::Error  CONFD_ERR_XPATH: a plain path that none of the results can have.
     */
    void prepare(const std::vector<const lyd_node *> &results);

    /** First node that the expression selects; null when it selects none. */
    const lyd_node *first(const engine::Datastore &tree, const lyd_node *result) const;

    const std::string &expression() const { return m_expression; }

    /** Name of what is selected where no node tells it; 0 when that is not known. */
    xml_tag tag() const;

private:
    const std::string m_expression;
    std::vector<std::string> m_names; /**< Empty when the expression is no plain path. */
    const engine::SchemaNode *m_start = nullptr;
    std::vector<const engine::SchemaNode *> m_steps; /**< Of the names below m_start. */
};

} // namespace api
