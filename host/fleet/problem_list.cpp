#include "fleet/problem_list.h"

#include <string>
#include <utility>

namespace host
{

void ProblemList::add(engine::Problem problem)
{
    constexpr std::size_t kMaxTold = 20;
    if (m_problems.size() < kMaxTold) {
        m_problems.push_back(std::move(problem));
    } else {
        ++m_untold;
    }
}

void ProblemList::throw_if_any()
{
    if (m_problems.empty()) {
        return;
    }
    if (m_untold != 0) {
        const auto &last = m_problems.back();
        m_problems.push_back({last.fault, last.source, 0, "",
                              "and " + std::to_string(m_untold) + " problems more", ""});
    }
    throw engine::InputError(std::move(m_problems));
}

} // namespace host
