/** A plug-in that lacks an entry point: lib_finish. */
#include "confd_lib.h"

extern "C" {

int lib_init(void)
{
    return 0;
}

int get_validation_point(char *, size_t)
{
    return 0;
}

int validate(confd_trans_ctx *, confd_hkeypath_t *, confd_value_t *)
{
    return 0;
}
}
