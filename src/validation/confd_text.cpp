#include "confd_text.h"

namespace
{

constexpr int kValueTextSize = 8192;
constexpr int kKeypathTextSize = 1024;

} // namespace

std::string print_value(const confd_value_t &value)
{
    char text[kValueTextSize];
    text[0] = '\0';
    confd_pp_value(text, sizeof(text), &value);
    return text;
}

std::string print_keypath(const confd_hkeypath_t &keypath)
{
    char text[kKeypathTextSize];
    text[0] = '\0';
    confd_pp_kpath(text, sizeof(text), &keypath);
    return text;
}
