/**
 * @file
 * Management middleware: printf-style debug notes without a category.
 */
#pragma once

class Logger
{
public:
    static void Debug(const char *format, ...) __attribute__((format(printf, 1, 2)));
};
