/** Plain char is unsigned on the card and signed on a desk: texts come out alike all the same. */
#include "gpon_onu_password_valid.h"

#include <confd_maapi.h>

#include <gmock/gmock.h>

#include <cstdio>

namespace
{

/** The data model has no such serial number, but another's may. */
constexpr const char *kForeign = "ab\xe4"
                                 "dx\xff"
                                 "\x80y\xe4";

using testing::ElementsAre;
using testing::Pair;

TEST(BytesAbove127, StayAsTheyAreInASerialNumber)
{
    OnuCredentials serial_numbers;
    confd_trans_ctx tctx{};
    constexpr int kSerialNumberMethod = 0;
    ProfileOnuSerialPassword(1, &tctx, serial_numbers, "3", "1", "/onu{1}/auth-method/",
                             "serial-number", kSerialNumberMethod);
    EXPECT_THAT(serial_numbers, ElementsAre(Pair("ab\xe4"
                                                 "dX\xff"
                                                 "\x80Y\xe4",
                                                 "interface gpon 3 onu 1")));
}

} // namespace

/** Stands before the client library's own: what the ONU's leaf holds. */
extern "C" int maapi_get_str_elem(int /*sock*/, int /*th*/, char *buf, int n, const char * /*fmt*/,
                                  ...)
{
    std::snprintf(buf, static_cast<std::size_t>(n), "%s", kForeign);
    return CONFD_OK;
}
