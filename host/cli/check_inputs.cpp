#include "cli/check_inputs.h"

#include "engine/data/error.h"
#include "engine/data/source_file.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <system_error>

namespace host
{
namespace
{

namespace fs = std::filesystem;
using engine::Fault;

constexpr const char *kStdin = "-";

constexpr const char *kCardHint = "a card is a JSON object, such as { \"max_pon_links\": 16 }";

[[noreturn]] void refuse(Fault fault, const std::string &name, const std::string &message,
                         const char *hint = "")
{
    throw engine::InputError({{fault, name, 0, "", message, hint}});
}

std::vector<std::string> files_in(const std::string &folder)
{
    std::vector<std::string> files;
    std::error_code failure;
    for (auto entry = fs::directory_iterator(folder, failure);
         !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
        std::error_code unknown; // What cannot be looked at is reported when it is read.
        if (!entry->path().filename().string().starts_with('.') && !entry->is_directory(unknown)) {
            files.push_back(entry->path().string());
        }
    }
    if (failure) {
        refuse(Fault::kUnreadable, folder, "cannot be read as a folder: " + failure.message());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> files_named_on_stdin(const CheckOptions &options)
{
    std::istringstream lines(read_input(kStdin, options).text);
    std::vector<std::string> files;
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (!line.empty()) {
            files.push_back(line);
        }
    }
    return files;
}

} // namespace

namespace
{

engine::Source read_file(const std::string &path, const CheckOptions &options)
{
    return engine::read_source(path == kStdin ? "/dev/stdin" : path,
                               {options.max_size, options.timeout});
}

/** Keeps what becomes of reading an input, or takes it from what was kept. */
engine::Source read_kept(const std::string &path, const CheckOptions &options)
{
    InputStore &store = *options.store;
    if (!store.is_read) {
        try {
            engine::Source source = read_file(path, options);
            store.texts[path] = source.text;
            return source;
        } catch (const engine::InputError &failure) {
            store.failures[path] = failure.problems();
            throw;
        }
    }
    if (const auto failure = store.failures.find(path); failure != store.failures.end()) {
        throw engine::InputError(failure->second);
    }
    const auto text = store.texts.find(path);
    if (text == store.texts.end()) {
        refuse(Fault::kUnreadable, path, "is not in the bundle");
    }
    return {path, text->second, {}};
}

} // namespace

engine::Source read_input(const std::string &path, const CheckOptions &options)
{
    auto source = options.store ? read_kept(path, options) : read_file(path, options);
    source.name = path == kStdin ? "stdin" : path;
    source.reading = {options.skip_foreign, options.default_operation};
    return source;
}

Policy policy_of(const CheckOptions &options)
{
    using Mode = engine::ReadLog::Mode;
    Policy policy;
    policy.all = options.all || options.new_only;
    if (!options.rule.empty()) {
        policy.only = {{options.rule.front(), options.rule.size() > 1 ? options.rule[1] : ""}};
    }
    policy.tell_new = options.new_only;
    policy.differences = options.differences;
    policy.idle_timeout = options.timeout;
    policy.in_process = options.in_process;
    policy.keep_plugin = options.is_series();
    policy.reuse = options.is_series() && options.reuses();
    policy.counts_calls = options.explains();
    policy.names_requests = options.explains();
    policy.reads = options.reads ? Mode::kPaths : options.explains() ? Mode::kPlaces : Mode::kOff;
    return policy;
}

CardInputs read_card(const CheckOptions &options)
{
    CardInputs inputs{fm::default_card(), std::nullopt};
    if (!options.card.empty()) {
        const engine::Source source = read_input(options.card, options);
        try {
            inputs.card = fm::parse_card(source.text);
        } catch (const std::exception &failure) {
            refuse(Fault::kInvalidCard, options.card, failure.what(), kCardHint);
        }
    }
    if (!options.running.empty()) {
        inputs.running = read_input(options.running, options);
    }
    return inputs;
}

std::vector<std::string> list_edits(const CheckOptions &options)
{
    const std::string &from = options.edits_from;
    if (options.store && options.store->is_read && !from.empty()) {
        return options.store->edits;
    }
    std::vector<std::string> edits = options.edits;
    if (!from.empty()) {
        edits = from == kStdin ? files_named_on_stdin(options) : files_in(from);
        if (edits.empty()) {
            refuse(Fault::kInvalidOption, from == kStdin ? "stdin" : from,
                   from == kStdin ? "names no edit" : "there is no edit in this folder");
        }
    }
    std::set<fs::path> known;
    for (const auto &edit : edits) {
        if (!known.insert(fs::path(edit).lexically_normal()).second) {
            refuse(Fault::kInvalidOption, edit, "this edit is named twice");
        }
    }
    if (options.store) {
        options.store->edits = edits;
    }
    return edits;
}

std::vector<NamedFile> named_inputs(const CheckOptions &options,
                                    const std::vector<std::string> &edits)
{
    std::vector<NamedFile> inputs{{"--running", options.running},
                                  {"CANDIDATE", options.candidate},
                                  {"--card", options.card},
                                  {"--plugin", options.plugin}};
    for (const auto &edit : edits) {
        inputs.push_back({options.edits_from.empty() ? "--edit" : "an edit", edit});
    }
    for (auto &input : inputs) {
        input.path = input.path == kStdin ? "/dev/stdin" : input.path;
    }
    return inputs;
}

void require_separate_files(const CheckOptions &options, const std::vector<std::string> &edits)
{
    const auto inputs = named_inputs(options, edits);
    std::vector<NamedFile> outputs{{"--trace-file", options.trace_file}};
    for (const auto &report : options.reports) {
        outputs.push_back({"--report " + report.name, report.file});
    }
    require_separate(outputs, inputs);
    require_not_printed_to(inputs);
}

} // namespace host
