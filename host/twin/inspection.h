/**
 * @file
 * A look at a message before the NETCONF library sees it.
 */
#pragma once

#include "twin/reply.h"

#include <libyang/libyang.h>

#include <optional>
#include <string>

namespace host::twin
{

/** What a message is not: the error, and the request that it answers. */
struct Rejection {
    bool is_rpc; /**< Else there is no request to answer. */
    std::optional<std::string> message_id;
    RpcError error;
};

/** Whether a message is a hello that speaks of chunks (`:base:1.1`). */
bool wants_chunks(const std::string &hello);

/**
 * Looks at a message that should be an `rpc`: whether it is XML, what it asks for, with which
 * parameters, and whether all elements have a namespace. What the library takes for granted, or
 * answers in a way that helps nobody, is found here.
 */
std::optional<Rejection> inspect(const ly_ctx *context, const std::string &message);

/** A message that stands for one that cannot be passed on: its answer is the error. */
std::string message_of(const Rejection &rejection);
/** The error of such a message. @param rpc  Of the module of kRejectModule. */
RpcError error_of_reject(const lyd_node *rpc);

inline constexpr const char *kRejectModule = "gpon-twin-reject";

} // namespace host::twin
