/**
 * @file
 * `gpon-validate generate`: a card's configuration of any size.
 */
#pragma once

#include "cli/console.h"
#include "engine/data/datastore.h"
#include "generator/card_generator.h"

#include <string>

namespace host
{

struct GenerateOptions {
    CardShape shape;
    engine::Format format = engine::Format::kXml;
    std::string output; /**< Empty: stdout. */
    std::string card;   /**< Where to write the capabilities of a matching card; empty: nowhere. */
};

/** @return Exit code. */
int run_generate(const GenerateOptions &options, const Console &console);

} // namespace host
