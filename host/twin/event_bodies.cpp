#include "twin/event_bodies.h"

#include "engine/schema/yang.h"

#include <pugixml.hpp>

#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <memory>
#include <regex>
#include <sstream>

namespace host::twin
{
namespace
{

constexpr const char *kEventsNamespace = "urn:ietf:params:xml:ns:yang:ietf-netconf-notifications";
constexpr const char *kStreamNamespace = "urn:ietf:params:xml:ns:netmod:notification";

/** A document with one event. */
class Body
{
public:
    explicit Body(const char *name, const char *ns = kEventsNamespace)
        : m_event(m_document.append_child(name))
    {
        m_event.append_attribute("xmlns") = ns;
    }

    pugi::xml_node event() { return m_event; }

    std::string text() const
    {
        std::ostringstream stream;
        m_document.save(stream, "", pugi::format_raw | pugi::format_no_declaration);
        return stream.str();
    }

private:
    pugi::xml_document m_document;
    pugi::xml_node m_event;
};

pugi::xml_node add(pugi::xml_node parent, const char *name, const std::string &text)
{
    auto child = parent.append_child(name);
    child.text() = text.c_str();
    return child;
}

void add_session(pugi::xml_node parent, const Author &author)
{
    add(parent, "username", author.user);
    add(parent, "session-id", std::to_string(author.session));
    if (!author.host.empty()) {
        add(parent, "source-host", author.host);
    }
}

/** Declares the prefixes that are in a path. */
void declare(pugi::xml_node target, const std::map<std::string, std::string> &namespaces)
{
    const std::string path = target.text().get();
    for (const auto &[name, ns] : namespaces) {
        if (path.find("/" + name + ":") != std::string::npos) {
            target.append_attribute(("xmlns:" + name).c_str()) = ns.c_str();
        }
    }
}

struct Free {
    void operator()(char *text) const { std::free(text); }
};

} // namespace

std::optional<EventTime> event_time_of(const std::string &text)
{
    static const std::regex form(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d))");
    std::time_t seconds = 0;
    char *fraction = nullptr;
    if (!std::regex_match(text, form) ||
        ly_time_str2time(text.c_str(), &seconds, &fraction) != LY_SUCCESS) {
        return std::nullopt;
    }
    const std::unique_ptr<char, Free> digits(fraction);
    const double part =
        digits ? std::strtod((std::string("0.") + digits.get()).c_str(), nullptr) : 0;
    return std::chrono::system_clock::from_time_t(seconds) +
           std::chrono::duration_cast<std::chrono::system_clock::duration>(
               std::chrono::duration<double>(part));
}

std::string text_of(EventTime time)
{
    using std::chrono::milliseconds;
    const auto since = std::chrono::floor<milliseconds>(time.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
    const std::time_t clock = seconds.count();
    std::tm parts{};
    gmtime_r(&clock, &parts);
    std::ostringstream stream;
    stream << std::put_time(&parts, "%Y-%m-%dT%H:%M:%S") << '.' << std::setw(3) << std::setfill('0')
           << (since - seconds).count() << 'Z';
    return stream.str();
}

std::string config_change_body(const Author &author, const std::string &datastore,
                               const std::vector<ConfigEdit> &edits,
                               const std::map<std::string, std::string> &namespaces)
{
    Body body("netconf-config-change");
    auto author_node = body.event().append_child("changed-by");
    if (author.session == 0) {
        author_node.append_child("server");
    } else {
        add_session(author_node, author);
    }
    add(body.event(), "datastore", datastore);
    for (const auto &edit : edits) {
        auto node = body.event().append_child("edit");
        declare(add(node, "target", edit.target), namespaces);
        add(node, "operation", edit.operation);
    }
    return body.text();
}

std::string session_start_body(const Author &author)
{
    Body body("netconf-session-start");
    add_session(body.event(), author);
    return body.text();
}

std::string session_end_body(const Author &author, const std::string &reason,
                             std::optional<std::uint32_t> killed_by)
{
    Body body("netconf-session-end");
    add_session(body.event(), author);
    if (killed_by) {
        add(body.event(), "killed-by", std::to_string(*killed_by));
    }
    add(body.event(), "termination-reason", reason);
    return body.text();
}

std::string confirmed_commit_body(const Author &author, ConfirmEvent event,
                                  std::chrono::seconds timeout)
{
    Body body("netconf-confirmed-commit");
    if (event != ConfirmEvent::kTimeout) {
        add_session(body.event(), author);
    }
    add(body.event(), "confirm-event", name_of(event));
    if (event == ConfirmEvent::kStart || event == ConfirmEvent::kExtend) {
        add(body.event(), "timeout", std::to_string(timeout.count()));
    }
    return body.text();
}

std::string replay_complete_body()
{
    return Body("replayComplete", kStreamNamespace).text();
}

std::string notification_complete_body()
{
    return Body("notificationComplete", kStreamNamespace).text();
}

} // namespace host::twin
