#include "api/reads.h"

#include "engine/data/error.h"
#include "engine/data/value.h"

#include <algorithm>
#include <iterator>

namespace api
{

using engine::Error;
using engine::Path;
using engine::SchemaNode;

namespace
{

const char *name_of(confd_vtype type)
{
    switch (type) {
    case C_BUF:
        return "a text";
    case C_INT8:
        return "an 8-bit number";
    case C_INT16:
        return "a 16-bit number";
    case C_INT32:
        return "a 32-bit number";
    case C_INT64:
        return "a 64-bit number";
    case C_UINT8:
        return "an unsigned 8-bit number";
    case C_UINT16:
        return "an unsigned 16-bit number";
    case C_UINT32:
        return "an unsigned 32-bit number";
    case C_UINT64:
        return "an unsigned 64-bit number";
    case C_BOOL:
        return "a boolean";
    case C_ENUM_VALUE:
        return "an enumeration";
    case C_IPV4:
        return "an IPv4 address";
    case C_IPV6:
        return "an IPv6 address";
    case C_IPV4_AND_PLEN:
        return "an IPv4 address with a prefix length";
    case C_XMLTAG:
        return "a leaf without a value";
    case C_UNION:
        return "a union";
    default:
        return "of another type";
    }
}

bool is_in_case(const Path::Step &step)
{
    const lysc_node *above = step.node->yang->parent;
    return above != nullptr && above->nodetype == LYS_CASE;
}

bool may_hold(const confd_type &type, confd_vtype wanted)
{
    return type.vtype == wanted ||
           std::any_of(type.members.begin(), type.members.end(),
                       [wanted](const confd_type &member) { return may_hold(member, wanted); });
}

[[noreturn]] void fail_type(const Path &path, confd_vtype type, confd_vtype wanted)
{
    throw Error(CONFD_ERR_BADTYPE,
                path.text() + " is " + name_of(type) + ", not " + name_of(wanted));
}

/**
 * Whether a plain container exists that is, or stands in, a case of a choice is decided by what
 * was chosen: by anything next to it.
 */
void note_existence(const View &view, const Path &path, engine::ReadExtent extent)
{
    view.note(path, extent);
    const auto step = std::find_if(path.steps.begin(), path.steps.end(), is_in_case);
    auto &log = engine::ReadLog::instance();
    if (!log.is_on() || step == path.steps.end() || !path.schema()->is_container()) {
        return;
    }
    if (step == path.steps.begin()) {
        log.note_everything(view.side);
    } else {
        const Path::Step &above = *std::prev(step);
        log.note(view.side, *above.node, above.place, engine::ReadExtent::kSubtree);
    }
}

} // namespace

bool exists(const View &view, const Path &path, engine::ReadExtent extent)
{
    const SchemaNode &node = *path.schema();
    if (node.is_list() && path.steps.back().keys.empty()) {
        throw Error(CONFD_ERR_BADPATH,
                    "bad path " + path.text() + ": a list without keys neither exists nor not");
    }
    note_existence(view, path, extent);
    if (view.find_node(path) != nullptr) {
        return true;
    }
    // What a choice has not chosen does not exist; other plain containers need no node in the tree.
    return node.is_container() && !node.is_presence() &&
           std::none_of(path.steps.begin(), path.steps.end(), is_in_case) &&
           view.missing_above(path).empty();
}

ListPlace find_list(const View &view, const Path &path)
{
    const SchemaNode &list = *path.schema();
    if (!list.is_list() || !path.steps.back().keys.empty()) {
        throw Error(CONFD_ERR_BADPATH, "bad path " + path.text() +
                                           (list.is_list() ? ": it goes on behind the list's name"
                                                           : ": " + list.name + " is not a list"));
    }
    view.note(path, engine::ReadExtent::kNode);
    const lyd_node *parent = view.find_parent(path);
    const bool is_top = path.steps.size() == 1;
    if (parent == nullptr && !is_top && !view.missing_above(path).empty()) {
        fail_absent(view, path);
    }
    return {list, path.steps.back().place, parent, parent != nullptr || is_top};
}

int count_entries(const View &view, const Path &path)
{
    const ListPlace place = find_list(view, path);
    return place.exists ? static_cast<int>(view.tree.count(place.parent, place.list)) : 0;
}

const lyd_node *find_leaf(const View &view, const Path &path)
{
    const SchemaNode &node = *path.schema();
    if (!node.is_leaf() && !node.is_leaf_list()) {
        throw Error(CONFD_ERR_BADTYPE, path.text() + " holds no value");
    }
    view.note(path, engine::ReadExtent::kNode);
    const lyd_node *leaf = view.find_node(path);
    if (leaf == nullptr) {
        fail_absent(view, path);
    }
    return leaf;
}

confd_value_t read_leaf(const View &view, const Path &path)
{
    const lyd_node *leaf = find_leaf(view, path);
    return path.schema()->is_leaf_list() ? engine::list_value_of(leaf) : engine::value_of(leaf);
}

confd_value_t read_leaf(const View &view, const Path &path, confd_vtype type)
{
    const SchemaNode &node = *path.schema();
    if (node.is_leaf_list()) {
        throw Error(CONFD_ERR_BADTYPE, path.text() + " is a leaf-list");
    }
    if (node.is_leaf() && !may_hold(node.type_storage, type)) {
        fail_type(path, node.type_storage.vtype, type);
    }
    engine::OwnedValue value(engine::value_of(find_leaf(view, path)));
    if (value.get().type != type) {
        fail_type(path, value.get().type, type);
    }
    return value.release();
}

const lyd_node *find_context(const View &view, const Path &path)
{
    const lyd_node *node =
        exists(view, path, engine::ReadExtent::kAbove) ? view.find_node(path) : nullptr;
    if (node == nullptr) {
        fail_absent(view, path);
    }
    return node;
}

void fail_absent(const View &view, const Path &path)
{
    const std::string missing = view.missing_above(path);
    throw Error(CONFD_ERR_NOEXISTS, missing.empty() ? path.text() + " is not set"
                                                    : path.text() + ": there is no " + missing);
}

} // namespace api
