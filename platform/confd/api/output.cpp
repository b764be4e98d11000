#include "api/output.h"

#include "engine/session/hooks.h"

#include <algorithm>
#include <cstring>

namespace api
{
namespace
{

/** How many texts and lists are still to be freed. */
int owned_by(const confd_value_t &value)
{
    return value.type == C_BUF || value.type == C_LIST ? 1 : 0;
}

} // namespace

int print_to(char *buffer, int size, const std::string &text)
{
    if (size > 0) {
        const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
        std::memcpy(buffer, text.data(), length);
        buffer[length] = '\0';
    }
    return static_cast<int>(text.size());
}

confd_value_t hand_out(engine::OwnedValue value)
{
    engine::Hooks::instance().held.values += owned_by(value.get());
    return value.release();
}

void take_back(confd_value_t &value)
{
    const int owned = owned_by(value);
    if (owned > 0) { // Clients free whole arrays, in which most values own nothing.
        engine::Hooks::instance().held.values -= owned;
        engine::free_value(value);
    }
}

} // namespace api
