#include "cli/diff_command.h"

#include "checker/model_schema.h"
#include "checker/outcome.h"
#include "cli/check_inputs.h"
#include "cli/option_kinds.h"
#include "engine/data/defaults.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "report/printable.h"
#include "report/report_diff.h"
#include "report/report_json.h"
#include "report/report_text.h"

#include <ostream>
#include <utility>

namespace host
{
namespace
{

using engine::Content;
using engine::Datastore;

constexpr const char *kExamples =
    "No rule is asked: `check --diff` tells both. Exit codes: 0, whether there is a difference or "
    "not; with\n--exit-code 1 if there is one; 3 for a bad file or option.\n"
    "\n"
    "Examples:\n"
    "  gpon-validate diff --running running.xml --edit change.xml\n"
    "  gpon-validate diff --running running.xml --edit first.xml --edit second.xml -o new.xml\n"
    "  gpon-validate diff --running running.json candidate.xml --json --exit-code";

/** What the command works on, and what comes of it. */
class Diff
{
public:
    explicit Diff(const CheckOptions &options)
        : m_options(options), m_running(model_schema()), m_candidate(model_schema())
    {
    }

    void make();
    std::string print(std::optional<engine::Format> format) const
    {
        const auto text = m_candidate.print(format.value_or(m_format));
        return text + (text.ends_with('\n') ? "" : "\n");
    }

    std::vector<Difference> differences;
    std::vector<SkippedPart> skipped;

private:
    engine::Source read(const std::string &path, Content content);
    Datastore read_configuration(const std::string &path, const Datastore *committed);
    void apply(const engine::Source &edit);

    const CheckOptions &m_options;
    Datastore m_running;
    Datastore m_candidate;
    engine::Format m_format = engine::Format::kXml;
};

engine::Source Diff::read(const std::string &path, Content content)
{
    auto source = read_input(path, m_options);
    for (auto &part : skipped_in(*model_schema(), source, content)) {
        skipped.push_back(std::move(part));
    }
    return source;
}

/** With all that YANG supplies. A model with conditions on nodes must be checked for that. */
void complete(Datastore &tree, const engine::Source &source)
{
    if (tree.schema().has_when()) {
        engine::check_yang(tree, source);
    } else {
        engine::add_defaults(tree);
    }
}

Datastore Diff::read_configuration(const std::string &path, const Datastore *committed)
{
    const auto source = read(path, Content::kConfiguration);
    auto tree = Datastore::parse(model_schema(), source, committed);
    complete(tree, source);
    m_format = committed == nullptr ? engine::format_of(source.text) : m_format;
    return tree;
}

void Diff::apply(const engine::Source &edit)
{
    engine::UndoLog log(m_candidate);
    engine::apply_edit(log, edit);
    log.keep();
    if (m_candidate.schema().has_when()) {
        engine::check_yang(m_candidate, edit);
    }
}

void Diff::make()
{
    if (!m_options.running.empty()) {
        m_running = read_configuration(m_options.running, nullptr);
    } else {
        complete(m_running, {});
    }
    if (!m_options.candidate.empty()) {
        m_candidate = read_configuration(m_options.candidate, &m_running);
    } else {
        m_candidate = m_running.copy();
        for (const auto &edit : m_options.edits) {
            apply(read(edit, Content::kEdit));
        }
    }
    differences = differences_of(engine::compare(m_running, m_candidate));
}

void write(const std::string &path, const std::string &text, const Console &console)
{
    if (path == "-") {
        console.out << (console.out_is_terminal ? printable_lines(text) : text);
        return;
    }
    OutputFile file(path);
    if (const int error = file.write(text); error != 0) {
        file.fail(error);
    }
    file.commit();
}

void report_as_json(const Diff &diff, const std::vector<engine::Problem> &problems,
                    const DiffOptions &options, const Console &console)
{
    nlohmann::ordered_json json{{"running", options.inputs.running}};
    if (options.inputs.candidate.empty()) {
        json["edits"] = options.inputs.edits;
    } else {
        json["candidate"] = options.inputs.candidate;
    }
    json["differs"] = !diff.differences.empty();
    json["changes"] = json_differences(diff.differences);
    json["problems"] = json_problems(problems);
    if (!diff.skipped.empty()) {
        json["skipped"] = json_skipped(diff.skipped);
    }
    console.out << print_json(json, console.out_is_terminal);
}

/** What is not the difference goes to stderr: a candidate may be on stdout. */
void report_as_text(const Diff &diff, const std::vector<engine::Problem> &problems,
                    const DiffOptions &options, const Console &console)
{
    const auto color = options.inputs.color;
    const Style of_faults(wants_color(color, console.err_is_terminal));
    print_skipped(console.err, diff.skipped, of_faults);
    print_problems(console.err, problems, of_faults);
    if (problems.empty() && options.output != "-") {
        print_differences(console.out, diff.differences,
                          Style(wants_color(color, console.out_is_terminal)));
    }
}

} // namespace

void add_diff(CLI::App &program, DiffOptions &options)
{
    auto *app = program.add_subcommand("diff", "Show what a change does");
    app->footer(kExamples);
    add_change(*app, options.inputs);
    add_reading(*app, options.inputs);
    auto *json = app->add_flag("--json", options.inputs.json, "Print JSON");
    auto *output = app->add_option("-o,--output", options.output,
                                   "Write the candidate to this file, without values that YANG "
                                   "supplies; - is stdout, in place of the difference")
                       ->type_name("FILE")
                       ->check(file_name());
    output->check(CLI::Validator(
        [json](std::string &file) {
            return std::string(file == "-" && json->count() > 0 ? "stdout has the JSON report"
                                                                : "");
        },
        ""));
    add_choice(
        *app, "--format", kFormats, [&options](engine::Format format) { options.format = format; },
        "Of the candidate: xml or json (if not given, as RUNNING)")
        ->type_name("FORMAT")
        ->needs(output);
    app->add_flag("--exit-code", options.exit_code, "Exit with 1 if there is a difference");
    add_max_size(*app, options.inputs);
    add_color(*app, options.inputs);
}

int run_diff(const DiffOptions &options, const Console &console)
{
    const CheckOptions &inputs = options.inputs;
    if (inputs.running.empty() && inputs.edits.empty() && inputs.candidate.empty()) {
        throw CLI::RequiredError("A change: --edit or CANDIDATE");
    }
    require_one_stdin(inputs);
    Diff diff(inputs);
    std::vector<engine::Problem> problems;
    try {
        const auto files = named_inputs(inputs, inputs.edits);
        const bool is_file = !options.output.empty() && options.output != "-";
        require_separate({{"--output", is_file ? options.output : ""}}, files);
        require_not_printed_to(files);
        diff.make();
        if (!options.output.empty()) {
            write(options.output, diff.print(options.format), console);
        }
    } catch (const std::exception &failure) {
        problems = problems_of(failure);
    }
    if (inputs.json) {
        report_as_json(diff, problems, options, console);
    } else {
        report_as_text(diff, problems, options, console);
    }
    flush_or_throw(console.out);
    if (!problems.empty()) {
        return static_cast<int>(Result::kNotChecked);
    }
    return options.exit_code && !diff.differences.empty() ? 1 : 0;
}

} // namespace host
