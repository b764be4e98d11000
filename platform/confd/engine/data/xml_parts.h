/**
 * @file
 * Parts of XML: names as expat tells them, attributes in tags, text.
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

/** Where an attribute of a start tag, which is well-formed, begins. */
std::size_t find_attribute(std::string_view tag, std::string_view name);

/** Where a text is to be written. */
enum class Where { kText, kAttribute };
/** Writes it so that it is read as it is. */
void write_escaped(std::string &out, std::string_view text, Where where);

} // namespace engine
