#include "twin/subtree_filter.h"

#include <algorithm>

namespace host::twin
{
namespace
{

using FilterNodes = std::vector<FilterNode>;
/** Filter elements that stand side by side, of each place in the filter that leads to a node. */
using SiblingSets = std::vector<const FilterNodes *>;

std::string or_empty(const char *text)
{
    return text != nullptr ? text : "";
}

std::string trimmed(const std::string &text)
{
    constexpr const char *kBlanks = " \t\r\n";
    const auto begin = text.find_first_not_of(kBlanks);
    return begin == std::string::npos
               ? ""
               : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string ns_of(const lyd_node *node)
{
    return node->schema != nullptr
               ? node->schema->module->ns
               : or_empty(reinterpret_cast<const lyd_node_opaq *>(node)->name.module_ns);
}

/** Of a node of the model as of an opaque one. */
std::vector<FilterNode::Attribute> attributes_of(const lyd_node *node)
{
    std::vector<FilterNode::Attribute> attributes;
    if (node->schema == nullptr) {
        const auto *attribute = reinterpret_cast<const lyd_node_opaq *>(node)->attr;
        for (; attribute != nullptr; attribute = attribute->next) {
            attributes.push_back({or_empty(attribute->name.module_ns), attribute->name.name,
                                  or_empty(attribute->value)});
        }
        return attributes;
    }
    for (const auto *meta = node->meta; meta != nullptr; meta = meta->next) {
        attributes.push_back({meta->annotation->module->ns, meta->name, lyd_get_meta_value(meta)});
    }
    return attributes;
}

bool has_attributes(const lyd_node *node, const std::vector<FilterNode::Attribute> &wanted)
{
    if (wanted.empty()) {
        return true;
    }
    const auto attributes = attributes_of(node);
    return std::all_of(wanted.begin(), wanted.end(), [&](const auto &attribute) {
        return std::any_of(attributes.begin(), attributes.end(), [&](const auto &other) {
            return other.ns == attribute.ns && other.name == attribute.name &&
                   other.value == attribute.value;
        });
    });
}

bool is_content_match(const FilterNode &filter)
{
    return filter.children.empty() && !filter.text.empty();
}

/** Whether a leaf has that value, in whatever form the filter has it. */
bool has_content(const lyd_node *node, const std::string &text)
{
    if (trimmed(or_empty(lyd_get_value(node))) == text) {
        return true;
    }
    return node->schema != nullptr && (node->schema->nodetype & LYD_NODE_TERM) != 0 &&
           lyd_value_compare(reinterpret_cast<const lyd_node_term *>(node), text.c_str(),
                             text.size()) == LY_SUCCESS;
}

/** Whether a node is what the filter's element speaks of, whatever it holds. */
bool is_meant(const FilterNode &filter, const lyd_node *node)
{
    return filter.name == LYD_NAME(node) && (filter.ns.empty() || filter.ns == ns_of(node)) &&
           has_attributes(node, filter.attributes);
}

bool matches(const FilterNode &filter, const lyd_node *node)
{
    return is_meant(filter, node) && (!is_content_match(filter) || has_content(node, filter.text));
}

/** Whether a value is among the siblings. */
bool has_match(const FilterNode &filter, const lyd_node *first)
{
    for (const lyd_node *node = first; node != nullptr; node = node->next) {
        if (is_meant(filter, node)) {
            if (has_content(node, filter.text)) {
                return true;
            }
            if (node->schema != nullptr && node->schema->nodetype == LYS_LEAF &&
                !filter.ns.empty()) {
                return false; // There is no other of that name.
            }
        }
    }
    return false;
}

/** Whether all values that the siblings ask for are there. */
bool have_contents(const FilterNodes &siblings, const lyd_node *first)
{
    return std::all_of(siblings.begin(), siblings.end(), [&](const FilterNode &filter) {
        return !is_content_match(filter) || has_match(filter, first);
    });
}

bool are_contents_alone(const FilterNodes &siblings)
{
    return std::all_of(siblings.begin(), siblings.end(), is_content_match);
}

/** @return Whether something was selected. */
bool select_among(const lyd_node *first, const SiblingSets &sets, Selection &selection);

bool select_node(const lyd_node *node, const SiblingSets &sets, Selection &selection)
{
    SiblingSets inside;
    for (const auto *siblings : sets) {
        for (const auto &filter : *siblings) {
            if (!matches(filter, node)) {
                continue;
            }
            if (filter.children.empty()) {
                selection.add_whole(node);
                return true;
            }
            inside.push_back(&filter.children);
        }
    }
    const lyd_node *children = lyd_child(node);
    inside.erase(
        std::remove_if(inside.begin(), inside.end(),
                       [&](const auto *siblings) { return !have_contents(*siblings, children); }),
        inside.end());
    if (std::any_of(inside.begin(), inside.end(),
                    [](const auto *siblings) { return are_contents_alone(*siblings); })) {
        selection.add_whole(node);
        return true;
    }
    if (inside.empty() || !select_among(children, inside, selection)) {
        return false;
    }
    selection.add_inner(node);
    return true;
}

bool select_among(const lyd_node *first, const SiblingSets &sets, Selection &selection)
{
    bool is_any = false;
    for (const lyd_node *node = first; node != nullptr; node = node->next) {
        is_any = select_node(node, sets, selection) || is_any;
    }
    return is_any;
}

FilterNodes read_siblings(const lyd_node *first);

FilterNode read_node(const lyd_node *node)
{
    FilterNode filter{ns_of(node), LYD_NAME(node), attributes_of(node),
                      trimmed(or_empty(lyd_get_value(node))), read_siblings(lyd_child(node))};
    return filter;
}

FilterNodes read_siblings(const lyd_node *first)
{
    FilterNodes nodes;
    for (; first != nullptr; first = first->next) {
        nodes.push_back(read_node(first));
    }
    return nodes;
}

/** Content that libyang has as a text. */
FilterNodes read_text(const ly_ctx *context, const char *text)
{
    if (trimmed(or_empty(text)).empty()) {
        return {};
    }
    lyd_node *nodes = nullptr;
    if (lyd_parse_data_mem(context, text, LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &nodes) !=
        LY_SUCCESS) {
        ly_err_clean(const_cast<ly_ctx *>(context), nullptr);
        throw FilterError("The filter is no XML.");
    }
    const Tree tree(nodes);
    return read_siblings(nodes);
}

} // namespace

SubtreeFilter SubtreeFilter::from(const lyd_node *filter)
{
    if (filter->schema == nullptr || (filter->schema->nodetype & LYD_NODE_ANY) == 0) {
        return SubtreeFilter(read_siblings(lyd_child(filter)));
    }
    const auto *any = reinterpret_cast<const lyd_node_any *>(filter);
    switch (any->value_type) {
    case LYD_ANYDATA_DATATREE:
        return SubtreeFilter(read_siblings(any->value.tree));
    case LYD_ANYDATA_STRING:
    case LYD_ANYDATA_XML:
        return SubtreeFilter(read_text(LYD_CTX(filter), any->value.str));
    default:
        throw FilterError("The filter is no XML.");
    }
}

Selection SubtreeFilter::select(const lyd_node *data) const
{
    Selection selection;
    if (have_contents(m_nodes, data)) {
        select_among(data, {&m_nodes}, selection);
    }
    return selection;
}

} // namespace host::twin
