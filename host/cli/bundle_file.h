/**
 * @file
 * The files of a bundle, and what they mean.
 */
#pragma once

#include "cli/bundle_check.h"

namespace host
{

struct Bundle {
    CheckOptions options; /**< With the inputs. */
    nlohmann::ordered_json versions;
    KeptReport report;
};

/** The bundle as files to pack. */
PackedFiles files_of(const Bundle &bundle);

/** @throws engine::InputError  They are not those of a bundle. */
Bundle read_bundle(const std::string &name, const PackedFiles &files);

} // namespace host
