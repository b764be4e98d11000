/**
 * @file
 * `gpon-validate points`: which rules there are, and where they sit in the data model.
 */
#pragma once

#include "cli/console.h"

#include <string>

namespace host
{

struct PointsOptions {
    std::string key; /**< Empty: all of them, in short. */
    bool json = false;
};

/** @return Exit code. */
int run_points(const PointsOptions &options, const Console &console);

} // namespace host
