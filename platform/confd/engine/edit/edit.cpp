#include "engine/edit/edit.h"

#include "engine/data/entries.h"
#include "engine/data/normalise.h"
#include "engine/data/path.h"
#include "engine/data/problems.h"
#include "engine/data/text_length.h"
#include "engine/data/text_places.h"
#include "engine/data/tree_view.h"
#include "engine/edit/edit_reader.h"

#include <cstring>
#include <map>
#include <set>
#include <string_view>

namespace engine
{

/** Carries out an edit on a tree. Gathers what does not fit and goes on. */
class EditApplier
{
public:
    EditApplier(UndoLog &log, const Source &source)
        : m_log(log), m_tree(log.tree()), m_source(source), m_places(log.tree().schema(), source)
    {
    }

    /** @throws InputError  The tree is in between: the log can undo that. */
    void apply(const EditTree &edit)
    {
        apply_siblings(edit.root.get(), nullptr, edit.default_operation);
        if (!m_problems.empty()) {
            throw InputError(std::move(m_problems));
        }
        finish(edit);
    }

    /** @return What does not fit. */
    std::vector<Problem> apply_what_fits(const EditTree &edit)
    {
        apply_siblings(edit.root.get(), nullptr, edit.default_operation);
        finish(edit);
        return std::move(m_problems);
    }

private:
    void finish(const EditTree &edit)
    {
        if (!m_tree.schema().has_when()) {
            m_log.add_defaults();
        }
        m_log.order();
        encrypt_siblings(edit.root.get(), nullptr);
    }

    void apply_siblings(const lyd_node *first, lyd_node *parent, Operation inherited);
    void apply_node(const lyd_node *node, lyd_node *parent, Operation operation);
    void apply_inner(const lyd_node *node, lyd_node *parent, lyd_node *target, Operation operation);
    void apply_value(const lyd_node *node, lyd_node *parent, lyd_node *target);
    void encrypt_siblings(const lyd_node *first, lyd_node *parent);
    void refuse_duplicates(const lyd_node *first);
    void refuse_two_cases(const lyd_node *first, Operation inherited);
    void refuse_key_deletion(const lyd_node *entry);

    lyd_node *find(const lyd_node *node, const lyd_node *parent) const;
    lyd_node *insert_copy(const lyd_node *node, lyd_node *parent);
    void remove(lyd_node *node) { m_log.remove(node); }
    void remove_other_cases(const lyd_node *node);
    void remove_case(const lysc_node *unselected, const lyd_node *parent);

    void refuse_lost_anchor(const lyd_node *node, std::string_view insert);
    void place(const lyd_node *node, lyd_node *target);
    lyd_node *find_anchor(const lyd_node *node, lyd_node *target);

    void add_problem(Fault fault, const lyd_node *node, const std::string &message,
                     const std::string &hint, const std::string &culprit = "");
    lyd_node *siblings_below(const lyd_node *parent) const
    {
        return parent != nullptr ? lyd_child(parent) : m_tree.root();
    }

