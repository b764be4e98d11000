/** The trace category is created once per process: a program of its own for this one test. */
#include "trace.h"

#include <velconfd_host.h>

#include <gtest/gtest.h>

namespace
{

TEST(TraceCategory, is_asked_for_again_until_the_middleware_is_up)
{
    velconfd::set_singleton_available(false);
    EXPECT_EQ(get_trace_cat(), nullptr);
    EXPECT_EQ(get_trace_cat(), nullptr);

    velconfd::set_singleton_available(true);
    const zlog_category_t *category = get_trace_cat();
    EXPECT_NE(category, nullptr);

    velconfd::set_singleton_available(false);
    EXPECT_EQ(get_trace_cat(), category) << "once created, it stays";
}

} // namespace
