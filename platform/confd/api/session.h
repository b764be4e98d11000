/**
 * @file
 * What a call's socket and handle stand for.
 */
#pragma once

#include "engine/data/path_reader.h"
#include "engine/session/framework.h"

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

/** The configuration that a MAAPI call reads. */
inline const engine::Datastore &candidate_of(int sock, int th)
{
    return transaction_of(sock, th).candidate();
}

/** The configuration that a CDB call reads. @throws engine::Error  CONFD_ERR_BADSTATE. */
inline engine::TreeView committed_of(int sock)
{
    auto &framework = engine::Framework::current();
    framework.require_socket(sock, engine::SocketKind::kCdb);
    return framework.committed();
}

/** The path of a call that reads this configuration. */
inline engine::Path path_in(const engine::TreeView &tree, const char *format, va_list args)
{
    return engine::read_path(tree.schema(), nullptr, format, args);
}

} // namespace api
