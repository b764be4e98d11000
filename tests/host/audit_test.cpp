#include "audit/audit.h"

#include "checker/checker.h"
#include "engine/data/source_file.h"
#include "support/golden_case.h"

#include <gmock/gmock.h>

namespace
{

namespace fs = std::filesystem;
using host::AuditFinding;

/** Asks all rules about all nodes of cards, each as it is and after its changes. */
class Asking
{
public:
    explicit Asking(host::Audit &audit) : m_audit(audit) {}

    void ask(const fs::path &folder)
    {
        try {
            if (!open(folder)) {
                return;
            }
            for (const char *name : {"change.xml", "change.json", "overbook.xml"}) {
                if (exists(folder / name)) {
                    ask({host::ChangeForm::kEdit, engine::read_source(folder / name)});
                }
            }
        } catch (const std::exception &) {
            // A case of a card or configuration that is faulty.
        }
    }

private:
    /** @return Whether there is a card. Cases of the same one share it. */
    bool open(const fs::path &folder)
    {
        const auto running = test_support::inherited(folder, "running.xml");
        const auto card = test_support::inherited(folder, "card.json");
        const std::string name = running.value_or("").string() + " " + card.value_or("").string();
        if (!running || (m_checker && name == m_name)) {
            return running.has_value();
        }
        m_checker.reset();
        m_checker = std::make_unique<host::Checker>(
            card ? fm::parse_card(engine::read_source(*card).text) : fm::default_card(),
            engine::read_source(*running), CARD_PLUGIN);
        m_name = name;
        ask(host::Change{});
        return true;
    }

    void ask(const host::Change &change)
    {
        host::Policy policy;
        policy.all = true;
        policy.everything = true;
        policy.in_process = true;
        policy.reads = engine::ReadLog::Mode::kPlaces;
        host::CheckListener nobody;
        m_audit.add(m_checker->check(change, policy, nobody).runs);
    }

    host::Audit &m_audit;
    std::unique_ptr<host::Checker> m_checker;
    std::string m_name; /**< Of the card that is open. */
};

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
    Asking asking(audit);
    for (const auto &rule : fs::directory_iterator(GOLDEN_CASES)) {
        if (exists(rule.path() / "overbook.xml")) {
            asking.ask(rule.path());
        } else if (rule.is_directory()) {
            for (const auto &golden : fs::directory_iterator(rule.path())) {
                asking.ask(golden.path());
            }
        }
    }
    EXPECT_THAT(texts_of(audit.findings()),
                testing::ElementsAreArray(texts_of(host::known_findings())));
    EXPECT_GT(audit.points(), 25U);
}

} // namespace
