/**
 * @file
 * A check whose inputs are kept, made again without anybody watching.
 */
#pragma once

#include "cli/check_options.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

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

} // namespace host
