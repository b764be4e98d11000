#include "shell/session.h"

#include "engine/data/changes.h"

namespace host::shell
{

bool Session::has_changes() const
{
    return is_modified() && !engine::compare(running(), candidate()).empty();
}

} // namespace host::shell
