#include "twin/rpc.h"

namespace host::twin
{
namespace
{

RpcFailure not_supported(const std::string &message)
{
    RpcError error{"operation-not-supported", message};
    error.type = "protocol";
    return RpcFailure(std::move(error));
}

/** What a datastore holds, as text. */
std::string text_of(const Call &call, DatastoreName datastore)
{
    std::string text;
    const auto print = [&text](const engine::Datastore &tree) {
        text = tree.print(engine::Format::kXml);
    };
    switch (datastore) {
    case DatastoreName::kRunning:
        call.device.data().read_running(print);
        break;
    case DatastoreName::kCandidate:
        call.device.data().read_candidate(print);
        break;
    case DatastoreName::kStartup:
        print(call.device.startup());
        break;
    }
    return text;
}

/** What a session sees masked it must not write back. */
void require_unmasked(const Call &call, const engine::Source &source)
{
    if (!may(call.session->role(), Right::kSeeSecrets) &&
        call.device.masking().is_masked(source.text)) {
        throw RpcFailure(RpcError{"invalid-value", std::string("A secret cannot be set to ") +
                                                       engine::kMaskedValue +
                                                       ", which stands in place of secrets."});
    }
}

void require_writable_running(const Call &call)
{
    if (!call.writable_running) {
        throw not_supported("The running configuration is changed by commits.");
    }
}

bool continues_on_error(const Call &call)
{
    return call.text("error-option") == "continue-on-error";
}

/** What did not fit of an edit that was to go on. */
void require_none(std::vector<engine::Problem> misfits)
{
    if (!misfits.empty()) {
        throw engine::InputError(std::move(misfits));
    }
}

/**
 * A client that says test-only, or test-then-set, wants the rules to be asked now. Who says nothing
 * has names, types and operations tested, as of any edit.
 */
void edit_candidate(const Call &call, const engine::Source &edit)
{
    const std::string test = call.text("test-option").value_or("set");
    if (test != "set") {
        call.device.check(*call.session, call.has("confirm-warnings"), [&] {
            return Change{ChangeForm::kEdit,
                          {"edit-config", call.device.data().plan_trial(edit).edit.text}};
        });
    }
    if (test == "test-only") {
        return;
    }
    if (continues_on_error(call)) {
        require_none(call.device.data().edit_candidate_where_possible(edit));
    } else {
        call.device.data().edit_candidate(edit);
    }
}

void edit_running(const Call &call, const engine::Source &edit)
{
    auto &data = call.device.data();
    const bool confirms = call.has("confirm-warnings");
    if (call.text("test-option") == "test-only") {
        call.device.check(*call.session, confirms, [&] {
            return Change{ChangeForm::kEdit, {"edit-config", data.plan_edit(edit).edit.text}};
        });
        return;
    }
    std::vector<engine::Problem> misfits;
    call.device.change_running({*call.session, CommitKind::kEdit, {}, confirms}, [&] {
        return continues_on_error(call) ? data.plan_edit_where_possible(edit, misfits)
                                        : data.plan_edit(edit);
    });
    require_none(std::move(misfits));
}

/** Whether somebody has set a node, to its default or anything else. */
bool is_set(const Call &call, DatastoreName datastore, const std::string &path)
{
    bool found = false;
    const auto look = [&](const engine::Datastore &tree) {
        lyd_node *node = nullptr;
        found = tree.root() != nullptr &&
                lyd_find_path(tree.root(), path.c_str(), 0, &node) == LY_SUCCESS &&
                (node->flags & LYD_DEFAULT) == 0;
    };
    if (datastore == DatastoreName::kRunning) {
        call.device.data().read_running(look);
    } else {
        call.device.data().read_candidate(look);
    }
    return found;
}

void copy_to_startup(const Call &call, const Place &source)
{
    require_unlocked(call, DatastoreName::kStartup);
    if (source.datastore == DatastoreName::kRunning) {
        call.device.history().set_startup_to_running();
        return;
    }
    const engine::Source text = source.config
                                    ? *source.config
                                    : engine::Source{"startup", text_of(call, *source.datastore)};
    const auto tree = engine::Datastore::parse(call.device.data().schema(), text);
    call.device.history().set_startup(tree.print(engine::Format::kXml));
}

engine::Source content_of(const Call &call, const Place &source)
{
    return source.config
               ? *source.config
               : engine::Source{name_of(*source.datastore), text_of(call, *source.datastore)};
}

} // namespace

Reply edit_config(const Call &call)
{
    const auto target = place_of(call, "target");
    const auto *config = call.child("config");
    if (config == nullptr) {
        throw missing_element("config");
    }
    require_unlocked(call, target.datastore.value());
    const std::string operation = call.text("default-operation").value_or("merge");
    engine::Source edit =
        config_of(config, EditOfDefaults{operation, [&](const std::string &path) {
                                             return is_set(call, *target.datastore, path);
                                         }});
    require_unmasked(call, edit);
    edit.reading.default_operation = operation;
    if (target.datastore == DatastoreName::kCandidate) {
        edit_candidate(call, edit);
    } else {
        require_writable_running(call);
        edit_running(call, edit);
    }
    return {};
}

Reply copy_config(const Call &call)
{
    const auto target = place_of(call, "target");
    const auto source = place_of(call, "source");
    if (!target.datastore || source.datastore == target.datastore) {
        RpcError error{"invalid-value", "Source and target must be two datastores."};
        error.type = "protocol";
        throw RpcFailure(std::move(error));
    }
    require_unlocked(call, *target.datastore);
    if (source.config) {
        require_unmasked(call, *source.config);
    }
    switch (*target.datastore) {
    case DatastoreName::kStartup:
        copy_to_startup(call, source);
        break;
    case DatastoreName::kCandidate:
        if (source.datastore == DatastoreName::kRunning) {
            call.device.data().discard();
        } else {
            call.device.data().replace_candidate(content_of(call, source));
        }
        break;
    case DatastoreName::kRunning:
        require_writable_running(call);
        call.device.change_running(
            {*call.session, CommitKind::kCopy, {}, call.has("confirm-warnings")},
            [&] { return call.device.data().plan_replacement(content_of(call, source)); });
        break;
    }
    return {};
}

Reply delete_config(const Call &call)
{
    if (place_of(call, "target").datastore != DatastoreName::kStartup) {
        throw not_supported("Only startup can be deleted.");
    }
    require_unlocked(call, DatastoreName::kStartup);
    call.device.history().delete_startup();
    return {};
}

Reply discard_changes(const Call &call)
{
    require_unlocked(call, DatastoreName::kCandidate);
    call.device.data().discard();
    return {};
}

} // namespace host::twin
