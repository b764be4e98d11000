#include "cli/replay_command.h"

#include "bundle/archive.h"
#include "cli/bundle_file.h"
#include "cli/option_kinds.h"
#include "report/printable.h"
#include "report/report_text.h"

#include <algorithm>
#include <fstream>
#include <ostream>

namespace host
{
namespace
{

constexpr const char *kExamples =
    "The report is printed, and below it whether it is the bundle's. Exit codes: 0 it is, 1 it is "
    "not, 3 for a bad\nfile or option. Nothing of a bundle is unpacked into files.\n"
    "\n"
    "Example:\n"
    "  gpon-validate replay report.tar.zst";

/** Not as a configuration: an archive is no text. */
std::string read_archive(const std::string &path, std::size_t max_size)
{
    std::ifstream in(path, std::ios::binary);
    std::string text;
    constexpr std::size_t kPiece = std::size_t{64} << 10U;
    std::string piece(kPiece, '\0');
    while (in && text.size() <= max_size) {
        in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        text.append(piece, 0, static_cast<std::size_t>(in.gcount()));
    }
    if (text.empty() || in.bad()) {
        throw engine::InputError(
            {{engine::Fault::kUnreadable, path, 0, "", "cannot be read, or is empty", ""}});
    }
    if (text.size() > max_size) {
        throw engine::InputError(
            {{engine::Fault::kTooLarge, path, 0, "", "larger than the limit for an input", ""}});
    }
    return text;
}

/** Where the reports differ, a line each; the first ones. */
std::vector<std::string> differences_of(const KeptReport &then, const KeptReport &now)
{
    constexpr std::size_t kMost = 20;
    std::vector<std::string> texts;
    if (then.exit_code != now.exit_code) {
        texts.push_back("exit code " + std::to_string(then.exit_code) + " → " +
                        std::to_string(now.exit_code));
    }
    const auto one = then.comparable();
    const auto other = now.comparable();
    if (one.size() != other.size()) {
        texts.push_back(std::to_string(one.size()) + " → " + std::to_string(other.size()) +
                        " reports");
    }
    for (std::size_t i = 0; i < std::min(one.size(), other.size()); ++i) {
        for (const auto &step : nlohmann::json::diff(one[i], other[i])) {
            const nlohmann::json::json_pointer place(step.at("path").get<std::string>());
            const std::string before = one[i].contains(place) ? one[i][place].dump() : "nothing";
            const std::string after = step.contains("value") ? step.at("value").dump() : "nothing";
            texts.push_back(place.to_string() + ": " + engine::shortened(before) + " → " +
                            engine::shortened(after));
        }
    }
    texts.resize(std::min(texts.size(), kMost));
    return texts;
}

void print_versions(const Bundle &bundle, const nlohmann::ordered_json &here, std::ostream &out)
{
    for (const auto &[name, version] : bundle.versions.items()) {
        const std::string then = version.is_string() ? version.get<std::string>() : version.dump();
        const std::string now = here.value(name, "");
        if (then != now) {
            out << "Another " << printable(name) << ": " << printable(then) << " → " << now << '\n';
        }
    }
}

int replay(const ReplayOptions &options, const Console &console)
{
    const UnpackLimits limits{options.max_size, UnpackLimits().max_files};
    const std::string archive = read_archive(options.bundle, options.max_size);
    Bundle bundle = read_bundle(options.bundle, unpack(options.bundle, archive, limits));
    bundle.options.plugin = options.plugin;
    const KeptReport now = check_kept(bundle.options);
    const auto differences = differences_of(bundle.report, now);
    console.out << printable_lines(now.text) << '\n';
    print_versions(bundle, versions_of(bundle.options), console.out);
    for (const auto &text : differences) {
        console.out << "Differs: " << printable(text) << '\n';
    }
    console.out << (differences.empty() ? "The report is the bundle's.\n"
                                        : "The report is not the bundle's.\n");
    return differences.empty() ? 0 : 1;
}

} // namespace

void add_replay(CLI::App &program, ReplayOptions &options)
{
    options.max_size = UnpackLimits().max_bytes;
    auto *app = program.add_subcommand("replay", "Make a check of a bundle again");
    app->footer(kExamples);
    app->add_option("BUNDLE", options.bundle, "File that check --bundle wrote")
        ->type_name("")
        ->required()
        ->check(file_name());
    app->add_option("--plugin", options.plugin,
                    "Plug-in to ask, instead of the card's own next to this program")
        ->type_name("PATH")
        ->check(file_name());
    app->add_option("--max-size", options.max_size,
                    "Largest size of the bundle, and of all that is packed in it (512 MiB if not "
                    "given)")
        ->transform(CLI::AsSizeValue(false))
        ->type_name("SIZE");
}

int run_replay(const ReplayOptions &options, const Console &console)
{
    int code = static_cast<int>(Result::kNotChecked);
    try {
        code = replay(options, console);
    } catch (const std::exception &failure) {
        print_problems(console.err, problems_of(failure),
                       Style(wants_color(ColorChoice::kAuto, console.err_is_terminal)));
    }
    flush_or_throw(console.out);
    return code;
}

} // namespace host
