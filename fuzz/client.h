/** A client of the client library that does what a fuzzer's bytes say. */
#pragma once

#include "client_arguments.h"
#include "engine/session/framework.h"
#include "finding.h"

#include <confd_maapi.h>

#include <array>
#include <string>
#include <vector>

namespace fuzz
{

/** Calls in any order and with any arguments; each answer is looked at. */
class Client
{
public:
    explicit Client(ByteReader bytes);
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    void run()
    {
        while (!m_bytes.is_empty()) {
            step();
        }
    }

private:
    using Step = void (Client::*)();

    void step();

    // One call, or a few that belong together.
    void read_leaf();
    void read_typed_leaf();
    void read_text();
    void read_list();
    void look();
    void open_cursor();
    void move_cursor();
    void read_objects();
    void close_cursor() { maapi_destroy_cursor(&cursor()); }
    void read_values();
    void start_query();
    void fetch_results();
    void free_results();
    void stop_query();
    void evaluate();
    void walk_changes();
    void read_committed();
    void look_at_schema();
    void print_values();
    void print_keypaths();
    void decrypt();
    void leave_text();
    void reopen();
    void close();
    void begin_again();
    void forget_values();

    // What a call returned: a failure must tell what it is.
    int told(int result);
    template <typename Call>
    int call(const Call &call)
    {
        confd_errno = CONFD_OK;
        return told(call());
    }
    /** A call with a path; `body` gets the format and what goes with it. */
    template <typename Body>
    int call_with_path(const Body &body)
    {
        return m_arguments.with_path([&](const char *format, auto... arguments) {
            return call([&] { return body(format, arguments...); });
        });
    }
    template <typename Value, typename Read>
    void read_into(Read read)
    {
        Value value{};
        const int sock = socket();
        const int th = handle();
        call_with_path([&](auto... path) { return read(sock, th, &value, path...); });
    }

    int socket();
    int handle() { return m_bytes.one_in(16) ? m_bytes.byte() : m_transaction; }
    maapi_cursor &cursor() { return m_cursors.at(m_bytes.below(m_cursors.size())); }
    void require_result_sound(const confd_query_result &result);

    ByteReader m_bytes;
    ClientArguments m_arguments;
    engine::Framework m_framework;
    int m_maapi = 0;
    int m_cdb = 0;
    int m_transaction = 0;
    std::array<maapi_cursor, 3> m_cursors{};
    std::vector<int> m_queries{0};
    std::vector<confd_query_result *> m_results;
    std::vector<confd_value_t> m_values;
};

} // namespace fuzz
