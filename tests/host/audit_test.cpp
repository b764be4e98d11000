#include "audit/audit.h"

#include "checker/checker.h"
#include "support/golden_case.h"

#include <gmock/gmock.h>

namespace
{

namespace fs = std::filesystem;
using host::AuditFinding;

/** Asks all rules about all nodes of a card, as it is and after a change. */
void ask(const fs::path &folder, host::Audit &audit)
{
    const auto running = test_support::inherited(folder, "running.xml");
    if (!running) {
        return;
    }
    host::Policy policy;
    policy.all = true;
    policy.everything = true;
    policy.reads = engine::ReadLog::Mode::kPlaces;
    const auto card = test_support::inherited(folder, "card.json");
    host::CheckListener nobody;
    try {
        host::Checker checker(card ? fm::parse_card(engine::read_source(*card).text)
                                   : fm::default_card(),
                              engine::read_source(*running), CARD_PLUGIN);
        audit.add(checker.check({}, policy, nobody).runs);
        for (const char *name : {"change.xml", "change.json", "overbook.xml"}) {
            if (exists(folder / name)) {
                const auto edit = engine::read_source(folder / name);
                audit.add(checker.check({host::ChangeForm::kEdit, edit}, policy, nobody).runs);
            }
        }
    } catch (const std::exception &) {
        // A case of a card or configuration that is faulty.
    }
}

std::vector<std::string> texts_of(const std::vector<AuditFinding> &findings)
{
    std::vector<std::string> texts;
    for (const auto &each : findings) {
        texts.push_back(std::string(word_for(each.kind)) + ": " + each.rule + " at " + each.point +
                        ": " + each.path);
    }
    return texts;
}

/** What a rule reads is what it declares, and every exception has its reason, and is one. */
TEST(Audit, FindsWhatIsKnownOverAllGoldenCases)
{
    host::Audit audit;
    for (const auto &rule : fs::directory_iterator(GOLDEN_CASES)) {
        if (exists(rule.path() / "overbook.xml")) {
            ask(rule.path(), audit);
        } else if (rule.is_directory()) {
            for (const auto &golden : fs::directory_iterator(rule.path())) {
                ask(golden.path(), audit);
            }
        }
    }
    EXPECT_THAT(texts_of(audit.findings()),
                testing::ElementsAreArray(texts_of(host::known_findings())));
    EXPECT_GT(audit.points(), 25U);
}

} // namespace
