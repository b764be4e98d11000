#include "confd_get_str.h"

#include "confd_text.h"

#include <confd_maapi.h>

#include <utility>

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is the published one.
void GetStrFromConfd(int maapi_sock, int thandle, std::string base, std::string leaf, void *out)
{
    const std::string path = base + leaf;
    if (maapi_exists(maapi_sock, thandle, path.c_str()) <= 0) {
        return;
    }
    confd_value_t value;
    if (maapi_get_elem(maapi_sock, thandle, &value, path.c_str()) != CONFD_OK) {
        return;
    }
    std::string text = print_value(value);
    confd_free_value(&value);
    *static_cast<std::string *>(out) = std::move(text);
}
