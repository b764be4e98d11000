#include "confd_text.h"

#include <algorithm>

namespace
{

/** Prints by way of a buffer of so many bytes. */
template <std::size_t size, typename Print, typename Value>
std::string print_into_buffer(Print print, const Value &value)
{
    char text[size];
    text[0] = '\0';
    print(text, sizeof(text), &value);
    return text;
}

} // namespace

std::string joined(std::initializer_list<std::string_view> texts)
{
    std::size_t size = 0;
    for (const auto text : texts) {
        size += text.size();
    }
    std::string whole(size, '\0');
    auto end = whole.begin();
    for (const auto text : texts) {
        end = std::copy(text.begin(), text.end(), end);
    }
    return whole;
}

std::string print_value(const confd_value_t &value)
{
    return print_into_buffer<8192>(confd_pp_value, value);
}

std::string print_key(const confd_value_t &key)
{
    return print_into_buffer<49>(confd_pp_value, key);
}

std::string print_keypath(const confd_hkeypath_t &keypath)
{
    return print_into_buffer<kKeypathTextSize>(confd_pp_kpath, keypath);
}

std::string print_short_keypath(const confd_hkeypath_t &keypath)
{
    return print_into_buffer<256>(confd_pp_kpath, keypath);
}

std::string print_long_keypath(const confd_hkeypath_t &keypath)
{
    return print_into_buffer<8192>(confd_pp_kpath, keypath);
}
