/** A transaction on a card, and the plug-in to ask about it. */
#pragma once

#include "card.h"
#include "checker/plugin.h"
#include "engine/session/framework.h"
#include "engine/session/validation.h"

#include <velconfd_host.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bench
{

/** The shipped plug-in; it sees a card with so many links. */
host::Plugin &plugin(std::uint32_t links);

/** The plug-in's copy whose client calls are recorded; likewise. */
engine::Callback recorded_plugin(std::uint32_t links);

/** One request for each instance of a rule's node, whether a change calls for it or not. */
std::vector<engine::Request> requests_for(const std::string &rule, const engine::Datastore &tree);

/** Whether the client library answers a call by itself: schema, conversions, freeing. */
bool is_local(const std::string &call);

/** Adds up what is asked. */
class Sum : public engine::Observer
{
public:
    void after(std::size_t request, const engine::Answer &answer) override;

    std::chrono::nanoseconds time{0};
    std::map<std::string, std::uint64_t> calls;           /**< Client calls by name. */
    engine::Verdict verdict = engine::Verdict::kAccepted; /**< The worst. */
    /** Calls that go to the framework. */
    std::uint64_t requests() const;
};

/** A transaction with all that its rules need. */
class Commit
{
public:
    Commit(const Card &card, engine::Datastore candidate);

    const engine::Transaction &transaction() const { return *m_transaction; }
    /** Asks the shipped plug-in. */
    engine::Verdict ask(const std::vector<engine::Request> &requests, engine::Observer &observer);
    /** Asks somebody else. */
    engine::Verdict ask(const std::vector<engine::Request> &requests, engine::Observer &observer,
                        const engine::Callback &callback);

private:
    std::uint32_t m_links;
    engine::Framework m_framework;
    velconfd::Context m_context;
    engine::Transaction *m_transaction;
};

} // namespace bench
