/**
 * @file
 * Reads a text for a parser whose events have no place.
 */
#pragma once

#include "engine/data/source.h"

#include <cstddef>
#include <iterator>
#include <string_view>

namespace engine
{

/** Goes through a text and notes how far it came. */
class TextIterator
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    TextIterator(const char *at, const char *&reached) : m_at(at), m_reached(&reached) {}
    reference operator*() const { return *m_at; }
    TextIterator &operator++()
    {
        *m_reached = ++m_at;
        return *this;
    }
    TextIterator operator++(int)
    {
        const TextIterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const TextIterator &a, const TextIterator &b)
    {
        return a.m_at == b.m_at;
    }
    friend bool operator!=(const TextIterator &a, const TextIterator &b)
    {
        return a.m_at != b.m_at;
    }

private:
    const char *m_at;
    const char **m_reached;
};

/** Counts lines and characters of a text that is gone through once. */
class PlaceCounter
{
public:
    explicit PlaceCounter(std::string_view text) : m_text(text) {}

    /** @param offset  Not before the one of the last call. */
    TextPlace at(std::size_t offset)
    {
        for (; m_offset < offset; ++m_offset) {
            const auto byte = static_cast<unsigned char>(m_text[m_offset]);
            if (byte == '\n') {
                m_place = {m_place.line + 1, 1};
            } else if ((byte & 0xC0U) != 0x80U) {
                ++m_place.column;
            }
        }
        return m_place;
    }

private:
    const std::string_view m_text;
    std::size_t m_offset = 0;
    TextPlace m_place;
};

} // namespace engine
