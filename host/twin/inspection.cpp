#include "twin/inspection.h"

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

struct Name {
    std::string space;
    std::string local;
};

Name split(const char *text)
{
    const char *end = std::strchr(text, kSeparator);
    return end != nullptr ? Name{{text, end}, end + 1} : Name{"", text};
}

class Inspector
{
public:
    explicit Inspector(const ly_ctx *context)
        : m_context(context), m_parser(XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree)
    {
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), begin, end);
        XML_SetStartDoctypeDeclHandler(m_parser.get(), doctype);
    }

    std::optional<Rejection> inspect(const std::string &message)
    {
        const bool is_xml = XML_Parse(m_parser.get(), message.data(),
                                      static_cast<int>(message.size()), 1) == XML_STATUS_OK;
        if (!m_error && !is_xml) {
            refuse({"malformed-message",
                    std::string("The message is no XML: ") +
                        XML_ErrorString(XML_GetErrorCode(m_parser.get())) + ", line " +
                        std::to_string(XML_GetCurrentLineNumber(m_parser.get())) + "."});
        }
        if (!m_error && m_operations != 1) {
            refuse({"malformed-message", "An <rpc> holds one operation."});
        }
        if (!m_error) {
            return std::nullopt;
        }
        m_error->type = "rpc";
        return Rejection{m_id, *m_error};
    }

private:
    static void begin(void *self, const char *name, const char **attributes)
    {
        static_cast<Inspector *>(self)->enter(split(name), attributes);
    }
    static void end(void *self, const char *) { --static_cast<Inspector *>(self)->m_depth; }
    static void doctype(void *self, const char *, const char *, const char *, int)
    {
        static_cast<Inspector *>(self)->refuse(
            {"malformed-message", "A message has no document type."});
    }
    void enter(const Name &name, const char **attributes);
    void enter_rpc(const Name &name, const char **attributes);
    void enter_operation(const Name &name);
    void refuse(RpcError error)
    {
        if (!m_error) {
            m_error = std::move(error);
            XML_StopParser(m_parser.get(), XML_FALSE);
        }
    }

    const ly_ctx *m_context;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> m_parser;
    int m_depth = 0;
    int m_operations = 0;
    std::optional<std::string> m_id;
    std::optional<RpcError> m_error;
};

void Inspector::enter(const Name &name, const char **attributes)
{
    const int depth = m_depth++;
    if (depth == 0) {
        enter_rpc(name, attributes);
    } else if (name.space.empty()) {
        RpcError error{"unknown-namespace",
                       "<" + name.local +
                           "> has no XML namespace. <config> and all around it are of "
                           "urn:ietf:params:xml:ns:netconf:base:1.0, the configuration in it of "
                           "urn:olt:gpon:base; many client libraries need an xmlns on <config>."};
        error.info = {{"bad-element", name.local}, {"bad-namespace", ""}};
        refuse(std::move(error));
    } else if (depth == 1) {
        enter_operation(name);
    } else if (depth >= kMaxDepth) {
        refuse({"too-big", "Elements are nested too deep."});
    }
}

void Inspector::enter_rpc(const Name &name, const char **attributes)
{
    for (const char **one = attributes; *one != nullptr; one += 2) {
        if (std::strcmp(*one, "message-id") == 0) {
            m_id = one[1];
        }
    }
    if (name.local != "rpc" || name.space != kNetconfNamespace) {
        m_id.reset();
        refuse({"malformed-message", "A message is an <rpc> of "
                                     "urn:ietf:params:xml:ns:netconf:base:1.0."});
    } else if (!m_id) {
        m_id = ""; // The answer needs some, and this is none of the client's.
        RpcError error{"missing-attribute", "The <rpc> has no message-id."};
        error.info = {{"bad-attribute", "message-id"}, {"bad-element", "rpc"}};
        refuse(std::move(error));
    }
}

void Inspector::enter_operation(const Name &name)
{
    ++m_operations;
    if (name.space == kRejectNamespace || name.space == "urn:ietf:params:xml:ns:yang:1") {
        refuse({"operation-not-supported", name.local + " is not supported."});
        return;
    }
    const auto *module = ly_ctx_get_module_implemented_ns(m_context, name.space.c_str());
    if (module == nullptr) {
        RpcError error{"unknown-namespace",
                       "There is no module of the namespace " + name.space + "."};
        error.info = {{"bad-element", name.local}, {"bad-namespace", name.space}};
        refuse(std::move(error));
    } else if (lys_find_child(nullptr, module, name.local.c_str(), 0, LYS_RPC, 0) == nullptr) {
        RpcError error{"operation-not-supported", "There is no operation " + name.local + "."};
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
    if (!rejection.message_id) {
        return kMalformed;
    }
    pugi::xml_document document;
    auto rpc = document.append_child("rpc");
    rpc.append_attribute("xmlns") = kNetconfNamespace;
    rpc.append_attribute("message-id") = rejection.message_id->c_str();
    auto reject = rpc.append_child("reject");
    reject.append_attribute("xmlns") = kRejectNamespace;
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
    error.type = "rpc";
    for (const auto *node = lyd_child(rpc); node != nullptr; node = node->next) {
        const std::string name = LYD_NAME(node);
        const std::string value = lyd_get_value(node);
        if (name == "tag") {
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
