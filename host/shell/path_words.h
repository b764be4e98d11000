/**
 * @file
 * Paths as words: names, and behind that of a list its keys.
 */
#pragma once

#include "engine/data/datastore.h"
#include "shell/command_line.h"

#include <optional>
#include <string>
#include <vector>

namespace host::shell
{

struct PathStep {
    const engine::SchemaNode *node = nullptr;
    Words keys; /**< Of a list: as they were written, so a number may be a range; empty: all
                   entries. */
};
/** From the top-level container on. */
using PathSteps = std::vector<PathStep>;

/** The path without names of the model: its top-level container. */
PathSteps top_of(const engine::Schema &schema);

/** What the next word of a path is. */
enum class Expects { kName, kKey, kValue };

/** Reads a path word by word. */
class PathReader
{
public:
    explicit PathReader(PathSteps base) : m_steps(std::move(base)) {}

    /** @throws CommandError  There is no such node, or nothing may follow. */
    void take(const std::string &word);

    Expects expects() const;
    const PathSteps &steps() const { return m_steps; }
    const engine::SchemaNode &node() const { return *m_steps.back().node; }
    /** The key that comes next. Only where a key is expected. */
    const engine::SchemaNode &next_key() const;
    /** Whether a list stands at the end, without a key. */
    bool ends_in_list() const { return node().is_list() && m_steps.back().keys.empty(); }
    /** Back to the node above the last one. */
    void leave() { m_steps.pop_back(); }

private:
    PathSteps m_steps;
};

/**
 * Words of a path. A path in the notation of reports, such as /config/interface/gpon{1 1 3}, is one
 * word, and begins at the top.
 * @throws CommandError
 */
PathSteps read_path(const engine::Schema &schema, const PathSteps &base, const Words &words);

/** As read_path does for a first word in the notation of reports; nothing for other words. */
std::optional<PathSteps> read_report_path(const engine::Schema &schema, const std::string &word);

/** @throws CommandError  A list within the path, or at its end, is without some of its keys.
 *  @param allows_whole_list  At the end it may be without all of them. */
void require_keys(const PathSteps &steps, bool allows_whole_list);

/** The path with each range replaced by its numbers. @throws CommandError */
std::vector<PathSteps> expanded(const PathSteps &steps);

/** Whether ranges stand in the path. */
bool has_ranges(const PathSteps &steps);

/**
 * The nodes of a configuration that a path leads to: none, one, or, for a path that ends in a list
 * without keys and for a leaf-list, several.
 */
std::vector<const lyd_node *> find_nodes(const engine::Datastore &tree, const PathSteps &steps);

/** The words that lead from the top to the node, its keys included. */
std::string words_of(const PathSteps &steps);
PathSteps steps_of(const lyd_node *node);

/** Children of a node in the order of the model. */
std::vector<const engine::SchemaNode *> children_of(const engine::SchemaNode &node);

} // namespace host::shell
