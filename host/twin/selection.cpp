#include "twin/selection.h"

namespace host::twin
{
namespace
{

void check(LY_ERR result, const char *what)
{
    if (result != LY_SUCCESS) {
        throw std::runtime_error(std::string("libyang could not ") + what);
    }
}

/** @param parent  Null: the copy stands alone. */
lyd_node *copy_node(const lyd_node *node, lyd_node *parent, std::uint32_t options)
{
    lyd_node *copy = nullptr;
    auto *inner = reinterpret_cast<lyd_node_inner *>(parent);
    check(lyd_dup_single(node, inner, options | LYD_DUP_WITH_FLAGS, &copy), "copy a node");
    return copy;
}

/** Whether the copy of a list entry has the node already. */
bool is_key(const lyd_node *node)
{
    return node->schema != nullptr && lysc_is_key(node->schema);
}

struct FreeSet {
    void operator()(ly_set *set) const { ly_set_free(set, nullptr); }
};

} // namespace

void Selection::add_whole(const lyd_node *node)
{
    m_whole.insert(node);
    for (const lyd_node *above = lyd_parent(node);
         above != nullptr && m_inner.insert(above).second;) {
        above = lyd_parent(above);
    }
}

Tree Selection::copy(const lyd_node *data) const
{
    Tree result;
    for (; data != nullptr; data = data->next) {
        const bool is_whole = m_whole.count(data) != 0;
        if (!is_whole && m_inner.count(data) == 0) {
            continue;
        }
        Tree top(copy_node(data, nullptr, is_whole ? LYD_DUP_RECURSIVE : 0));
        if (!is_whole) {
            copy_children(data, top.get());
        }
        lyd_node *first = nullptr;
        check(lyd_insert_sibling(result.get(), top.get(), &first), "join copies");
        static_cast<void>(top.release());
        static_cast<void>(result.release());
        result.reset(first);
    }
    return result;
}

void Selection::copy_children(const lyd_node *from, lyd_node *to) const
{
    for (const lyd_node *child = lyd_child(from); child != nullptr; child = child->next) {
        if (is_key(child)) {
            continue;
        }
        if (m_whole.count(child) != 0) {
            copy_node(child, to, LYD_DUP_RECURSIVE);
        } else if (m_inner.count(child) != 0) {
            copy_children(child, copy_node(child, to, 0));
        }
    }
}

Selection select_xpath(const lyd_node *data, const std::string &xpath)
{
    Selection selection;
    if (data == nullptr) {
        return selection;
    }
    ly_set *found = nullptr;
    if (lyd_find_xpath(data, xpath.c_str(), &found) != LY_SUCCESS) {
        const auto *context = LYD_CTX(data);
        const char *message = ly_errmsg(context);
        const std::string text = message != nullptr ? message : "not a set of nodes";
        ly_err_clean(const_cast<ly_ctx *>(context), nullptr);
        throw FilterError("XPath \"" + xpath + "\": " + text);
    }
    const std::unique_ptr<ly_set, FreeSet> nodes(found);
    for (std::uint32_t i = 0; i < nodes->count; ++i) {
        selection.add_whole(nodes->dnodes[i]);
    }
    return selection;
}

} // namespace host::twin
