#include "program.h"

#include <cstdlib>

int main(int argc, char **argv)
{
    // Folders whose libraries libyang would load: whoever sets the environment may not add code.
    unsetenv("LIBYANG_TYPES_PLUGINS_DIR");
    unsetenv("LIBYANG_EXTENSIONS_PLUGINS_DIR");
    return host::run_program(argc, argv, host::process_console());
}
