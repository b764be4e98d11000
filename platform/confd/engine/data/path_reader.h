/**
 * @file
 * Reading of paths as clients give them: text with directives.
 */
#pragma once

#include "engine/data/path.h"

#include <cstdarg>
#include <memory>
#include <string>

namespace engine
{

/** A path that was read; the reader may know it from an earlier time. */
using SharedPath = std::shared_ptr<const Path>;

/**
 * Reads an absolute path with its directives.
 * @throws Error  CONFD_ERR_BADPATH, with the path and the element at fault.
 */
SharedPath read_path(const Schema &schema, const char *format, va_list args);

/** The same for a path without directives. */
SharedPath read_path(const Schema &schema, const std::string &text);

/**
 * The same for a schema node: keys may stand in the path or be left out, and are not looked at.
 * @param start  For a relative path; null for an absolute one.
 */
const SchemaNode &read_schema_path(const Schema &schema, const SchemaNode *start,
                                   const char *format, va_list args);

} // namespace engine
