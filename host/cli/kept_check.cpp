#include "cli/kept_check.h"

#include "card_model.h"
#include "checker/plugin.h"
#include "cli/check_command.h"
#include "fleet/input_hash.h"

#include <libyang/version.h>
#include <zlog_host.h>

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

} // namespace host
