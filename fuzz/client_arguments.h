/** Arguments for the client library's calls, made from a fuzzer's bytes. */
#pragma once

#include "byte_reader.h"

#include <confd_lib.h>

#include <array>
#include <deque>
#include <string>

namespace fuzz
{

/** What it makes lives as long as the object. */
class ClientArguments
{
public:
    explicit ClientArguments(ByteReader &bytes) : m_bytes(bytes) {}

    /** A value of any type; it owns nothing. */
    confd_value_t value();
    /** A keypath, right or wrong. */
    const confd_hkeypath_t *keypath();
    /** Text of a path, right or wrong, without directives. */
    std::string path();
    /** The same, for use as a format. */
    std::string format();
    /** An XPath expression, right or wrong. */
    std::string xpath();
    std::string any_text() { return m_bytes.text(40); }
    std::uint32_t tag();

    /**
     * Calls `call(format, arguments...)` with a path in one of its forms: plain, or with
     * directives and what goes with them.
     */
    template <typename Call>
    auto with_path(const Call &call);

private:
    const char *keep(std::string text)
    {
        m_texts.push_back(std::move(text));
        return m_texts.back().c_str();
    }

    ByteReader &m_bytes;
    std::deque<std::string> m_texts;
    std::deque<std::array<confd_value_t, MAXKEYLEN>> m_values;
    std::deque<confd_hkeypath_t> m_keypaths;
};

template <typename Call>
auto ClientArguments::with_path(const Call &call)
{
    const std::string head = format();
    const std::string tail = format();
    const std::size_t form = m_bytes.below(10);
    const int number = static_cast<int>(m_bytes.byte()) - 2;
    const confd_value_t one = value();
    switch (form) {
    case 0:
        return call("%s", path().c_str());
    case 1:
        return call((head + "{%d}" + tail).c_str(), number);
    case 2:
        return call("/config/interface/gpon{%d %u %s}/onu{%d}", 1, 1U, any_text().c_str(),
                    number % 4);
    case 3:
        return call((head + "{%x}" + tail).c_str(), &one);
    case 4: {
        std::array<confd_value_t, MAXKEYLEN> keys{};
        std::generate(keys.begin(), keys.end(), [this] { return value(); });
        return call((head + "{%*x}" + tail).c_str(), std::min(number, MAXKEYLEN), keys.data());
    }
    case 5:
        return call(("%h" + tail).c_str(), keypath());
    case 6:
        return call(("%*h" + tail).c_str(), number, keypath());
    case 7:
        return call(("%s{%x}" + tail).c_str(), head.c_str(), &one);
    case 8:
        return call(("/config/%x" + tail).c_str(), &one);
    default:
        return call(head.c_str());
    }
}

} // namespace fuzz
