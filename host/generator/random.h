/**
 * @file
 * Numbers that look random and are the same for a seed on every machine.
 */
#pragma once

#include <cstdint>
#include <random>

namespace host
{

/**
 * The engine's sequence is fixed by the standard; the standard library's distributions are not,
 * so numbers are cut to size here.
 */
class Random
{
public:
    explicit Random(std::uint64_t seed) : m_engine(seed) {}

    /** 0 to count - 1. */
    std::uint32_t below(std::uint32_t count)
    {
        return static_cast<std::uint32_t>(m_engine() % count);
    }
    /** True in one of `count` cases. */
    bool one_in(std::uint32_t count) { return below(count) == 0; }
    std::uint32_t bits() { return static_cast<std::uint32_t>(m_engine() >> 32U); }

    template <typename Array>
    const auto &pick(const Array &choices)
    {
        return choices[below(static_cast<std::uint32_t>(choices.size()))];
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace host
