/**
 * All golden cases in one process, round after round: `soak ROUNDS EXAMPLES [PLUGIN]`. Every answer
 * must be the expected one, nothing may be left open, and at the end the process must hold no more
 * memory and files than it did after the first rounds. Exact with the C library's cache of freed
 * memory switched off: GLIBC_TUNABLES=glibc.malloc.tcache_count=0.
 */
#include "checker/model_schema.h"
#include "checker/plugin.h"
#include "engine/session/framework.h"
#include "engine/session/validation.h"
#include "support/golden_case.h"

#include <velconfd_host.h>

#include <malloc.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <numeric>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

#if defined(WITH_SANITIZERS)
// The sanitizer's own heap tells nothing here: leaks are its own to tell.
constexpr bool kCountsMemory = false;
#else
constexpr bool kCountsMemory = true;
#endif

/** What libraries keep for later; a byte for each of the validations is more. */
constexpr std::size_t kAllowedGrowth = 256;

[[noreturn]] void fail(const std::string &text)
{
    throw std::runtime_error(text);
}

/** What the process holds. */
struct Holdings {
    std::size_t heap = 0; /**< Bytes that were allocated and not freed. */
    long files = 0;

    static Holdings now()
    {
        const struct mallinfo2 memory = mallinfo2();
        const auto files = fs::directory_iterator("/proc/self/fd");
        return {memory.uordblks + memory.hblkhd, std::distance(begin(files), end(files))};
    }
};

std::ostream &operator<<(std::ostream &out, const Holdings &holdings)
{
    return out << holdings.heap << " bytes allocated, " << holdings.files << " open files";
}

struct Case {
    std::string folder;
    test_support::GoldenCase golden;
    std::multiset<std::string> expected; /**< What the rules say: see remark. */
};

std::string remark(const std::string &verdict, const std::string &place, const std::string &text)
{
    return verdict + " at " + place + ": " + text + "\n";
}

/** Reads what the rules say off a report. Nothing: it does not tell all. */
std::optional<std::multiset<std::string>> read_remarks(std::istream &report)
{
    static const std::regex kText(R"(\S+: (rejected|warning): (.*?)( \(\d+ times\))?)");
    static const std::regex kPlace(R"(  (\S+:\d+:\d+: )?(/.* \(\w+\)))");
    std::multiset<std::string> remarks;
    std::string verdict, text;
    std::smatch part;
    for (std::string line; std::getline(report, line);) {
        // The rules are not asked; or the answers are those of other cases, or left out.
        if (line == "exit 3" || line.find_first_of("{[:") == 0 || line.rfind("Edit ", 0) == 0 ||
            line.rfind("Not new", 0) == 0 || line.find("(--all=full)") != std::string::npos) {
            return std::nullopt;
        }
        if (line.rfind("    ", 0) == 0) {
            text += "\n" + line.substr(4);
        } else if (std::regex_match(line, part, kText)) {
            verdict = part[1];
            text = part[2];
        } else if (std::regex_match(line, part, kPlace)) {
            remarks.insert(remark(verdict, part[2], text));
        }
    }
    return remarks;
}

std::string text_of(const std::multiset<std::string> &remarks)
{
    return std::accumulate(remarks.begin(), remarks.end(), std::string());
}

/** Gathers what the rules say, as the operator reads it. */
class Remarks : public engine::Observer
{
public:
    explicit Remarks(const std::vector<engine::Request> &plan, std::set<std::string> &asked)
        : m_plan(plan), m_asked(asked)
    {
    }

    void after(std::size_t index, const engine::Answer &answer) override
    {
        const engine::Request &request = m_plan[index];
        m_asked.insert(request.point->opaque);
        if (answer.verdict == engine::Verdict::kAccepted) {
            return;
        }
        const bool is_warning = answer.verdict == engine::Verdict::kWarning;
        const auto end = answer.text.find_last_not_of('\n');
        m_remarks.insert(remark(is_warning ? "warning" : "rejected",
                                engine::path_of(request) + " (" + request.point->opaque + ")",
                                answer.text.substr(0, end + 1)));
    }
    const std::multiset<std::string> &all() const { return m_remarks; }

private:
    const std::vector<engine::Request> &m_plan;
    std::multiset<std::string> m_remarks;
    std::set<std::string> &m_asked;
};

