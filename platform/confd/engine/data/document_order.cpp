#include "engine/data/document_order.h"

#include "engine/data/value.h"

namespace engine
{
namespace
{

/** Entries of one list: by their keys, if these make the order. */
bool entry_stands_before(const lyd_node *a, const lyd_node *b)
{
    if (!Schema::of(a)->is_user_ordered()) {
        const lyd_node *key_b = lyd_child(b);
        for (const lyd_node *key_a = lyd_child(a); key_a != nullptr && lysc_is_key(key_a->schema);
             key_a = key_a->next, key_b = key_b->next) {
            if (const int order = compare_terms(key_a, key_b); order != 0) {
                return order < 0;
            }
        }
    }
    while (a != nullptr && a != b) {
        a = a->next;
    }
    return a == b;
}

} // namespace

bool stands_before(const lyd_node *a, const lyd_node *b)
{
    if (a == b || a == nullptr || b == nullptr) {
        return false;
    }
    // Instances of one schema node have as many nodes above them.
    const lyd_node *above_a = lyd_parent(a);
    const lyd_node *above_b = lyd_parent(b);
    return above_a == above_b ? entry_stands_before(a, b) : stands_before(above_a, above_b);
}

} // namespace engine
