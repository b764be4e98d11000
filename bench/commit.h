/** A transaction on a card, and the plug-in to ask about it. */
#pragma once

#include "card.h"
#include "framework.h"
#include "plugin.h"
#include "validation.h"

#include <velconfd_host.h>

#include <cstdint>
#include <vector>

namespace bench
{

/** The shipped plug-in; its figures are those of a card with so many links. */
host::Plugin &plugin(std::uint32_t links);

/** The plug-in's copy whose client calls are recorded; likewise. */
engine::Callback recorded_plugin(std::uint32_t links);

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
