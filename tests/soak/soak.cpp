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
    std::string expected; /**< What the rules say: the indented lines. */
};

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
        std::string &text =
            answer.verdict == engine::Verdict::kRejected ? m_objections : m_warnings;
        text += "  " + engine::path_of(request) + " (" + request.point->opaque + ")\n";
        std::istringstream lines(answer.text);
        for (std::string line; std::getline(lines, line);) {
            text += "    " + line + "\n";
        }
    }
    std::string text() const { return m_objections + m_warnings; }

private:
    const std::vector<engine::Request> &m_plan;
    std::string m_objections;
    std::string m_warnings;
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
        std::string expected;
        std::ifstream in(expected_file);
        std::string line;
        while (std::getline(in, line)) {
            expected += line.rfind("  ", 0) == 0 ? line + "\n" : "";
            // The rules are not asked; or the answers are those of other cases.
            if (line == "exit 3" || line.find_first_of("{[:") == 0 || line.rfind("Edit ", 0) == 0) {
                return;
            }
        }
        const fs::path folder = expected_file.parent_path();
        m_cases.push_back(
            {folder.string(), test_support::read_golden_case(m_schema, folder), expected});
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
        if (remarks.text() != one.expected) {
            fail(one.folder + ": the rules said\n" + remarks.text() + "instead of\n" +
                 one.expected);
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
