#include "checker/process_end.h"
#include "engine/data/source_file.h"
#include "shell/file_session.h"
#include "shell/netconf_session.h"
#include "shell/options.h"
#include "shell/script.h"
#include "shell/terminal.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <unistd.h>

namespace
{

using namespace host::shell;
using host::Result;

Interrupt interrupted = false;

FileSetup setup_of(const ShellOptions &options, const host::Style &style)
{
    FileSetup setup;
    setup.card = fm::default_card();
    setup.assumes_card = options.card.empty();
    if (!options.card.empty()) {
        const auto source = engine::read_source(options.card);
        try {
            setup.card = fm::parse_card(source.text);
        } catch (const std::exception &failure) {
            throw engine::InputError(
                {{engine::Fault::kInvalidCard, options.card, 0, "", failure.what(), ""}});
        }
    }
    if (!options.running.empty()) {
        setup.running = engine::read_source(options.running);
        setup.running->name = options.running;
        setup.running->reading.skip_foreign = options.skip_foreign;
    }
    setup.plugin = options.plugin;
    setup.idle_timeout = std::chrono::seconds(options.timeout_s);
    setup.style = style;
    return setup;
}

std::unique_ptr<Session> open_session(const ShellOptions &options, const host::Style &style)
{
    if (!options.server.empty()) {
        auto address = read_address(options.server);
        address.key = options.key;
        address.known_hosts = options.known_hosts;
        if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
            address.ask = ask_at_terminal;
        }
        return std::make_unique<NetconfSession>(std::move(address), setup_of(options, style),
                                                interrupted);
    }
    return std::make_unique<FileSession>(setup_of(options, style), interrupted);
}

int run(const ShellOptions &options)
{
    const bool is_terminal = isatty(STDOUT_FILENO) != 0;
    const host::Style style(host::wants_color(host::ColorChoice::kAuto, is_terminal));
    const auto session = open_session(options, style);
    ShellIo io{std::cout, is_terminal, style};
    if (options.yes || options.no) {
        io.answer = options.yes;
    }
    const bool asks = is_terminal && isatty(STDIN_FILENO) != 0;
    if (asks) {
        io.ask = ask_at_terminal;
    }
    Shell shell(*session, std::move(io));
    shell.reading.skip_foreign = options.skip_foreign;
    if (asks) {
        TerminalOptions terminal;
        if (!options.no_history) {
            terminal.history = options.history.empty() ? default_history() : options.history;
        }
        return static_cast<int>(run_terminal(shell, terminal, interrupted));
    }
    return static_cast<int>(run_script(shell, std::cin, std::cerr, {"stdin", options.goes_on}));
}

} // namespace

int main(int argc, char **argv)
{
    host::install_crash_handler();
    // libyang loads libraries from the folders that these name; the environment must not bring in
    // code.
    unsetenv("LIBYANG_TYPES_PLUGINS_DIR");
    unsetenv("LIBYANG_EXTENSIONS_PLUGINS_DIR");
    constexpr int kUsageError = static_cast<int>(Result::kNotChecked);
    ShellOptions options;
    CLI::App app("Configures a GPON card by hand, with the card's own rules.", "gpon-shell");
    add_options(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &failure) {
        return app.exit(failure) == 0 ? 0 : kUsageError;
    }
    try {
        const int code = run(options);
        if (!std::cout.flush()) {
            std::cerr << "gpon-shell: stdout cannot be written\n";
            return kUsageError;
        }
        return code;
    } catch (const std::exception &failure) {
        print_failure(std::cerr, failure, "gpon-shell: ", host::Style(false));
    }
    return kUsageError;
}
