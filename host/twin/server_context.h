/**
 * @file
 * What the server's libyang context holds: NETCONF's own modules and the card's model.
 */
#pragma once

#include <libyang/libyang.h>

#include <memory>
#include <optional>
#include <string>

namespace host::twin
{

inline constexpr const char *kNetconfNamespace = "urn:ietf:params:xml:ns:netconf:base:1.0";
/** Of the attribute that tags defaults (RFC 6243, section 6). */
inline constexpr const char *kDefaultNamespace = "urn:ietf:params:xml:ns:netconf:default:1.0";
inline constexpr const char *kConfirmNamespace = "urn:olt:gpon:twin:confirm";
inline constexpr const char *kHistoryNamespace = "urn:olt:gpon:twin:history";

struct FreeContext {
    void operator()(ly_ctx *context) const { ly_ctx_destroy(context); }
};
using ServerContext = std::unique_ptr<ly_ctx, FreeContext>;

/**
 * RPCs are parsed in this context, and replies made. The configurations are in the engine's own.
 * @throws std::runtime_error
 */
ServerContext make_server_context(bool writable_running);

/** Text of a module or submodule in YANG; nothing when there is none.
 *  @param revision  Empty: any. */
std::optional<std::string> schema_text(const ly_ctx *context, const std::string &name,
                                       const std::string &revision);

} // namespace host::twin
