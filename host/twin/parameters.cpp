#include "twin/parameters.h"

#include "card_model.h"
#include "twin/server_context.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace host::twin
{
namespace
{

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kYangNamespace = "urn:ietf:params:xml:ns:yang:1";

/** An attribute of an edit, and its values; none: any. */
struct EditAttribute {
    std::string_view space;
    std::string_view name;
    std::vector<std::string_view> values{};
};

const std::vector<EditAttribute> &edit_attributes()
{
    static const std::vector<EditAttribute> known{
        {kNetconfNamespace, "operation", {"merge", "replace", "create", "delete", "remove"}},
        {kYangNamespace, "insert", {"first", "last", "before", "after"}},
        {kYangNamespace, "key"},
        {kYangNamespace, "value"},
        {kDefaultNamespace, "default", {"true", "false", "1", "0"}}};
    return known;
}

RpcError attribute_error(const std::string &tag, const XmlName &element,
                         const std::string &attribute, const std::string &message)
{
    RpcError error = protocol_error(tag, message);
    error.info = {{"bad-attribute", attribute}, {"bad-element", element.local}};
    return error;
}

RpcError element_error(const std::string &tag, const std::string &element,
                       const std::string &message)
{
    RpcError error = protocol_error(tag, message);
    error.info.emplace_back("bad-element", element);
    return error;
}

RpcError unknown_attribute(const XmlName &element, const XmlAttribute &attribute)
{
    std::string message =
        "<" + element.local + "> cannot have the attribute " + attribute.name.local + ".";
    if (attribute.name.space.empty() && attribute.name.local == "operation") {
        message += " That of an edit is of the namespace urn:ietf:params:xml:ns:netconf:base:1.0.";
    }
    return attribute_error("unknown-attribute", element, attribute.name.local, message);
}

std::optional<RpcError> check_edit_attribute(const XmlName &element, const XmlAttribute &attribute)
{
    const auto &known = edit_attributes();
    const auto found = std::find_if(known.begin(), known.end(), [&](const EditAttribute &one) {
        return one.space == attribute.name.space && one.name == attribute.name.local;
    });
    if (found == known.end()) {
        return unknown_attribute(element, attribute);
    }
    const auto &values = found->values;
    if (!values.empty() &&
        std::find(values.begin(), values.end(), attribute.value) == values.end()) {
        return attribute_error("bad-attribute", element, attribute.name.local,
                               "\"" + attribute.value + "\" is not a value of the attribute " +
                                   attribute.name.local + ".");
    }
    return std::nullopt;
}

/** `type` and `select`, with NETCONF's namespace or, as they should be, without any. */
std::optional<RpcError> check_filter(const XmlName &element,
                                     const Parameters::Attributes &attributes)
{
    bool is_xpath = false;
    bool selects = false;
    for (const auto &attribute : attributes) {
        const auto &[space, local] = attribute.name;
        const bool is_ours = space.empty() || space == kNetconfNamespace;
        if (is_ours && local == "select") {
            selects = true;
        } else if (!is_ours || local != "type") {
            return unknown_attribute(element, attribute);
        } else if (attribute.value != "subtree" && attribute.value != "xpath") {
            return attribute_error("bad-attribute", element, "type",
                                   "A filter is of type subtree or xpath.");
        } else {
            is_xpath = attribute.value == "xpath";
        }
    }
    if (is_xpath && !selects) {
        return attribute_error("missing-attribute", element, "select",
                               "A filter of type xpath needs select.");
    }
    return std::nullopt;
}

bool is_any(const lysc_node *schema)
{
    return (schema->nodetype & LYD_NODE_ANY) != 0;
}

/** Values of these may hold prefixes, of which only the library knows what they stand for. */
bool has_prefixes(const lysc_type *type)
{
    if (type->basetype == LY_TYPE_UNION) {
        const auto *types = reinterpret_cast<const lysc_type_union *>(type)->types;
        return std::any_of(types, types + LY_ARRAY_COUNT(types), has_prefixes);
    }
    return type->basetype == LY_TYPE_IDENT || type->basetype == LY_TYPE_INST;
}

std::optional<RpcError> check_value(const ly_ctx *context, const lysc_node *schema,
                                    const std::string &value)
{
    if (has_prefixes(reinterpret_cast<const lysc_node_leaf *>(schema)->type) ||
        lyd_value_validate(context, schema, value.c_str(), value.size(), nullptr, nullptr,
                           nullptr) == LY_SUCCESS) {
        return std::nullopt;
    }
    const char *why = ly_errmsg(context);
    RpcError error = element_error("invalid-value", schema->name, why != nullptr ? why : "");
    ly_err_clean(const_cast<ly_ctx *>(context), nullptr);
    return error;
}

bool is_blank(const std::string &text)
{
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

} // namespace

RpcError protocol_error(const std::string &tag, const std::string &message)
{
    RpcError error{tag, message};
    error.type = "protocol";
    return error;
}

RpcError unknown_namespace(const XmlName &element, const std::string &message)
{
    RpcError error = protocol_error("unknown-namespace", message);
    error.info = {{"bad-element", element.local}, {"bad-namespace", element.space}};
    return error;
}

Parameters::Parameters(const ly_ctx *context)
    : m_context(context),
      m_card_namespace(
          ly_ctx_get_module_implemented(context, std::string(model::kMainModule).c_str())->ns)
{
}

std::optional<RpcError> Parameters::begin(const lysc_node *operation, const Attributes &attributes)
{
    m_open.clear();
    m_depth_in_any = 0;
    return enter_parameter(operation, attributes);
}

std::optional<RpcError> Parameters::enter(const XmlName &name, const Attributes &attributes)
{
    if (m_open.empty()) {
        return std::nullopt;
    }
    if (is_any(m_open.back().schema)) {
        ++m_depth_in_any;
        return enter_content(name, attributes);
    }
    Element &parent = m_open.back();
    const auto *module = ly_ctx_get_module_implemented_ns(m_context, name.space.c_str());
    if (module == nullptr) {
        return unknown_namespace(name, "There is no module of the namespace " + name.space + ".");
    }
    const auto *child = lys_find_child(parent.schema, module, name.local.c_str(), 0, 0, 0);
    if (child == nullptr) {
        return element_error("unknown-element", name.local,
                             "<" + std::string(parent.schema->name) + "> cannot hold <" +
                                 name.local + "> of the namespace " + name.space + ".");
    }
    if (auto error = add_child(parent, child)) {
        return error;
    }
    return enter_parameter(child, attributes);
}

std::optional<RpcError> Parameters::enter_content(const XmlName &name,
                                                  const Attributes &attributes) const
{
    if (std::strcmp(m_open.back().schema->name, "config") != 0) {
        return std::nullopt; // A filter may speak of anything.
    }
    std::optional<RpcError> error;
    if (name.space != m_card_namespace && name.space != kNetconfNamespace) {
        error = unknown_namespace(name, "The card's configuration has nothing of the namespace " +
                                            name.space + ".");
    }
    for (const auto &attribute : attributes) {
        if (!error && attribute.name.space != kXmlNamespace) {
            error = check_edit_attribute(name, attribute);
        }
    }
    if (error) {
        error->type = "application";
    }
    return error;
}

std::optional<RpcError> Parameters::enter_parameter(const lysc_node *schema,
                                                    const Attributes &attributes)
{
    m_open.push_back({schema});
    const XmlName name{schema->module->ns, schema->name};
    if (name.local == "filter" && is_any(schema)) {
        return check_filter(name, attributes);
    }
    for (const auto &attribute : attributes) {
        if (attribute.name.space != kXmlNamespace) {
            return unknown_attribute(name, attribute);
        }
    }
    return std::nullopt;
}

std::optional<RpcError> Parameters::add_child(Element &parent, const lysc_node *child) const
{
    const std::string name = std::string("<") + child->name + ">";
    if (!parent.seen.insert(child).second && child->nodetype != LYS_LEAFLIST &&
        child->nodetype != LYS_LIST) {
        return element_error("bad-element", child->name, "Duplicate " + name + ".");
    }
    if (child->parent == nullptr || child->parent->nodetype != LYS_CASE) {
        return std::nullopt;
    }
    const auto *choice = reinterpret_cast<const lysc_node_choice *>(child->parent->parent);
    for (const auto *one = choice->cases; one != nullptr;
         one = reinterpret_cast<const lysc_node_case *>(one->next)) {
        if (&one->node != child->parent && parent.seen.count(&one->node) != 0) {
            return element_error("bad-element", child->name,
                                 name + " excludes what stands beside it.");
        }
    }
    parent.seen.insert(child->parent);
    return std::nullopt;
}

std::optional<RpcError> Parameters::leave()
{
    if (m_depth_in_any > 0) {
        --m_depth_in_any;
        return std::nullopt;
    }
    if (m_open.empty()) {
        return std::nullopt;
    }
    const Element element = std::move(m_open.back());
    m_open.pop_back();
    if ((element.schema->nodetype & LYD_NODE_TERM) != 0) {
        return check_value(m_context, element.schema, element.text);
    }
    if (!is_any(element.schema) && !is_blank(element.text)) {
        return element_error("bad-element", element.schema->name,
                             std::string("<") + element.schema->name + "> cannot hold text.");
    }
    return std::nullopt;
}

void Parameters::add_text(std::string_view text)
{
    if (!m_open.empty() && !is_any(m_open.back().schema)) {
        m_open.back().text += text;
    }
}

} // namespace host::twin
