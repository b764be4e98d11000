/**
 * A check from its texts to its reports, as `gpon-validate check` makes it: whatever stands in the
 * texts, the plug-in lives, holds nothing afterwards, and the reports can be printed.
 *
 * An input that begins with `<` or `{` is taken as texts: a change on the base card, or a running
 * configuration and a change with a line of `=====` between them. All other inputs are decisions
 * from which edits are made that fit the data model.
 */
#include "base_card.h"
#include "byte_reader.h"
#include "checker/asking.h"
#include "checker/evidence.h"
#include "checker/model_schema.h"
#include "checker/plugin.h"
#include "checker/recorder.h"
#include "edit_maker.h"
#include "engine/data/changes.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "finding.h"
#include "fm_host.h"
#include "report/report_explain.h"
#include "report/report_formats.h"
#include "report/report_json.h"
#include "report/report_text.h"
#include "report/words.h"
#include "zlog_host.h"

#include <sstream>

namespace
{

using engine::Datastore;
using fuzz::require;

Datastore checked(const std::string &text)
{
    const engine::Source source{"running.xml", text};
    Datastore tree = Datastore::parse(host::model_schema(), source);
    engine::check_yang(tree, source);
    return tree;
}

Datastore edited(const Datastore &running, const std::string &text)
{
    const engine::Source source{"edit.xml", text};
    Datastore candidate = engine::apply_edit(running, source);
    engine::check_yang(candidate, source);
    return candidate;
}

struct Configurations {
    Datastore running;
    Datastore candidate;
    std::string change; /**< Text that made the one of the other. */
};

Configurations from_texts(const std::string &text)
{
    const std::string separator = "\n=====\n";
    const auto end = text.find(separator);
    Datastore running =
        checked(end == std::string::npos ? test_support::kBaseCard : text.substr(0, end));
    const std::string change =
        end == std::string::npos ? text : text.substr(end + separator.size());
    Datastore candidate = edited(running, change);
    return {std::move(running), std::move(candidate), change};
}

/** A card whose capabilities are small enough to matter. */
void use_some_card(fuzz::ByteReader &bytes)
{
    fm::Card card = fm::default_card();
    card.do_bw_check = !bytes.one_in(4);
    card.max_onus_per_pon_link = static_cast<int>(bytes.below(3));
    card.manageable_pon_links = static_cast<std::uint32_t>(bytes.below(4));
    fm::use_card(card);
}

Configurations from_decisions(fuzz::ByteReader bytes)
{
    use_some_card(bytes);
    Datastore running = checked(test_support::kBaseCard);
    fuzz::EditMaker maker(*host::model_schema(), bytes);
    if (bytes.one_in(2)) {
        try {
            running = edited(running, maker.make());
        } catch (const engine::InputError &) {
            // The second edit may fit the base card all the same.
        }
    }
    const std::string change = maker.make();
    Datastore candidate = edited(running, change);
    return {std::move(running), std::move(candidate), change};
}

/** What is printed and read again is the same configuration. */
void require_same_when_read_again(const Datastore &tree, engine::Format format)
{
    const std::string text = tree.print(format);
    try {
        Datastore again = Datastore::parse(host::model_schema(), {"printed", text});
        engine::check_yang(again, "printed");
        require(engine::compare(tree, again).empty(),
                "printed and read again, it differs:\n" + text);
    } catch (const engine::InputError &failure) {
        fuzz::report(std::string("printed, it cannot be read: ") + failure.what() + "\n" + text);
    }
}

void print_reports(const host::Outcome &outcome)
{
    std::ostringstream out;
    const host::Style style(false);
    host::print_findings(out, outcome, style);
    host::print_conclusion(out, outcome, style);
    host::print_explanation(out, outcome, {true, true});
    require(!out.str().empty(), "an empty report");
    const std::string json = host::print_json(host::json_report(outcome, true), false);
    require(nlohmann::json::accept(json), "a report that is no JSON:\n" + json);
    using host::ReportFormat;
    for (const auto format : {ReportFormat::kSarif, ReportFormat::kGitlab, ReportFormat::kJunit}) {
        const auto report = host::make_report(format, {});
        const std::string text = report->conclusion(outcome, {}) + report->end({});
        require(format == ReportFormat::kJunit ? text.ends_with("</testsuites>\n")
                                               : nlohmann::json::accept(text),
                "a report of no form:\n" + text);
    }
}

void ask(Configurations configurations, host::Outcome &outcome)
{
    engine::Framework framework(std::move(configurations.running));
    auto &transaction = framework.begin(std::move(configurations.candidate));
    const auto requests = engine::plan(transaction);
    outcome.planned = requests.size();
    const host::Questions questions{transaction, requests, CARD_PLUGIN, true};
    host::CheckListener nobody;
    host::Recorder recorder(requests, questions.all, true, outcome, nobody);
    host::ask_plugin(questions, recorder);
    outcome.completed = recorder.has_ended();
    const engine::Source change{"edit.xml", configurations.change};
    host::add_evidence(outcome, framework.schema(), change);
    for (const host::RuleRun &run : outcome.runs) {
        require(!run.evidence || run.evidence->location.line > 0, "a remark without a place");
    }
    framework.end(transaction.handle());

    require(
        recorder.has_ended() && !outcome.death, "the plug-in died: " + [&] {
            return outcome.death ? host::sentence(*outcome.death) : std::string("it did not end");
        }());
    require(outcome.problems.empty(), "the plug-in cannot be used");
    require(outcome.runs.size() == requests.size(), "a request was not made");
    require(engine::Hooks::instance().held.none(), "something is held after the transaction");
    require(framework.open_sockets(engine::SocketKind::kCdb) == 0, "a session is left open");
}

void check(const std::uint8_t *data, std::size_t size)
{
    host::Outcome outcome;
    outcome.form = host::ChangeForm::kEdit;
    const bool is_text = size > 0 && (data[0] == '<' || data[0] == '{');
    try {
        auto configurations =
            is_text ? from_texts(std::string(reinterpret_cast<const char *>(data), size))
                    : from_decisions(fuzz::ByteReader(data, size));
        require_same_when_read_again(configurations.candidate,
                                     size % 2 == 0 ? engine::Format::kXml : engine::Format::kJson);
        ask(std::move(configurations), outcome);
    } catch (const engine::InputError &failure) {
        require(!failure.problems().empty(), "a fault without a problem");
        outcome.problems = failure.problems();
    }
    print_reports(outcome);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    // The library stays loaded: the fuzzer watches its code from the first input to the last.
    static host::Plugin plugin(CARD_PLUGIN);
    zlog_host::set_level(10);
    zlog_host::write_to([](const zlog_host::Line &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fm::use_card(fm::default_card());
    check(data, size);
    return 0;
}
