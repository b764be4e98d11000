/**
 * @file
 * Tells a client of changes.
 */
#pragma once

#include "confd_maapi.h"
#include "engine/data/changes.h"
#include "engine/data/path.h"

#include <vector>

namespace api
{

/** Walks changed nodes in their order and tells a client's function what happened to each. */
class ChangeWalk
{
public:
    ChangeWalk(maapi_diff_iter_t *iter, void *state) : m_iter(iter), m_state(state) {}

    /** Walks what changed at a path and below. */
    void walk(const std::vector<engine::Change> &changes, const engine::Path &path)
    {
        go_to(changes, path, 0);
    }

private:
    // Each returns false once the client has ended the walk.
    bool go_to(const std::vector<engine::Change> &changes, const engine::Path &path,
               std::size_t step);
    bool visit(const engine::Change &change);

    maapi_iter_ret tell(const engine::Change &change, confd_iter_op operation);

    maapi_diff_iter_t *m_iter;
    void *m_state;
};

} // namespace api
