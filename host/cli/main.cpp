#include "cli/program.h"

#include <cstdlib>

int main(int argc, char **argv)
{
    // libyang loads libraries from the folders that these name; the environment must not bring in
    // code.
    unsetenv("LIBYANG_TYPES_PLUGINS_DIR");
    unsetenv("LIBYANG_EXTENSIONS_PLUGINS_DIR");
    return host::run_program(argc, argv, host::process_console());
}
