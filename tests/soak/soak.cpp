/**
 * Very many validations in one process: `soak COUNT`. Each is a change to the card as the accepted
 * ones before have left it. Every answer must be the expected one, and at the end the process must
 * hold no more than it did after the first rounds: memory, open files, cursors, queries, values.
 */
#include "checker/model_schema.h"
#include "checker/plugin.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "engine/session/framework.h"
#include "engine/session/validation.h"
#include "steps.h"
#include "support/base_card.h"

#include <velconfd_host.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

namespace
{

using engine::Datastore;

#if defined(WITH_SANITIZERS)
// What was freed stays resident for a while: leaks are the sanitizer's to tell.
constexpr bool kCountsMemory = false;
#else
constexpr bool kCountsMemory = true;
#endif

/** What the process holds. */
struct Holdings {
    long resident_kib = 0;
    long files = 0;

    static Holdings now()
    {
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages >>
            pages; // The second figure is the resident one.
        const auto files = std::filesystem::directory_iterator("/proc/self/fd");
        return {pages * (sysconf(_SC_PAGESIZE) / 1024), std::distance(begin(files), end(files))};
    }
};

std::ostream &operator<<(std::ostream &out, const Holdings &holdings)
{
    return out << holdings.resident_kib << " KiB resident, " << holdings.files << " open files";
}

std::string with_digit(std::string text, char digit)
{
    std::replace(text.begin(), text.end(), soak::kDigitMark, digit);
    return text;
}

/** Gathers what the rules object to and warn of, and which were asked. */
class Remarks : public engine::Observer
{
public:
    Remarks(const std::vector<engine::Request> &plan, std::set<std::string> &rules)
        : m_plan(plan), m_rules(rules)
    {
    }

    void after(std::size_t index, const engine::Answer &answer) override
    {
        const engine::Request &request = m_plan[index];
        m_rules.insert(request.point->opaque);
        if (answer.verdict != engine::Verdict::kAccepted) {
            m_texts.push_back(request.point->opaque + ": " + answer.text);
        }
    }
    const std::vector<std::string> &texts() const { return m_texts; }

private:
    const std::vector<engine::Request> &m_plan;
    std::vector<std::string> m_texts;
    std::set<std::string> &m_rules;
};

[[noreturn]] void fail(const std::string &text)
{
    throw std::runtime_error(text);
}

class Soak
{
public:
    Soak() : m_plugin(CARD_PLUGIN), m_card(host::model_schema())
    {
        m_plugin.init();
        const engine::Source source{"base card", test_support::kBaseCard};
        m_card = Datastore::parse(m_card.schema_ptr(), source);
        engine::check_yang(m_card, source);
    }

    void validate(const soak::Step &step, char digit);

    /** Whether each rule of the model was asked by now. */
    bool has_asked_all() const
    {
        const auto &points = m_card.schema().points();
        return std::all_of(points.begin(), points.end(),
                           [this](const auto &point) { return m_asked.count(point.opaque) != 0; });
    }

private:
    Datastore edited(const std::string &edit) const
    {
        const engine::Source source{"edit",
                                    "<config xmlns=\"urn:olt:gpon:base\" "
                                    "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\">" +
                                        edit + "</config>"};
        Datastore candidate = engine::apply_edit(m_card, source);
        engine::check_yang(candidate, source);
        return candidate;
    }
    engine::Verdict ask(Datastore candidate, std::vector<std::string> &texts);

    host::Plugin m_plugin;
    Datastore m_card;
    std::set<std::string> m_asked;
};

engine::Verdict Soak::ask(Datastore candidate, std::vector<std::string> &texts)
{
    engine::Framework framework(m_card.copy());
    velconfd::Context context;
    const auto &transaction = framework.begin(std::move(candidate));
    const auto plan = engine::plan(transaction);
    Remarks remarks(plan, m_asked);
    const auto verdict = engine::validate(
        transaction, plan, m_plugin.validation_point(),
        [this](auto... all) { return m_plugin.validate(all...); }, context.word(), true, remarks);
    texts = remarks.texts();
    if (context.open_sessions() != 0) {
        fail("a read session was left open");
    }
    framework.end(transaction.handle());
    if (!engine::Hooks::instance().held.none()) {
        fail("a cursor, query, result or value was left behind");
    }
    return verdict;
}

void Soak::validate(const soak::Step &step, char digit)
{
    Datastore candidate = edited(with_digit(step.edit, digit));
    std::vector<std::string> texts;
    const auto verdict = ask(candidate.copy(), texts);
    std::vector<std::string> expected;
    for (const auto &remark : step.remarks) {
        expected.push_back(with_digit(remark, digit));
    }
    if (texts != expected) {
        std::string text = "the change " + step.edit + "\nwas answered with";
        for (const auto &remark : texts) {
            text += "\n  " + remark;
        }
        fail(text);
    }
    if (verdict != engine::Verdict::kRejected) {
        m_card = std::move(candidate);
    }
}

/** What the C library keeps for later; a byte for each of many validations is more. */
constexpr long kAllowedGrowthKib = 256;

void require_flat(const Holdings &before, const Holdings &after)
{
    if (after.files != before.files) {
        fail("the number of open files has changed");
    }
    if (kCountsMemory && after.resident_kib > before.resident_kib + kAllowedGrowthKib) {
        fail("the resident memory has grown");
    }
}

void run(long count)
{
    constexpr long kReports = 10;
    const auto &steps = soak::round_of_steps();
    const auto round = static_cast<long>(steps.size());
    const long warm_up = std::max(count / kReports, 2 * round);
    Soak soak;
    Holdings before;
    for (long done = 0; done < count; ++done) {
        if (done == warm_up) {
            before = Holdings::now();
        }
        if (done % std::max(count / kReports, 1L) == 0) {
            std::cout << done << " validations: " << Holdings::now() << std::endl;
        }
        const auto digit = static_cast<char>('0' + done / round % 10);
        soak.validate(steps[static_cast<std::size_t>(done % round)], digit);
    }
    const Holdings after = Holdings::now();
    std::cout << count << " validations: " << after << std::endl;
    if (count <= warm_up) {
        fail("more validations are needed to see whether anything grows");
    }
    require_flat(before, after);
    if (!soak.has_asked_all()) {
        fail("a rule was never asked");
    }
}

} // namespace

int main(int argc, char **argv)
{
    try {
        if (argc != 2) {
            fail("usage: soak COUNT");
        }
        run(std::stol(argv[1]));
        return 0;
    } catch (const std::exception &failure) {
        std::cerr << "soak: " << failure.what() << '\n';
        return 1;
    }
}
