#include "trace.h"

#include <velmw.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace
{

constexpr const char *kCategoryName = "gpon-valid";
constexpr int kFaultSeverity = 1;
constexpr std::size_t kFaultMessageSize = 350;

void *middleware = nullptr;
zlog_category_t *category = nullptr;

} // namespace

zlog_category_t *get_trace_cat()
{
    if (middleware == nullptr) {
        middleware = velmw_singleton_get();
        if (middleware != nullptr) {
            category = velmw_trace_init(middleware, kCategoryName);
        }
    }
    return category;
}

void report_fault_and_exit(const char *function, const char *file, int line, const char *format,
                           ...)
{
    velmw_print_backtrace();
    char message[kFaultMessageSize] = {};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);
    velmw_gen_fault(kFaultSeverity, function, file, line, message);
    std::exit(1);
}
