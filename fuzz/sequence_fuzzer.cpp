/**
 * Sequences of edits and commits on a card that is held open, with answers used again; then each
 * edit by itself, on a card opened anew. Both must report the same: verdict, texts, their order,
 * causes and faults.
 *
 * --forget=node, entry or subtree plants a fault: reads of that extent are not noted. So does
 * --forget=undo: an edit that is undone stays in the index of references.
 */
#include "base_card.h"
#include "byte_reader.h"
#include "checker/model_schema.h"
#include "checker/plugin.h"
#include "edit_maker.h"
#include "finding.h"
#include "support/open_card.h"
#include "zlog_host.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace
{

using fuzz::require;
using test_support::full_report;
using test_support::open_card;

/** A check of a sequence, and what the card was like before it. */
struct Step {
    std::string running;
    std::string edit;
    bool all = false;
    std::string report;
};

/** What the sequences were made of, told in the end. */
struct Statistics {
    std::array<std::size_t, 5> results{}; /**< By host::Result. */
    std::size_t commits = 0;
    std::size_t made = 0;
    std::size_t reused = 0;

    ~Statistics()
    {
        std::cout << "edits accepted " << results[0] << ", rejected " << results[1]
                  << ", not checked " << results[3] << "; commits " << commits << "; answers given "
                  << made << ", used again " << reused << '\n';
    }
};

Statistics &statistics()
{
    static Statistics all;
    return all;
}

fm::Card some_card(fuzz::ByteReader &bytes)
{
    fm::Card card = fm::default_card();
    card.do_bw_check = !bytes.one_in(4);
    card.max_onus_per_pon_link = static_cast<int>(1 + bytes.below(3));
    return card;
}

host::Outcome check(host::Checker &checker, const std::string &edit, bool all, bool reuse)
{
    return test_support::check(checker, {host::ChangeForm::kEdit, {"edit.xml", edit}}, all, reuse);
}

void collect(const lyd_node *node, std::vector<const lyd_node *> &nodes)
{
    for (; node != nullptr; node = node->next) {
        if (!lysc_is_key(node->schema)) {
            nodes.push_back(node);
        }
        collect(lyd_child(node), nodes);
    }
}

/** An edit of some node of the card, or now and then of many. */
std::string make_edit(const engine::Datastore &running, fuzz::ByteReader &bytes)
{
    static constexpr std::array<std::size_t, 4> kOneIn{4, 8, 16, 32};
    fuzz::EditMaker maker(*host::model_schema(), bytes, bytes.pick(kOneIn));
    std::vector<const lyd_node *> nodes;
    collect(running.root(), nodes);
    if (nodes.empty() || bytes.one_in(6)) {
        return maker.make();
    }
    return maker.make_at(nodes[bytes.word() % nodes.size()]);
}

bool forgets_undo = false;

void plant_fault(std::string_view fault)
{
    constexpr std::array<std::string_view, 3> kExtents{"node", "entry", "subtree"};
    const auto *extent = std::find(kExtents.begin(), kExtents.end(), fault);
    if (extent != kExtents.end()) {
        engine::ReadLog::instance().forget(
            static_cast<engine::ReadExtent>(extent - kExtents.begin() + 1));
        return;
    }
    forgets_undo = fault == "undo";
    require(forgets_undo, "an unknown fault cannot be planted");
}

/** Goes on while there are decisions left. */
std::vector<Step> make_steps(const fm::Card &card, fuzz::ByteReader &bytes)
{
    constexpr std::size_t kMaxSteps = 24;
    std::vector<Step> steps;
    auto checker = open_card(card, test_support::kBaseCard);
    if (forgets_undo) {
        engine::Framework::current().forget_undo();
    }
    std::string running = checker->running().print(engine::Format::kXml);
    while (!bytes.is_empty() && steps.size() < kMaxSteps) {
        Step step{running, make_edit(checker->running(), bytes), false, ""};
        step.all = bytes.one_in(2);
        host::Outcome outcome = check(*checker, step.edit, step.all, true);
        step.report = full_report(outcome);
        steps.push_back(std::move(step));
        outcome.confirmation.answer = true;
        ++statistics().results.at(static_cast<std::size_t>(outcome.result()));
        statistics().reused += outcome.reused_count();
        statistics().made += outcome.answered() - outcome.reused_count();
        if (outcome.result() == host::Result::kAccepted && bytes.one_in(4)) {
            ++statistics().commits;
            checker->commit(outcome);
            running = checker->running().print(engine::Format::kXml);
        }
    }
    return steps;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // The library stays loaded: the fuzzer watches its code from the first input to the last.
    static host::Plugin plugin(CARD_PLUGIN);
    zlog_host::set_level(zlog_host::kOff);
    constexpr std::string_view kForget = "--forget=";
    if (*argc > 1 && std::string_view((*argv)[1]).substr(0, kForget.size()) == kForget) {
        plant_fault(std::string_view((*argv)[1]).substr(kForget.size()));
        (*argv)[1] = (*argv)[0];
        ++*argv;
        --*argc;
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::ByteReader bytes(data, size);
    const fm::Card card = some_card(bytes);
    for (const Step &step : make_steps(card, bytes)) {
        const std::string expected =
            full_report(check(*open_card(card, step.running), step.edit, step.all, false));
        require(step.report == expected, "on an open card the report is\n" + step.report +
                                             "\nand on a new one\n" + expected + "\nRunning:\n" +
                                             step.running + "\nEdit:\n" + step.edit);
    }
    return 0;
}
