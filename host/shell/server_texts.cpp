#include "shell/server_texts.h"

#include "checker/model_schema.h"
#include "engine/data/error.h"
#include "report/printable.h"
#include "rules/rules.h"

#include <pugixml.hpp>
#include <sstream>

namespace host::shell
{
namespace
{

/** Of the error in front of warnings. */
constexpr const char *kConfirmationTag = "confirmation-required";

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

std::vector<ServerCommit> commits_in(const std::string &reply)
{
    pugi::xml_document document;
    document.load_string(reply.c_str());
    std::vector<ServerCommit> commits;
    for (const auto &node : document.document_element().children("commit")) {
        ServerCommit commit;
        commit.entry.number = node.child("number").text().as_uint();
        commit.entry.time = node.child("time").text().get();
        commit.entry.by = node.child("user").text().as_string("the server");
        commit.entry.note = node.child("kind").text().get();
        commit.base = node.child("base").text().as_uint();
        commits.push_back(std::move(commit));
    }
    return commits;
}

ServerEvent read_event(const std::string &xml)
{
    pugi::xml_document document;
    document.load_string(xml.c_str());
    const auto node = document.document_element();
    const std::string name = node.name();
    ServerEvent event;
    event.is_change = name == "netconf-config-change" &&
                      std::string(node.child("datastore").text().as_string("running")) == "running";
    event.is_too_late = name == "netconf-confirmed-commit" &&
                        std::string(node.child("confirm-event").text().get()) == "timeout";
    event.session = node.child("changed-by").child("session-id").text().as_uint();
    event.user = node.child("changed-by").child("username").text().get();
    return event;
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

Verdict verdict_of(const std::vector<ServerError> &errors, const Style &style)
{
    Verdict verdict{Result::kAccepted, "", style.good("Accepted.") + "\n"};
    std::ostringstream findings;
    for (const auto &error : errors) {
        if (error.app_tag == kConfirmationTag) {
            verdict = {Result::kNotConfirmed, "",
                       style.warning("Not confirmed: nobody answered. Answer beforehand with "
                                     "--yes or --no.") +
                           "\n"};
            continue;
        }
        print(findings, error, style);
        if (!error.is_warning && verdict.result == Result::kAccepted) {
            verdict = find_rule(error.app_tag) != nullptr
                          ? Verdict{Result::kRejected, "", style.bad("Rejected.") + "\n"}
                          : Verdict{Result::kNotChecked, "", style.bad("Not checked.") + "\n"};
        }
    }
    verdict.findings = findings.str();
    return verdict;
}

std::string explanation_of(const std::vector<ServerError> &errors, const Style &style)
{
    std::ostringstream out;
    for (const auto &error : errors) {
        if (find_rule(error.app_tag) != nullptr) {
            print(out, error, style);
            out << "  described in " << printable(error.page) << '\n';
        }
    }
    const auto text = out.str();
    return text.empty() ? "The server had nothing to object.\n" : text;
}

nlohmann::ordered_json json_of(const std::vector<ServerError> &errors)
{
    using Json = nlohmann::ordered_json;
    const Result result = verdict_of(errors, Style(false)).result;
    Json report{{"result", name_of(result)},
                {"exit-code", static_cast<int>(result)},
                {"rejections", Json::array()},
                {"warnings", Json::array()},
                {"problems", Json::array()}};
    for (const auto &error : errors) {
        if (find_rule(error.app_tag) != nullptr) {
            report[error.is_warning ? "warnings" : "rejections"].push_back(
                {{"rule", error.app_tag},
                 {"path", error.path},
                 {"text", error.text},
                 {"resolution", error.help},
                 {"cause", error.cause}});
        } else if (error.app_tag != kConfirmationTag) {
            report["problems"].push_back(
                {{"fault", error.app_tag}, {"path", error.path}, {"message", error.text}});
        }
    }
    return report;
}

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

} // namespace host::shell
