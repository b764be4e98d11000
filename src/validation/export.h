/**
 * @file
 * Marks what the library publishes; everything else stays inside. exports.map lists the
 * names.
 */
#pragma once

#define GPON_EXPORT __attribute__((visibility("default")))
