#include "twin/serve.h"

#include "engine/data/source_file.h"
#include "rules/rules.h"
#include "twin/rpc.h"
#include "twin/server_context.h"
#include "twin/session_loop.h"
#include "twin/transport.h"
#include "twin/with_defaults.h"

#include <fm_host.h>

#include <charconv>
#include <cmath>
#include <csignal>
#include <iostream>
#include <unistd.h>

namespace host::twin
{
namespace
{

namespace fs = std::filesystem;

engine::Source read_file(const std::string &path)
{
    auto source = engine::read_source(path, {});
    source.name = path;
    return source;
}

/** Where keys are when there is no state folder, for as long as the server runs. */
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (fs::temp_directory_path() / "gpon-twin-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder can be made");
        }
        m_path = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    const fs::path &path() const { return m_path; }

private:
    fs::path m_path;
};

/** What --fail asks for. */
struct Trial {
    std::string name;
    int number = 1;
};

/** @throws std::runtime_error  It is nothing that can fail. */
Trial trial_of(const TwinOptions &options)
{
    const auto colon = options.fail.find(':');
    Trial trial{options.fail.substr(0, colon)};
    if (colon != std::string::npos) {
        const std::string number = options.fail.substr(colon + 1);
        const auto end = number.data() + number.size();
        const auto result = std::from_chars(number.data(), end, trial.number);
        if (result.ec != std::errc() || result.ptr != end || trial.number < 1) {
            throw std::runtime_error("--fail: " + number + " is no number from 1");
        }
    }
    if (!trial.name.empty() && find_rule(trial.name) == nullptr && !is_operation(trial.name)) {
        throw std::runtime_error("--fail: " + trial.name + " is neither a rule nor an RPC");
    }
    return trial;
}

DeviceSetup device_setup(const TwinOptions &options)
{
    DeviceSetup setup;
    if (!options.card.empty()) {
        setup.check.card = read_file(options.card).text;
        fm::parse_card(setup.check.card);
    }
    const Trial trial = trial_of(options);
    if (find_rule(trial.name) != nullptr) {
        setup.check.fail_rule = trial.name;
        setup.check.fail_call = trial.number;
    }
    setup.check.call_latency = std::chrono::microseconds(std::llround(options.call_latency_us));
    setup.check.plugin = options.plugin;
    setup.check.idle_timeout = std::chrono::seconds(options.timeout_s);
    if (!options.running.empty()) {
        setup.running = read_file(options.running);
    }
    if (!options.state.empty()) {
        setup.state = options.state;
    }
    setup.time_scale = options.time_scale;
    return setup;
}

TransportSetup transport_setup(const TwinOptions &options, const fs::path &folder)
{
    const auto given = [&folder](const std::string &path, const char *name) {
        return path.empty() ? folder / name : fs::path(path);
    };
    TransportSetup setup;
    setup.address = options.address;
    if (!options.no_ssh) {
        setup.ssh_port = options.port;
    }
    setup.limits.message = options.max_message_mib << 20;
    setup.keys = given(options.keys, "authorized_keys");
    setup.host_key = given(options.host_key, "host_key");
    setup.unix_socket = given(options.unix_socket, "netconf.sock");
    if (!options.tls_certificate.empty()) {
        setup.tls = {{options.tls_certificate, options.tls_key, options.tls_authorities},
                     options.tls_port};
    }
    return setup;
}

LoopSetup loop_setup(const TwinOptions &options)
{
    LoopSetup setup;
    setup.writable_running = options.writable_running;
    setup.verbose = options.verbose;
    setup.latency = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<double, std::milli>(options.latency_ms));
    const Trial trial = trial_of(options);
    setup.fail_rpc = trial.name;
    setup.fail_at = trial.number;
    return setup;
}

/** Signals that end the server are waited for, in this thread alone. */
sigset_t block_signals()
{
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    return signals;
}

/** libnetconf2's own lifetime. */
class NetconfLibrary
{
public:
    NetconfLibrary(ly_ctx *context, bool verbose)
    {
        nc_verbosity(verbose ? NC_VERB_VERBOSE : NC_VERB_ERROR);
        nc_set_print_clb_session(verbose ? tell : ignore);
        if (nc_server_init(context) != 0) {
            throw std::runtime_error("libnetconf2 cannot be used");
        }
        // All modes of RFC 6243; explicit is the basic one.
        nc_server_set_capab_withdefaults(NC_WD_EXPLICIT, NC_WD_ALL | NC_WD_ALL_TAG | NC_WD_TRIM);
        nc_server_set_capability("urn:ietf:params:netconf:capability:notification:1.0");
        nc_server_set_capability("urn:ietf:params:netconf:capability:interleave:1.0");
        nc_server_set_hello_timeout(20);
    }
    ~NetconfLibrary() { nc_server_destroy(); }
    NetconfLibrary(const NetconfLibrary &) = delete;
    NetconfLibrary &operator=(const NetconfLibrary &) = delete;

private:
    static void tell(const nc_session *, NC_VERB_LEVEL, const char *text)
    {
        std::cerr << "gpon-twin: " << text << '\n';
    }
    static void ignore(const nc_session *, NC_VERB_LEVEL, const char *) {}
};

std::string greeting(const TwinOptions &options, const TransportSetup &setup,
                     const Transports &transports)
{
    std::string text = "gpon-twin serves ";
    text += options.running.empty() ? "its state" : options.running;
    if (setup.ssh_port) {
        text += ", SSH " + setup.address + " port " + std::to_string(transports.ssh_port());
    }
    if (setup.tls) {
        text += ", TLS " + setup.address + " port " + std::to_string(transports.tls_port());
    }
    return text + ", socket " + setup.unix_socket->string();
}

} // namespace

int serve(const TwinOptions &options, std::ostream &out)
{
    const sigset_t signals = block_signals();
    std::optional<TemporaryFolder> temporary;
    if (options.state.empty()) {
        temporary.emplace();
    } else {
        fs::create_directories(options.state);
    }
    const auto setup =
        transport_setup(options, temporary ? temporary->path() : fs::path(options.state));
    const auto context = make_server_context(options.writable_running);
    Device device(device_setup(options), context.get());
    SessionLoop loop(device, context.get(), loop_setup(options));
    const NetconfLibrary library(context.get(), options.verbose);
    const Transports transports(setup, loop);
    out << greeting(options, setup, transports) << std::endl;
    int signal = 0;
    sigwait(&signals, &signal);
    return 0;
}

} // namespace host::twin
