/** Paths of client calls, kept so that a call can be made again. */
#pragma once

#include "call_recorder.h"

#include <cstdarg>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace bench
{

/** Format and arguments of a path. It owns copies of what the arguments point to. */
class PathCall
{
public:
    /** @throws std::logic_error  A directive that the rules do not use. */
    PathCall(const char *format, va_list args);

    /** Calls with the format and its arguments, as they were given. */
    template <typename Call>
    int make(const Call &call) const
    {
        return make_from(call, 0);
    }

private:
    static constexpr std::size_t kMaxArguments = 3;
    /** Stands for the keypath that is being asked about. */
    struct AskedKeypath {
    };
    using Argument = std::variant<int, const void *, AskedKeypath>;

    template <typename Call, typename... Done>
    int make_from(const Call &call, std::size_t next, Done... done) const
    {
        if (next == m_arguments.size()) {
            return call(m_format.c_str(), done...);
        }
        if constexpr (sizeof...(Done) < kMaxArguments) {
            if (const int *number = std::get_if<int>(&m_arguments[next])) {
                return make_from(call, next + 1, done..., *number);
            }
            if (std::holds_alternative<AskedKeypath>(m_arguments[next])) {
                const void *keypath = Recorder::instance().keypath();
                return make_from(call, next + 1, done..., keypath);
            }
            return make_from(call, next + 1, done..., std::get<const void *>(m_arguments[next]));
        }
        throw std::logic_error("a path with more arguments than the rules use: " + m_format);
    }

    void keep(std::shared_ptr<const void> owned);

    std::string m_format;
    std::vector<Argument> m_arguments;
    std::vector<std::shared_ptr<const void>> m_owned; /**< What the arguments point to. */
};

} // namespace bench
