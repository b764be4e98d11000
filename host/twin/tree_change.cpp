#include "twin/tree_change.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace host::twin
{
namespace
{

constexpr const char *kOperation = " nc:operation=\"";
constexpr const char *kNetconf = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr const char *kYang = "urn:ietf:params:xml:ns:yang:1";

bool is_default(const lyd_node *node)
{
    return (node->flags & LYD_DEFAULT) != 0;
}

bool is_container(const lyd_node *node)
{
    return node->schema->nodetype == LYS_CONTAINER &&
           (node->schema->flags & LYS_PRESENCE) == 0;
}

bool is_user_ordered(const lyd_node *node)
{
    return (node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0 &&
           (node->schema->flags & LYS_ORDBY_USER) != 0;
}

lyd_node *find_in(const lyd_node *siblings, const lyd_node *node)
{
    lyd_node *match = nullptr;
    if (siblings == nullptr || lyd_find_sibling_first(siblings, node, &match) != LY_SUCCESS) {
        return nullptr; // libyang may have set a result all the same.
    }
    return match;
}

struct Free {
    void operator()(char *text) const { std::free(text); }
    void operator()(lyd_node *tree) const { lyd_free_tree(tree); }
};

std::string printed(const lyd_node *node)
{
    char *text = nullptr;
    if (lyd_print_mem(&text, node, LYD_XML, LYD_PRINT_SHRINK) != LY_SUCCESS) {
        throw std::runtime_error("a change cannot be printed");
    }
    const std::unique_ptr<char, Free> owner(text);
    return text != nullptr ? text : "";
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

class EditWriter
{
public:
    explicit EditWriter(const Touched &touched) : m_touched(touched) {}

    /** Two levels that may differ. @param all  All below may differ, else what was touched. */
    void compare(const lyd_node *before, const lyd_node *after, bool all);
    std::string take() { return std::move(m_text); }

private:
    void write_gone(const lyd_node *before, const lyd_node *after);
    void write_node(const lyd_node *before, const lyd_node *node, bool all);
    void write_inner(const lyd_node *before, const lyd_node *node, bool all);
    /** @param attributes  For the element's start tag. */
    void write(const std::string &element, const std::string &attributes);
    static bool has_other_order(const lyd_node *before, const lyd_node *first);
    static std::string place_of(const lyd_node *node);

    const Touched &m_touched;
    std::string m_text;
    /** List or leaf-list whose entries are all written in their order. */
    const lysc_node *m_reordered = nullptr;
};

void EditWriter::write(const std::string &element, const std::string &attributes)
{
    const auto end = element.find_first_of(" />", 1);
    m_text += element.substr(0, end) + attributes + element.substr(end);
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
            m_reordered =
                is_user_ordered(node) && has_other_order(before, node) ? list : nullptr;
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
            write(printed_alone(node), std::string(kOperation) + "remove\"");
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
            write(printed(node), std::string(kOperation) + "replace\"" + place_of(node));
        }
    } else if ((node->schema->nodetype & LYD_NODE_INNER) != 0) {
        write_inner(before, node, all);
    } else if (is_default(node)) {
        if (!is_default(before)) {
            write(printed_alone(before), std::string(kOperation) + "remove\"");
        }
    } else if (is_default(before) || m_reordered == node->schema ||
               lyd_compare_single(before, node, 0) != LY_SUCCESS) {
        write(printed(node), place_of(node));
    }
}

/** A container, or an entry that both have: with its keys, if anything in it differs. */
void EditWriter::write_inner(const lyd_node *before, const lyd_node *node, bool all)
{
    const bool moves = m_reordered == node->schema;
    EditWriter inside(m_touched);
    inside.compare(before != nullptr ? lyd_child(before) : nullptr, lyd_child(node), all);
    std::string text = inside.take();
    if (text.empty() && !moves) {
        return;
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

std::string edit_between(const engine::Datastore &before, const engine::Datastore &after,
                         const Touched &touched)
{
    if (touched.empty()) {
        return "";
    }
    EditWriter writer(touched);
    writer.compare(before.root(), after.root(), touched.is_everything());
    std::string text = writer.take();
    const auto end = text.find_first_of(" />", 1);
    if (end != std::string::npos) {
        text.insert(end, std::string(" xmlns:nc=\"") + kNetconf + "\" xmlns:yang=\"" + kYang + "\"");
    }
    return text;
}

} // namespace host::twin
