#include "shell/netconf_session.h"

#include "checker/model_schema.h"
#include "engine/data/defaults.h"
#include "report/printable.h"
#include "rules/rules.h"

#include <pugixml.hpp>
#include <sstream>

namespace host::shell
{
namespace
{

using engine::Datastore;

std::string in_netconf(const std::string &name, const std::string &content)
{
    return "<" + name + " xmlns=\"" + twin::kNetconfNamespace + "\">" + content + "</" + name + ">";
}

void drop_masked(pugi::xml_node node, const engine::SchemaNode &schema)
{
    for (auto child = node.first_child(); child;) {
        const auto next = child.next_sibling();
        const auto *known = schema.child(child.name());
        const bool is_encrypted = known != nullptr && known->type_storage.encrypted;
        if (is_encrypted && std::string(child.text().get()) == engine::kMaskedValue) {
            node.remove_child(child);
        } else if (known != nullptr) {
            drop_masked(child, *known);
        }
        child = next;
    }
}

/** Who may not see secrets reads *** in their place, which is no value of those that are stored
 *  encrypted: there they are left out. */
std::string without_masked(const std::string &xml)
{
    pugi::xml_document document;
    if (xml.find(engine::kMaskedValue) == std::string::npos || !document.load_string(xml.c_str())) {
        return xml;
    }
    const auto top = document.document_element();
    const auto *schema = model_schema()->top(top.name());
    if (schema != nullptr) {
        drop_masked(top, *schema);
    }
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

std::string words_of(const std::vector<ServerError> &errors)
{
    std::string text;
    for (const auto &error : errors) {
        text +=
            (text.empty() ? "" : "; ") + (error.path.empty() ? "" : error.path + ": ") + error.text;
    }
    return text;
}

void print(std::ostream &out, const ServerError &error, const Style &style)
{
    const bool is_rule = find_rule(error.app_tag) != nullptr;
    if (!is_rule) {
        out << (error.path.empty() ? "" : printable(error.path) + ": ") << printable(error.text)
            << '\n';
        return;
    }
    out << (error.is_warning ? style.warning("warning:") : style.bad("rejected:")) << ' '
        << printable_lines(error.text) << "\n  " << printable(error.path) << " ("
        << printable(error.app_tag) << ")\n";
    if (!error.cause.empty()) {
        out << "  " << printable(error.cause) << '\n';
    }
    if (!error.help.empty()) {
        out << "  to resolve: " << printable(error.help) << '\n';
    }
}

} // namespace

NetconfSession::NetconfSession(ServerAddress address, const std::atomic<bool> &interrupt,
                               Style style)
    : m_client(std::move(address), interrupt), m_style(style)
{
    m_client.connect();
    load();
}

// Datastores lends its trees for as long as others cannot change them. Here nobody else is.
const Datastore &NetconfSession::running() const
{
    const Datastore *tree = nullptr;
    m_data->read_running([&tree](const Datastore &running) { tree = &running; });
    return *tree;
}

const Datastore &NetconfSession::candidate() const
{
    const Datastore *tree = nullptr;
    m_data->read_candidate([&tree](const Datastore &candidate) { tree = &candidate; });
    return *tree;
}

Datastore NetconfSession::read(const std::string &datastore)
{
    const auto reply =
        m_client.ask(in_netconf("get-config", "<source><" + datastore + "/></source>"));
    if (!reply.errors.empty()) {
        throw SessionError(name() + " refuses: " + words_of(reply.errors));
    }
    Datastore tree =
        reply.data.empty()
            ? Datastore(model_schema())
            : Datastore::parse(model_schema(),
                               {datastore + " of " + name(), without_masked(reply.data), {}});
    engine::add_defaults(tree);
    return tree;
}

/** The copies. The candidate is compared, so that it counts as modified only if it is. */
void NetconfSession::load()
{
    auto data = std::make_unique<twin::Datastores>(read("running"));
    const Datastore candidate = read("candidate");
    const auto difference = data->plan_replacement(candidate);
    if (!difference.edit.text.empty()) {
        data->edit_candidate({"candidate", difference.edit.text, {}});
    }
    m_data = std::move(data);
    m_is_lost = false;
}

void NetconfSession::connect_again()
{
    m_client.connect();
    load();
}

ServerReply NetconfSession::ask(const std::string &body)
{
    try {
        return m_client.ask(body);
    } catch (const ConnectionLost &failure) {
        m_is_lost = true;
        const std::string what = failure.what();
        try {
            connect_again();
        } catch (const SessionError &still) {
            throw SessionError(what + ": " + still.what());
        }
        throw SessionError(what +
                           ": connected again; `show | compare` tells what is not committed");
    }
}

void NetconfSession::require_done(const std::string &body)
{
    const auto reply = ask(body);
    if (!reply.errors.empty()) {
        load(); // What is held here must not be ahead of the server.
        throw SessionError(name() + " refuses: " + words_of(reply.errors));
    }
}

void NetconfSession::send_candidate(const std::string &edit)
{
    if (!edit.empty()) {
        require_done(in_netconf("edit-config",
                                "<target><candidate/></target><config>" + edit + "</config>"));
    }
}

/** Tried here first: its faults are told as for a file. */
void NetconfSession::edit(const engine::Source &edit)
{
    if (edit.name.empty()) { // Of a command: the server takes it as it is.
        m_data->edit_candidate(edit);
        send_candidate(edit.text);
        return;
    }
    const Datastore before = candidate().copy();
    m_data->edit_candidate(edit);
    twin::Touched anywhere;
    anywhere.add_everything();
    send_candidate(twin::edit_between(before, candidate(), anywhere).text);
}

void NetconfSession::replace(const engine::Source &configuration)
{
    const Datastore before = candidate().copy();
    m_data->replace_candidate(configuration);
    twin::Touched anywhere;
    anywhere.add_everything();
    send_candidate(twin::edit_between(before, candidate(), anywhere).text);
}

void NetconfSession::discard()
{
    require_done(in_netconf("discard-changes", ""));
    m_data->discard();
}

Verdict NetconfSession::verdict_of(const std::vector<ServerError> &errors) const
{
    Verdict verdict{Result::kAccepted, "", m_style.good("Accepted.") + "\n"};
    std::ostringstream findings;
    for (const auto &error : errors) {
        if (error.app_tag == "confirmation-required") {
            verdict = {Result::kNotConfirmed, "",
                       m_style.warning("Not confirmed: nobody answered. Answer beforehand with "
                                       "--yes or --no.") +
                           "\n"};
            continue;
        }
        print(findings, error, m_style);
        if (!error.is_warning && verdict.result == Result::kAccepted) {
            verdict = find_rule(error.app_tag) != nullptr
                          ? Verdict{Result::kRejected, "", m_style.bad("Rejected.") + "\n"}
                          : Verdict{Result::kNotChecked, "", m_style.bad("Not checked.") + "\n"};
        }
    }
    verdict.findings = findings.str();
    return verdict;
}

Verdict NetconfSession::commit(const CommitRequest &request)
{
    std::string content =
        request.checks_only ? "<source><candidate/></source>"
        : request.confirm_within
            ? "<confirmed/><confirm-timeout>" +
                  std::to_string(std::chrono::seconds(*request.confirm_within).count()) +
                  "</confirm-timeout>"
            : "";
    if (request.confirms_warnings) {
        content += std::string("<confirm-warnings xmlns=\"") + twin::kConfirmNamespace + "\"/>";
    }
    auto entry = CommitLog::commit_of(running(), candidate());
    const bool changes = is_modified();
    m_last = ask(in_netconf(request.checks_only ? "validate" : "commit", content)).errors;
    m_has_verdict = true;
    const Verdict verdict = verdict_of(m_last);
    if (verdict.result == Result::kAccepted && !request.checks_only) {
        load();
        if (changes) {
            m_commits.add(std::move(entry));
        }
    }
    return verdict;
}

std::string NetconfSession::explain() const
{
    if (!m_has_verdict) {
        return "";
    }
    std::ostringstream out;
    for (const auto &error : m_last) {
        if (find_rule(error.app_tag) != nullptr) {
            print(out, error, m_style);
            out << "  described in " << printable(error.page) << '\n';
        }
    }
    const auto text = out.str();
    return text.empty() ? "The server had nothing to object.\n" : text;
}

void NetconfSession::roll_back(std::size_t commits)
{
    const auto edits = m_commits.undo(commits);
    discard();
    for (const auto &one : edits) {
        edit(one);
    }
}

std::string NetconfSession::news()
{
    if (m_client.is_connected() && !m_is_lost) {
        return "";
    }
    connect_again();
    return name() + " was gone, and is connected again.";
}

std::string NetconfSession::unsaved() const
{
    return is_modified() ? "Changes were not committed; they stay in the server's candidate." : "";
}

} // namespace host::shell
