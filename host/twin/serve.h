/**
 * @file
 * The server from its start to its end.
 */
#pragma once

#include "twin/options.h"

#include <iosfwd>

namespace host::twin
{

/** Serves until SIGTERM or SIGINT. @return Exit code. */
int serve(const TwinOptions &options, std::ostream &out);

} // namespace host::twin
