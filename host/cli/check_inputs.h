/**
 * @file
 * What a check works on: files, and how to go about it.
 */
#pragma once

#include "checker/change.h"
#include "cli/check_options.h"
#include "cli/output_file.h"

#include <fm_host.h>

#include <optional>
#include <string>
#include <vector>

namespace host
{

/** @param path  - is stdin. @throws engine::InputError, as all that follows: it cannot be read. */
engine::Source read_input(const std::string &path, const CheckOptions &options);

/** How these options want the plug-in to be asked. */
Policy policy_of(const CheckOptions &options);

/** The card and what is committed on it. */
struct CardInputs {
    fm::Card card;
    std::optional<engine::Source> running;
};
CardInputs read_card(const CheckOptions &options);

/**
 * The edits' files in the order of checking: as they were named; a folder's files by name, without
 * hidden ones and folders; or the lines of stdin. Every file is named once, and there is one at
 * least.
 */
std::vector<std::string> list_edits(const CheckOptions &options);

/** The files that are read, for require_separate. */
std::vector<NamedFile> named_inputs(const CheckOptions &options,
                                    const std::vector<std::string> &edits);

/** @throws engine::InputError  A file is written that is also read. */
void require_separate_files(const CheckOptions &options, const std::vector<std::string> &edits);

} // namespace host
