#include "checker/process_end.h"
#include "engine/data/error.h"
#include "report/printable.h"
#include "twin/check_process.h"
#include "twin/serve.h"

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace
{

using namespace host::twin;

constexpr int kUsageError = 3;

int run(int argc, char **argv)
{
    TwinOptions options;
    CLI::App app("A GPON card as a NETCONF server that runs the card's own rules.", "gpon-twin");
    add_options(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &failure) {
        return app.exit(failure) == 0 ? 0 : kUsageError;
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
