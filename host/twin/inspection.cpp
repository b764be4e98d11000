#include "twin/inspection.h"

#include "twin/parameters.h"
#include "twin/server_context.h"

#include <cstring>
#include <expat.h>
#include <memory>
#include <pugixml.hpp>
#include <sstream>

namespace host::twin
{
namespace
{

constexpr const char *kRejectNamespace = "urn:olt:gpon:twin:reject";
constexpr char kSeparator = '\n'; /**< Between namespace and name; neither can hold it. */
constexpr int kMaxDepth = 100;
/** One that stands for a message of which not even the message-id can be told. */
constexpr const char *kMalformed = "malformed";

XmlName split(const char *text)
{
    const char *end = std::strchr(text, kSeparator);
    return end != nullptr ? XmlName{{text, end}, end + 1} : XmlName{"", text};
}

Parameters::Attributes attributes_of(const char **attributes)
{
    Parameters::Attributes all;
    for (const char **one = attributes; *one != nullptr; one += 2) {
        all.push_back({split(one[0]), one[1]});
    }
    return all;
}

RpcError rpc_error(const std::string &tag, const std::string &message)
{
    RpcError error{tag, message};
    error.type = "rpc";
    return error;
}

class Inspector
{
public:
    explicit Inspector(const ly_ctx *context)
        : m_context(context), m_parser(XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree),
          m_parameters(context)
    {
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), begin, end);
        XML_SetCharacterDataHandler(m_parser.get(), text);
        XML_SetStartDoctypeDeclHandler(m_parser.get(), doctype);
    }

    std::optional<Rejection> inspect(const std::string &message)
    {
        const bool is_xml = XML_Parse(m_parser.get(), message.data(),
                                      static_cast<int>(message.size()), 1) == XML_STATUS_OK;
        if (!m_error && !is_xml) {
            refuse(rpc_error("malformed-message",
                             std::string("The message is no XML: ") +
                                 XML_ErrorString(XML_GetErrorCode(m_parser.get())) + ", line " +
                                 std::to_string(XML_GetCurrentLineNumber(m_parser.get())) + "."));
        }
        if (!m_error && m_operations != 1) {
            refuse(rpc_error("malformed-message", "An <rpc> holds one operation."));
        }
        if (!m_error) {
            return std::nullopt;
        }
        return Rejection{m_is_rpc, m_id, *m_error};
    }

private:
    static void begin(void *self, const char *name, const char **attributes)
    {
        static_cast<Inspector *>(self)->enter(split(name), attributes_of(attributes));
    }
    static void end(void *self, const char *) { static_cast<Inspector *>(self)->leave(); }
    static void text(void *self, const char *text, int size)
    {
        static_cast<Inspector *>(self)->m_parameters.add_text(
            {text, static_cast<std::size_t>(size)});
    }
    static void doctype(void *self, const char *, const char *, const char *, int)
    {
        static_cast<Inspector *>(self)->refuse(
            rpc_error("malformed-message", "A message has no document type."));
    }
    void enter(const XmlName &name, const Parameters::Attributes &attributes);
    void enter_rpc(const XmlName &name, const Parameters::Attributes &attributes);
    void enter_operation(const XmlName &name, const Parameters::Attributes &attributes);
    void leave();
    void refuse(std::optional<RpcError> error)
    {
        if (error && !m_error) {
            m_error = std::move(error);
            XML_StopParser(m_parser.get(), XML_FALSE);
        }
    }

    const ly_ctx *m_context;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    Parameters m_parameters;
    int m_depth = 0;
    int m_operations = 0;
    bool m_is_rpc = false;
    std::optional<std::string> m_id;
    std::optional<RpcError> m_error;
};

