/** Rules of the plug-in beside the same rules as YANG. */
#include "benchmarks.h"
#include "card.h"
#include "commit.h"
#include "engine/data/yang_check.h"
#include "rule_trial.h"
#include "stopwatch.h"
#include "yang_rules.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace bench
{
namespace
{

/** What libyang makes of a configuration, and in which time. */
struct Validation {
    bool is_valid = false;
    double milliseconds = 0;
};

Validation validate(engine::Datastore &tree)
{
    lyd_node *root = tree.root();
    const Stopwatch stopwatch;
    const auto result =
        lyd_validate_all(&root, tree.schema().context(), LYD_VALIDATE_NO_STATE, nullptr);
    const double taken = stopwatch.milliseconds();
    ly_err_clean(tree.schema().context(), nullptr);
    return {result == LY_SUCCESS, taken};
}

std::string without_marks(std::string xml)
{
    constexpr std::string_view kMark = "<edited/>";
    for (auto at = xml.find(kMark); at != std::string::npos; at = xml.find(kMark, at)) {
        xml.erase(at, kMark.size());
    }
    return xml;
}

/** A card as libyang and as the plug-in see it. */
class YangTrial
{
public:
    YangTrial(const YangRule &rule, std::uint32_t links, bool is_spoilt)
        : m_text(text_of(rule, links, is_spoilt)), m_with(parse(rule, m_text)),
          m_without(engine::Datastore::parse(schema(), {"card.xml", without_marks(m_text)})),
          m_commit(card(links), checked_copy(m_without)),
          m_requests(requests_for(rule.rule, m_commit.transaction().candidate()))
    {
        validate(m_without);
        const auto is_left_out = [&](const engine::Request &request) {
            return rule.asks_about && !rule.asks_about(engine::path_of(request), is_spoilt);
        };
        m_requests.erase(std::remove_if(m_requests.begin(), m_requests.end(), is_left_out),
                         m_requests.end());
        const bool asks_again = m_requests.front().point->once &&
                                std::string(rule.rule) != "rg_profile_ssid_unique_check";
        m_requests.resize(asks_again ? 1 : m_requests.size()); // One asking covers the card.
    }

    Validation with_rule() { return validate(m_with); }
    Validation without_rule() { return validate(m_without); }
    Sum ask_plugin()
    {
        Sum sum;
        m_commit.ask(m_requests, sum);
        return sum;
    }

private:
    static std::string text_of(const YangRule &rule, std::uint32_t links, bool is_spoilt)
    {
        std::string text = card(links).text().text;
        if (rule.prepare) {
            rule.prepare(text);
        }
        if (is_spoilt) {
            rule.spoil(text);
        }
        return text;
    }

    static engine::Datastore parse(const YangRule &rule, const std::string &text)
    {
        auto tree = engine::Datastore::parse(schema_with(rule), {"card.xml", text});
        if (rule.complete) {
            rule.complete(tree);
        }
        return tree;
    }

    static engine::Datastore checked_copy(const engine::Datastore &tree)
    {
        auto copy = tree.copy();
        engine::check_yang(copy, "card.xml");
        return copy;
    }

    std::string m_text;
    engine::Datastore m_with;
    engine::Datastore m_without;
    Commit m_commit;
    std::vector<engine::Request> m_requests;
};

/** Both must object to a card that breaks the rule. */
void require_objection(const YangRule &rule, std::uint32_t links)
{
    YangTrial spoilt(rule, links, true);
    if (spoilt.with_rule().is_valid) {
        throw std::logic_error(std::string(rule.name) + ": YANG accepts what breaks the rule");
    }
    if (spoilt.ask_plugin().verdict == engine::Verdict::kAccepted) {
        throw std::logic_error(std::string(rule.name) + ": " + rule.rule +
                               " accepts what breaks the rule");
    }
}

void measure_yang_rule(benchmark::State &state, const YangRule &rule, std::uint32_t links)
{
    forget_rule_trial();
    require_objection(rule, links);
    YangTrial trial(rule, links, false);
    constexpr double kNever = std::numeric_limits<double>::max();
    double with = kNever;
    double without = kNever;
    double plugin = kNever;
    for (auto _ : state) {
        const auto validation = trial.with_rule();
        const auto asked = trial.ask_plugin();
        if (!validation.is_valid || asked.verdict != engine::Verdict::kAccepted) {
            state.SkipWithError("a card that keeps the rule is not accepted by both");
            return;
        }
        with = std::min(with, validation.milliseconds);
        without = std::min(without, trial.without_rule().milliseconds);
        plugin = std::min(plugin, std::chrono::duration<double, std::milli>(asked.time).count());
        state.SetIterationTime(validation.milliseconds / 1000);
    }
    state.counters["links"] = links;
    state.counters["yang_ms"] = with;
    state.counters["yang_without_ms"] = without;
    state.counters["yang_added_ms"] = std::max(with - without, 0.0);
    state.counters["plugin_ms"] = plugin;
}

} // namespace

void register_yang_rules()
{
    for (const YangRule &rule : yang_rules()) {
        for (const std::uint32_t links : kLinks) {
            if (links > rule.most_links) {
                break;
            }
            benchmark::RegisterBenchmark(
                (std::string("yang/") + rule.name + "/" + std::to_string(links)).c_str(),
                [&rule, links](benchmark::State &state) { measure_yang_rule(state, rule, links); })
                ->UseManualTime()
                ->MinTime(0.5)
                ->Unit(benchmark::kMillisecond);
        }
    }
}

} // namespace bench
