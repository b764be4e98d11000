#include "twin/reply.h"

#include "twin/server_context.h"

#include <algorithm>
#include <pugixml.hpp>
#include <sstream>

namespace host::twin
{
namespace
{

/** XML has no place for control characters, not even escaped. */
std::string without_controls(std::string text)
{
    std::replace_if(
        text.begin(), text.end(),
        [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t'; }, '?');
    return text;
}

pugi::xml_node add(pugi::xml_node parent, const std::string &name, const std::string &value)
{
    auto node = parent.append_child(name.c_str());
    if (!value.empty()) {
        node.text().set(without_controls(value).c_str());
    }
    return node;
}

void add_path(pugi::xml_node error, const ly_ctx *context, const std::string &path)
{
    const std::string prefix = path.substr(1, path.find(':') - 1);
    const auto *module = ly_ctx_get_module_implemented(context, prefix.c_str());
    auto node = add(error, "error-path", path);
    if (module != nullptr) {
        node.append_attribute(("xmlns:" + prefix).c_str()) = module->ns;
    }
}

void add_info(pugi::xml_node node, const RpcError &error)
{
    if (error.info.empty() && error.details.empty()) {
        return;
    }
    auto info = node.append_child("error-info");
    for (const auto &[name, value] : error.info) {
        add(info, name, value);
    }
    for (const auto &[name, value] : error.details) {
        add(info, name, value).append_attribute("xmlns") = kConfirmNamespace;
    }
}

std::string xml_of(const ly_ctx *context, const RpcError &error)
{
    pugi::xml_document document;
    auto node = document.append_child("rpc-error");
    node.append_attribute("xmlns") = kNetconfNamespace;
    add(node, "error-type", error.type);
    add(node, "error-tag", error.tag);
    add(node, "error-severity", error.is_warning ? "warning" : "error");
    if (!error.app_tag.empty()) {
        add(node, "error-app-tag", error.app_tag);
    }
    if (!error.path.empty()) {
        add_path(node, context, error.path);
    }
    add(node, "error-message", error.message);
    add_info(node, error);
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

/** Parsed, since libyang keeps prefixes in values of nodes that it has read, and of no others. */
lyd_node *node_of(const ly_ctx *context, const RpcError &error)
{
    lyd_node *node = nullptr;
    if (lyd_parse_data_mem(context, xml_of(context, error).c_str(), LYD_XML,
                           LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &node) != LY_SUCCESS) {
        node = nc_err(context, NC_ERR_OP_FAILED, NC_ERR_TYPE_APP);
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
    std::stable_partition(errors.begin(), errors.end(),
                          [](const RpcError &error) { return !error.is_warning; });
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
                reply.is_xml ? LYD_ANYDATA_XML : LYD_ANYDATA_STRING, 1, &data);
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
