/**
 * @file
 * The server's side of the check process.
 */
#pragma once

#include "checker/change.h"
#include "twin/check_report.h"
#include "twin/wire.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>

namespace host::twin
{

/** What a check process needs to open the card. */
struct CheckSetup {
    std::string card = "{}";                   /**< Capabilities, as in their file. */
    std::string plugin;                        /**< Empty: the card's own. */
    std::chrono::seconds idle_timeout{60};     /**< For one request of the framework. */
    std::chrono::microseconds call_latency{0}; /**< Added to each client call of a rule. */
    std::string fail_rule;                     /**< Whose client calls fail; empty: none's. */
    int fail_call = 1;                         /**< Which, of each request. */
};

/** No verdict came, with a reason for people. The next check has a fresh process. */
class CheckFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** Starts the check process, and anew where it died or hung. */
class CheckClient
{
public:
    /** @param running  The running configuration as XML: asked for when a process starts. */
    CheckClient(CheckSetup setup, std::function<std::string()> running);
    ~CheckClient();
    CheckClient(const CheckClient &) = delete;
    CheckClient &operator=(const CheckClient &) = delete;

    /** Who has it asks: checks are made one at a time. */
    class Turn
    {
    public:
        /** @throws CheckFailure */
        CheckReport check(const Change &change, bool confirms_warnings);
        /** The change of the last check, which was accepted, is running from now on. When this
         *  fails the next process starts with it. */
        void commit();
        /** What is running has changed without a check: the process starts anew. */
        void forget();

    private:
        friend class CheckClient;
        Turn(CheckClient &client, std::unique_lock<std::timed_mutex> lock)
            : m_client(client), m_lock(std::move(lock))
        {
        }
        CheckClient &m_client;
        std::unique_lock<std::timed_mutex> m_lock;
    };
    /** Nothing: others are at it, and went on longer than that. */
    std::optional<Turn> take_turn(std::chrono::milliseconds patience);

    /** Starts the process, so that the first check need not wait. @throws CheckFailure */
    void warm_up();

private:
    void start();
    void stop(bool kill);
    nlohmann::json ask(const Message &message);

    CheckSetup m_setup;
    std::function<std::string()> m_running;
    std::timed_mutex m_mutex;
    std::optional<Wire> m_wire;
    pid_t m_process = -1;
};

} // namespace host::twin
