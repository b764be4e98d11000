/**
 * @file
 * Checks that are kept in a file, to be made again somewhere else.
 */
#pragma once

#include "bundle/archive.h"
#include "cli/check_options.h"
#include "cli/console.h"

#include <nlohmann/json.hpp>
#include <string>

namespace host
{

/** What a check says that nobody watches. */
struct KeptReport {
    int exit_code = 0;
    std::string json;  /**< As --json prints it, without times. */
    std::string text;  /**< As people read it. */
    std::string trace; /**< Of the plug-in, at the finest level. */

    /** The reports, to be compared: without what is another one each time. */
    std::vector<nlohmann::json> comparable() const;
};

/** Makes a check whose inputs are kept, again. */
KeptReport check_kept(const CheckOptions &options);

/** What a report depends on besides its inputs, by name. */
nlohmann::ordered_json versions_of(const CheckOptions &options);

/** The options that a report depends on, and back. @throws nlohmann::json::exception */
nlohmann::ordered_json json_options(const CheckOptions &options);
CheckOptions read_options(const nlohmann::json &json);

/** As `check`, then packs it all into the bundle that the options name. @return Exit code. */
int check_and_bundle(CheckOptions options, const Console &console);

} // namespace host