class Soak
{
public:
    Soak(const fs::path &examples, const std::string &plugin) : m_plugin(plugin)
    {
        for (const auto &entry : fs::recursive_directory_iterator(examples)) {
            if (entry.path().filename() == "expected.txt") {
                read(entry.path());
            }
        }
        if (m_cases.empty()) {
            fail("no golden cases in " + examples.string());
        }
    }

    void round()
    {
        for (const Case &one : m_cases) {
            validate(one);
        }
    }

    void require_all_asked() const
    {
        for (const auto &point : m_schema->points()) {
            if (m_asked.count(point.opaque) == 0) {
                fail("a rule was never asked: " + point.opaque);
            }
        }
    }

private:
    void read(const fs::path &expected_file)
    {
        std::ifstream in(expected_file);
        const auto expected = read_remarks(in);
        const fs::path folder = expected_file.parent_path();
        if (!expected || !test_support::is_ordinary(folder)) {
            return;
        }
        m_cases.push_back(
            {folder.string(), test_support::read_golden_case(m_schema, folder), *expected});
    }

    void validate(const Case &one)
    {
        fm::use_card(one.golden.card);
        m_plugin.init();
        engine::Framework framework(one.golden.running.copy());
        velconfd::Context context;
        const auto &transaction = framework.begin(one.golden.candidate.copy());
        const auto plan = engine::plan(transaction);
        Remarks remarks(plan, m_asked);
        engine::validate(
            transaction, plan, m_plugin.validation_point(),
            [this](auto... all) { return m_plugin.validate(all...); }, context.word(),
            one.golden.all, remarks);
        if (remarks.all() != one.expected) {
            fail(one.folder + ": the rules said\n" + text_of(remarks.all()) + "instead of\n" +
                 text_of(one.expected));
        }
        if (context.open_sessions() != 0) {
            fail(one.folder + ": a read session was left open");
        }
        framework.end(transaction.handle());
        if (!engine::Hooks::instance().held.none()) {
            fail(one.folder + ": a cursor, query, result or value was left behind");
        }
    }

    std::shared_ptr<const engine::Schema> m_schema = host::model_schema();
    host::Plugin m_plugin;
    std::vector<Case> m_cases;
    std::set<std::string> m_asked;
};

void require_flat(const Holdings &before, const Holdings &after)
{
    if (after.files != before.files) {
        fail("the number of open files has changed");
    }
    if (kCountsMemory && after.heap > before.heap + kAllowedGrowth) {
        fail("the allocated memory has grown");
    }
}

void run(long rounds, const fs::path &examples, const std::string &plugin)
{
    constexpr long kReports = 10;
    Soak soak(examples, plugin);
    const long warm_up = rounds / kReports + 1;
    Holdings before;
    for (long done = 0; done < rounds; ++done) {
        if (done % warm_up == 0) {
            std::cout << done << " rounds: " << Holdings::now() << std::endl;
        }
        soak.round();
        if (done + 1 == warm_up) {
            before = Holdings::now();
        }
    }
    const Holdings after = Holdings::now();
    std::cout << rounds << " rounds: " << after << std::endl;
    require_flat(before, after);
    soak.require_all_asked();
}

} // namespace

int main(int argc, char **argv)
{
    try {
        if (argc != 3 && argc != 4) {
            fail("usage: soak ROUNDS EXAMPLES [PLUGIN]");
        }
        run(std::stol(argv[1]), argv[2], argc == 4 ? argv[3] : CARD_PLUGIN);
        return 0;
    } catch (const std::exception &failure) {
        std::cerr << "soak: " << failure.what() << '\n';
        return 1;
    }
}
