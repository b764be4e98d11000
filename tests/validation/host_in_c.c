/* A host in C: the header for hosts compiles alone, and its structures are the client library's. */
#include "gpon_card_valid_plugin.h"

#include "confd_lib.h"

#include <string.h>

int host_in_c_finds_the_point(void);

int host_in_c_finds_the_point(void)
{
    int (*ask)(struct confd_trans_ctx *, confd_hkeypath_t *, confd_value_t *) = validate;
    char name[32];
    return ask != NULL && get_validation_point(name, sizeof name) == 0 &&
           strcmp(name, "gpon_validation_check") == 0;
}
