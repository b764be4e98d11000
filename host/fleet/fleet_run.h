/**
 * @file
 * The check of all cards of a fleet by workers on this machine.
 */
#pragma once

#include "fleet/card_check.h"
#include "fleet/result_file.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace host
{

/** How far a run has come. */
struct FleetProgress {
    std::size_t total = 0;
    std::size_t checked = 0; /**< By this run. */
    std::size_t kept = 0;    /**< Of an earlier run. */
    std::map<Result, std::size_t> results;

    std::size_t done() const { return checked + kept; }
};

/** How long a card took, from its files to its line. */
struct CardTime {
    std::string name;
    std::chrono::nanoseconds time{0};
};

/** What a run leaves behind, beside the file. */
struct FleetEnd {
    int signal = 0; /**< That ended it before it was done; 0: it is done. */
    FleetProgress progress;
    std::vector<StoredResult> results; /**< In the order of the list, if it is done. */
    std::vector<CardTime> slowest;     /**< Of the cards that were checked, the slowest first. */
};

/**
 * Checks the cards whose results are not in the file yet, or do not hold any more, and adds each
 * line as it comes. A result without a verdict is not kept.
 * @param on_progress  Is called several times a second.
 * @throws engine::InputError  The results cannot be written. No worker is left then.
 */
FleetEnd run_fleet(const CardList &list, const FleetPolicy &policy, ResultFile &file, unsigned jobs,
                   const std::function<void(const FleetProgress &)> &on_progress);

} // namespace host
