#include "shell/options.h"

namespace host::shell
{
namespace
{

constexpr const char *kExamples = "Commands come from the terminal, or from stdin as a script, "
                                  "which ends with the first line that\n"
                                  "fails. Exit codes of a script: 0 accepted, 1 rejected, 2 not "
                                  "confirmed, 3 a line that makes no\n"
                                  "sense, or no verdict, 4 the plug-in died.\n"
                                  "\n"
                                  "Examples:\n"
                                  "  gpon-shell --running running.xml --card card.json\n"
                                  "  gpon-shell --running running.xml < changes.txt\n"
                                  "  gpon-shell --connect netconf.sock";

} // namespace

void add_options(CLI::App &app, ShellOptions &options)
{
    app.footer(kExamples);
    app.set_version_flag("--version", std::string("gpon-shell ") + GPON_VERSION);
    auto *running =
        app.add_option("--running", options.running, "Configuration to work on, XML or JSON")
            ->type_name("FILE");
    auto *connect = app.add_option("--connect", options.server,
                                   "A card's NETCONF server: a UNIX socket, or user@host:port")
                        ->type_name("SERVER")
                        ->excludes(running);
    app.add_option("--card", options.card,
                   "Capabilities of the card (JSON); on a server for headroom only")
        ->type_name("FILE");
    app.add_option("--plugin", options.plugin, "Another plug-in than the card's")
        ->type_name("FILE")
        ->excludes(connect);
    app.add_option("--key", options.key, "Private key for SSH; the public one stands beside it")
        ->type_name("FILE")
        ->needs(connect);
    app.add_option("--known-hosts", options.known_hosts,
                   "Keys of servers (if not given: those that ssh knows)")
        ->type_name("FILE")
        ->needs(connect);
    app.add_flag("--skip-foreign", options.skip_foreign,
                 "Skip nodes of other models in files (if not given: they are an error)");
    auto *yes = app.add_flag("--yes", options.yes, "Confirm warnings without a question");
    app.add_flag("--no", options.no, "Do not confirm warnings, without a question")->excludes(yes);
    app.add_flag("--continue", options.goes_on, "A script goes on after a line that failed");
    auto *history =
        app.add_option("--history", options.history,
                       "File that keeps the lines that were typed (if not given: in the "
                       "folder for a user's state)")
            ->type_name("FILE");
    app.add_flag("--no-history", options.no_history, "Keep none")->excludes(history);
    app.add_option("--timeout", options.timeout_s,
                   "Seconds that the plug-in may take for one request")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
}

} // namespace host::shell
