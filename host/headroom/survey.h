/**
 * @file
 * The figures of a card, before and after a change, and what the rules say.
 */
#pragma once

#include "checker/checker.h"
#include "headroom/figures.h"

#include <optional>
#include <string>
#include <vector>

namespace host
{

struct Survey {
    Figures figures; /**< After the change, if there is one that could be made. */
    std::optional<Figures> before;
    Outcome
        outcome; /**< What the rules with limits say; its problems keep them from being asked. */

    /** Whether there is a change whose figures are unknown: those are the ones before it. */
    bool lacks_change() const { return outcome.form != ChangeForm::kNone && !before; }
};

/**
 * Reads the figures of what is committed and of a change, and asks the rules that limit them about
 * it, each about all its nodes.
 */
Survey survey(Checker &checker, const Change &change, const Policy &policy,
              CheckListener &listener);

/** What the rules say of a figure. */
struct RuleVerdict {
    enum class State {
        kAccepted,
        kWarning,
        kRejected,
        kCheckOff,   /**< The card does not check bandwidth. */
        kNoSettings, /**< No rule is asked about the link. */
        kUnknown     /**< The rules could not be asked. */
    };
    State state = State::kUnknown;
    std::string text; /**< As the operator reads it. */

    /** Whether an operator must look at it. */
    bool is_objection() const { return state == State::kWarning || state == State::kRejected; }
};

/** In a word or two, such as `accepted`. */
const char *words_for(RuleVerdict::State state);
/** As programs read it, such as `no-settings`. */
const char *name_of(RuleVerdict::State state);

/** The worst that a rule said, about one node or (empty) any. */
RuleVerdict verdict_of(const Outcome &outcome, const std::string &rule,
                       const std::string &path = "");

/** What the bandwidth check said about a link. */
RuleVerdict verdict_on(const Survey &survey, const LinkFigures &link);

/** Rules that the survey asks. */
inline constexpr const char *kLinkRule = "onu_bw_check";
inline constexpr const char *kCardBandwidthRule = "ponlink_bw_check";
inline constexpr const char *kServicePortRule = "service_port_global_validation";
inline constexpr const char *kVlanRule = "vlan_limit_check";
inline constexpr const char *kRealTimeRule = "onu_snmp_rt_warn";

} // namespace host
