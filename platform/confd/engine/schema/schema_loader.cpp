#include "engine/schema/schema_loader.h"

#include "engine/schema/schema_points.h"
#include "engine/schema/schema_references.h"
#include "engine/schema/schema_rules.h"
#include "engine/schema/schema_types.h"
#include "engine/schema/yang_log.h"

#include <algorithm>
#include <stdexcept>

namespace engine
{
namespace
{

/**
 * With a module of this name in the context, libyang takes the operation attribute of NETCONF
 * edits as metadata of the nodes.
 */
constexpr const char *kNetconfModule = R"(
module ietf-netconf {
  namespace "urn:ietf:params:xml:ns:netconf:base:1.0";
  prefix nc;
})";

LY_ERR find_text(const char *module_name, const char *, const char *submodule_name, const char *,
                 void *user_data, LYS_INFORMAT *format, const char **data,
                 ly_module_imp_data_free_clb *free_data)
{
    const std::string wanted = submodule_name != nullptr ? submodule_name : module_name;
    for (const auto &text : *static_cast<const std::vector<YangText> *>(user_data)) {
        if (text.name == wanted) {
            *format = LYS_IN_YANG;
            *data = text.yang.c_str();
            *free_data = nullptr;
            return LY_SUCCESS;
        }
    }
    return LY_ENOTFOUND;
}

LY_ERR note_defaults(lysc_node *node, void *found, ly_bool *)
{
    if (node->nodetype == LYS_LEAFLIST &&
        reinterpret_cast<const lysc_node_leaflist *>(node)->dflts != nullptr) {
        *static_cast<bool *>(found) = true;
    }
    return LY_SUCCESS;
}

LY_ERR note_when(lysc_node *node, void *found, ly_bool *)
{
    *static_cast<bool *>(found) = *static_cast<bool *>(found) || lysc_has_when(node) != nullptr;
    return LY_SUCCESS;
}

LY_ERR forget_parsed(lysc_node *node, void *, ly_bool *)
{
    node->priv = nullptr;
    return LY_SUCCESS;
}

/** What is not a node of the framework cannot be validated: nobody would notice the statement. */
LY_ERR refuse_choice_with_point(lysc_node *node, void *user_data, ly_bool *)
{
    const auto *parsed = static_cast<const lysp_node *>(node->priv);
    if ((node->nodetype & (LYS_CHOICE | LYS_CASE)) == 0 || parsed == nullptr) {
        return LY_SUCCESS;
    }
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(parsed->exts, i)
    {
        if (is_framework_statement(parsed->exts[i], "validate")) {
            *static_cast<std::string *>(user_data) = node->name;
            return LY_EVALID;
        }
    }
    return LY_SUCCESS;
}

int count_values(const SchemaNode &node)
{
    int count = 0;
    for (const auto *child = node.first_child(); child != nullptr; child = child->next_sibling()) {
        count += child->is_container() ? 1 + child->object_size : 1;
    }
    return count;
}

/** Elements of a keypath: a list entry has one for the list and one for its keys. */
int depth(const SchemaNode &node)
{
    return (node.is_list() ? 2 : 1) + (node.up() != nullptr ? depth(*node.up()) : 0);
}

int flags_of(const SchemaNode &node)
{
    return (node.is_list() ? CS_NODE_IS_LIST : 0) |
           (node.is_leaf_list() ? CS_NODE_IS_LEAF_LIST : 0) |
           (node.is_presence() ? CS_NODE_IS_PRESENCE : 0) |
           (node.is_user_ordered() ? CS_NODE_IS_USER_ORDERED : 0);
}

/** What libyang stored since it was last asked, as one text; forgets it. */
std::string take_yang_errors(ly_ctx *context)
{
    std::string text;
    for (const auto *item = ly_err_first(context); item != nullptr; item = item->next) {
        text += text.empty() ? "" : "; ";
        text += item->msg != nullptr ? item->msg : "error without a text";
        if (item->path != nullptr) {
            text += std::string(" (") + item->path + ")";
        }
    }
    ly_err_clean(context, nullptr);
    return text;
}

} // namespace

/** Fills a Schema from the texts of a model. Every member throws std::runtime_error. */
class SchemaLoader
{
public:
    std::shared_ptr<const Schema> load(const ModelSource &source);

private:
    void load_modules();
    SchemaNode *add_node(const lysc_node &yang, SchemaNode *parent);
    std::vector<SchemaNode *> add_children(const lysc_node *yang_parent, SchemaNode *parent);
    void add_tag(SchemaNode &node);
    void describe_list(SchemaNode &node) const;
    void adopt_nodes();

    std::shared_ptr<Schema> m_loaded{new Schema};
    Schema &m_schema = *m_loaded;
    std::uint32_t (*m_tag_of)(std::string_view name) = nullptr;
};

std::shared_ptr<const Schema> SchemaLoader::load(const ModelSource &source)
{
    store_errors();
    m_schema.m_texts = source.texts;
    m_schema.m_module_name = source.main_module;
    m_schema.m_ns = source.ns;
    m_tag_of = source.tag_of;
    load_modules();
    for (auto *node : add_children(nullptr, nullptr)) {
        m_schema.m_tops.push_back(node);
    }
    adopt_nodes();
    lysc_module_dfs_full(m_schema.m_module, note_when, &m_schema.m_has_when);
    m_schema.m_leafref_types = read_references(m_schema, m_schema.m_nodes, m_schema.m_targets);
    lysc_module_dfs_full(m_schema.m_module, note_defaults, &m_schema.m_has_leaf_list_defaults);
    m_schema.m_rules = read_rules(m_schema, m_schema.m_nodes);
    return m_loaded;
}

