/** A full card and the changes that the benchmarks make to it. */
#pragma once

#include "framework.h"
#include "plugin.h"
#include "validation.h"

#include <velconfd_host.h>

#include <memory>
#include <string>
#include <vector>

namespace bench
{

/** 16 PON links with 128 ONUs each, 512 line profiles, 4096 service ports; parsed and checked once.
 */
struct FullCard {
    engine::Source text;     /**< The running configuration as XML. */
    engine::Source everyday; /**< An edit that gives one ONU another line profile. */
    engine::Datastore running;

    static const FullCard &instance();
};

/** A transaction on the full card with all that its rules need. */
class Transaction
{
public:
    explicit Transaction(engine::Datastore candidate);

    const engine::Transaction &get() const { return *m_transaction; }
    /** Asks the plug-in about all that the change calls for. */
    engine::Verdict validate(const std::vector<engine::Request> &requests,
                             engine::Observer &observer);

private:
    engine::Framework m_framework;
    velconfd::Context m_context;
    engine::Transaction *m_transaction;
};

/** The plug-in, loaded and initialised for the full card. */
host::Plugin &plugin();

/** Writes a table of what each rule asks the framework for, for the everyday edit. */
void print_rule_table();

} // namespace bench
