#include "engine/schema/yang_log.h"

#include <cstring>
#include <new>
#include <utility>

namespace engine
{
namespace
{

/** In this thread, since the last look; libyang logs such a failure, but neither stores nor always
 * returns it. */
thread_local bool memory_was_lacking = false;

void note_message(LY_LOG_LEVEL /*level*/, const char *message, const char * /*path*/)
{
    // Libyang's own words, and those of the library that matches its patterns.
    for (const char *words : {"Memory allocation failed", "no more memory"}) {
        if (message == nullptr || std::strstr(message, words) != nullptr) {
            memory_was_lacking = true;
        }
    }
}

} // namespace

void store_errors()
{
    const ly_bool with_path = 1; // Of the stored errors, too.
    ly_set_log_clb(note_message, with_path);
    ly_log_options(LY_LOLOG | LY_LOSTORE);
}

void require_memory(LY_ERR result)
{
    if (std::exchange(memory_was_lacking, false) || result == LY_EMEM) {
        throw std::bad_alloc();
    }
}

} // namespace engine
