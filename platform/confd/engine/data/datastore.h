/**
 * @file
 * A configuration: a tree in which system-ordered lists stand in key order.
 */
#pragma once

#include "engine/data/source.h"
#include "engine/schema/schema.h"

#include <functional>
#include <memory>
#include <string>

namespace engine
{

/**
 * Owns a libyang tree. A default value that YANG supplies is in the tree once `check_yang` has run.
 * Movable; a copy is asked for by name.
 */
class Datastore
{
public:
    explicit Datastore(std::shared_ptr<const Schema> schema);
    ~Datastore();
    Datastore(Datastore &&) noexcept;
    Datastore &operator=(Datastore &&) noexcept;

    /**
     * Parses a whole configuration. Nothing is checked yet but names, types and keys.
     * Encrypted leaves entered as clear text ($0$) are stored encrypted; where `committed` already
     * holds the same clear text its cipher text is kept, so that the value does not count as
     * changed.
     * @throws InputError
     */
    static Datastore parse(std::shared_ptr<const Schema> schema, const Source &source,
                           const Datastore *committed = nullptr);

    Datastore copy() const;

    /** First top-level node; null when empty. */
    lyd_node *root() const { return m_root; }
    const Schema &schema() const { return *m_schema; }
    const std::shared_ptr<const Schema> &schema_ptr() const { return m_schema; }

    std::string print(Format format) const;

private:
    friend class UndoLog;
    friend void check_yang(Datastore &tree, const Source &source);
    friend void add_defaults(Datastore &tree);
    void normalise(const Datastore *committed); /**< Key order and encryption. */

    std::shared_ptr<const Schema> m_schema;
    lyd_node *m_root = nullptr;
};

} // namespace engine
