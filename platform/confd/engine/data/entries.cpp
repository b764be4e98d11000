#include "engine/data/entries.h"

#include "engine/schema/yang_log.h"

#include <stdexcept>

namespace engine
{
namespace
{

/**
 * libyang places entries next to others only where the user orders them. We keep the others in key
 * order, and let it take them for such as long as this lives.
 */
class AnyPlace
{
public:
    explicit AnyPlace(const lyd_node *node)
        : m_schema(const_cast<lysc_node &>(*node->schema)), m_flags(m_schema.flags)
    {
        m_schema.flags |= LYS_ORDBY_USER;
    }
    ~AnyPlace() { m_schema.flags = m_flags; }
    AnyPlace(const AnyPlace &) = delete;
    AnyPlace &operator=(const AnyPlace &) = delete;

private:
    lysc_node &m_schema;
    decltype(lysc_node::flags) m_flags;
};

} // namespace

lyd_node *previous_entry(const lyd_node *node)
{
    const bool has_previous = node->prev->next != nullptr;
    return has_previous && node->prev->schema == node->schema ? node->prev : nullptr;
}

lyd_node *following_entry(const lyd_node *node)
{
    return node->next != nullptr && node->next->schema == node->schema ? node->next : nullptr;
}

void place_entry(lyd_node *node, lyd_node *sibling, bool before)
{
    const AnyPlace any(node);
    require_placed(before ? lyd_insert_before(sibling, node) : lyd_insert_after(sibling, node));
}

void require_placed(LY_ERR result)
{
    require_memory(result);
    if (result != LY_SUCCESS) {
        throw std::logic_error("a node cannot be put into the configuration");
    }
}

} // namespace engine
