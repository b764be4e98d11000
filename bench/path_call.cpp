#include "path_call.h"

#include "engine/data/value.h"

#include <utility>

namespace bench
{
namespace
{

std::shared_ptr<const void> copy_of(const char *text)
{
    const auto owned = std::make_shared<const std::string>(text);
    return {owned, owned->c_str()};
}

std::shared_ptr<const void> copy_of(const confd_value_t *value)
{
    const auto owned = std::make_shared<engine::OwnedValue>(engine::copy_value(*value));
    return {owned, &owned->get()};
}

} // namespace

PathCall::PathCall(const char *format, va_list args) : m_format(format)
{
    for (auto at = m_format.find('%'); at != std::string::npos; at = m_format.find('%', at + 2)) {
        switch (m_format.c_str()[at + 1]) {
        case 'd':
        case 'u':
            m_arguments.emplace_back(va_arg(args, int));
            break;
        case 's':
            keep(copy_of(va_arg(args, const char *)));
            break;
        case 'x':
            keep(copy_of(va_arg(args, const confd_value_t *)));
            break;
        case 'h':
            if (va_arg(args, const confd_hkeypath_t *) != Recorder::instance().keypath()) {
                throw std::logic_error("a rule uses a keypath that it was not asked about");
            }
            m_arguments.emplace_back(AskedKeypath{});
            break;
        default:
            throw std::logic_error("a directive that the rules do not use: " + m_format);
        }
    }
}

void PathCall::keep(std::shared_ptr<const void> owned)
{
    m_arguments.emplace_back(owned.get());
    m_owned.push_back(std::move(owned));
}

} // namespace bench
