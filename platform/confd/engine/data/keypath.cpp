#include "engine/data/keypath.h"

#include "engine/data/error.h"
#include "engine/data/value.h"

#include <algorithm>

namespace engine
{
namespace
{

/** The next element, towards the root. */
confd_value_t *add_element(confd_hkeypath_t &keypath)
{
    if (keypath.len == MAXDEPTH) {
        throw Error(CONFD_ERR_INTERNAL, "a keypath is deeper than its structure holds");
    }
    confd_value_t *element = keypath.v[keypath.len++];
    std::fill_n(element, MAXKEYLEN, no_value());
    return element;
}

void add_tag(confd_hkeypath_t &keypath, const SchemaNode &node)
{
    add_element(keypath)[0] = tag_value_of(node);
}

void add_keys(confd_hkeypath_t &keypath, const lyd_node *entry)
{
    confd_value_t *element = add_element(keypath);
    const lyd_node *key = lyd_child(entry);
    // One place is left for the C_NOEXISTS at the end.
    for (int i = 0; i < MAXKEYLEN - 1 && key != nullptr && lysc_is_key(key->schema); ++i) {
        element[i] = value_of(key);
        key = key->next;
    }
}

void add_nodes(confd_hkeypath_t &keypath, const lyd_node *node)
{
    for (; node != nullptr; node = lyd_parent(node)) {
        if (node->schema->nodetype == LYS_LIST) {
            add_keys(keypath, node);
        }
        add_tag(keypath, *Schema::of(node));
    }
}

/** Empties the keypath and fills it; nothing is left in it when that fails. */
template <typename Fill>
void refill(confd_hkeypath_t &keypath, Fill fill)
{
    keypath.len = 0;
    try {
        fill();
    } catch (...) {
        free_keypath(keypath);
        throw;
    }
}

} // namespace

void fill_keypath(confd_hkeypath_t &keypath, const lyd_node *node)
{
    refill(keypath, [&] { add_nodes(keypath, node); });
}

void fill_list_keypath(confd_hkeypath_t &keypath, const lyd_node *parent, const SchemaNode &list)
{
    refill(keypath, [&] {
        add_tag(keypath, list);
        add_nodes(keypath, parent);
    });
}

void free_keypath(confd_hkeypath_t &keypath)
{
    std::for_each(keypath.v, keypath.v + keypath.len, [](auto &element) {
        std::for_each(element, element + MAXKEYLEN,
                      [](confd_value_t &value) { free_value(value); });
    });
    keypath.len = 0;
}

} // namespace engine
