/**
 * @file
 * Reading a text from a file, a pipe or a device.
 */
#pragma once

#include "engine/data/source.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace engine
{

/** What reading a file may cost. */
struct ReadLimits {
    std::size_t max_bytes = std::size_t{512} << 20U;
    /** How long a pipe may stay silent before it is given up; 0: for ever. */
    std::chrono::milliseconds idle_timeout = std::chrono::minutes(1);
};

/**
 * Reads a whole file, pipe or device. XML in another encoding becomes UTF-8: see convert_to_utf8.
 * @throws InputError  It cannot be read, is larger than the limit, stays silent for too long, or
 *                     is not text: a NUL byte ends the reading.
 */
Source read_source(const std::string &path, const ReadLimits &limits = {});

} // namespace engine
