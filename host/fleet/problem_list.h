/**
 * @file
 * What is wrong with a list or a file of results: all of it, up to a limit.
 */
#pragma once

#include "engine/data/error.h"

#include <cstddef>
#include <vector>

namespace host
{

class ProblemList
{
public:
    void add(engine::Problem problem);
    bool is_empty() const { return m_problems.empty(); }
    /** @throws engine::InputError  If there is anything. */
    void throw_if_any();

private:
    std::vector<engine::Problem> m_problems;
    std::size_t m_untold = 0;
};

} // namespace host
