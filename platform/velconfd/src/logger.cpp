#include "logger.h"
#include "zlog_host.h"

#include <cstdarg>

void Logger::Debug(const char *format, ...)
{
    constexpr int kFineLevel = 10;
    va_list args;
    va_start(args, format);
    zlog_host::write({"debug", "", "", 0, kFineLevel, ""}, format, args);
    va_end(args);
}
