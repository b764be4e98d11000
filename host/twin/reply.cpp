#include "twin/reply.h"

#include "twin/server_context.h"

namespace host::twin
{
namespace
{

constexpr const char *kModelPrefix = "base";

lyd_node *add(lyd_node *parent, const char *space, const std::string &name,
              const std::string &value)
{
    lyd_node *node = nullptr;
    lyd_new_opaq2(parent, nullptr, name.c_str(), value.empty() ? nullptr : value.c_str(), nullptr,
                  space, &node);
    return node;
}

void add_path(lyd_node *error, const ly_ctx *context, const std::string &path)
{
    auto *node = add(error, kNetconfNamespace, "error-path", path);
    const auto *module = ly_ctx_get_module_implemented(context, kModelPrefix);
    lyd_new_attr(node, nullptr, (std::string("xmlns:") + kModelPrefix).c_str(), module->ns, nullptr);
}

lyd_node *node_of(const ly_ctx *context, const RpcError &error)
{
    lyd_node *node = nullptr;
    lyd_new_opaq2(nullptr, context, "rpc-error", nullptr, nullptr, kNetconfNamespace, &node);
    const auto put = [node](const char *name, const std::string &value) {
        if (!value.empty()) {
            add(node, kNetconfNamespace, name, value);
        }
    };
    put("error-type", error.type);
    put("error-tag", error.tag);
    put("error-severity", error.is_warning ? "warning" : "error");
    put("error-app-tag", error.app_tag);
    if (!error.path.empty()) {
        add_path(node, context, error.path);
    }
    put("error-message", error.message);
    if (!error.info.empty() || !error.details.empty()) {
        auto *info = add(node, kNetconfNamespace, "error-info", "");
        for (const auto &[name, value] : error.info) {
            add(info, kNetconfNamespace, name, value);
        }
        for (const auto &[name, value] : error.details) {
            add(info, kConfirmNamespace, name, value);
        }
    }
    return node;
}

RpcError error_of(const Remark &remark)
{
    RpcError error{remark.tag, remark.text};
    error.is_warning = remark.is_warning;
    error.app_tag = remark.id;
    error.path = remark.path;
    for (const auto &[name, value] :
         {std::pair{"cause", remark.cause}, {"resolution", remark.help}, {"page", remark.page}}) {
        if (!value.empty()) {
            error.details.emplace_back(name, value);
        }
    }
    return error;
}

} // namespace

RpcFailure::RpcFailure(const Refusal &refusal)
    : RpcFailure([&refusal] {
          RpcError error{refusal.error_tag, refusal.message};
          if (!refusal.bad_element.empty()) {
              error.info.emplace_back("bad-element", refusal.bad_element);
          }
          return error;
      }())
{
}

std::vector<RpcError> errors_of(const std::vector<Remark> &remarks)
{
    std::vector<RpcError> errors;
    for (const auto &remark : remarks) {
        errors.push_back(error_of(remark));
    }
    return errors;
}

std::vector<RpcError> errors_of(const CheckReport &report)
{
    auto errors = errors_of(report.remarks);
    if (report.result == Result::kNotConfirmed) {
        // Clients look at the first error's severity, and some at nothing else.
        RpcError first{"operation-failed",
                       "The card wants its warnings about this change to be confirmed. Nothing has "
                       "changed. Repeat the request with <confirm-warnings>."};
        first.app_tag = "confirmation-required";
        errors.insert(errors.begin(), std::move(first));
    }
    if (errors.empty()) {
        errors.push_back({"operation-failed", "The check came to no verdict."});
    }
    return errors;
}

nc_server_reply *make_reply(const lyd_node *rpc, const Reply &reply)
{
    if (!reply.data) {
        return nc_server_reply_ok();
    }
    lyd_node *output = nullptr;
    lyd_node *data = nullptr;
    lyd_new_inner(nullptr, rpc->schema->module, rpc->schema->name, 0, &output);
    lyd_new_any(output, nullptr, "data", const_cast<char *>(reply.data->c_str()), 0,
                LYD_ANYDATA_XML, 1, &data);
    return nc_server_reply_data(output, NC_WD_EXPLICIT, NC_PARAMTYPE_FREE);
}

nc_server_reply *make_reply(const ly_ctx *context, const std::vector<RpcError> &errors)
{
    nc_server_reply *reply = nc_server_reply_err(node_of(context, errors.front()));
    for (std::size_t i = 1; i < errors.size(); ++i) {
        nc_server_reply_add_err(reply, node_of(context, errors[i]));
    }
    return reply;
}

} // namespace host::twin
