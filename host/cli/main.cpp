#include "checker/process_end.h"
#include "cli/program.h"

#include <csignal>
#include <cstdlib>

namespace
{

/** Runs before all else of the program, whose tables need memory before main begins. */
[[gnu::constructor(101)]] void set_up_signals()
{
    host::install_crash_handler();
    // A file that grows beyond its limit is a failed write, here and in the plug-in's process.
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

} // namespace

int main(int argc, char **argv)
{
    // libyang loads libraries from the folders that these name; the environment must not bring in
    // code.
    unsetenv("LIBYANG_TYPES_PLUGINS_DIR");
    unsetenv("LIBYANG_EXTENSIONS_PLUGINS_DIR");
    return host::run_program(argc, argv, host::process_console());
}