void Inspector::enter(const XmlName &name, const Parameters::Attributes &attributes)
{
    const int depth = m_depth++;
    if (depth == 0) {
        enter_rpc(name, attributes);
    } else if (name.space.empty()) {
        refuse(unknown_namespace(
            name, "<" + name.local +
                      "> has no XML namespace. <config> and all around it are of "
                      "urn:ietf:params:xml:ns:netconf:base:1.0, the configuration in it of "
                      "urn:olt:gpon:base; many client libraries need an xmlns on <config>."));
    } else if (depth == 1) {
        enter_operation(name, attributes);
    } else if (depth >= kMaxDepth) {
        refuse(rpc_error("too-big", "Elements are nested too deep."));
    } else {
        refuse(m_parameters.enter(name, attributes));
    }
}

void Inspector::leave()
{
    if (--m_depth > 0) {
        refuse(m_parameters.leave());
    }
}

void Inspector::enter_rpc(const XmlName &name, const Parameters::Attributes &attributes)
{
    m_is_rpc = name.local == "rpc" && name.space == kNetconfNamespace;
    for (const auto &attribute : attributes) {
        if (attribute.name.space.empty() && attribute.name.local == "message-id") {
            m_id = attribute.value;
        }
    }
    if (!m_is_rpc) {
        refuse(rpc_error("malformed-message", "A message is an <rpc> of "
                                              "urn:ietf:params:xml:ns:netconf:base:1.0."));
    } else if (!m_id) {
        RpcError error = rpc_error("missing-attribute", "The <rpc> has no message-id.");
        error.info = {{"bad-attribute", "message-id"}, {"bad-element", "rpc"}};
        refuse(std::move(error));
    }
}

void Inspector::enter_operation(const XmlName &name, const Parameters::Attributes &attributes)
{
    ++m_operations;
    if (name.space == kRejectNamespace || name.space == "urn:ietf:params:xml:ns:yang:1") {
        refuse(protocol_error("operation-not-supported", name.local + " is not supported."));
        return;
    }
    const auto *module = ly_ctx_get_module_implemented_ns(m_context, name.space.c_str());
    const auto *operation = module != nullptr
                                ? lys_find_child(nullptr, module, name.local.c_str(), 0, LYS_RPC, 0)
                                : nullptr;
    if (operation != nullptr) {
        refuse(m_parameters.begin(operation, attributes));
    } else if (module == nullptr) {
        refuse(unknown_namespace(name, "There is no module of the namespace " + name.space + "."));
    } else {
        RpcError error =
            protocol_error("operation-not-supported", "There is no operation " + name.local + ".");
        error.info = {{"bad-element", name.local}};
        refuse(std::move(error));
    }
}

} // namespace

bool wants_chunks(const std::string &hello)
{
    return hello.find("urn:ietf:params:netconf:base:1.1") != std::string::npos;
}

std::optional<Rejection> inspect(const ly_ctx *context, const std::string &message)
{
    return Inspector(context).inspect(message);
}

std::string message_of(const Rejection &rejection)
{
    if (!rejection.is_rpc) {
        return kMalformed;
    }
    pugi::xml_document document;
    auto rpc = document.append_child("rpc");
    rpc.append_attribute("xmlns") = kNetconfNamespace;
    if (rejection.message_id) {
        rpc.append_attribute("message-id") = rejection.message_id->c_str();
    }
    auto reject = rpc.append_child("reject");
    reject.append_attribute("xmlns") = kRejectNamespace;
    reject.append_child("type").text() = rejection.error.type.c_str();
    reject.append_child("tag").text() = rejection.error.tag.c_str();
    reject.append_child("message").text() = rejection.error.message.c_str();
    for (const auto &[name, value] : rejection.error.info) {
        reject.append_child(name.c_str()).text() = value.c_str();
    }
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

RpcError error_of_reject(const lyd_node *rpc)
{
    RpcError error;
    for (const auto *node = lyd_child(rpc); node != nullptr; node = node->next) {
        const std::string name = LYD_NAME(node);
        const std::string value = lyd_get_value(node);
        if (name == "type") {
            error.type = value;
        } else if (name == "tag") {
            error.tag = value;
        } else if (name == "message") {
            error.message = value;
        } else {
            error.info.emplace_back(name, value);
        }
    }
    return error;
}

} // namespace host::twin
