/**
 * @file
 * The running configuration is trusted. Where it should not have been, its faults come to light in
 * the candidate, and are none of the change's.
 */
#pragma once

#include "engine/data/changes.h"
#include "engine/data/error.h"

#include <string>
#include <vector>

namespace host
{

/**
 * Tells the faults of a candidate that are in the running configuration already as such, with
 * their place in that file.
 * @param faults   Of the candidate.
 * @param source   Of the running configuration.
 * @param touched  Paths that the change creates, deletes or gives another value.
 */
std::vector<engine::Problem> name_running_faults(std::vector<engine::Problem> faults,
                                                 const engine::Datastore &running,
                                                 const engine::Source &source,
                                                 const std::vector<std::string> &touched);

/** Paths of what differs between the configurations. */
std::vector<std::string> touched_paths(const std::vector<engine::Change> &changes);

} // namespace host
