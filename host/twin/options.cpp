#include "twin/options.h"

namespace host::twin
{
namespace
{

constexpr const char *kExamples =
    "Examples:\n"
    "  gpon-twin --running running.xml --card card.json --state /var/lib/gpon-twin\n"
    "  gpon-twin --running running.xml --ephemeral --unix /tmp/card.sock --no-ssh\n"
    "  gpon-twin history --state /var/lib/gpon-twin";

void add_serving(CLI::App &app, TwinOptions &options)
{
    app.add_option("--listen", options.address, "Address for SSH and TLS")
        ->type_name("ADDRESS")
        ->capture_default_str();
    app.add_option("--port", options.port, "Port for SSH; 0: any that is free, and tell it")
        ->type_name("N")
        ->capture_default_str();
    app.add_flag("--no-ssh", options.no_ssh, "Do not serve SSH");
    app.add_option("--unix", options.unix_socket,
                   "UNIX socket (if not given: netconf.sock in the state folder)")
        ->type_name("PATH");
    app.add_option("--keys", options.keys,
                   "Keys that may enter, each with name and role (if not given: authorized_keys in "
                   "the state folder); without it nobody may")
        ->type_name("FILE");
    app.add_option("--host-key", options.host_key,
                   "Key of the server, made at the first start (if not given: in the state folder)")
        ->type_name("FILE");
    auto *tls = app.add_option("--tls", options.tls_certificate, "Serve TLS with this certificate")
                    ->type_name("FILE");
    app.add_option("--tls-key", options.tls_key, "Key of the certificate")
        ->type_name("FILE")
        ->needs(tls);
    app.add_option("--tls-ca", options.tls_authorities, "Who signs certificates of clients")
        ->type_name("FILE")
        ->needs(tls);
    app.add_option("--tls-port", options.tls_port, "Port for TLS; 0: any that is free")
        ->type_name("N")
        ->needs(tls)
        ->capture_default_str();
}

void add_trials(CLI::App &app, TwinOptions &options)
{
    app.add_option("--latency", options.latency_ms, "Answer each RPC so much later")
        ->type_name("MS")
        ->check(CLI::Range(0.0, 60'000.0));
    app.add_option("--call-latency", options.call_latency_us,
                   "Answer each request of a rule to the framework so much later")
        ->type_name("US")
        ->check(CLI::Range(0.0, 1'000'000.0));
    app.add_option(
           "--fail", options.fail,
           "Let the N-th RPC of a name fail (commit:3), or the N-th request that a rule makes "
           "of the framework, each time it is asked (onu_bw_check:2); N is 1 if not given")
        ->type_name("NAME[:N]");
    app.add_option("--time-scale", options.time_scale,
                   "Let the time of confirmed commits pass so many times faster")
        ->type_name("N")
        ->check(CLI::Range(0.001, 100'000.0))
        ->capture_default_str();
}

} // namespace

void add_options(CLI::App &app, TwinOptions &options)
{
    app.footer(kExamples);
    app.set_version_flag("--version", std::string("gpon-twin ") + GPON_VERSION);
    app.add_option("--running", options.running,
                   "What the card is configured with at its first start, XML or JSON")
        ->type_name("FILE");
    app.add_option("--card", options.card, "Capabilities of the card (JSON)")->type_name("FILE");
    app.add_option("--plugin", options.plugin, "Another plug-in than the card's")
        ->type_name("FILE");
    auto *state = app.add_option("--state", options.state,
                                 "Folder that keeps configurations, history and keys")
                      ->type_name("DIR");
    app.add_flag("--ephemeral", options.ephemeral, "Keep nothing")->excludes(state);
    add_serving(app, options);
    app.add_flag("--writable-running", options.writable_running,
                 "Let clients edit the running configuration itself");
    app.add_option("--timeout", options.timeout_s,
                   "Seconds that the plug-in may take for one request")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    app.add_option("--max-message", options.max_message_mib, "Longest message of a client")
        ->type_name("MIB")
        ->check(CLI::Range(1, 1024))
        ->capture_default_str();
    add_trials(app, options);
    app.add_flag("--verbose", options.verbose, "Tell on stderr what the NETCONF library says");
}

} // namespace host::twin
