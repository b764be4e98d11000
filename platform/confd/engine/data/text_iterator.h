/**
 * @file
 * Places in JSON: its parser's events have none.
 */
#pragma once

#include "engine/data/source.h"

#include <cstddef>
#include <iterator>
#include <string_view>

namespace engine
{

/** Goes through a text and notes how far it came: events of a JSON parser have no place. */
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

/** @throws InputError  With what the parser says. @param position  Of the last byte it read. */
[[noreturn]] void fail_as_malformed(const Source &source, std::string_view text,
                                    std::size_t position, std::string_view failure);

} // namespace engine
