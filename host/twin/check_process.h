/**
 * @file
 * The process that holds the card open and asks the plug-in: it has one thread.
 */
#pragma once

namespace host::twin
{

/** Word of the command line that makes the program this process. */
inline constexpr const char *kCheckProcess = "check-process";
/** Where its end of the connection to the server is. */
inline constexpr int kCheckProcessFd = 3;

/** Serves until the other end is closed. @return Exit code of the process. */
int run_check_process();

} // namespace host::twin
