/** Evaluation of single XPath expressions. */
#include "confd_maapi.h"

#include "api/guard.h"
#include "api/reads.h"
#include "api/session.h"
#include "engine/data/value.h"
#include "engine/data/xpath.h"
#include "engine/session/selection_reads.h"

extern "C" int maapi_xpath_eval_expr(int sock, int th, const char *expr, char **res,
                                     void (*trace)(char *), const char *fmtpath, ...)
{
    *res = nullptr;
    va_list args;
    va_start(args, fmtpath);
    const int result = api::guarded("maapi_xpath_eval_expr", CONFD_ERR, [&] {
        const auto &transaction = api::transaction_of(sock, th);
        const auto view = api::candidate_of(transaction);
        const lyd_node *context = nullptr;
        engine::SelectionPlace place;
        if (fmtpath != nullptr) {
            const auto path = view.path(fmtpath, args);
            context = api::find_context(view, *path);
            place = {path->schema(), path->steps.back().place, true};
        }
        if (engine::ReadLog::instance().is_on()) {
            engine::note_evaluation(view.tree.schema(), context != nullptr ? &place : nullptr,
                                    expr);
        }
        const std::string text = engine::evaluate(transaction.candidate(), context, expr);
        if (trace != nullptr) {
            std::string line = std::string(expr) + " = " + text;
            trace(line.data());
        }
        *res = engine::duplicate_text(text);
        return CONFD_OK;
    });
    va_end(args);
    return result;
}
