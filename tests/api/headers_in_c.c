/* The client interface in C: its headers compile, its macros read and write. */
#include "confd_cdb.h"
#include "confd_lib.h"
#include "confd_maapi.h"

int c_client_works(void);

int c_client_works(void)
{
    confd_value_t value;
    confd_tag_value_t element;
    char text[16];
    CONFD_SET_UINT32(&value, 7);
    CONFD_SET_TAG_XMLBEGIN(&element, 1, 2);
    return CONFD_GET_UINT32(&value) == 7 && CONFD_GET_TAG_TAG(&element) == 1 &&
           CONFD_GET_TAG_VALUE(&element)->type == C_XMLBEGIN &&
           confd_pp_value(text, (int)sizeof text, &value) == 1 && text[0] == '7';
}
