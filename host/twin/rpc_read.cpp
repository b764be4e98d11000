#include "twin/rpc.h"

#include "twin/selection.h"
#include "twin/server_context.h"
#include "twin/state_data.h"
#include "twin/subtree_filter.h"
#include "twin/with_defaults.h"

#include <cstdlib>
#include <cstring>

namespace host::twin
{
namespace
{

RpcFailure bad_filter(const std::string &message)
{
    RpcError error{"invalid-value", message};
    error.type = "protocol";
    error.info.emplace_back("bad-element", "filter");
    return RpcFailure(std::move(error));
}

/** What <filter> asks for: one of the two, or nothing of it. */
struct Filter {
    std::optional<SubtreeFilter> subtree{};
    std::optional<std::string> xpath{};

    bool is_everything() const { return !subtree && !xpath; }
    Tree select(const lyd_node *data) const
    {
        return (subtree ? subtree->select(data) : select_xpath(data, *xpath)).copy(data);
    }
};

const char *attribute(const lyd_node *node, const char *name)
{
    for (const auto *meta = node->meta; meta != nullptr; meta = meta->next) {
        if (std::strcmp(meta->name, name) == 0) {
            return lyd_get_meta_value(meta);
        }
    }
    return nullptr;
}

Filter filter_of(const Call &call)
{
    const auto *node = call.child("filter");
    if (node == nullptr) {
        return {};
    }
    const char *type = attribute(node, "type");
    if (type == nullptr || std::strcmp(type, "subtree") == 0) {
        return {SubtreeFilter::from(node)};
    }
    const char *select = attribute(node, "select");
    if (std::strcmp(type, "xpath") != 0 || select == nullptr) {
        throw bad_filter("A filter is of type subtree, or of type xpath with select.");
    }
    return {std::nullopt, select};
}

/** The tagged mode needs a module that the engine's context does not have. */
Tree in_context(const lyd_node *data, const ly_ctx *context)
{
    lyd_node *copy = nullptr;
    lyd_dup_siblings_to_ctx(data, context, nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &copy);
    return Tree(copy);
}

Tree copied(const lyd_node *data)
{
    lyd_node *copy = nullptr;
    lyd_dup_siblings(data, nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &copy);
    return Tree(copy);
}

std::string shown(const Call &call, const lyd_node *data, const Filter &filter, WithDefaults mode)
{
    Tree own;
    if (!filter.is_everything()) {
        own = filter.select(data);
        data = own.get();
    }
    if (data != nullptr && mode == WithDefaults::kReportAllTagged) {
        own = in_context(data, call.context);
        data = own.get();
    }
    if (data != nullptr && !may(call.session->role(), Right::kSeeSecrets) &&
        call.device.masking().has_secrets(data)) {
        own = own ? std::move(own) : copied(data);
        lyd_node *tree = own.release();
        call.device.masking().mask(tree);
        own.reset(tree);
        data = own.get();
    }
    return printed(data, mode);
}

/** All of what is running, which many ask for. */
std::shared_ptr<const std::string> all_of_running(const Call &call)
{
    const WithDefaults mode = with_defaults_of(call.rpc);
    const PrintedCache::Way way{mode, !may(call.session->role(), Right::kSeeSecrets)};
    std::shared_ptr<const std::string> text;
    call.device.data().read_running([&](const engine::Datastore &tree) {
        text = call.device.printed().text(call.device.data().running_generation(), way,
                                          [&] { return shown(call, tree.root(), Filter{}, mode); });
    });
    return text;
}

std::shared_ptr<const std::string> shown(const Call &call, DatastoreName datastore,
                                         const Filter &filter)
{
    if (datastore == DatastoreName::kRunning && filter.is_everything()) {
        return all_of_running(call);
    }
    std::string text;
    const auto read = [&](const engine::Datastore &tree) {
        text = shown(call, tree.root(), filter, with_defaults_of(call.rpc));
    };
    switch (datastore) {
    case DatastoreName::kRunning:
        call.device.data().read_running(read);
        break;
    case DatastoreName::kCandidate:
        call.device.data().read_candidate(read);
        break;
    case DatastoreName::kStartup:
        read(call.device.startup());
        break;
    }
    return std::make_shared<const std::string>(std::move(text));
}

} // namespace

Reply get_config(const Call &call)
{
    const auto source = place_of(call, "source");
    try {
        return Reply(shown(call, source.datastore.value(), filter_of(call)));
    } catch (const FilterError &failure) {
        throw bad_filter(failure.what());
    }
}

Reply get_schema(const Call &call)
{
    const std::string format = call.text("format").value_or("yang");
    const bool is_yang = format == "yang" || format.ends_with(":yang");
    auto text = schema_text(call.context, call.text("identifier").value_or(""),
                            call.text("version").value_or(""));
    if (!text || !is_yang) {
        RpcError error{"invalid-value",
                       is_yang ? "There is no such schema." : "Schemas are told in YANG only."};
        error.type = "application";
        throw RpcFailure(std::move(error));
    }
    return Reply(std::move(*text), false);
}

Reply get(const Call &call)
{
    const Filter filter = filter_of(call);
    const Tree state = state_data(call.device, call.context);
    std::string text;
    std::optional<std::string> failure;
    // An expression may speak of what only one of the two has.
    try {
        text = *shown(call, DatastoreName::kRunning, filter);
    } catch (const FilterError &why) {
        failure = why.what();
    }
    try {
        text += shown(call, state.get(), filter, with_defaults_of(call.rpc));
    } catch (const FilterError &why) {
        if (failure) {
            throw bad_filter(*failure);
        }
    }
    return Reply(std::move(text));
}

} // namespace host::twin
