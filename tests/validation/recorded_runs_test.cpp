/**
 * Rules on golden cases, step by step: every client call, trace line and message in its order, and
 * behind each call what the rule answers when that call fails. The files in runs/ are the
 * expectation; GPON_UPDATE_RUNS=1 in the environment writes them anew, to be read before they are
 * kept.
 */
#include "fixture.h"

#include "client_calls.h"
#include "engine/session/validation.h"
#include "support/golden_case.h"

#include <fstream>
#include <numeric>
#include <regex>
#include <set>
#include <utility>

namespace
{

namespace fs = std::filesystem;
using engine::Answer;
using engine::Request;

const fs::path kRoot = SOURCE_DIR;

/** Comments, a line `== case`, the steps of the file's rule; `-- case`: no call fails. */
struct Section {
    std::string comments;
    std::string mark;
    std::string folder;
    std::string steps;

    bool with_failures() const { return mark == "== "; }
};

std::vector<Section> read_sections(const fs::path &file)
{
    std::vector<Section> sections;
    std::ifstream in(file);
    std::string comments;
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("# ", 0) == 0) {
            comments += line + "\n";
        } else if (line.rfind("== ", 0) == 0 || line.rfind("-- ", 0) == 0) {
            sections.push_back({comments, line.substr(0, 3), line.substr(3), ""});
            comments.clear();
        } else {
            sections.back().steps += line + "\n";
        }
    }
    return sections;
}

void write_sections(const fs::path &file, const std::vector<Section> &sections)
{
    std::ofstream out(file);
    for (const Section &section : sections) {
        out << section.comments << section.mark << section.folder << "\n" << section.steps;
    }
}

class Listener : public engine::Observer
{
public:
    void after(std::size_t /*request*/, const Answer &given) override { answer = given; }
    Answer answer;
};

constexpr std::pair<const char *, int> kErrors[] = {
    {"OS", CONFD_ERR_OS}, {"NOEXISTS", CONFD_ERR_NOEXISTS}, {"BADTYPE", CONFD_ERR_BADTYPE}};

class RecordedRun : public CardTest, public testing::WithParamInterface<fs::path>
{
protected:
    RecordedRun()
    {
        client().throw_faults = true;
        client().clock_step = std::chrono::nanoseconds(1234567891);
    }
    ~RecordedRun() override { fm::use_card(fm::default_card()); }

    /** The steps of the file's rule on a case. */
    std::string run(const fs::path &folder, bool with_failures)
    {
        m_with_failures = with_failures;
        const bool is_golden = *folder.begin() == "examples";
        auto golden =
            test_support::read_golden_case(test_support::schema(), kRoot / folder, is_golden);
        fm::use_card(golden.card);
        EXPECT_EQ(lib_init(), 0);
        given(std::move(golden.running), std::move(golden.candidate));
        const auto requests = requests_of_rule();
        if (requests.empty()) {
            return "the rule is not asked\n";
        }
        const std::string path = engine::path_of(requests.front());
        return "  " + path + "\n" + record();
    }

private:
    std::vector<Request> requests_of_rule() const
    {
        auto requests = engine::plan(transaction());
        const std::string rule = GetParam().stem();
        std::erase_if(requests, [&](const Request &r) { return r.point->opaque != rule; });
        return requests;
    }

    /** Asks about the first request, in a transaction of its own. Return The answer in words. */
    std::string ask_rule()
    {
        client().clock = std::chrono::nanoseconds(0);
        Listener listener;
        try {
            engine::validate(transaction(), {requests_of_rule().front()}, "gpon_validation_check",
                             validate, tctx()->vcb_opaque, false, listener);
        } catch (const std::runtime_error &fault) {
            EXPECT_EQ(fault.what(), client().fault);
        }
        client().clock.reset();
        engine::Hooks::instance().clear_failure();
        const std::string left = left_behind();
        begin_again();
        expect_nothing_held();
        if (!client().fault.empty()) {
            return "ends the process: " + std::exchange(client().fault, "");
        }
        return in_words(listener.answer) + left;
    }

    static std::string in_words(const Answer &answer)
    {
        const std::string text = answer.text.empty() ? "" : ": " + in_one_line(answer.text);
        switch (answer.result) {
        case CONFD_OK:
            return "accepted" + text;
        case CONFD_ERR:
            return "rejected" + text;
        case CONFD_VALIDATION_WARN:
            return "warned" + text;
        default:
            return "result " + std::to_string(answer.result) + text;
        }
    }

    /** Cursors may be left to the transaction; nothing else may. */
    std::string left_behind()
    {
        const auto &held = engine::Hooks::instance().held;
        EXPECT_EQ(held.queries, 0);
        EXPECT_EQ(held.query_results, 0);
        EXPECT_EQ(held.values, 0);
        EXPECT_EQ(open_sessions(), 0);
        EXPECT_EQ(client().lent, nullptr) << "a leaf-list's array or an XPath text";
        return held.cursors == 0 ? "" : "; cursors left: " + std::to_string(held.cursors);
    }

    static std::string in_words(const zlog_host::Line &line)
    {
        return std::to_string(line.level) + " " + line.file + " " + line.function + ": " +
               line.text;
    }

    /** Every call takes its time. */
    static std::string without_times(const std::string &text)
    {
        return std::regex_replace(text, std::regex("[0-9]+ (ms|usecs|secs)"), "");
    }

