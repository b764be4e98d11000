/** Rules of the plug-in as a modeller would write them in YANG instead. */
#pragma once

#include "engine/data/datastore.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench
{

/** Text that is put into a submodule of the data model, behind a piece of it. */
struct Insertion {
    const char *submodule;
    const char *behind;
    const char *text;
};

struct YangRule {
    const char *name;
    const char *rule; /**< Key of the plug-in's rule that says the same. */
    std::vector<Insertion> insertions;
    /** Makes a card that the rule accepts, where a generated one does not do. */
    std::function<void(std::string &xml)> prepare;
    /** Makes a prepared card one that the rule objects to. */
    std::function<void(std::string &xml)> spoil;
    /** Fills in what the statements want to have beside the card's own data. May be empty. */
    std::function<void(engine::Datastore &)> complete;
    /** Which entries the plug-in is asked about; empty: all. */
    std::function<bool(const std::string &path, bool is_spoilt)> asks_about;
    /** Larger cards take minutes. */
    std::uint32_t most_links;
};

const std::vector<YangRule> &yang_rules();

/** The data model with the statements of a rule in it. */
std::shared_ptr<const engine::Schema> schema_with(const YangRule &rule);

} // namespace bench
