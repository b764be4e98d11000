/**
 * @file
 * The text of a path that a client gives as a format with arguments.
 */
#pragma once

#include "engine/schema/schema.h"

#include <cstdarg>
#include <string>
#include <vector>

namespace engine
{

/** Stands in a path's text for the next of its values: no text that a client gives can hold it. */
inline constexpr char kValueMark = '\0';

/** A path whose directives are filled in, with values kept apart so that nothing misreads them. */
struct FilledPath {
    std::string text;
    std::vector<const confd_value_t *> values;

    void clear()
    {
        text.clear();
        values.clear();
    }

    void add(const confd_value_t &value)
    {
        text += kValueMark;
        values.push_back(&value);
    }

    /** For messages. */
    std::string printed(const Schema &schema) const;
};

/**
 * Fills in the directives of a format as the client library knows them: %d, %u and %s, %x for
 * values, %*x for several, %h for a keypath and %*h for its first elements.
 * @throws Error  CONFD_ERR_BADPATH.
 */
void fill(FilledPath &path, const Schema &schema, const char *format, va_list args);

/** The path is none, for this reason. */
[[noreturn]] void fail_path(const std::string &path, const std::string &reason);

} // namespace engine
