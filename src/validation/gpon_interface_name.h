/**
 * @file
 * Names of GPON interfaces: `1 1 3` in list keys, `1/1/3` for people.
 */
#pragma once

#include <algorithm>
#include <string>

/** Place of the port among a GPON interface's keys: chassis, slot, port. */
constexpr int kPortIdKey = 2;

inline std::string to_key_form(std::string interface)
{
    std::replace(interface.begin(), interface.end(), '/', ' ');
    return interface;
}

inline std::string to_display_form(std::string interface)
{
    std::replace(interface.begin(), interface.end(), ' ', '/');
    return interface;
}
