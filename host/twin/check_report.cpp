#include "twin/check_report.h"

#include "engine/data/path_reader.h"
#include "report/finding.h"
#include "rules/rules.h"

#include <algorithm>
#include <map>

namespace host::twin
{
namespace
{

using nlohmann::json;

/** XPath 1.0 has no escapes: a text with both quotes is put together. */
std::string literal(const std::string &text)
{
    if (text.find('\'') == std::string::npos) {
        return "'" + text + "'";
    }
    if (text.find('"') == std::string::npos) {
        return '"' + text + '"';
    }
    std::string parts = "concat('";
    for (const char c : text) {
        parts += c == '\'' ? std::string("',\"'\",'") : std::string(1, c);
    }
    return parts + "')";
}

std::string tag_of(const std::string &identifier)
{
    for (int i = 0; i <= static_cast<int>(engine::Fault::kInternal); ++i) {
        const auto names = engine::names_of(static_cast<engine::Fault>(i));
        if (identifier == names.identifier) {
            return names.error_tag;
        }
    }
    return "operation-failed";
}

/** RFC 7950, section 15, has names of its own for some. */
std::string app_tag_of(const std::string &identifier)
{
    static const std::map<std::string, std::string> kStandard{
        {"not-unique", "data-not-unique"},
        {"too-many", "too-many-elements"},
        {"constraint", "must-violation"},
        {"dangling-reference", "instance-required"}};
    const auto found = kStandard.find(identifier);
    return found != kStandard.end() ? found->second : identifier;
}

/** The last name of a path in brace notation. */
std::string last_name(const std::string &path)
{
    std::string name;
    bool is_key = false;
    bool is_quoted = false;
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (is_key) {
            if (path[i] == '\\') {
                ++i; // What is escaped ends nothing.
                continue;
            }
            is_quoted = is_quoted != (path[i] == '"');
            is_key = is_quoted || path[i] != '}';
        } else if (path[i] == '/') {
            name.clear();
        } else if (path[i] == '{') {
            is_key = true;
        } else {
            name += path[i];
        }
    }
    return name;
}

/** What RFC 6241, appendix A, demands of the error-info of some tags. */
void add_culprits(Remark &remark, const Finding &finding)
{
    if (remark.tag == "bad-attribute" || remark.tag == "unknown-attribute") {
        remark.bad_attribute = finding.culprit;
    }
    if (remark.tag == "missing-element") {
        remark.bad_element = finding.culprit;
    } else if (!remark.bad_attribute.empty() || remark.tag == "bad-element" ||
               remark.tag == "unknown-element") {
        remark.bad_element = last_name(finding.path);
    }
}

std::string page_of(const std::string &id)
{
    return find_rule(id) != nullptr ? std::string(GPON_DOCS_URL) + "/rules/" + id + ".md" : "";
}

std::string trimmed(std::string text)
{
    text.erase(text.find_last_not_of(" \n") + 1);
    return text;
}

Remark remark_of(const engine::Schema &schema, const Finding &finding)
{
    Remark remark;
    remark.is_warning = finding.kind == Finding::Kind::kWarning;
    remark.tag = finding.kind == Finding::Kind::kProblem ? tag_of(finding.id) : "operation-failed";
    remark.id = finding.kind == Finding::Kind::kProblem ? app_tag_of(finding.id) : finding.id;
    remark.path = xpath_of(schema, finding.path);
    remark.text = trimmed(finding.text);
    remark.help = finding.help;
    remark.cause = cause_of(finding);
    remark.page = page_of(finding.id);
    add_culprits(remark, finding);
    return remark;
}

} // namespace

std::string xpath_of(const engine::Schema &schema, const std::string &path)
{
    if (path.empty()) {
        return "";
    }
    std::string text;
    try {
        const std::string prefix = std::string(schema.module()->name) + ":";
        for (const auto &step : engine::read_path(schema, path)->steps) {
            text += "/" + prefix + step.node->name;
            const auto &names = step.node->key_nodes;
            for (std::size_t i = 0; i < step.keys.size(); ++i) {
                const std::string name = i < names.size() ? prefix + names[i]->name : ".";
                text += "[" + name + "=" + literal(step.keys[i]) + "]";
            }
        }
    } catch (const engine::Error &) {
        return ""; // A fault's path may lead to what the model does not have.
    }
    return text;
}

std::vector<Remark> remarks_of(const engine::Schema &schema,
                               const std::vector<engine::Problem> &problems)
{
    Outcome outcome;
    outcome.problems = problems;
    return report_of(schema, outcome).remarks;
}

CheckReport report_of(const engine::Schema &schema, const Outcome &outcome)
{
    CheckReport report;
    report.result = outcome.result();
    report.differs = outcome.differs;
    for (const Finding &finding : findings_of(outcome)) {
        if (finding.severity == Severity::kError || finding.kind == Finding::Kind::kWarning) {
            report.remarks.push_back(remark_of(schema, finding));
        }
    }
    if (outcome.confirmation.answer.value_or(false)) {
        for (const auto &run : outcome.runs) {
            const bool is_known = std::find(report.confirmed.begin(), report.confirmed.end(),
                                            run.rule) != report.confirmed.end();
            if (run.answer.verdict == engine::Verdict::kWarning && !is_known) {
                report.confirmed.push_back(run.rule);
            }
        }
    }
    return report;
}

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Remark, is_warning, tag, id, path, text, help, cause, page,
                                   bad_attribute, bad_element)

void to_json(json &json, const CheckReport &report)
{
    json["result"] = static_cast<int>(report.result);
    json["differs"] = report.differs;
    json["remarks"] = report.remarks;
    json["confirmed"] = report.confirmed;
}

void from_json(const json &json, CheckReport &report)
{
    report.result = static_cast<Result>(json.at("result").get<int>());
    json.at("differs").get_to(report.differs);
    json.at("remarks").get_to(report.remarks);
    json.at("confirmed").get_to(report.confirmed);
}

} // namespace host::twin
