#include "support/open_card.h"

#include "engine/data/source_file.h"
#include "support/golden_case.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using test_support::check;
using test_support::full_report;

struct Case {
    fs::path folder;
    host::Change change;
    bool all = false;
    std::string expected; /**< The report on a card opened for this change alone. */
};

/** Golden cases of one card: the same capabilities, and the same running configuration. */
struct Cases {
    fm::Card card;
    std::string running;
    std::vector<Case> cases;
};

std::string report(host::Checker &checker, const Case &one, bool reuse)
{
    return full_report(check(checker, one.change, one.all, reuse));
}

host::Change change_in(const fs::path &folder)
{
    for (const char *name : {"change.xml", "change.json", "overbook.xml", "candidate.xml"}) {
        if (const auto file = folder / name; exists(file)) {
            const bool is_whole = std::string_view(name) == "candidate.xml";
            return {is_whole ? host::ChangeForm::kCandidate : host::ChangeForm::kEdit,
                    engine::read_source(file)};
        }
    }
    return {};
}

/** @throws engine::InputError  A file cannot be read: there is nothing to open, or to check. */
void add(const fs::path &folder, std::map<std::string, Cases> &cards)
{
    const auto running = test_support::inherited(folder, "running.xml");
    const auto card = test_support::inherited(folder, "card.json");
    Case one{folder, change_in(folder), false, ""};
    if (!running || one.change.form == host::ChangeForm::kNone) {
        return;
    }
    std::string word;
    for (std::ifstream arguments(folder / "arguments"); arguments >> word;) {
        one.all = one.all || word == "--all";
    }
    const Cases place{card ? fm::parse_card(engine::read_source(*card).text) : fm::default_card(),
                      engine::read_source(*running).text,
                      {}};
    one.expected = report(*test_support::open_card(place.card, place.running), one, false);
    const std::string name = running->string() + (card ? card->string() : "");
    cards.try_emplace(name, place).first->second.cases.push_back(std::move(one));
}

std::map<std::string, Cases> golden_cards()
{
    std::map<std::string, Cases> cards;
    for (const auto &entry : fs::recursive_directory_iterator(GOLDEN_CASES)) {
        if (entry.path().filename() == "expected.txt") {
            try {
                add(entry.path().parent_path(), cards);
            } catch (const std::exception &) {
                continue; // It is about what cannot be read.
            }
        }
    }
    return cards;
}

/** Whatever was checked before, and answered, and undone: the report is that of a new card. */
TEST(OpenCard, ReportsGoldenCasesAsANewCardDoes)
{
    std::size_t count = 0;
    for (auto &[name, golden] : golden_cards()) {
        const auto checker = test_support::open_card(golden.card, golden.running);
        for (int round = 0; round < 2; ++round) {
            for (const Case &one : golden.cases) {
                EXPECT_EQ(report(*checker, one, true), one.expected) << one.folder;
                ++count;
            }
            std::reverse(golden.cases.begin(), golden.cases.end());
        }
    }
    EXPECT_GT(count, 400U);
}

/** Places in a file that was printed anew are others. */
std::string without_lines(const std::string &report)
{
    return std::regex_replace(report, std::regex("\"line\": \\d+"), "");
}

/** Each on top of those before it that were accepted and committed. */
TEST(OpenCard, ReportsGoldenCasesAfterCommitsAsANewCardDoes)
{
    std::size_t commits = 0;
    for (auto &[name, golden] : golden_cards()) {
        std::vector<std::pair<std::string, std::string>> steps; // What was committed; the report.
        auto checker = test_support::open_card(golden.card, golden.running);
        std::string running = checker->running().print(engine::Format::kXml);
        for (const Case &one : golden.cases) {
            steps.emplace_back(running, "");
            host::Outcome outcome = check(*checker, one.change, one.all, true);
            steps.back().second = without_lines(full_report(outcome));
            outcome.confirmation.answer = true;
            if (outcome.result() == host::Result::kAccepted) {
                checker->commit(outcome);
                running = checker->running().print(engine::Format::kXml);
                ++commits;
            }
        }
        checker.reset();
        for (std::size_t i = 0; i < steps.size(); ++i) {
            const auto anew = test_support::open_card(golden.card, steps[i].first);
            EXPECT_EQ(steps[i].second, without_lines(report(*anew, golden.cases[i], false)))
                << golden.cases[i].folder;
        }
    }
    EXPECT_GT(commits, 50U);
}

} // namespace
