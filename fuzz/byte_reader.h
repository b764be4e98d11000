/** Turns a fuzzer's bytes into decisions. */
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz
{

/**
 * Reads from the front. When nothing is left every decision is the first one: inputs stay finite.
 * Two reads do not stand in one expression whose order is the compiler's to choose: an input means
 * the same with each.
 */
class ByteReader
{
public:
    ByteReader(const std::uint8_t *data, std::size_t size) : m_data(data), m_left(size) {}

    bool is_empty() const { return m_left == 0; }

    std::uint8_t byte()
    {
        if (is_empty()) {
            return 0;
        }
        --m_left;
        return *m_data++;
    }

    std::uint32_t word()
    {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            value = value << 8U | byte();
        }
        return value;
    }

    /** A number from 0 to count - 1. */
    std::size_t below(std::size_t count) { return byte() % count; }

    /** True for one byte in so many. */
    bool one_in(std::size_t count) { return below(count) == count - 1; }

    template <typename Choices>
    const auto &pick(const Choices &choices)
    {
        return choices[below(std::size(choices))];
    }

    /** Arbitrary bytes, at most so many. */
    std::string text(std::size_t most)
    {
        std::string result;
        for (std::size_t size = std::min(below(most + 1), m_left); size > 0; --size) {
            result += static_cast<char>(byte());
        }
        return result;
    }

private:
    const std::uint8_t *m_data;
    std::size_t m_left;
};

} // namespace fuzz
