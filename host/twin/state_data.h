/**
 * @file
 * What <get> tells besides the configuration.
 */
#pragma once

#include "twin/device.h"
#include "twin/selection.h"

namespace host::twin
{

/** Sessions, locks, schemas, streams and the library of modules, in the server's context. */
Tree state_data(Device &device, const ly_ctx *context);

} // namespace host::twin
