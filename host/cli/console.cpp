#include "cli/console.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace host
{

Console process_console()
{
    Console console{std::cout, std::cerr};
    console.ends_process = true;
    console.out_is_terminal = isatty(STDOUT_FILENO) == 1;
    console.err_is_terminal = isatty(STDERR_FILENO) == 1;
    // The question goes to stderr: stdout may be a file.
    if (isatty(STDIN_FILENO) == 1 && console.err_is_terminal) {
        console.ask = [] { return ask_yes_or_no(std::cin, std::cerr); };
    }
    errno = 0; // From here on it tells why a report cannot be written.
    return console;
}

void flush_or_throw(std::ostream &out)
{
    if (!out.flush()) {
        const int reason = errno;
        throw std::runtime_error(std::string("stdout cannot be written") +
                                 (reason != 0 ? std::string(": ") + std::strerror(reason) : ""));
    }
}

std::optional<bool> ask_yes_or_no(std::istream &in, std::ostream &out)
{
    std::string answer;
    while (out << "Proceed? [yes,no] " << std::flush && std::getline(in, answer)) {
        if (answer == "yes" || answer == "y") {
            return true;
        }
        if (answer == "no" || answer == "n") {
            return false;
        }
        out << "Answer yes or no.\n";
    }
    out << '\n';
    return std::nullopt;
}

} // namespace host
