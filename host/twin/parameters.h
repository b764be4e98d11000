/**
 * @file
 * Parameters of an operation, checked against its schema while a message is read.
 */
#pragma once

#include "twin/reply.h"

#include <libyang/libyang.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace host::twin
{

/** A name of an element or attribute with its namespace; empty when it has none. */
struct XmlName {
    std::string space;
    std::string local;
};

struct XmlAttribute {
    XmlName name;
    std::string value;
};

/** An error of the operations layer. */
RpcError protocol_error(const std::string &tag, const std::string &message);
RpcError unknown_namespace(const XmlName &element, const std::string &message);

/**
 * Follows the elements of an operation. libnetconf2 tells all faults as operation-failed and some
 * not at all; here they get the error-tags of RFC 6241, appendix A, and RFC 7950, section 8.3.1.
 * Of what stands in `config` only namespaces and attributes are looked at, since the library drops
 * attributes that it does not know; the rest is for whoever carries out the edit.
 */
class Parameters
{
public:
    using Attributes = std::vector<XmlAttribute>;

    explicit Parameters(const ly_ctx *context);

    /** @param operation  Of the element that begins. */
    std::optional<RpcError> begin(const lysc_node *operation, const Attributes &attributes);
    /** An element below the operation's. */
    std::optional<RpcError> enter(const XmlName &name, const Attributes &attributes);
    /** The end of an element, the operation's own included. */
    std::optional<RpcError> leave();
    void add_text(std::string_view text);

private:
    struct Element {
        const lysc_node *schema;
        std::set<const lysc_node *> seen{}; /**< Children, and the cases that they are of. */
        std::string text{};
    };

    std::optional<RpcError> enter_content(const XmlName &name, const Attributes &attributes) const;
    std::optional<RpcError> enter_parameter(const lysc_node *schema, const Attributes &attributes);
    std::optional<RpcError> add_child(Element &parent, const lysc_node *child) const;

    const ly_ctx *m_context;
    std::string m_card_namespace;
    std::vector<Element> m_open;
    int m_depth_in_any = 0; /**< Elements that are open below the innermost parameter. */
};

} // namespace host::twin
