/** Walks over a transaction's changes. */
#include "confd_maapi.h"

#include "api/change_walk.h"
#include "api/guard.h"
#include "api/session.h"
#include "engine/data/error.h"

#include <algorithm>

namespace
{

/** Only the last list of a path may stand without keys. */
void require_keys_above(const engine::Path &path)
{
    const auto missing =
        std::find_if(path.steps.begin(), path.steps.end() - 1, [](const engine::Path::Step &step) {
            return step.node->is_list() && step.keys.empty();
        });
    if (missing != path.steps.end() - 1) {
        throw engine::Error(CONFD_ERR_BADPATH, "bad path " + path.text() + ": the keys of " +
                                                   missing->node->name + " are missing");
    }
}

} // namespace

extern "C" int maapi_keypath_diff_iterate(int sock, int th, maapi_diff_iter_t *iter, int flags,
                                          void *initstate, const char *fmtpath, ...)
{
    va_list args;
    va_start(args, fmtpath);
    const int result = api::guarded("maapi_keypath_diff_iterate", CONFD_ERR, [&] {
        const auto &transaction = api::transaction_of(sock, th);
        const auto view = api::candidate_of(transaction);
        const auto path = view.path(fmtpath, args);
        require_keys_above(*path);
        if (iter == nullptr || flags != 0) {
            throw engine::Error(CONFD_ERR_PROTOUSAGE,
                                "maapi_keypath_diff_iterate: a function and flags of 0 are wanted");
        }
        view.note(*path, engine::ReadExtent::kSubtree);
        api::ChangeWalk(iter, initstate).walk(transaction.changes(), *path);
        return CONFD_OK;
    });
    va_end(args);
    return result;
}
