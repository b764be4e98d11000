#include "cli/bundle_file.h"

#include "report/report_json.h"

#include <cstdio>
#include <utility>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr const char *kManifest = "bundle.json";
constexpr const char *kReport = "report.json";
constexpr const char *kText = "report.txt";
constexpr const char *kTrace = "trace.txt";
constexpr int kForm = 1; /**< Of what is in a bundle. */

engine::Fault fault_of(const std::string &identifier)
{
    for (int i = 0; i <= static_cast<int>(engine::Fault::kInternal); ++i) {
        const auto fault = static_cast<engine::Fault>(i);
        if (identifier == engine::names_of(fault).identifier) {
            return fault;
        }
    }
    return engine::Fault::kInternal;
}

std::vector<engine::Problem> read_problems(const nlohmann::json &json)
{
    std::vector<engine::Problem> problems;
    for (const auto &each : json) {
        problems.push_back({fault_of(each.at("fault")), each.at("source"), each.at("line"),
                            each.at("path"), each.at("message"), each.at("hint"),
                            each.at("column")});
    }
    return problems;
}

std::string name_of_input(std::size_t number)
{
    char name[32];
    std::snprintf(name, sizeof(name), "inputs/%05zu", number);
    return name;
}

Bundle parse(const PackedFiles &files)
{
    const auto manifest = nlohmann::json::parse(files.at(kManifest));
    if (manifest.at("form").get<int>() != kForm) {
        throw std::runtime_error("it is of another version of gpon-validate");
    }
    Bundle bundle;
    bundle.options = read_options(manifest.at("options"));
    bundle.options.store = std::make_shared<InputStore>();
    InputStore &store = *bundle.options.store;
    store.is_read = true;
    store.edits = manifest.at("list-of-edits").get<std::vector<std::string>>();
    for (const auto &input : manifest.at("inputs")) {
        const std::string path = input.at("path");
        if (input.contains("problems")) {
            store.failures[path] = read_problems(input.at("problems"));
        } else {
            store.texts[path] = files.at(input.at("file").get<std::string>());
        }
    }
    bundle.versions = Json::parse(manifest.at("versions").dump());
    bundle.report.exit_code = manifest.at("exit-code");
    bundle.report.json = files.at(kReport);
    bundle.report.text = files.at(kText);
    bundle.report.trace = files.at(kTrace);
    return bundle;
}

} // namespace

PackedFiles files_of(const Bundle &bundle)
{
    const InputStore &store = *bundle.options.store;
    PackedFiles files;
    Json inputs = Json::array();
    for (const auto &[path, text] : store.texts) {
        const std::string file = name_of_input(inputs.size() + 1);
        files[file] = text;
        inputs.push_back({{"path", path}, {"file", file}});
    }
    for (const auto &[path, problems] : store.failures) {
        inputs.push_back({{"path", path}, {"problems", json_problems(problems)}});
    }
    const Json manifest{{"form", kForm},
                        {"versions", bundle.versions},
                        {"options", json_options(bundle.options)},
                        {"list-of-edits", store.edits},
                        {"inputs", inputs},
                        {"exit-code", bundle.report.exit_code}};
    files[kManifest] = print_json(manifest, false);
    files[kReport] = bundle.report.json;
    files[kText] = bundle.report.text;
    files[kTrace] = bundle.report.trace;
    return files;
}

Bundle read_bundle(const std::string &name, const PackedFiles &files)
{
    try {
        return parse(files);
    } catch (const std::exception &failure) {
        throw engine::InputError({{engine::Fault::kMalformed, name, 0, "",
                                   std::string("no bundle: ") + failure.what(), ""}});
    }
}

} // namespace host
