/**
 * @file
 * The life of a session, from its hello to its end.
 */
#pragma once

#include "twin/access.h"
#include "twin/device.h"

#include <nc_server.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace host::twin
{

struct LoopSetup {
    bool writable_running = false;
    std::chrono::milliseconds latency{0}; /**< Added to every RPC. */
    std::string fail_rpc;                 /**< This one fails. */
    int fail_at = 1;                      /**< At its so-manieth time. */
    bool verbose = false;
};

/**
 * Runs each session in a thread of its own, so that none waits for another: not for one whose
 * client is mute in the middle of a message, nor for one that waits for the rules.
 */
class SessionLoop
{
public:
    SessionLoop(Device &device, const ly_ctx *context, LoopSetup setup);
    /** Ends all sessions. */
    ~SessionLoop();
    SessionLoop(const SessionLoop &) = delete;
    SessionLoop &operator=(const SessionLoop &) = delete;

    /** Runs something in a thread of its own; the end waits for it. @return Whether there was room
     *  for one more. */
    bool spawn(std::function<void()> work);
    /**
     * Serves a client from its hello to the end of its session.
     * @param fd  On which messages come and go; stays the caller's.
     */
    void serve(int fd, const Author &author, Role role);
    /** Ends all sessions, and waits for all threads. */
    void end();
    const ly_ctx *context() const { return m_context; }
    /** Tells why a client was sent away, to whoever wants to know. */
    void note(const std::string &text) const;

    /** Answers one request. */
    nc_server_reply *answer(const lyd_node *rpc, nc_session *session);

private:
    void run(nc_session *handle, Author author, Role role, int fd);
    /** @return Whether the session goes on. */
    bool step(nc_pollsession *polled, const SessionPtr &session, int fd);
    void send_posts(nc_session *handle, Session &session);
    bool must_fail(const std::string &rpc);

    Device &m_device;
    const ly_ctx *m_context;
    LoopSetup m_setup;
    std::atomic<bool> m_ends{false};
    std::atomic<int> m_until_failure;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_running = 0;
};

} // namespace host::twin
