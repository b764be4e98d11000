#include "engine/data/normalise.h"

#include "engine/data/crypto.h"
#include "engine/data/error.h"
#include "engine/data/value.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace engine
{
namespace
{

/** Entries of one list stand together: the last one of those that begin with `first`. */
lyd_node *last_entry(lyd_node *first)
{
    while (first->next != nullptr && first->next->schema == first->schema) {
        first = first->next;
    }
    return first;
}

bool is_in_order(const lyd_node *first, const lyd_node *last)
{
    for (; first != last; first = first->next) {
        if (is_before(first->next, first)) {
            return false;
        }
    }
    return true;
}

/** Takes the entries out and puts them back sorted; libyang keeps its hash tables right. */
void sort_entries(lyd_node *&siblings, lyd_node *first, const lyd_node *last)
{
    auto *parent = lyd_parent(first);
    std::vector<lyd_node *> entries{first};
    while (entries.back() != last) {
        entries.push_back(entries.back()->next);
    }
    std::stable_sort(entries.begin(), entries.end(), is_before);
    for (auto *entry : entries) {
        if (entry == siblings) {
            siblings = entry->next;
        }
        lyd_unlink_tree(entry);
    }
    for (auto *entry : entries) {
        const auto result = parent != nullptr ? lyd_insert_child(parent, entry)
                                              : lyd_insert_sibling(siblings, entry, &siblings);
        if (result != LY_SUCCESS) {
            throw std::logic_error("a list entry cannot be put back into its place");
        }
    }
    siblings = parent != nullptr ? lyd_child(parent) : siblings;
}

template <typename Visit>
void visit_all(lyd_node *siblings, const Visit &visit)
{
    for (; siblings != nullptr; siblings = siblings->next) {
        visit(siblings);
        visit_all(lyd_child(siblings), visit);
    }
}

/** A new initial vector would make an unchanged password look changed. */
std::string stored_form(const lyd_node *leaf, std::string_view clear_text,
                        const Counterpart &committed)
{
    const auto *before = committed ? committed(leaf) : nullptr;
    if (before != nullptr && decrypt(lyd_get_value(before)) == clear_text) {
        return lyd_get_value(before);
    }
    return encrypt(clear_text);
}

void encrypt_leaf(lyd_node *leaf, const Counterpart &committed)
{
    constexpr std::string_view kClearTextPrefix = "$0$";
    const std::string_view entered = lyd_get_value(leaf);
    if (entered.substr(0, kClearTextPrefix.size()) != kClearTextPrefix) {
        return;
    }
    const auto stored = stored_form(leaf, entered.substr(kClearTextPrefix.size()), committed);
    if (lyd_change_term(leaf, stored.c_str()) != LY_SUCCESS) {
        throw std::logic_error("an encrypted value does not fit its leaf");
    }
}

} // namespace

bool is_system_ordered(const lyd_node *node)
{
    const auto *schema = node->schema;
    return schema != nullptr && (schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0 &&
           (schema->flags & LYS_ORDBY_USER) == 0;
}

bool is_before(const lyd_node *a, const lyd_node *b)
{
    if (a->schema->nodetype == LYS_LEAFLIST) {
        return compare_terms(a, b) < 0;
    }
    const auto *key_a = lyd_child(a);
    const auto *key_b = lyd_child(b);
    // libyang keeps an entry's keys in front, in the schema's order.
    while (key_a != nullptr && key_b != nullptr && lysc_is_key(key_a->schema)) {
        const int order = compare_terms(key_a, key_b);
        if (order != 0) {
            return order < 0;
        }
        key_a = key_a->next;
        key_b = key_b->next;
    }
    return false;
}

void order_siblings(lyd_node *&first)
{
    auto *node = first;
    while (node != nullptr) {
        if (!is_system_ordered(node)) {
            node = node->next;
            continue;
        }
        const auto *last = last_entry(node);
        auto *behind = last->next;
        if (!is_in_order(node, last)) {
            sort_entries(first, node, last);
        }
        node = behind;
    }
}

void order_by_keys(lyd_node *&root)
{
    order_siblings(root);
    for (auto *node = root; node != nullptr; node = node->next) {
        if (auto *child = lyd_child(node); child != nullptr) {
            order_by_keys(child);
        }
    }
}

void encrypt_leaves(lyd_node *root, const Counterpart &committed)
{
    visit_all(root, [&committed](lyd_node *node) { encrypt_if_clear(node, committed); });
}

void encrypt_if_clear(lyd_node *node, const Counterpart &committed)
{
    const auto *schema = Schema::of(node);
    if (schema != nullptr && schema->type_storage.encrypted) {
        encrypt_leaf(node, committed);
    }
}

} // namespace engine
