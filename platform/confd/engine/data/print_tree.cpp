#include "engine/data/print_tree.h"

#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace engine
{
namespace
{

struct Text {
    std::string text;
    std::exception_ptr failure; /**< libyang's printers do not ask whether a part was taken. */
};

/** No exception may pass through the C library. */
ssize_t append(void *to, const void *part, std::size_t size) noexcept
{
    auto &printed = *static_cast<Text *>(to);
    try {
        printed.text.append(static_cast<const char *>(part), size);
    } catch (...) {
        printed.failure = std::current_exception();
    }
    return static_cast<ssize_t>(size);
}

struct FreeOut {
    void operator()(ly_out *out) const { ly_out_free(out, nullptr, 0); }
};

} // namespace

std::string print_tree(const lyd_node *root, LYD_FORMAT format, Siblings siblings,
                       std::uint32_t options)
{
    Text printed;
    ly_out *target = nullptr;
    if (ly_out_new_clb(append, &printed, &target) != LY_SUCCESS) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<ly_out, FreeOut> owner(target);
    const auto print = siblings == Siblings::kPrinted ? lyd_print_all : lyd_print_tree;
    const bool is_printed = print(target, root, format, options) == LY_SUCCESS;
    if (printed.failure != nullptr) {
        std::rethrow_exception(printed.failure);
    }
    if (!is_printed) {
        throw std::runtime_error("the configuration cannot be printed");
    }
    return std::move(printed.text);
}

} // namespace engine