    UndoLog &m_log;
    const Datastore &m_tree;
    const Source &m_source;
    TextPlaces m_places;
    std::vector<Problem> m_problems;
};

namespace
{

/** A default that YANG supplies is in the tree, but nobody has set it. */
bool is_set(const lyd_node *node)
{
    return node != nullptr && (node->flags & LYD_DEFAULT) == 0;
}

bool is_plain_container(const lyd_node *node)
{
    return node->schema->nodetype == LYS_CONTAINER && (node->schema->flags & LYS_PRESENCE) == 0;
}

bool is_in_case(const lysc_node *schema)
{
    return schema->parent != nullptr && schema->parent->nodetype == LYS_CASE;
}

lyd_node *first_of(lyd_node *siblings, const lysc_node *schema)
{
    lyd_node *match = nullptr;
    lyd_find_sibling_val(siblings, schema, nullptr, 0, &match);
    return match;
}

/** Value of a node's metadata; null when it has none of that name. */
const char *metadata(const lyd_node *node, const char *name)
{
    const auto *meta = lyd_find_meta(node->meta, nullptr, name);
    return meta != nullptr ? lyd_get_meta_value(meta) : nullptr;
}

std::string without_prefix(const std::string &name)
{
    return name.substr(name.find(':') + 1);
}

EditTree read_edit(const Schema &schema, const Source &edit)
{
    EditTree tree = parse_edit(schema, edit);
    require_short_texts(schema, tree.root.get(), edit);
    return tree;
}

} // namespace

/** Deletions come first: another case of the same choice may take the place. */
void EditApplier::apply_siblings(const lyd_node *first, lyd_node *parent, Operation inherited)
{
    refuse_duplicates(first);
    refuse_two_cases(first, inherited);
    for (const bool deletions : {true, false}) {
        for (const auto *node = first; node != nullptr; node = node->next) {
            const auto operation = own_operation(node).value_or(inherited);
            if (is_deletion(operation) == deletions) {
                apply_node(node, parent, operation);
            }
        }
    }
}

void EditApplier::apply_node(const lyd_node *node, lyd_node *parent, Operation operation)
{
    lyd_node *target = find(node, parent);
    if (is_deletion(operation)) {
        if (node->schema != nullptr && metadata(node, "yang:insert") != nullptr) {
            add_problem(Fault::kInvalidAttribute, node, "Cannot be deleted and inserted", "",
                        "insert");
        } else if (is_set(target)) {
            remove(target);
        } else if (operation == Operation::kDelete) {
            add_problem(Fault::kDataMissing, node, "Cannot be deleted: it does not exist",
                        "the operation remove deletes what may be there");
        }
        return;
    }
    if (operation == Operation::kCreate && is_set(target)) {
        add_problem(Fault::kDataExists, node, "Cannot be created: it exists already",
                    "the operation merge changes what is there, replace replaces it");
        return;
    }
    if (operation == Operation::kNone && target == nullptr && !is_plain_container(node)) {
        add_problem(Fault::kDataMissing, node, "It does not exist",
                    "without an operation, an edit goes only through what is there");
        return;
    }
    if ((node->schema->nodetype & LYD_NODE_INNER) != 0) {
        apply_inner(node, parent, target, operation);
    } else if (operation != Operation::kNone) {
        apply_value(node, parent, target);
    }
}

/** A container or list entry. */
void EditApplier::apply_inner(const lyd_node *node, lyd_node *parent, lyd_node *target,
                              Operation operation)
{
    refuse_key_deletion(node);
    if (target == nullptr) {
        target = insert_copy(node, parent);
    } else if (operation == Operation::kReplace) {
        while (lyd_node *child = lyd_child_no_keys(target)) {
            remove(child);
        }
    }
    place(node, target);
    apply_siblings(lyd_child_no_keys(node), target, operation);
    // A plain container is the case that it stands in only as long as something is in it.
    if (is_plain_container(target) && is_in_case(target->schema) && !is_set(target)) {
        remove(target);
    }
}

/** A leaf or an entry of a leaf-list. */
void EditApplier::apply_value(const lyd_node *node, lyd_node *parent, lyd_node *target)
{
    const bool same = is_set(target) && lyd_compare_single(node, target, 0) == LY_SUCCESS;
    if (!same) {
        if (target != nullptr) {
            remove(target);
        }
        target = insert_copy(node, parent);
    }
    place(node, target);
}

/** Only what the edit put there: all else is as it was in the running configuration, and large. */
void EditApplier::encrypt_siblings(const lyd_node *first, lyd_node *parent)
{
    const TreeView committed(m_tree, &m_log);
    const auto in_committed = [&committed](const lyd_node *leaf) {
        return committed.counterpart(leaf);
    };
    for (const auto *node = first; node != nullptr; node = node->next) {
        if (lyd_node *target = find(node, parent); target != nullptr) {
            encrypt_if_clear(target, in_committed);
            encrypt_siblings(lyd_child_no_keys(node), target);
        }
    }
}

void EditApplier::add_problem(Fault fault, const lyd_node *node, const std::string &message,
                              const std::string &hint, const std::string &culprit)
{
    constexpr std::size_t kMaxPlaces = 100; // Each takes as long as there are nodes like it.
    m_problems.push_back({fault, m_source.name, 0, edit_path(node), message, hint, 0, culprit});
    if (m_problems.size() <= kMaxPlaces) {
        TextPlaces::put(m_problems.back(), m_places.of_written(node));
    }
}

/** Which of two would count? A card's operator must not have to know. */
void EditApplier::refuse_duplicates(const lyd_node *first)
{
    std::set<const SchemaNode *> seen;
    for (const auto *node = first; node != nullptr; node = node->next) {
        const auto *schema = schema_of(m_tree.schema(), node);
        if (schema->is_list() || schema->is_leaf_list()) {
            lyd_node *same = nullptr;
            lyd_find_sibling_first(first, node, &same);
            if (same != nullptr && same != node) {
                add_problem(Fault::kDuplicate, node, "Duplicate node",
                            "an edit names an entry once");
            }
        } else if (!seen.insert(schema).second) {
            add_problem(Fault::kDuplicate, node, "Duplicate node",
                        schema->is_leaf() ? "a leaf has one value" : "an edit names a node once");
        }
    }
}

/** The cases of a choice exclude each other: setting nodes of two would keep one of them only. */
void EditApplier::refuse_two_cases(const lyd_node *first, Operation inherited)
{
    struct Chosen {
        const lysc_node *in_case;
        const lyd_node *node;
    };
    std::map<const lysc_node *, Chosen> choices;
    for (const auto *node = first; node != nullptr; node = node->next) {
        if (node->schema == nullptr || is_deletion(own_operation(node).value_or(inherited))) {
            continue;
        }
        for (const auto *schema = node->schema; is_in_case(schema);
             schema = schema->parent->parent) {
            const auto *in_case = schema->parent;
            const auto [found, is_new] =
                choices.try_emplace(in_case->parent, Chosen{in_case, node});
            if (!is_new && found->second.in_case != in_case) {
                add_problem(Fault::kExclusive, node,
                            std::string("Cannot be set together with ") +
                                found->second.node->schema->name,
                            "only one of them can be there");
                break;
            }
        }
    }
}

void EditApplier::refuse_key_deletion(const lyd_node *entry)
{
    for (const auto *key = lyd_child(entry); key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
        const auto operation = own_operation(key);
        if (operation && is_deletion(*operation)) {
            add_problem(Fault::kInvalidAttribute, key, "A key cannot be deleted",
                        "put the operation on the list entry", "operation");
        }
    }
}

/** What an edit's node means in the candidate; null when it is not there. */
lyd_node *EditApplier::find(const lyd_node *node, const lyd_node *parent) const
{
    lyd_node *siblings = siblings_below(parent);
    const auto *schema = schema_of(m_tree.schema(), node)->yang;
    if ((schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0) {
        return first_of(siblings, schema);
    }
    lyd_node *match = nullptr;
    lyd_find_sibling_first(siblings, node, &match);
    return match;
}

/** Without what is below, but for a list entry's keys. */
lyd_node *EditApplier::insert_copy(const lyd_node *node, lyd_node *parent)
{
    lyd_node *copy = nullptr;
    require_placed(lyd_dup_single(node, nullptr, LYD_DUP_NO_META, &copy));
    const bool is_plain = is_plain_container(copy);
    copy->flags |= is_plain ? LYD_DEFAULT : 0; // until something is put into it
    m_log.insert(copy, parent);
    if (!is_plain) {
        remove_other_cases(copy);
    }
    return copy;
}

/** The node selects the cases that it stands in, and those that plain containers above it do. */
void EditApplier::remove_other_cases(const lyd_node *node)
{
    const auto *parent = lyd_parent(node);
    for (const auto *schema = node->schema; is_in_case(schema); schema = schema->parent->parent) {
        const auto *choice = reinterpret_cast<const lysc_node_choice *>(schema->parent->parent);
        for (const lysc_node_case *other = choice->cases; other != nullptr;
             other = reinterpret_cast<const lysc_node_case *>(other->next)) {
            if (&other->node != schema->parent) {
                remove_case(&other->node, parent);
            }
        }
    }
    if (parent != nullptr && is_plain_container(parent)) {
        remove_other_cases(parent);
    }
}

void EditApplier::remove_case(const lysc_node *unselected, const lyd_node *parent)
{
    const lysc_node *schema = nullptr;
    while ((schema = lys_getnext(schema, unselected, nullptr, 0)) != nullptr) {
        while (lyd_node *node = first_of(siblings_below(parent), schema)) {
            remove(node);
        }
    }
}

/** Another entry is named that has no meaning for this one. */
void EditApplier::refuse_lost_anchor(const lyd_node *node, std::string_view insert)
{
    for (const char *name : {"yang:key", "yang:value"}) {
        if (insert != "before" && insert != "after" && metadata(node, name) != nullptr) {
            add_problem(Fault::kInvalidAttribute, node, std::string(name) + " has no meaning here",
                        "it goes with yang:insert=\"before\" or \"after\"", without_prefix(name));
        }
    }
}

/** Moves an entry of a user-ordered list or leaf-list to where yang:insert wants it. */
void EditApplier::place(const lyd_node *node, lyd_node *target)
{
    const char *insert = metadata(node, "yang:insert");
    refuse_lost_anchor(node, insert != nullptr ? insert : "");
    if (insert == nullptr) {
        return;
    }
    if (!Schema::of(node)->is_user_ordered()) {
        add_problem(Fault::kInvalidAttribute, node, std::string("Cannot be inserted ") + insert,
                    "the system orders this list", "insert");
        return;
    }
    const bool before = std::strcmp(insert, "first") == 0 || std::strcmp(insert, "before") == 0;
    lyd_node *anchor = find_anchor(node, target);
    if (anchor != nullptr && anchor != target) {
        m_log.move(target, anchor, before);
    }
}

/** The entry that yang:insert speaks of; null, with a problem, when there is none. */
lyd_node *EditApplier::find_anchor(const lyd_node *node, lyd_node *target)
{
    const std::string insert = metadata(node, "yang:insert");
    lyd_node *siblings = siblings_below(lyd_parent(target));
    if (insert == "first") {
        return first_of(siblings, node->schema);
    }
    if (insert == "last") {
        lyd_node *last = target;
        while (last->next != nullptr && last->next->schema == node->schema) {
            last = last->next;
        }
        return last;
    }
    const std::string name = Schema::of(node)->is_list() ? "yang:key" : "yang:value";
    const char *wanted = metadata(node, name.c_str());
    const std::string where = "Cannot be inserted " + insert;
    if (wanted == nullptr) {
        add_problem(Fault::kInvalidAttribute, node, where + " an entry: " + name + " is missing",
                    "", without_prefix(name));
        return nullptr;
    }
    lyd_node *anchor = nullptr;
    const auto result =
        lyd_find_sibling_val(siblings, node->schema, wanted, std::strlen(wanted), &anchor);
    if (result == LY_ENOTFOUND) {
        add_problem(Fault::kDataMissing, node, where + " " + wanted + ": there is no such entry",
                    "");
    } else if (result != LY_SUCCESS) {
        const auto why = take_problems(m_tree.schema(), m_source.name);
        add_problem(Fault::kInvalidAttribute, node,
                    where + " " + wanted + ": " + why.front().message, "", without_prefix(name));
    }
    return anchor;
}

void apply_edit(UndoLog &log, const Source &edit)
{
    EditApplier(log, edit).apply(read_edit(log.tree().schema(), edit));
}

std::vector<Problem> apply_what_fits(UndoLog &log, const Source &edit)
{
    return EditApplier(log, edit).apply_what_fits(read_edit(log.tree().schema(), edit));
}

Datastore apply_edit(const Datastore &running, const Source &edit)
{
    Datastore candidate = running.copy();
    UndoLog log(candidate);
    apply_edit(log, edit);
    log.keep();
    return candidate;
}

} // namespace engine
