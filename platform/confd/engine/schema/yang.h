/**
 * @file
 * libyang, with the linkage that its headers leave out.
 */
#pragma once

extern "C" {
#include <libyang/libyang.h>
#include <libyang/plugins_types.h>
}
