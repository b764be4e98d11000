#include "cli/bundle_check.h"

#include "bundle/scrubber.h"
#include "card_model.h"
#include "checker/model_schema.h"
#include "checker/plugin.h"
#include "cli/bundle_file.h"
#include "cli/check_command.h"
#include "cli/check_inputs.h"
#include "engine/schema/yang.h"

#include "fleet/input_hash.h"
#include "report/report_text.h"
#include <libyang/version.h>

#include <zlog_host.h>

#include <ostream>
#include <set>
#include <sstream>
#include <utility>

namespace host
{
namespace
{

struct Output {
    int exit_code = 0;
    std::string out;
    std::string err;
};

/** Nobody is asked, and nothing is written but what comes back. */
Output run_unseen(CheckOptions options)
{
    std::ostringstream out;
    std::ostringstream err;
    const Output output{run_check(options, {out, err}), out.str(), err.str()};
    zlog_host::set_level(zlog_host::kOff);
    return output;
}

std::string hash_of_model()
{
    InputHash hash;
    for (const auto &text : model::yang_texts()) {
        hash.add(text.text);
    }
    return hash.text();
}

/** The inputs without their secrets, with the options that name them. */
CheckOptions scrubbed(const CheckOptions &options, Scrubber &scrubber)
{
    const InputStore &store = *options.store;
    for (const auto &[path, text] : store.texts) {
        scrubber.note(text);
    }
    CheckOptions clean = read_options(json_options(options));
    const auto rename = [&scrubber](std::string &name) { name = scrubber.scrubbed_name(name); };
    for (auto *name : {&clean.running, &clean.candidate, &clean.card, &clean.edits_from}) {
        rename(*name);
    }
    clean.plugin = options.plugin;
    clean.store = std::make_shared<InputStore>();
    clean.store->is_read = true;
    clean.store->edits = store.edits;
    for (auto *names : {&clean.edits, &clean.store->edits, &clean.rule}) {
        std::for_each(names->begin(), names->end(), rename);
    }
    for (const auto &[path, text] : store.texts) {
        clean.store->texts[scrubber.scrubbed_name(path)] = scrubber.scrubbed(text);
    }
    for (const auto &[path, problems] : store.failures) {
        auto &told = clean.store->failures[scrubber.scrubbed_name(path)] = problems;
        for (auto &problem : told) {
            rename(problem.source);
            rename(problem.message);
        }
    }
    return clean;
}

/** What rules said where: the same, whatever secrets are replaced by. */
std::multiset<std::string> remarks_of(const KeptReport &report)
{
    std::multiset<std::string> remarks;
    for (const auto &each : report.comparable()) {
        remarks.insert(each.value("result", ""));
        for (const char *kind : {"rejections", "warnings"}) {
            for (const auto &remark : each.value(kind, nlohmann::json::array())) {
                remarks.insert(remark.value("rule", "") + " " + remark.value("path", ""));
            }
        }
    }
    return remarks;
}

void write_bundle(CheckOptions options, const Console &console)
{
    // As it was, but silently: what the real check printed has its own form.
    options.store->is_read = true;
    Scrubber scrubber(*model_schema(), options.skip_foreign);
    const CheckOptions clean = scrubbed(options, scrubber);
    const Bundle bundle{clean, versions_of(options), check_kept(clean)};
    OutputFile file(options.bundle);
    if (const int error = file.write(pack(files_of(bundle))); error != 0) {
        file.fail(error);
    }
    file.commit();
    if (remarks_of(check_kept(options)) != remarks_of(bundle.report)) {
        console.err << options.bundle
                    << ": without its secrets the check has another report than with them\n";
    }
}

} // namespace

std::vector<nlohmann::json> KeptReport::comparable() const
{
    std::vector<nlohmann::json> reports;
    std::istringstream in(json);
    while (in >> std::ws && !in.eof()) {
        nlohmann::json report;
        in >> report;
        report.erase("plugin-output"); // With addresses of the process.
        reports.push_back(std::move(report));
    }
    return reports;
}

KeptReport check_kept(const CheckOptions &options)
{
    constexpr int kFinest = 10;
    CheckOptions unseen = options;
    unseen.reports.clear();
    unseen.trace_level.reset();
    unseen.trace_file.clear();
    unseen.bundle.clear();
    unseen.in_process = unseen.explain = unseen.calls = unseen.reads = false;
    unseen.color = ColorChoice::kNever;
    unseen.json = true;
    KeptReport report;
    const Output json = run_unseen(unseen);
    report.exit_code = json.exit_code;
    report.json = json.out;
    unseen.json = false;
    unseen.trace_level = kFinest;
    const Output text = run_unseen(unseen);
    report.text = text.out;
    report.trace = text.err;
    return report;
}

nlohmann::ordered_json versions_of(const CheckOptions &options)
{
    return {{"gpon-validate", GPON_VERSION},
            {"plug-in", FileHash(plugin_file(options.plugin)).text()},
            {"data model", hash_of_model()},
            {"libyang", LY_VERSION}};
}

int check_and_bundle(CheckOptions options, const Console &console)
{
    options.store = std::make_shared<InputStore>();
    Console lasting{console.out, console.err, console.out_is_terminal, console.err_is_terminal};
    lasting.ask = console.ask;
    const int code = run_check(options, lasting);
    try {
        auto inputs = named_inputs(options, options.edits);
        for (const auto &edit : options.store->edits) {
            inputs.push_back({"an edit", edit});
        }
        require_separate({{"--bundle", options.bundle}}, inputs);
        write_bundle(options, console);
    } catch (const std::exception &failure) {
        print_problems(console.err, problems_of(failure),
                       Style(wants_color(options.color, console.err_is_terminal)));
        return static_cast<int>(Result::kNotChecked);
    }
    return code;
}

} // namespace host
