/**
 * @file
 * Commands as edits of NETCONF.
 */
#pragma once

#include "shell/path_words.h"

#include <optional>
#include <string>
#include <vector>

namespace host::shell
{

/** A node of an edit. */
struct EditNode {
    const engine::SchemaNode *node = nullptr;
    Words keys;
    std::optional<std::string> value;
    std::string operation; /**< Of NETCONF; empty: merge. */
    std::string place;     /**< Where an entry is put: first, last, before or after. */
    Words beside;          /**< The entry that it is put before or after. */
    std::vector<EditNode> below;
};

/** An edit that grows path by path. */
class EditTree
{
public:
    /** The node at the end of the path, which is put into the edit. Good until the next is added.
     *  @param steps  Without ranges, with all keys. */
    EditNode &add(const PathSteps &steps);
    bool empty() const { return m_tops.empty(); }
    std::string text() const;

private:
    std::vector<EditNode> m_tops;
};

/**
 * What `set` asks for: a path of the words, which may go on from a leaf's value with the next leaf
 * next to it; leaves of a list entry stand in one line so.
 * @throws CommandError
 */
EditTree edit_of_set(const engine::Schema &schema, const PathSteps &base, const Words &words);

/** What `delete` asks for. @param candidate  Where whole lists and ranges are looked up. */
EditTree edit_of_delete(const engine::Datastore &candidate, const PathSteps &base,
                        const Words &words);

/** What `move PATH first|last|before KEYS|after KEYS` asks for. */
EditTree edit_of_move(const engine::Datastore &candidate, const PathSteps &base,
                      const Words &words);

} // namespace host::shell
