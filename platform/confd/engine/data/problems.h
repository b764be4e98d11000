/**
 * @file
 * What libyang says about faults, in the operator's terms.
 */
#pragma once

#include "engine/data/error.h"
#include "engine/schema/schema.h"

#include <string>
#include <vector>

namespace engine
{

/** Where libyang saw a fault, as its text says it; what the text leaves out is empty. */
struct FaultLocation {
    std::string data;   /**< Path with predicates, such as /base:config/service-port[id='1']. */
    std::string schema; /**< Schema path, with choices and cases. */
    unsigned line = 0;
};

/** What kind of fault an error of libyang's is. */
Fault fault_of(const ly_err_item &item);

/** Takes apart the location text of a libyang error; null gives an empty location. */
FaultLocation read_location(const char *text);

/** /base:config/service-port[id='1']/match becomes /config/service-port{1}/match. */
std::string brace_path(const std::string &data_path);

/**
 * One error of libyang's. For values that do not fit and for unknown names in what was read, the
 * hint says what would be right.
 * @param source_name  File that was being read or checked.
 */
Problem problem_of(const Schema &schema, const ly_err_item &item, const std::string &source_name);

/**
 * After a call of libyang failed: turns all that it stored into problems, at least one, and
 * forgets it.
 */
std::vector<Problem> take_problems(const Schema &schema, const std::string &source_name);

/** Hint for one who gave a leaf another value. */
std::string hint_of_values(const SchemaNode &leaf);

/** Hint for one who wrote a name that is not known below this node. */
std::string hint_of_names(const SchemaNode &above, const std::string &written);

/** How a configuration begins, for the one who gave something else. */
std::string root_hint(const Schema &schema);

} // namespace engine
