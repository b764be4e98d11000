/**
 * @file
 * What a call's socket and handle stand for.
 */
#pragma once

#include "engine/data/path_reader.h"
#include "engine/session/framework.h"
#include "engine/session/reads.h"

#include <cstdarg>

namespace api
{

/** The transaction of a MAAPI call. @throws engine::Error  CONFD_ERR_BADSTATE, CONFD_ERR_NOSESSION.
 */
inline engine::Transaction &transaction_of(int sock, int th)
{
    auto &framework = engine::Framework::current();
    framework.require_socket(sock, engine::SocketKind::kMaapi);
    return framework.transaction(th);
}

/** A configuration as a call reads it. */
struct View {
    engine::TreeView tree;
    engine::EntryIndex *index; /**< Of a tree that is read as it is; null: libyang looks. */
    engine::ReadSide side;

    /** The path of a call that reads this configuration. */
    engine::SharedPath path(const char *format, va_list args) const
    {
        return engine::read_path(tree.schema(), format, args);
    }
    /** As engine::find_node, find_parent and missing_above. */
    const lyd_node *find_node(const engine::Path &path) const
    {
        return index != nullptr ? engine::find_node(tree.root(), path, index)
                                : tree.find_node(path);
    }
    const lyd_node *find_parent(const engine::Path &path) const
    {
        return index != nullptr ? engine::find_parent(tree.root(), path, index)
                                : tree.find_parent(path);
    }
    std::string missing_above(const engine::Path &path) const
    {
        return index != nullptr ? engine::missing_above(tree.root(), path, index)
                                : tree.missing_above(path);
    }
    /** Tells that the call depends on what stands there. */
    void note(const engine::Path &path, engine::ReadExtent extent) const
    {
        auto &log = engine::ReadLog::instance();
        if (log.is_on()) {
            log.note(side, path, extent);
        }
    }
};

/** The configuration of a transaction. */
inline View candidate_of(const engine::Transaction &transaction)
{
    return {transaction.candidate(), &transaction.index(), engine::ReadSide::kCandidate};
}

/** The configuration that a MAAPI call reads. */
inline View candidate_of(int sock, int th)
{
    return candidate_of(transaction_of(sock, th));
}

/** The configuration that a CDB call reads. @throws engine::Error  CONFD_ERR_BADSTATE. */
inline View committed_of(int sock)
{
    auto &framework = engine::Framework::current();
    framework.require_socket(sock, engine::SocketKind::kCdb);
    return {framework.committed(), nullptr, engine::ReadSide::kCommitted};
}

} // namespace api
