/**
 * @file
 * Names as expat tells them.
 */
#pragma once

#include <string>
#include <string_view>

namespace engine
{

/** Separates the parts of a name: no XML text can hold it. */
inline constexpr char kSeparator = '\f';

/** A name as expat gives it: namespace, local name and prefix, as far as there are any. */
struct QualifiedName {
    explicit QualifiedName(std::string_view triplet)
    {
        const auto first = triplet.find(kSeparator);
        if (first == std::string_view::npos) {
            local = triplet;
            return;
        }
        space = triplet.substr(0, first);
        const auto second = triplet.find(kSeparator, first + 1);
        local = triplet.substr(first + 1, second - first - 1);
        if (second != std::string_view::npos) {
            prefix = triplet.substr(second + 1);
        }
    }

    std::string written() const
    {
        return (prefix.empty() ? "" : std::string(prefix) + ":") + std::string(local);
    }

    std::string_view space, local, prefix;
};

} // namespace engine