    static std::string in_one_line(const std::string &text)
    {
        const std::string line = std::regex_replace(text, std::regex("\n"), "\\n");
        return std::regex_replace(line, std::regex("0x[0-9a-f]+"), "0x...");
    }

    std::string record()
    {
        // The last error of the client library shows in some lines.
        engine::Hooks::instance().fail_call(1, CONFD_ERR_OS);
        maapi_exists(sock(), tctx()->thandle, "/config");
        engine::Hooks::instance().reset_counts();
        std::vector<ClientCall> calls;
        client().record = &calls;
        zlog_host::write_to([&calls](const zlog_host::Line &line) {
            // zlog itself has asked whether the level is enabled.
            if (!calls.empty() &&
                calls.back().text == "zlog_level_enabled[" + std::to_string(line.level) + "]") {
                calls.pop_back();
            }
            calls.push_back({"    " + in_words(line)});
        });
        const std::string answer = ask_rule();
        client().record = nullptr;
        zlog_host::write_to([](const zlog_host::Line &) {});
        m_usual_lines.clear();
        for (const ClientCall &call : calls) {
            m_usual_lines.insert(without_times(in_one_line(call.text)));
        }
        if (m_with_failures) {
            expect_rejection_without_memory();
        }
        std::string steps;
        for (const ClientCall &call : calls) {
            steps += "    " + in_one_line(call.text) + "\n";
            if (m_with_failures && call.failing_call != 0) {
                steps += answers_to_failures(call.failing_call, answer);
            }
        }
        return steps + "  " + answer + "\n";
    }

    /** What the rule answers when the call fails, and the lines that only then are written. */
    std::string answers_to_failures(std::uint64_t call, const std::string &answer)
    {
        const std::string for_good = answer_to_failure(call, true);
        std::set<std::string> new_lines;
        zlog_host::write_to([&](const zlog_host::Line &line) {
            const std::string text = "    " + in_one_line(in_words(line));
            const bool is_own = line.category == "gpon-valid" || line.category == "debug";
            if (is_own && m_usual_lines.count(without_times(text)) == 0) {
                new_lines.insert("      |" + text + "\n");
            }
        });
        const std::string once = answer_to_failure(call, false);
        zlog_host::write_to([](const zlog_host::Line &) {});
        const bool is_fault = once.rfind("ends", 0) == 0; // What follows is not reached.
        const std::string lines =
            is_fault ? "" : std::accumulate(new_lines.begin(), new_lines.end(), std::string());
        return (once != answer || !lines.empty() ? "      | " + once + "\n" + lines : "") +
               (for_good != once ? "      | and all after it: " + for_good + "\n" : "");
    }

    /** One answer where the kind of error makes no difference. */
    std::string answer_to_failure(std::uint64_t call, bool from_then_on)
    {
        std::set<std::string> answers;
        std::string by_error;
        for (const auto &[name, code] : kErrors) {
            client().no_session = code == CONFD_ERR_NOEXISTS ? 0 : -1;
            engine::Hooks::instance().fail_call(call, code, from_then_on);
            const std::string answer = ask_rule();
            EXPECT_TRUE(engine::Hooks::instance().has_failed());
            answers.insert(answer);
            by_error += (by_error.empty() ? "" : "; ") + std::string(name) + ": " + answer;
        }
        return answers.size() == 1 ? *answers.begin() : by_error;
    }

    /** Wherever memory runs out, the rule is left in order, and all that it held is released. */
    void expect_rejection_without_memory()
    {
        std::string last_line;
        zlog_host::write_to([&](const zlog_host::Line &line) { last_line = in_words(line); });
        for (int line = 1;; ++line) {
            client().lines_until_bad_alloc = line;
            const std::string answer = ask_rule();
            if (std::exchange(client().lines_until_bad_alloc, 0) != 0) {
                break;
            }
            EXPECT_THAT(answer, testing::StartsWith("rejected")) << "line " << line;
            EXPECT_EQ(last_line, "12 src/validation/gpon_card_valid validate: Validator of " +
                                     GetParam().stem().string() + " failed (std::bad_alloc).");
        }
        zlog_host::write_to([](const zlog_host::Line &) {});
    }

    bool m_with_failures = false;
    std::set<std::string> m_usual_lines; /**< Of the run without a failure; no times. */
};

TEST_P(RecordedRun, TakesTheStepsThatAreWritten)
{
    auto sections = read_sections(GetParam());
    ASSERT_FALSE(sections.empty());
    for (Section &section : sections) {
        SCOPED_TRACE(section.folder);
        const std::string steps = run(section.folder, section.with_failures());
        if (std::getenv("GPON_UPDATE_RUNS") != nullptr) {
            section.steps = steps;
        }
        EXPECT_EQ(section.steps, steps);
    }
    if (std::getenv("GPON_UPDATE_RUNS") != nullptr) {
        write_sections(GetParam(), sections);
    }
}

std::vector<fs::path> all_files()
{
    std::vector<fs::path> files;
    for (const auto &entry : fs::directory_iterator(kRoot / "tests/validation/runs")) {
        if (entry.path().extension() == ".txt") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

INSTANTIATE_TEST_SUITE_P(Rules, RecordedRun, testing::ValuesIn(all_files()),
                         [](const auto &file) { return file.param.stem().string(); });

TEST(RecordedRuns, ShowEveryRule)
{
    for (const auto &point : test_support::schema()->points()) {
        const auto file = kRoot / "tests/validation/runs" / (point.opaque + ".txt");
        EXPECT_TRUE(exists(file)) << point.opaque;
    }
}

} // namespace
