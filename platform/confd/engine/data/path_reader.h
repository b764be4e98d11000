/**
 * @file
 * Reading of paths as clients give them: text with directives.
 */
#pragma once

#include "engine/data/path.h"

#include <cstdarg>
#include <string>

namespace engine
{

/**
 * Reads a path with its directives.
 * @param start  For a relative path; null for an absolute one.
 * @throws Error  CONFD_ERR_BADPATH, with the path and the element at fault.
 */
Path read_path(const Schema &schema, const SchemaNode *start, const char *format, va_list args);

/** The same for an absolute path without directives. */
Path read_path(const Schema &schema, const std::string &text);

/** The same for a schema node: keys may stand in the path or be left out, and are not looked at. */
const SchemaNode &read_schema_path(const Schema &schema, const SchemaNode *start,
                                   const char *format, va_list args);

} // namespace engine
