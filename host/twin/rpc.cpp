#include "twin/rpc.h"

#include "engine/data/print_tree.h"
#include "twin/inspection.h"
#include "twin/server_context.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace host::twin
{
namespace
{

struct Operation {
    const char *name;
    Reply (*handle)(const Call &);
};

constexpr std::array<Operation, 17> kOperations{{{"get", get},
                                                 {"get-config", get_config},
                                                 {"get-schema", get_schema},
                                                 {"edit-config", edit_config},
                                                 {"copy-config", copy_config},
                                                 {"delete-config", delete_config},
                                                 {"discard-changes", discard_changes},
                                                 {"validate", validate},
                                                 {"commit", commit},
                                                 {"cancel-commit", cancel_commit},
                                                 {"rollback", rollback},
                                                 {"get-commits", get_commits},
                                                 {"lock", lock},
                                                 {"unlock", unlock},
                                                 {"kill-session", kill_session},
                                                 {"close-session", close_session},
                                                 {"create-subscription", create_subscription}}};

/** The library leaves it to us whether parameters are there that the operation must have. */
void require_parameters(const Call &call)
{
    const auto *parameter =
        reinterpret_cast<const lysc_node_action *>(call.rpc->schema)->input.child;
    for (; parameter != nullptr; parameter = parameter->next) {
        if (parameter->nodetype == LYS_LEAF && (parameter->flags & LYS_MAND_TRUE) != 0 &&
            !call.has(parameter->name)) {
            throw missing_element(parameter->name);
        }
    }
}

Reply carry_out(const Call &call)
{
    const std::string name = call.rpc->schema->name;
    if (std::strcmp(call.rpc->schema->module->name, kRejectModule) == 0) {
        throw RpcFailure(error_of_reject(call.rpc));
    }
    if (!may(call.session->role(), right_for(name))) {
        RpcError error{"access-denied", std::string("The role ") + name_of(call.session->role()) +
                                            " may not do that."};
        error.type = "protocol";
        throw RpcFailure(std::move(error));
    }
    require_parameters(call);
    for (const auto &operation : kOperations) {
        if (name == operation.name) {
            return operation.handle(call);
        }
    }
    RpcError error{"operation-not-supported", name + " is not supported."};
    error.type = "protocol";
    throw RpcFailure(std::move(error));
}

} // namespace

const lyd_node *Call::child(const char *name) const
{
    for (const auto *node = lyd_child(rpc); node != nullptr; node = node->next) {
        if (std::strcmp(LYD_NAME(node), name) == 0 && (node->flags & LYD_DEFAULT) == 0) {
            return node;
        }
    }
    return nullptr;
}

std::optional<std::string> Call::text(const char *name) const
{
    const auto *node = child(name);
    return node != nullptr ? std::optional<std::string>(lyd_get_value(node)) : std::nullopt;
}

engine::Source config_of(const lyd_node *any, const std::optional<EditOfDefaults> &edit)
{
    const auto *node = reinterpret_cast<const lyd_node_any *>(any);
    std::string text;
    if (node->value_type == LYD_ANYDATA_DATATREE) {
        const lyd_node *content = node->value.tree;
        Tree resolved;
        if (has_default_tags(content)) {
            lyd_node *copy = nullptr;
            lyd_dup_siblings(content, nullptr, LYD_DUP_RECURSIVE, &copy);
            resolved.reset(copy);
            resolve_default_tags(resolved, edit);
            content = resolved.get();
        }
        text = engine::print_tree(content, LYD_XML, engine::Siblings::kPrinted,
                                  LYD_PRINT_KEEPEMPTYCONT);
    } else if (node->value.str != nullptr) {
        text = node->value.str;
    }
    return {"config",
            std::string("<config xmlns=\"") + kNetconfNamespace + "\">" + text + "</config>"};
}

RpcFailure missing_element(const std::string &name)
{
    RpcError error{"missing-element", "There is no <" + name + ">."};
    error.type = "protocol";
    error.info.emplace_back("bad-element", name);
    return RpcFailure(std::move(error));
}

Place place_of(const Call &call, const char *parameter)
{
    const auto *node = call.child(parameter);
    const auto *choice = node != nullptr ? lyd_child(node) : nullptr;
    if (choice == nullptr) {
        throw missing_element(parameter);
    }
    const std::string name = LYD_NAME(choice);
    for (const auto datastore :
         {DatastoreName::kRunning, DatastoreName::kCandidate, DatastoreName::kStartup}) {
        if (name == name_of(datastore)) {
            return {datastore, std::nullopt};
        }
    }
    if (name == "config") {
        return {std::nullopt, config_of(choice)};
    }
    RpcError error{"operation-not-supported", name + " is not supported as a " + parameter + "."};
    error.type = "protocol";
    throw RpcFailure(std::move(error));
}

void require_unlocked(const Call &call, DatastoreName datastore)
{
    if (const auto owner = call.device.sessions().other_owner(datastore, call.session->id())) {
        RpcError error{"in-use", std::string("Session ") + std::to_string(*owner) + " has locked " +
                                     name_of(datastore) + "."};
        error.type = "protocol";
        throw RpcFailure(std::move(error));
    }
}

bool is_operation(const std::string &name)
{
    return std::any_of(kOperations.begin(), kOperations.end(),
                       [&name](const Operation &operation) { return name == operation.name; });
}

nc_server_reply *answer(const Call &call)
{
    try {
        call.output = Output(call.rpc, carry_out(call));
        return make_reply(call.output);
    } catch (const RpcFailure &failure) {
        return make_reply(call.context, failure.errors());
    } catch (const engine::InputError &failure) {
        return make_reply(call.context,
                          errors_of(remarks_of(call.device.schema(), failure.problems())));
    } catch (const std::exception &failure) {
        return make_reply(call.context, {RpcError{"operation-failed", failure.what()}});
    }
}

} // namespace host::twin
