#include "engine/data/print_tree.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>

namespace engine
{
namespace
{

struct FreeText {
    void operator()(char *text) const { std::free(text); }
};
struct FreeOut {
    void operator()(ly_out *out) const { ly_out_free(out, nullptr, 0); }
};

LY_ERR print_to(FILE *stream, const lyd_node *root, LYD_FORMAT format, Siblings siblings,
                std::uint32_t options)
{
    ly_out *target = nullptr;
    if (ly_out_new_file(stream, &target) != LY_SUCCESS) {
        return LY_EMEM;
    }
    const std::unique_ptr<ly_out, FreeOut> out(target);
    const auto print = siblings == Siblings::kPrinted ? lyd_print_all : lyd_print_tree;
    return print(target, root, format, options);
}

} // namespace

// A stream: libyang allocates for each part that it hands to a callback.
std::string print_tree(const lyd_node *root, LYD_FORMAT format, Siblings siblings,
                       std::uint32_t options)
{
    char *printed = nullptr;
    std::size_t size = 0;
    FILE *stream = open_memstream(&printed, &size);
    if (stream == nullptr) {
        throw std::bad_alloc();
    }
    const LY_ERR result = print_to(stream, root, format, siblings, options);
    const bool is_whole = std::ferror(stream) == 0;
    const bool is_closed = std::fclose(stream) == 0; // Before this there may be no text.
    const std::unique_ptr<char, FreeText> text(printed);
    if (!is_whole || !is_closed || result == LY_EMEM) {
        throw std::bad_alloc();
    }
    if (result != LY_SUCCESS) {
        throw std::runtime_error("the configuration cannot be printed");
    }
    return {printed, size};
}

} // namespace engine
