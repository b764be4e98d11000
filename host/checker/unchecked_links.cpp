#include "checker/unchecked_links.h"

#include "engine/data/path.h"

#include <algorithm>
#include <string_view>

namespace host
{
namespace
{

using engine::Change;
using engine::ChangeKind;

/** Asks about one link, at its settings. */
constexpr const char *kLinkRule = "onu_bw_check";
/** Asks about all links, whatever their settings. */
constexpr const char *kCardRule = "ponlink_bw_check";

const Change *find(const std::vector<Change> &changes, std::string_view name)
{
    const auto found = std::find_if(changes.begin(), changes.end(), [name](const Change &change) {
        return change.schema->name == name;
    });
    return found != changes.end() ? &*found : nullptr;
}

/** Changes below a change, by names from there on; null when there is none. */
const Change *find_below(const Change *change, std::initializer_list<std::string_view> names)
{
    for (const auto name : names) {
        change = change != nullptr ? find(change->children, name) : nullptr;
    }
    return change;
}

bool has_child(const lyd_node *node, std::string_view name)
{
    for (const auto *child = lyd_child(node); child != nullptr; child = child->next) {
        if (name == child->schema->name) {
            return true;
        }
    }
    return false;
}

/** Whether an ONU comes to the link, or gets another bandwidth. */
bool touches_bandwidth(const Change &link)
{
    if (link.kind == ChangeKind::kCreated) {
        return has_child(link.after, "onu");
    }
    return std::any_of(link.children.begin(), link.children.end(), [](const Change &child) {
        if (child.schema->name != "onu" || child.kind == ChangeKind::kDeleted) {
            return false;
        }
        return child.kind == ChangeKind::kCreated ||
               find_below(&child, {"profile-references", "line-profile"}) != nullptr;
    });
}

std::string key(const lyd_node *entry, std::string_view name)
{
    for (const auto *child = lyd_child(entry); child != nullptr; child = child->next) {
        if (name == child->schema->name) {
            return lyd_get_value(child);
        }
    }
    return "";
}

} // namespace

std::vector<UncheckedLink> find_unchecked_links(const engine::Transaction &transaction,
                                                const engine::Plan &plan)
{
    std::vector<UncheckedLink> unchecked;
    const Change *interfaces = find_below(find(transaction.changes(), "config"), {"interface"});
    if (interfaces == nullptr || plan.asks(kCardRule, "")) {
        return unchecked;
    }
    for (const Change &link : interfaces->children) {
        if (link.schema->name != "gpon" || link.after == nullptr || !touches_bandwidth(link)) {
            continue;
        }
        const std::string card = key(link.after, "chassis-id") + "/" + key(link.after, "slot-id");
        const std::string port = key(link.after, "port-id");
        const std::string settings = "/config/gpon" + engine::braces({card}) + "/pon-link";
        std::string limit = settings;
        limit.append(engine::braces({port})).append("/upstream");
        if (!plan.asks(kLinkRule, limit)) {
            unchecked.push_back({card + "/" + port, settings});
        }
    }
    return unchecked;
}

} // namespace host
