#include "twin/tree_change.h"

#include "engine/data/print_tree.h"

#include <memory>
#include <stdexcept>

namespace host::twin
{
namespace
{

constexpr const char *kReplace = "replace";
constexpr const char *kRemove = "remove";
constexpr const char *kNetconf = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr const char *kYang = "urn:ietf:params:xml:ns:yang:1";

bool is_default(const lyd_node *node)
{
    return (node->flags & LYD_DEFAULT) != 0;
}

bool is_container(const lyd_node *node)
{
    return node->schema->nodetype == LYS_CONTAINER && (node->schema->flags & LYS_PRESENCE) == 0;
}

bool is_user_ordered(const lyd_node *node)
{
    return (node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0 &&
           (node->schema->flags & LYS_ORDBY_USER) != 0;
}

lyd_node *find_in(const lyd_node *siblings, const lyd_node *node)
{
    if (siblings == nullptr) {
        return nullptr;
    }
    // A leaf is the same one whatever its value.
    const bool has_keys = (node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
    lyd_node *match = nullptr;
    const LY_ERR result = has_keys
                              ? lyd_find_sibling_first(siblings, node, &match)
                              : lyd_find_sibling_val(siblings, node->schema, nullptr, 0, &match);
    return result == LY_SUCCESS ? match : nullptr; // libyang may have set it all the same.
}

struct Free {
    void operator()(lyd_node *tree) const { lyd_free_tree(tree); }
};

std::string printed(const lyd_node *node)
{
    return engine::print_tree(node, LYD_XML, engine::Siblings::kLeftOut, LYD_PRINT_SHRINK);
}

/** The node without what is below it, but for the keys of a list entry. */
std::string printed_alone(const lyd_node *node)
{
    lyd_node *copy = nullptr;
    if (lyd_dup_single(node, nullptr, LYD_DUP_NO_META, &copy) != LY_SUCCESS) {
        throw std::runtime_error("a change cannot be copied");
    }
    const std::unique_ptr<lyd_node, Free> owner(copy);
    return printed(copy);
}

/** For events; the prefix is the module's name. */
std::string instance_identifier(const lyd_node *node)
{
    const std::string prefix = std::string(node->schema->module->name) + ":";
    std::string text = "/" + prefix + node->schema->name;
    const auto add = [&text](const std::string &name, const std::string &value) {
        const char quote = value.find('\'') == std::string::npos ? '\'' : '"';
        text += "[" + name + "=" + quote + value + quote + "]";
    };
    if (node->schema->nodetype == LYS_LEAFLIST) {
        add(".", lyd_get_value(node));
    }
    for (const auto *key = lyd_child(node);
         key != nullptr && key->schema != nullptr && lysc_is_key(key->schema); key = key->next) {
        add(prefix + key->schema->name, lyd_get_value(key));
    }
    const auto *parent = lyd_parent(node);
    return (parent != nullptr ? instance_identifier(parent) : "") + text;
}

class EditWriter
{
public:
    EditWriter(const Touched &touched, std::vector<ConfigEdit> &places)
        : m_touched(touched), m_places(places)
    {
    }

    /** Two levels that may differ. @param all  All below may differ, else what was touched. */
    void compare(const lyd_node *before, const lyd_node *after, bool all);
    std::string take() { return std::move(m_text); }

private:
    void write_gone(const lyd_node *before, const lyd_node *after);
    void write_node(const lyd_node *before, const lyd_node *node, bool all);
    void write_inner(const lyd_node *before, const lyd_node *node, bool all);
    /** @param element    The node, printed.
     *  @param operation  Empty: merge. */
    void write(const lyd_node *node, const std::string &element, const std::string &operation);
    void note(const lyd_node *node, const std::string &operation);
    static bool has_other_order(const lyd_node *before, const lyd_node *first);
    static std::string place_of(const lyd_node *node);

    static constexpr std::size_t kMaxPlaces = 1000;

    const Touched &m_touched;
    std::vector<ConfigEdit> &m_places;
    std::string m_text;
    /** List or leaf-list whose entries are all written in their order. */
    const lysc_node *m_reordered = nullptr;
};

void EditWriter::write(const lyd_node *node, const std::string &element,
                       const std::string &operation)
{
    const auto end = element.find_first_of(" />", 1);
    m_text += element.substr(0, end);
    if (!operation.empty()) {
        m_text += " nc:operation=\"" + operation + "\"";
    }
    m_text += (operation != kRemove ? place_of(node) : "") + element.substr(end);
    note(node, operation == kReplace ? "create" : operation == kRemove ? "delete" : "merge");
}

void EditWriter::note(const lyd_node *node, const std::string &operation)
{
    if (m_places.size() < kMaxPlaces) {
        m_places.push_back({instance_identifier(node), operation});
    }
}

/** Entries that are written all come to stand in this order, one behind the other. */
std::string EditWriter::place_of(const lyd_node *node)
{
    return is_user_ordered(node) ? " yang:insert=\"last\"" : "";
}

void EditWriter::compare(const lyd_node *before, const lyd_node *after, bool all)
{
    write_gone(before, after);
    const lysc_node *list = nullptr;
    for (const auto *node = after; node != nullptr; node = node->next) {
        if (node->schema != list) {
            list = node->schema;
            m_reordered = is_user_ordered(node) && has_other_order(before, node) ? list : nullptr;
        }
        if (all || m_touched.is_new(node) || m_touched.has_inside(node) || m_reordered == list) {
            const auto *reordered = m_reordered;
            write_node(find_in(before, node), node, all || m_touched.is_new(node));
            m_reordered = reordered;
        }
    }
    m_reordered = nullptr;
}

/** Whether entries came, or those that stayed stand in another order than before. */
bool EditWriter::has_other_order(const lyd_node *before, const lyd_node *first)
{
    const auto is_entry = [first](const lyd_node *node) {
        return node != nullptr && node->schema == first->schema;
    };
    const lyd_node *expected = before;
    for (const auto *node = first; is_entry(node); node = node->next) {
        while (expected != nullptr &&
               (!is_entry(expected) || find_in(first, expected) == nullptr)) {
            expected = expected->next;
        }
        if (expected == nullptr || find_in(before, node) != expected) {
            return true;
        }
        expected = expected->next;
    }
    return false;
}

void EditWriter::write_gone(const lyd_node *before, const lyd_node *after)
{
    for (const auto *node = before; node != nullptr; node = node->next) {
        if (!is_default(node) && !lysc_is_key(node->schema) && find_in(after, node) == nullptr) {
            write(node, printed_alone(node), kRemove);
        }
    }
}

void EditWriter::write_node(const lyd_node *before, const lyd_node *node, bool all)
{
    if (lysc_is_key(node->schema)) {
        return;
    }
    if (is_container(node)) {
        write_inner(before, node, all);
    } else if (before == nullptr) {
        if (!is_default(node)) {
            write(node, printed(node), kReplace);
        }
    } else if ((node->schema->nodetype & LYD_NODE_INNER) != 0) {
        write_inner(before, node, all);
    } else if (is_default(node)) {
        if (!is_default(before)) {
            write(before, printed_alone(before), kRemove);
        }
    } else if (is_default(before) || m_reordered == node->schema ||
               lyd_compare_single(before, node, 0) != LY_SUCCESS) {
        write(node, printed(node), "");
    }
}

/** A container, or an entry that both have: with its keys, if anything in it differs. */
void EditWriter::write_inner(const lyd_node *before, const lyd_node *node, bool all)
{
    const bool moves = m_reordered == node->schema;
    EditWriter inside(m_touched, m_places);
    inside.compare(before != nullptr ? lyd_child(before) : nullptr, lyd_child(node), all);
    std::string text = inside.take();
    if (text.empty() && !moves) {
        return;
    }
    if (moves) {
        note(node, "merge");
    }
    std::string keys;
    for (const auto *key = lyd_child(node); key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
        keys += printed(key);
    }
    const std::string name = node->schema->name;
    m_text += "<" + name + " xmlns=\"" + node->schema->module->ns + "\"" +
              (moves ? place_of(node) : "") + ">" + keys + text + "</" + name + ">";
}

} // namespace

void Touched::add(const engine::UndoLog &log)
{
    log.each_touched([this](const lyd_node *node, const engine::UndoLog::Touched &touched) {
        m_inner.insert(node);
        m_created.insert(touched.created.begin(), touched.created.end());
        return true;
    });
}

void Touched::add(const Touched &other)
{
    m_inner.insert(other.m_inner.begin(), other.m_inner.end());
    m_created.insert(other.m_created.begin(), other.m_created.end());
    m_is_everything = m_is_everything || other.m_is_everything;
}

void Touched::clear()
{
    *this = Touched();
}

TreeEdit edit_between(const engine::Datastore &before, const engine::Datastore &after,
                      const Touched &touched)
{
    TreeEdit edit;
    if (touched.empty()) {
        return edit;
    }
    EditWriter writer(touched, edit.places);
    writer.compare(before.root(), after.root(), touched.is_everything());
    edit.text = writer.take();
    const auto end = edit.text.find_first_of(" />", 1);
    if (end != std::string::npos) {
        edit.text.insert(end, std::string(" xmlns:nc=\"") + kNetconf + "\" xmlns:yang=\"" + kYang +
                                  "\"");
    }
    return edit;
}

} // namespace host::twin
