#include "checker/process_end.h"
#include "engine/data/error.h"
#include "report/printable.h"
#include "twin/check_process.h"
#include "twin/history_command.h"
#include "twin/rollback_command.h"
#include "twin/serve.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <unistd.h>

namespace
{

using namespace host::twin;

constexpr int kUsageError = 3;

/** What is asked of a state folder. */
struct Commands {
    HistoryOptions history;
    HistoryOptions show;
    RollbackOptions rollback;
};

void add(CLI::App &app, Commands &commands)
{
    app.require_subcommand(0, 1);
    add_history(app, commands.history);
    add_show(app, commands.show);
    add_rollback(app, commands.rollback);
}

int run_command(const std::string &name, const Commands &commands)
{
    const host::Style style(
        host::wants_color(host::ColorChoice::kAuto, isatty(STDOUT_FILENO) != 0));
    int code = 0;
    if (name == "history") {
        list_commits(commands.history, std::cout);
    } else if (name == "show") {
        show_commit(commands.show, std::cout, style);
    } else {
        code = roll_back(commands.rollback, std::cout, style);
    }
    if (!std::cout.flush()) {
        throw std::runtime_error("stdout cannot be written");
    }
    return code;
}

int run(int argc, char **argv)
{
    TwinOptions options;
    CLI::App app("A GPON card as a NETCONF server that runs the card's own rules.", "gpon-twin");
    add_options(app, options);
    Commands commands;
    add(app, commands);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &failure) {
        return app.exit(failure) == 0 ? 0 : kUsageError;
    }
    if (!app.get_subcommands().empty()) {
        return run_command(app.get_subcommands().front()->get_name(), commands);
    }
    if (options.state.empty() && !options.ephemeral) {
        std::cerr << "gpon-twin: --state DIR keeps what is committed, --ephemeral keeps nothing: "
                     "give one of them\n";
        return kUsageError;
    }
    return serve(options, std::cout);
}

void tell(const engine::Problem &problem)
{
    std::cerr << "gpon-twin: " << host::printable(problem.source) << ": "
              << host::printable(problem.message) << '\n';
}

} // namespace

int main(int argc, char **argv)
{
    host::install_crash_handler();
    // libyang loads libraries from the folders that these name; the environment must not bring in
    // code.
    unsetenv("LIBYANG_TYPES_PLUGINS_DIR");
    unsetenv("LIBYANG_EXTENSIONS_PLUGINS_DIR");
    if (argc == 2 && std::strcmp(argv[1], kCheckProcess) == 0) {
        return run_check_process();
    }
    try {
        return run(argc, argv);
    } catch (const engine::InputError &failure) {
        for (const auto &problem : failure.problems()) {
            tell(problem);
        }
    } catch (const std::exception &failure) {
        std::cerr << "gpon-twin: " << host::printable(failure.what()) << '\n';
    }
    return kUsageError;
}
