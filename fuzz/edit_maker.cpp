#include "edit_maker.h"

#include "engine/schema/yang.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <vector>

namespace fuzz
{
namespace
{

constexpr std::array<const char *, 4> kNames{"a", "b", "c", "d"};

/** Texts for leaves that do not take just any. */
const std::map<std::string_view, std::array<const char *, 4>> &fitting_texts()
{
    static const std::map<std::string_view, std::array<const char *, 4>> texts{
        {"id", {"1/1/1", "1/1/2", "1/1/16", "1/1/0"}},
        {"card", {"1/1", "1/1", "1/1", "1/2"}},
        {"serial-number", {"ABCD00000001", "ABCD0000000a", "ABCD0000000A", "ABCD"}},
        {"password", {"$0$secret", "one", "", "$0$a-password-that-is-too-long"}},
        {"address", {"10.0.0.2/24", "10.0.0.1/32", "10.0.0.1/0", "10.0.1.2/25"}},
        {"ipv4-address", {"10.0.1.1/24", "10.0.1.129/25", "10.0.2.1/32", "10.0.0.0/8"}},
        {"default-gateway", {"10.0.0.1", "10.0.0.2", "10.0.1.1", "255.255.255.255"}},
        {"start-address", {"10.0.1.2", "10.0.1.200", "10.0.2.1", "0.0.0.0"}},
        {"end-address", {"10.0.1.9", "10.0.1.200", "10.0.2.1", "255.255.255.255"}},
        {"custom", {"Home", "home", "", "AKQTA12345678"}},
    };
    return texts;
}

constexpr const char *kNamespaces =
    " xmlns=\"urn:olt:gpon:base\" xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\" "
    "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\"";

/** The keys of a list's entry; nothing of another node. */
std::string keys_of(const lyd_node *node)
{
    std::string xml;
    for (const lyd_node *key = lyd_child(node); key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
        xml += std::string("<") + key->schema->name + ">" + lyd_get_value(key) + "</" +
               key->schema->name + ">";
    }
    return xml;
}

/** The case of a choice that a node belongs to; null when it belongs to none. */
const lysc_node *case_of(const lysc_node *node)
{
    const lysc_node *above = node->parent;
    return above != nullptr && above->nodetype == LYS_CASE ? above : nullptr;
}

bool is_mandatory(const lysc_node *node)
{
    return (node->flags & LYS_MAND_TRUE) != 0;
}

} // namespace

std::string EditMaker::make()
{
    m_xml.clear();
    for (const SchemaNode *top : m_schema.tops()) {
        begin(*top);
        write_children(*top);
        m_xml += "</" + top->name + ">";
    }
    return m_xml;
}

std::string EditMaker::make_small()
{
    m_xml.clear();
    const SchemaNode &top = *m_schema.tops().front();
    begin(top);
    for (std::size_t count = 1 + m_bytes.below(2); count > 0; --count) {
        write_way_down(top);
    }
    m_xml += "</" + top.name + ">";
    return m_xml;
}

void EditMaker::begin(const SchemaNode &top)
{
    m_xml += "<" + top.name + kNamespaces + ">";
}

/** Goes down to one of the nodes below, and writes that one with what is in it. */
void EditMaker::write_way_down(const SchemaNode &node)
{
    std::vector<const SchemaNode *> children;
    for (const auto *child = node.first_child(); child != nullptr; child = child->next_sibling()) {
        if (!child->is_key()) {
            children.push_back(child);
        }
    }
    if (children.empty()) {
        return;
    }
    const SchemaNode &child = *m_bytes.pick(children);
    if (child.first_child() == nullptr || m_bytes.one_in(4)) {
        write(child);
        return;
    }
    m_xml += "<" + child.name + ">";
    write_keys(child);
    write_way_down(child);
    m_xml += "</" + child.name + ">";
}

void EditMaker::write_children(const SchemaNode &above)
{
    std::map<const lysc_node *, const lysc_node *> chosen; // Case of a choice.
    for (const SchemaNode *child = above.first_child(); child; child = child->next_sibling()) {
        if (child->is_key()) {
            continue;
        }
        if (const lysc_node *its_case = case_of(child->yang)) {
            const auto known = chosen.find(its_case->parent);
            if (known != chosen.end() ? known->second != its_case : m_bytes.one_in(2)) {
                continue;
            }
            chosen[its_case->parent] = its_case;
        } else if (is_mandatory(child->yang) ? m_bytes.one_in(16)
                                             : !m_bytes.one_in(one_in_of(*child))) {
            continue;
        }
        write(*child);
    }
}

std::string EditMaker::make_at(const lyd_node *node)
{
    m_xml = open_tags(lyd_parent(node));
    write_change(*engine::Schema::of(node), node);
    for (const lyd_node *above = lyd_parent(node); above != nullptr; above = lyd_parent(above)) {
        m_xml += std::string("</") + above->schema->name + ">";
    }
    return m_xml;
}

/** Leads to a node and into it. */
std::string EditMaker::open_tags(const lyd_node *node)
{
    if (node == nullptr) {
        return {};
    }
    const bool is_top = lyd_parent(node) == nullptr;
    return open_tags(lyd_parent(node)) + "<" + node->schema->name + (is_top ? kNamespaces : "") +
           ">" + keys_of(node);
}

void EditMaker::write_change(const SchemaNode &schema, const lyd_node *node)
{
    const bool is_top = schema.up() == nullptr;
    const bool is_deleted = !is_top && !schema.is_leaf_list() && m_bytes.one_in(4);
    const std::string begin = "<" + schema.name + (is_top ? kNamespaces : "");
    const std::string end = "</" + schema.name + ">";
    if (is_deleted) {
        m_xml += begin + " nc:operation=\"remove\">" + keys_of(node) + end;
    } else if (schema.is_leaf() || schema.is_leaf_list()) {
        write_term(schema);
    } else if (schema.is_list() && m_bytes.one_in(2)) {
        write_entries(schema);
    } else {
        m_xml += begin + ">" + keys_of(node);
        write_children(schema);
        m_xml += end;
    }
}

/** Containers lead to the rest. */
std::size_t EditMaker::one_in_of(const SchemaNode &node) const
{
    constexpr std::size_t kMaxForContainers = 3;
    return node.is_container() ? std::min(m_one_in, kMaxForContainers) : m_one_in;
}

void EditMaker::write(const SchemaNode &node)
{
    if (node.is_list()) {
        write_entries(node);
    } else if (node.is_container()) {
        m_xml += "<" + node.name + operation(node) + ">";
        write_children(node);
        m_xml += "</" + node.name + ">";
    } else {
        const std::size_t count = node.is_leaf_list() ? 1 + m_bytes.below(3) : 1;
        for (std::size_t i = 0; i < count; ++i) {
            write_term(node);
        }
    }
}

void EditMaker::write_entries(const SchemaNode &list)
{
    for (std::size_t count = 1 + m_bytes.below(3); count > 0; --count) {
        m_xml += "<" + list.name + operation(list) + ">";
        write_keys(list);
        write_children(list);
        m_xml += "</" + list.name + ">";
    }
}

void EditMaker::write_keys(const SchemaNode &list)
{
    for (const SchemaNode *key : list.key_nodes) {
        m_xml +=
            "<" + key->name + ">" + value_of(*key, key->type_storage.yang) + "</" + key->name + ">";
    }
}

void EditMaker::write_term(const SchemaNode &leaf)
{
    m_xml += "<" + leaf.name + operation(leaf) + ">";
    m_xml += value_of(leaf, leaf.type_storage.yang) + "</" + leaf.name + ">";
}

std::string EditMaker::value_of(const SchemaNode &leaf, const lysc_type *type)
{
    static constexpr std::array<const char *, 12> kNumbers{"1",  "2",  "3",    "4",    "10",  "16",
                                                           "20", "60", "4094", "4096", "128", "0"};
    switch (type->basetype) {
    case LY_TYPE_BOOL:
        return m_bytes.one_in(2) ? "true" : "false";
    case LY_TYPE_EMPTY:
        return "";
    case LY_TYPE_ENUM: {
        const auto *items = reinterpret_cast<const lysc_type_enum *>(type)->enums;
        return items[m_bytes.below(static_cast<std::size_t>(LY_ARRAY_COUNT(items)))].name;
    }
    case LY_TYPE_UNION: {
        lysc_type *const *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        return value_of(leaf,
                        members[m_bytes.below(static_cast<std::size_t>(LY_ARRAY_COUNT(members)))]);
    }
    case LY_TYPE_STRING:
        return text_value(leaf);
    default: {
        // Of the nodes that are keyed by chassis and slot there is one of each.
        if (leaf.name == "chassis-id" || leaf.name == "slot-id") {
            return "1";
        }
        // Rates must be able to fill a link.
        if (m_bytes.one_in(8)) {
            return std::to_string(m_bytes.word());
        }
        const bool is_small = leaf.is_key() || !m_bytes.one_in(2);
        return kNumbers[m_bytes.below(is_small ? 3 : kNumbers.size())];
    }
    }
}

std::string EditMaker::text_value(const SchemaNode &leaf)
{
    const auto texts = fitting_texts().find(leaf.name);
    // A service port's number and that of its interface have the same name.
    return m_bytes.pick(texts != fitting_texts().end() ? texts->second : kNames);
}

std::string EditMaker::operation(const SchemaNode &node)
{
    static constexpr std::array<const char *, 5> kOperations{"merge", "replace", "create", "delete",
                                                             "remove"};
    static constexpr std::array<const char *, 2> kPlaces{"first", "last"};
    std::string attributes;
    if (m_bytes.one_in(6)) {
        attributes += std::string(" nc:operation=\"") + m_bytes.pick(kOperations) + "\"";
    }
    if (node.is_user_ordered() && m_bytes.one_in(2)) {
        attributes += std::string(" yang:insert=\"") + m_bytes.pick(kPlaces) + "\"";
        if (m_bytes.one_in(3)) {
            attributes.replace(attributes.rfind(" yang:insert"), std::string::npos,
                               std::string(" yang:insert=\"before\" yang:key=\"[name='") +
                                   m_bytes.pick(kNames) + "']\"");
        }
    }
    return attributes;
}

} // namespace fuzz
