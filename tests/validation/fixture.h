/** A card to validate on: a running configuration, a candidate, the capacities, the trace. */
#pragma once

#include "client_calls.h"
#include "engine/data/keypath.h"
#include "engine/data/path_reader.h"
#include "engine/session/framework.h"
#include "gpon_card_valid.h"
#include "platform_settings.h"
#include "support/model.h"

#include <confd_maapi.h>
#include <velconfd.h>
#include <velconfd_host.h>
#include <zlog_host.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/** What a validator answered: its result, and the text that it left for the operator. */
struct Outcome {
    int result = 0;
    std::string text;
    bool operator==(const Outcome &) const = default;
};

inline void PrintTo(const Outcome &outcome, std::ostream *out)
{
    *out << outcome.result << " \"" << outcome.text << '"';
}

inline Outcome accepted()
{
    return {CONFD_OK, ""};
}
inline Outcome rejected(const std::string &text)
{
    return {CONFD_ERR, text};
}
inline Outcome warned(const std::string &text)
{
    return {CONFD_VALIDATION_WARN, text};
}

class CardTest : public testing::Test
{
protected:
    CardTest()
    {
        zlog_host::set_level(10);
        zlog_host::write_to([this](const zlog_host::Line &line) { m_trace.push_back(line); });
    }
    ~CardTest() override
    {
        client() = {};
        zlog_host::write_to_stderr();
        zlog_host::set_level(zlog_host::kOff);
        engine::Hooks::instance().clear_failure();
        std::free(m_tctx.error.str);
        platform_settings = m_settings_before;
    }

    /** Running and candidate; the candidate is not checked by YANG, so that it may hold what the
     *  model forbids. */
    void given(const std::string &running, const std::string &candidate)
    {
        given(running, test_support::parse_config(candidate));
    }
    void given(const std::string &running, engine::Datastore candidate)
    {
        given(test_support::checked_config(running), std::move(candidate));
    }
    void given(engine::Datastore running, engine::Datastore candidate)
    {
        m_transaction = nullptr;
        m_context.reset();
        m_framework.reset();
        m_framework.emplace(std::move(running));
        m_transaction = &m_framework->begin(std::move(candidate));
        m_context.emplace();
        m_tctx.thandle = m_transaction->handle();
        m_tctx.vcb_opaque = m_context->word();
        engine::Hooks::instance().reset_counts();
    }
    /** A candidate that does not differ from what is committed. */
    void given(const std::string &configuration) { given(configuration, configuration); }

    /** Ends the transaction, with all that was left in it, and begins another one like it. */
    void begin_again()
    {
        engine::Datastore candidate = m_transaction->candidate().copy();
        m_framework->end(m_transaction->handle());
        m_transaction = &m_framework->begin(std::move(candidate));
        m_tctx.thandle = m_transaction->handle();
    }

    /** Read sessions of the committed configuration that nobody has ended. */
    int open_sessions() const { return m_context->open_sessions(); }

    confd_trans_ctx *tctx() { return &m_tctx; }
    int sock() { return velconfd_maapi_socket_get(m_context->word()); }
    const engine::Transaction &transaction() const { return *m_transaction; }

    /** Calls a validator on a path of the candidate. */
    template <typename Validator>
    Outcome ask(Validator validator, const std::string &path, confd_value_t *newval = nullptr)
    {
        confd_hkeypath_t keypath = keypath_of(path);
        const KeypathOwner owner{keypath}; // Some validators throw.
        return take_outcome(validator(sock(), &m_tctx, &keypath, newval));
    }

    /**
     * Asks again and again, while first the first client call fails, then the second, until none
     * is left to fail: the outcome of each time. Nothing may be held after any of them.
     */
    template <typename Validator>
    std::vector<Outcome> ask_with_each_call_failing(Validator validator, const std::string &path)
    {
        auto &hooks = engine::Hooks::instance();
        std::vector<Outcome> outcomes;
        for (std::uint64_t n = 1;; ++n) {
            hooks.fail_call(n, CONFD_ERR_OS);
            const Outcome outcome = ask(validator, path);
            expect_nothing_held();
            EXPECT_EQ(open_sessions(), 0);
            if (!hooks.has_failed()) {
                hooks.clear_failure();
                return outcomes;
            }
            outcomes.push_back(outcome);
        }
    }

    Outcome take_outcome(int result)
    {
        Outcome outcome{result, m_tctx.error.str != nullptr ? m_tctx.error.str : ""};
        std::free(m_tctx.error.str);
        m_tctx.error.str = nullptr;
        return outcome;
    }

    confd_hkeypath_t keypath_of(const std::string &path)
    {
        confd_hkeypath_t keypath{};
        const engine::Datastore &candidate = m_transaction->candidate();
        const engine::Path steps = read_path(path);
        if (const lyd_node *node = engine::find_node(candidate.root(), steps)) {
            engine::fill_keypath(keypath, node);
        } else {
            engine::fill_list_keypath(keypath, engine::find_parent(candidate.root(), steps),
                                      *steps.schema());
        }
        return keypath;
    }

    /** The trace lines so far, of a level. */
    std::vector<std::string> trace(int level) const
    {
        std::vector<std::string> texts;
        for (const auto &line : m_trace) {
            if (line.level == level) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }
    const std::vector<zlog_host::Line> &trace_lines() const { return m_trace; }
    void forget_trace() { m_trace.clear(); }

    static void expect_nothing_held()
    {
        EXPECT_TRUE(engine::Hooks::instance().held.none()) << "a cursor, query, result or value";
    }

private:
    struct KeypathOwner {
        confd_hkeypath_t &keypath;
        ~KeypathOwner() { engine::free_keypath(keypath); }
    };

    static engine::Path read_format(const char *format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        engine::Path path = *engine::read_path(*test_support::schema(), format, arguments);
        va_end(arguments);
        return path;
    }
    static engine::Path read_path(const std::string &path)
    {
        return read_format("%s", path.c_str());
    }

    PlatformSettings m_settings_before = platform_settings;
    std::vector<zlog_host::Line> m_trace;
    std::optional<engine::Framework> m_framework;
    engine::Transaction *m_transaction = nullptr;
    std::optional<velconfd::Context> m_context;
    confd_trans_ctx m_tctx{};
};
