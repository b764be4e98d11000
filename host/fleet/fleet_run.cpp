#include "fleet/fleet_run.h"

#include "checker/model_schema.h"
#include "fleet/worker_pool.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <sys/wait.h>
#include <utility>

namespace host
{
namespace
{

/** A worker's answer: a digit for the result, and the line; nothing: the known result holds. */
std::string answer_of(const std::optional<CardResult> &result)
{
    return result ? std::to_string(static_cast<int>(result->result)) + result->line : "";
}

/** Such as "was ended by a signal: Killed". */
std::string end_text(int status)
{
    return WIFSIGNALED(status)
               ? std::string("was ended by a signal: ") + strsignal(WTERMSIG(status))
               : "ended with exit code " + std::to_string(WEXITSTATUS(status));
}

class Run
{
public:
    Run(const CardList &list, const FleetPolicy &policy, ResultFile &file)
        : m_list(list), m_file(file), m_checks(list, policy), m_results(list.cards.size())
    {
        m_end.progress.total = list.cards.size();
    }

    FleetEnd run(unsigned jobs, const std::function<void(const FleetProgress &)> &on_progress);

private:
    const StoredResult *known(std::size_t number) const;
    std::string check(std::size_t number);
    void note(std::size_t number, const std::string &answer, std::chrono::nanoseconds time);
    void note_lost(std::size_t number, int status);
    void note_time(std::size_t number, std::chrono::nanoseconds time);
    void append(std::size_t number, std::string_view line, Result result);

    const CardList &m_list;
    ResultFile &m_file;
    CardChecks m_checks;
    std::vector<StoredResult> m_results;
    FleetEnd m_end;
};

FleetEnd Run::run(unsigned jobs, const std::function<void(const FleetProgress &)> &on_progress)
{
    model_schema(); // Once, for all workers.
    PoolWork work;
    work.count = m_list.cards.size();
    work.work = [this](std::size_t number) { return check(number); };
    work.on_done = [this](std::size_t number, const std::string &answer,
                          std::chrono::nanoseconds time) { note(number, answer, time); };
    work.on_lost = [this](std::size_t number, int status) { note_lost(number, status); };
    work.on_tick = [&] { on_progress(m_end.progress); };
    m_end.signal = WorkerPool(jobs, std::move(work)).run();
    m_end.results = std::move(m_results);
    return std::move(m_end);
}

/** An earlier result that may hold; what was not checked is checked again. */
const StoredResult *Run::known(std::size_t number) const
{
    const auto found = m_file.stored().find(m_list.cards[number].name);
    return found != m_file.stored().end() && found->second.result != Result::kNotChecked
               ? &found->second
               : nullptr;
}

std::string Run::check(std::size_t number)
{
    const FleetCard &card = m_list.cards[number];
    const StoredResult *stored = known(number);
    try {
        return answer_of(m_checks.check(card, stored != nullptr ? stored->inputs : ""));
    } catch (const std::exception &failure) {
        return answer_of(m_checks.failed(card, problems_of(failure).front()));
    }
}

void Run::note(std::size_t number, const std::string &answer, std::chrono::nanoseconds time)
{
    if (answer.empty()) {
        m_results[number] = *known(number);
        ++m_end.progress.kept;
        ++m_end.progress.results[m_results[number].result];
        return;
    }
    append(number, std::string_view(answer).substr(1), static_cast<Result>(answer[0] - '0'));
    note_time(number, time);
}

void Run::note_lost(std::size_t number, int status)
{
    const auto result =
        m_checks.failed(m_list.cards[number],
                        {engine::Fault::kInternal, "", 0, "",
                         "the process that checked this card " + end_text(status) + ", twice", ""});
    append(number, result.line, result.result);
}

void Run::append(std::size_t number, std::string_view line, Result result)
{
    m_results[number] = m_file.append(line, result);
    ++m_end.progress.checked;
    ++m_end.progress.results[result];
}

void Run::note_time(std::size_t number, std::chrono::nanoseconds time)
{
    constexpr std::size_t kMostTold = 10;
    auto &slowest = m_end.slowest;
    const auto place = std::find_if(slowest.begin(), slowest.end(),
                                    [time](const CardTime &other) { return other.time < time; });
    slowest.insert(place, {m_list.cards[number].name, time});
    slowest.resize(std::min(slowest.size(), kMostTold));
}

} // namespace

FleetEnd run_fleet(const CardList &list, const FleetPolicy &policy, ResultFile &file, unsigned jobs,
                   const std::function<void(const FleetProgress &)> &on_progress)
{
    return Run(list, policy, file).run(jobs, on_progress);
}

} // namespace host