void SchemaLoader::load_modules()
{
    const auto options = LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIRS | LY_CTX_SET_PRIV_PARSED;
    if (ly_ctx_new(nullptr, options, &m_schema.m_context) != LY_SUCCESS) {
        throw std::runtime_error("cannot create a YANG context");
    }
    auto *context = m_schema.m_context;
    ly_ctx_set_module_imp_clb(context, find_text, &m_schema.m_texts);
    if (lys_parse_mem(context, kNetconfModule, LYS_IN_YANG, nullptr) != LY_SUCCESS) {
        throw std::runtime_error("cannot load module ietf-netconf: " + take_yang_errors(context));
    }
    const auto &name = m_schema.m_module_name;
    m_schema.m_module = ly_ctx_load_module(context, name.c_str(), nullptr, nullptr);
    if (m_schema.m_module == nullptr) {
        throw std::runtime_error("cannot load module " + name + ": " + take_yang_errors(context));
    }
    ly_err_clean(context, nullptr); // Warnings.
}

SchemaNode *SchemaLoader::add_node(const lysc_node &yang, SchemaNode *parent)
{
    auto &node = *m_schema.m_nodes.emplace_back(std::make_unique<SchemaNode>());
    node.number = static_cast<std::uint32_t>(m_schema.m_nodes.size() - 1);
    node.yang = &yang;
    node.name = yang.name;
    node.parent = parent;
    constexpr auto kServed = LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST;
    if ((yang.nodetype & kServed) == 0) {
        throw std::runtime_error(node.path() + ": " + lys_nodetype2str(yang.nodetype) +
                                 " nodes are not served");
    }
    if (depth(node) > MAXDEPTH) {
        throw std::runtime_error(node.path() + ": a keypath has no room for so many levels");
    }
    add_tag(node);
    node.info.shallow_type = C_XMLTAG;
    node.info.flags = flags_of(node);
    if (node.is_leaf() || node.is_leaf_list()) {
        node.type_storage = read_type(yang, node.path());
        node.info.type = &node.type_storage;
        node.info.shallow_type = node.is_leaf_list() ? C_LIST : node.type_storage.vtype;
        node.object_size = 1;
        return &node;
    }
    const auto children = add_children(&yang, &node);
    node.children = children.empty() ? nullptr : children.front();
    node.object_size = count_values(node);
    if (node.is_list()) {
        describe_list(node);
    }
    return &node;
}

std::vector<SchemaNode *> SchemaLoader::add_children(const lysc_node *yang_parent,
                                                     SchemaNode *parent)
{
    std::vector<SchemaNode *> children;
    const lysc_node *yang = nullptr;
    // Without options, libyang steps through choices and cases to the nodes in them.
    while ((yang = lys_getnext(yang, yang_parent, m_schema.m_module->compiled, 0)) != nullptr) {
        children.push_back(add_node(*yang, parent));
        if (children.size() > 1) {
            children[children.size() - 2]->next = children.back();
        }
    }
    return children;
}

void SchemaLoader::add_tag(SchemaNode &node)
{
    node.ns = m_schema.m_ns;
    node.tag = m_tag_of(node.name);
    const auto [place, is_new] = m_schema.m_names.emplace(node.tag, node.name);
    if (!is_new && place->second != node.name) {
        throw std::runtime_error(node.path() + ": the names " + place->second + " and " +
                                 node.name + " have the same tag, " + std::to_string(node.tag));
    }
}

void SchemaLoader::describe_list(SchemaNode &node) const
{
    for (const auto *child = node.first_child(); child != nullptr; child = child->next_sibling()) {
        if (child->is_key()) {
            node.key_nodes.push_back(child);
            node.key_storage.push_back(child->tag);
        }
    }
    if (node.key_nodes.empty() || node.key_nodes.size() >= MAXKEYLEN) {
        throw std::runtime_error(node.path() + ": a list has 1 to " +
                                 std::to_string(MAXKEYLEN - 1) + " keys");
    }
    node.key_storage.push_back(0);
    node.info.keys = node.key_storage.data();
}

/** Reads the validation points off the parsed nodes, then lets libyang's nodes point at ours. */
void SchemaLoader::adopt_nodes()
{
    std::string refused;
    lysc_module_dfs_full(m_schema.m_module, refuse_choice_with_point, &refused);
    if (!refused.empty()) {
        throw std::runtime_error(refused + ": a validation point cannot sit on a choice or case");
    }
    auto &points = m_schema.m_points;
    for (const auto &node : m_schema.m_nodes) {
        const auto *parsed = static_cast<const lysp_node *>(node->yang->priv);
        for (auto &point : read_points(m_schema, *node, *parsed)) {
            points.push_back(std::move(point));
        }
    }
    std::stable_sort(points.begin(), points.end(),
                     [](const auto &a, const auto &b) { return a.priority < b.priority; });

    std::uint32_t index = 0;
    while (const auto *module = ly_ctx_get_module_iter(m_schema.m_context, &index)) {
        if (module->implemented) {
            lysc_module_dfs_full(module, forget_parsed, nullptr);
        }
    }
    for (const auto &node : m_schema.m_nodes) {
        const_cast<lysc_node *>(node->yang)->priv = node.get();
    }
}

std::shared_ptr<const Schema> load_schema(const ModelSource &source)
{
    return SchemaLoader().load(source);
}

} // namespace engine
