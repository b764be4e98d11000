#include "cli/checking.h"

#include "checker/asking.h"
#include "checker/event_line.h"
#include "checker/model_schema.h"
#include "checker/recorder.h"
#include "checker/supervisor.h"
#include "engine/edit/edit.h"
#include "fm_host.h"
#include "zlog_host.h"

#include <ostream>
#include <stdexcept>
#include <utility>

namespace host
{
namespace
{

using engine::Datastore;

/** Runs a part of the work and adds its time to the phase of that name. */
template <typename Work>
auto timed(Outcome &outcome, const char *name, const Work &work)
{
    struct Timer {
        Outcome &outcome;
        const char *name;
        std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
        ~Timer()
        {
            const auto time = std::chrono::steady_clock::now() - start;
            for (auto &phase : outcome.phases) {
                if (phase.name == name) {
                    phase.time += time;
                    return;
                }
            }
            outcome.phases.push_back({name, time});
        }
    };
    const Timer timer{outcome, name};
    return work();
}

Datastore load_running(const CheckOptions &options, Outcome &outcome)
{
    const auto schema = timed(outcome, "model", load_schema);
    engine::Source source{"empty configuration", ""};
    Datastore running = timed(outcome, "load", [&] {
        if (options.running.empty()) {
            return Datastore(schema);
        }
        source = engine::read_source(options.running);
        return Datastore::parse(schema, source);
    });
    timed(outcome, "YANG check", [&] { running.check(source); });
    return running;
}

Datastore make_candidate(const CheckOptions &options, const Datastore &running, Outcome &outcome)
{
    engine::Source source;
    Datastore candidate = timed(outcome, "edit", [&] {
        switch (outcome.form) {
        case ChangeForm::kEdit:
            source = engine::read_source(options.edit);
            return engine::apply_edit(running, source);
        case ChangeForm::kCandidate:
            source = engine::read_source(options.candidate);
            return Datastore::parse(running.schema_ptr(), source, &running);
        case ChangeForm::kNone:
            break;
        }
        return running.copy();
    });
    if (outcome.form != ChangeForm::kNone) {
        timed(outcome, "YANG check", [&] { candidate.check(source); });
    }
    return candidate;
}

void set_up_card(const CheckOptions &options)
{
    try {
        fm::use_card(options.card.empty() ? fm::default_card() : fm::read_card(options.card));
    } catch (const std::runtime_error &failure) {
        // The text begins with the file's name, which reports put in front by themselves.
        std::string text = failure.what();
        const std::string prefix = options.card + ": ";
        if (text.rfind(prefix, 0) == 0) {
            text.erase(0, prefix.size());
        }
        throw engine::InputError({{options.card, 0, "", text, ""}});
    }
}

void set_up_traces(const CheckOptions &options)
{
    zlog_host::set_level(options.trace_level.value_or(zlog_host::kOff));
    if (options.trace_level && !options.trace_file.empty()) {
        try {
            zlog_host::write_to_file(options.trace_file);
        } catch (const std::runtime_error &failure) {
            throw engine::InputError({{options.trace_file, 0, "", failure.what(), ""}});
        }
    } else {
        zlog_host::write_to_stderr();
    }
}

/** What the plug-in writes: traces at once, the rest when it is known where it belongs. */
class PluginOutput
{
public:
    PluginOutput(bool is_live, Progress &progress, std::ostream &err)
        : m_is_live(is_live), m_progress(progress), m_err(err)
    {
    }

    void take(std::string_view text)
    {
        keep(text);
        if (m_is_live) {
            m_progress.clear();
            m_err << text << std::flush;
        }
    }

    /** A failure's report shows it; otherwise it is passed on. */
    void finish(Outcome &outcome)
    {
        if (outcome.death || !outcome.problems.empty()) {
            outcome.plugin_output = m_text;
        } else if (!m_is_live) {
            m_progress.clear();
            m_err << m_text << std::flush;
        }
    }

private:
    /** A plug-in that writes without end must not fill the memory: the end is what counts. */
    void keep(std::string_view text)
    {
        constexpr std::size_t kMostKept = 1U << 20U;
        m_text += text;
        if (m_text.size() > 2 * kMostKept) {
            m_text.erase(0, m_text.size() - kMostKept);
        }
    }

    bool m_is_live;
    Progress &m_progress;
    std::ostream &m_err;
    std::string m_text;
};

void record_end(const ChildEnd &end, std::chrono::seconds timeout, Recorder &recorder)
{
    if (end.out_of_patience) {
        recorder.died(Death::Kind::kTimeout, static_cast<int>(timeout.count()));
    } else if (end.signal != 0) {
        recorder.died(Death::Kind::kSignal, end.signal);
    } else if (!recorder.has_ended()) {
        recorder.died(Death::Kind::kExit, end.exit_status);
    }
}

void ask_in_child(const CheckOptions &options, const Questions &questions, Recorder &recorder,
                  Progress &progress, PluginOutput &output)
{
    ChildWork child;
    child.work = [&](int line_fd) {
        EventWriter writer(line_fd);
        ask_plugin(questions, writer);
    };
    child.on_line = [&](std::string_view line) { replay_event(line, recorder); };
    child.on_output = [&](std::string_view text) { output.take(text); };
    child.on_tick = [&] { progress.tick(); };
    child.patience = options.timeout;
    record_end(run_in_child(child), options.timeout, recorder);
}

void check_all(const CheckOptions &options, Outcome &outcome, Progress &progress, std::ostream &err)
{
    set_up_card(options);
    set_up_traces(options);
    Datastore running = load_running(options, outcome);
    Datastore candidate = make_candidate(options, running, outcome);

    engine::Framework framework(std::move(running));
    engine::Transaction &transaction = framework.begin(std::move(candidate));
    const auto requests = timed(outcome, "compare", [&] {
        outcome.differs = !transaction.changes().empty();
        return engine::plan(transaction);
    });
    outcome.planned = requests.size();

    const Questions questions{transaction, requests, options.plugin, options.all};
    Recorder recorder(requests, outcome, progress);
    timed(outcome, "rules", [&] {
        if (options.in_process) {
            ask_plugin(questions, recorder);
            return;
        }
        PluginOutput output(options.trace_level && options.trace_file.empty(), progress, err);
        ask_in_child(options, questions, recorder, progress, output);
        output.finish(outcome);
    });
}

} // namespace

Outcome check(const CheckOptions &options, Progress &progress, std::ostream &err)
{
    Outcome outcome;
    outcome.running = options.running;
    if (!options.edit.empty()) {
        outcome.form = ChangeForm::kEdit;
        outcome.change = options.edit;
    } else if (!options.candidate.empty()) {
        outcome.form = ChangeForm::kCandidate;
        outcome.change = options.candidate;
    }
    try {
        check_all(options, outcome, progress, err);
    } catch (const engine::InputError &failure) {
        outcome.problems = failure.problems();
    } catch (const std::runtime_error &failure) {
        outcome.problems = {{"", 0, "", failure.what(), ""}};
    }
    progress.clear();
    return outcome;
}

} // namespace host
