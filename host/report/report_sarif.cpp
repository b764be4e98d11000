#include "report/report_sarif.h"

#include "report/printable.h"
#include "report/report_json.h"
#include "rules/rules.h"

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr const char *kSchema =
    "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/sarif-schema-2.1.0.json";
/** What file names are relative to, by the name that code hosts know. */
constexpr const char *kFolder = "%SRCROOT%";

const char *level_of(Severity severity)
{
    switch (severity) {
    case Severity::kNote:
        return "note";
    case Severity::kWarning:
        return "warning";
    case Severity::kError:
        break;
    }
    return "error";
}

Json message(const std::string &text)
{
    return {{"text", text}};
}

std::string docs_url(const std::string &page)
{
    return std::string(GPON_DOCS_URL) + "/" + page;
}

Json help_of(const Rule &rule)
{
    std::string text = rule.guards + ' ' + rule.why;
    std::string markdown = rule.guards + "\n\n" + rule.why;
    for (const auto &said : rule.texts) {
        text += "\n\n" + said.text + '\n' + said.resolve;
        markdown += "\n\n```text\n" + said.text + "\n```\n\n" + said.resolve;
    }
    return {{"text", text}, {"markdown", markdown}};
}

Json descriptor_of(const Rule &rule)
{
    return {{"id", rule.key},
            {"shortDescription", message(rule.guards)},
            {"fullDescription", message(rule.why)},
            {"help", help_of(rule)},
            {"helpUri", docs_url("rules/" + rule.key + ".md")},
            {"defaultConfiguration", {{"level", rule.warns ? "warning" : "error"}}}};
}

/** Of what no known rule says. */
Json descriptor_of(const Finding &finding)
{
    const Json about = message(finding.about.empty() ? "A rule of the card." : finding.about);
    return {{"id", finding.id},
            {"shortDescription", about},
            {"fullDescription", about},
            {"help", about},
            {"helpUri", docs_url("README.md")},
            {"defaultConfiguration", {{"level", level_of(finding.severity)}}}};
}

/** What people read: the way out is part of it, because a rule has several. The place stands beside
 * it. */
Json message_of(const Finding &finding)
{
    std::string text = finding.text;
    for (const auto &more : {cause_of(finding), finding.help}) {
        text += (more.empty() ? "" : "\n") + more;
    }
    return message(printable_lines(text));
}

Json json_of(const ChangedNode &cause)
{
    Json json{{"path", cause.path}, {"operation", cause.operation}};
    if (cause.before) {
        json["old"] = *cause.before;
    }
    if (cause.after) {
        json["new"] = *cause.after;
    }
    return json;
}

std::string folder_uri(const std::string &folder)
{
    return "file://" + uri_path(folder) + (folder.ends_with('/') ? "" : "/");
}

} // namespace

SarifReport::SarifReport(const ReportSettings &settings)
    : m_settings(settings), m_rules(Json::array())
{
    for (const auto &rule : rules()) {
        m_rule_indexes[rule.key] = m_rules.size();
        m_rules.push_back(descriptor_of(rule));
    }
}

std::string SarifReport::conclusion(const Outcome &outcome, Place /*place*/)
{
    for (const auto &finding : findings_of(outcome)) {
        m_results.push_back(result_of(finding, outcome));
    }
    return {};
}

std::string SarifReport::end(const RunSummary &summary)
{
    const bool has_verdict =
        summary.worst != Result::kNotChecked && summary.worst != Result::kPluginDied;
    const std::string folder = folder_uri(m_settings.working_folder);
    const Json driver{{"name", "gpon-validate"},
                      {"version", GPON_VERSION},
                      {"semanticVersion", GPON_VERSION},
                      {"informationUri", docs_url("README.md")},
                      {"rules", m_rules}};
    const Json invocation{{"executionSuccessful", has_verdict},
                          {"exitCode", static_cast<int>(summary.worst)},
                          {"workingDirectory", {{"uri", folder}}}};
    const Json run{{"tool", {{"driver", driver}}},
                   {"invocations", Json::array({invocation})},
                   {"originalUriBaseIds", {{kFolder, {{"uri", folder}}}}},
                   {"columnKind", "unicodeCodePoints"},
                   {"results", m_results}};
    return print_json({{"$schema", kSchema}, {"version", "2.1.0"}, {"runs", Json::array({run})}},
                      m_settings.for_terminal);
}

Json SarifReport::result_of(const Finding &finding, const Outcome &outcome)
{
    FileLocation place = place_of(finding, outcome);
    place.file = path_from(m_settings.working_folder, place.file);
    const std::string fingerprint = m_fingerprints.next(finding, place.file);
    Json result{{"ruleId", finding.id},
                {"ruleIndex", rule_index(finding)},
                {"level", level_of(finding.severity)},
                {"message", message_of(finding)},
                {"locations", locations_of(finding, place)},
                // A name of our own, and the one that code hosts look at.
                {"partialFingerprints",
                 {{"gponFinding/v1", fingerprint}, {"primaryLocationLineHash", fingerprint}}}};
    if (finding.evidence.is_new) {
        result["baselineState"] = *finding.evidence.is_new ? "new" : "unchanged";
    }
    Json properties = Json::object();
    if (!finding.help.empty()) {
        properties["resolution"] = finding.help;
    }
    if (finding.evidence.cause) {
        properties["cause"] = json_of(*finding.evidence.cause);
    }
    if (!properties.empty()) {
        result["properties"] = properties;
    }
    return result;
}

Json SarifReport::locations_of(const Finding &finding, const FileLocation &place) const
{
    Json location = Json::object();
    if (!place.file.empty()) {
        Json region{{"startLine", place.line}};
        if (place.column != 0) {
            region["startColumn"] = place.column;
        }
        location["physicalLocation"] = {{"artifactLocation", artifact(place.file)},
                                        {"region", region}};
    }
    if (!finding.path.empty()) {
        location["logicalLocations"] =
            Json::array({{{"fullyQualifiedName", finding.path}, {"kind", "element"}}});
    }
    return location.empty() ? Json::array() : Json::array({location});
}

/** A file outside of the folder has no name relative to it. */
Json SarifReport::artifact(const std::string &file) const
{
    if (leads_out(file)) {
        return {{"uri", "file://" + uri_path(path_in(m_settings.working_folder, file))}};
    }
    return {{"uri", uri_path(file)}, {"uriBaseId", kFolder}};
}

std::size_t SarifReport::rule_index(const Finding &finding)
{
    const auto [known, is_new] = m_rule_indexes.emplace(finding.id, m_rules.size());
    if (is_new) {
        m_rules.push_back(descriptor_of(finding));
    }
    return known->second;
}

} // namespace host
