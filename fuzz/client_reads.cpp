/** Reads of leaves, lists and containers. */
#include "client.h"

#include <algorithm>
#include <cstdlib>

namespace fuzz
{

void Client::read_leaf()
{
    confd_value_t value{};
    const int sock = socket();
    const int th = handle();
    if (call_with_path([&](auto... path) { return maapi_get_elem(sock, th, &value, path...); }) ==
        CONFD_OK) {
        m_values.push_back(value);
    }
}

void Client::read_typed_leaf()
{
    switch (m_bytes.below(5)) {
    case 0:
        return read_into<std::uint32_t>([](auto... all) { return maapi_get_u_int32_elem(all...); });
    case 1:
        return read_into<int>([](auto... all) { return maapi_get_bool_elem(all...); });
    case 2:
        return read_into<in_addr>([](auto... all) { return maapi_get_ipv4_elem(all...); });
    case 3:
        return read_into<confd_ipv4_prefix>(
            [](auto... all) { return maapi_get_ipv4_and_plen_elem(all...); });
    default:
        return read_into<std::int32_t>(
            [](auto... all) { return maapi_get_enum_value_elem(all...); });
    }
}

void Client::read_text()
{
    // On the heap: a sanitizer sees what is written behind it.
    std::vector<char> buffer(m_bytes.below(40));
    const int sock = socket();
    const int th = handle();
    const int size = static_cast<int>(buffer.size());
    const int result = call_with_path(
        [&](auto... path) { return maapi_get_str_elem(sock, th, buffer.data(), size, path...); });
    require(result != CONFD_OK || std::find(buffer.begin(), buffer.end(), '\0') != buffer.end(),
            "a text without an end");
}

void Client::read_list()
{
    confd_value_t *values = nullptr;
    int count = 0;
    const int sock = socket();
    const int th = handle();
    if (call_with_path([&](auto... path) {
            return maapi_get_list_elem(sock, th, &values, &count, path...);
        }) == CONFD_OK) {
        m_values.insert(m_values.end(), values, values + count);
        std::free(values);
    }
}

void Client::look()
{
    const int sock = socket();
    const int th = handle();
    const bool counts = m_bytes.one_in(2);
    const int result = call_with_path([&](auto... path) {
        return counts ? maapi_num_instances(sock, th, path...) : maapi_exists(sock, th, path...);
    });
    require(counts || result <= 1, "maapi_exists gave " + std::to_string(result));
}

void Client::open_cursor()
{
    maapi_cursor &chosen = cursor();
    const int sock = socket();
    const int th = handle();
    const int result =
        call_with_path([&](auto... path) { return maapi_init_cursor(sock, th, &chosen, path...); });
    require((result == CONFD_OK) == (chosen.n != 0), "n after maapi_init_cursor");
}

void Client::move_cursor()
{
    maapi_cursor &chosen = cursor();
    const int result = call([&] { return maapi_get_next(&chosen); });
    require(result == CONFD_OK || chosen.n == 0, "n after a failed maapi_get_next");
    for (int i = 0; i < chosen.n; ++i) {
        std::array<char, 16> text{};
        confd_pp_value(text.data(), text.size(), &chosen.keys[i]);
    }
}

void Client::read_objects()
{
    const int size = static_cast<int>(m_bytes.below(24)) - 1;
    const int wanted = static_cast<int>(m_bytes.below(5)) - 1;
    int entries = wanted;
    const std::size_t room = static_cast<std::size_t>(std::max(size, 0)) *
                             static_cast<std::size_t>(std::max(entries, 0));
    std::vector<confd_value_t> values(room);
    const int result =
        call([&] { return maapi_get_objects(&cursor(), values.data(), size, &entries); });
    if (result >= 0) {
        require(entries >= 0 && entries <= wanted, "more entries than wanted");
        m_values.insert(m_values.end(), values.begin(), values.end());
    }
}

void Client::read_values()
{
    static constexpr std::array<confd_vtype, 4> kTypes{C_NOEXISTS, C_XMLBEGIN, C_XMLEND, C_UINT32};
    std::vector<confd_tag_value_t> values(m_bytes.below(6));
    for (auto &value : values) {
        const std::uint32_t tag = m_arguments.tag();
        const std::uint32_t ns = m_bytes.one_in(3) ? m_bytes.byte() : 0U;
        CONFD_SET_TAG_(&value, tag, ns, m_bytes.pick(kTypes));
    }
    const int sock = socket();
    const int th = handle();
    const int size = static_cast<int>(values.size());
    if (call_with_path([&](auto... path) {
            return maapi_get_values(sock, th, values.data(), size, path...);
        }) == CONFD_OK) {
        for (auto &value : values) {
            m_values.push_back(value.v);
        }
    }
}

} // namespace fuzz
