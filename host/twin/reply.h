/**
 * @file
 * Replies to RPCs, and errors: the one place where they take NETCONF's form.
 */
#pragma once

#include "twin/check_report.h"
#include "twin/confirmed_commit.h"

#include <libyang/libyang.h>
#include <nc_server.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host::twin
{

/** One rpc-error (RFC 6241, section 4.3). */
struct RpcError {
    std::string tag;
    std::string message;
    std::string type = "application";
    bool is_warning = false;
    std::string app_tag{};
    std::string path{}; /**< XPath; prefixes are names of modules. */
    /** In error-info: NETCONF's own, such as session-id. */
    std::vector<std::pair<std::string, std::string>> info{};
    /** In error-info: ours, such as cause. */
    std::vector<std::pair<std::string, std::string>> details{};
};

/** Thrown by a handler: the reply. */
class RpcFailure : public std::runtime_error
{
public:
    explicit RpcFailure(RpcError error) : RpcFailure(std::vector<RpcError>{std::move(error)}) {}
    explicit RpcFailure(std::vector<RpcError> errors)
        : std::runtime_error(errors.front().message), m_errors(std::move(errors))
    {
    }
    explicit RpcFailure(const Refusal &refusal);
    const std::vector<RpcError> &errors() const { return m_errors; }

private:
    std::vector<RpcError> m_errors;
};

/** The rpc-errors of a check that did not accept. */
std::vector<RpcError> errors_of(const CheckReport &report);
std::vector<RpcError> errors_of(const std::vector<Remark> &remarks);

/** What a handler answers: nothing is <ok/>. */
struct Reply {
    std::optional<std::string> data{}; /**< Of the output. */
    bool is_xml = true;                /**< What it is; else text. */
};

/** @param rpc  What is answered. */
nc_server_reply *make_reply(const lyd_node *rpc, const Reply &reply);
nc_server_reply *make_reply(const ly_ctx *context, const std::vector<RpcError> &errors);

} // namespace host::twin
