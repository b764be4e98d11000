/**
 * @file
 * Hooks for tests and reports: calls counted by name, calls that fail on purpose, things
 * still held.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace engine
{

/** Process-wide. Every client call that reaches the framework passes `on_call` first. */
class Hooks
{
public:
    static Hooks &instance();

    /**
     * Lets a call fail: the n-th from now (1 is the next) fails with `code` and the text
     * "forced failure"; with `from_then_on` every later one as well.
     */
    void fail_call(std::uint64_t n, int code, bool from_then_on = false);
    /** Ends what fail_call began. */
    void clear_failure();
    /** Whether a failure has been forced since fail_call. */
    bool has_failed() const { return m_has_failed; }

    /** Lets the n-th call of every request of a rule fail. @param rule  Opaque key; empty: none. */
    void fail_rule(std::string rule, std::uint64_t n, int code);
    /** A rule is about to be asked. */
    void begin_request(const std::string &rule);
    /** Every call takes so much longer, as on a card. */
    void set_latency(std::chrono::nanoseconds latency) { m_latency = latency; }

    /** Whether calls are counted. They are, unless someone who needs no counts says otherwise. */
    void set_counting(bool on) { m_is_counting = on; }
    /** Calls by name since reset_counts; calls that only print or free do not count. */
    std::map<std::string, std::uint64_t> counts() const;
    void reset_counts();

    /**
     * Counts the call.
     * @param name  A literal: it is not copied.
     * @throws Error  When it is this call's turn to fail.
     */
    void on_call(const char *name);

    /**
     * A call failed for a reason that is none of the client's, such as a lack of memory. The client
     * may take it for an answer like any other: whoever asked the client must not.
     */
    void note_breakdown(std::exception_ptr reason) noexcept { m_breakdown = std::move(reason); }
    /** Throws the reason of the breakdown, if there was one since the last call of this. */
    void throw_breakdown();

    /** What the client library has handed out and not got back. */
    struct Held {
        int cursors = 0;
        int queries = 0;
        int query_results = 0;
        int values = 0; /**< Texts and lists owned by values in clients' hands. */
        bool none() const
        {
            return cursors == 0 && queries == 0 && query_results == 0 && values == 0;
        }
    };
    Held held;

private:
    void count(const char *name);

    /** Few at a time, so that going through them is faster than any search by text. */
    std::vector<std::pair<const char *, std::uint64_t>> m_counts;
    bool m_is_counting = true;
    std::uint64_t m_until_failure = 0; /**< 0: none is to come. */
    int m_code = 0;
    std::string m_failing_rule;
    std::uint64_t m_failing_call = 0;
    int m_rule_code = 0;
    std::chrono::nanoseconds m_latency{0};
    bool m_from_then_on = false;
    bool m_has_failed = false;
    std::exception_ptr m_breakdown;
};

} // namespace engine
