#include "cli/program.h"

int main(int argc, char **argv)
{
    return host::run_program(argc, argv, host::process_console());
}
