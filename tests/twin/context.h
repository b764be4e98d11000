/** libyang contexts with the modules that RFC examples are of. */
#pragma once

#include "twin/selection.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <regex>
#include <string>

namespace test_support
{

struct FreeContext {
    void operator()(ly_ctx *context) const { ly_ctx_destroy(context); }
};
using Context = std::unique_ptr<ly_ctx, FreeContext>;

inline Context make_context(std::initializer_list<const char *> modules,
                            std::initializer_list<const char *> texts = {})
{
    ly_ctx *made = nullptr;
    EXPECT_EQ(ly_ctx_new(YANG_MODULES "/ietf", 0, &made), LY_SUCCESS);
    EXPECT_EQ(ly_ctx_set_searchdir(made, YANG_MODULES "/ietf-derived"), LY_SUCCESS);
    // The modules of notifications need one of their maker's.
    EXPECT_EQ(ly_ctx_set_searchdir(made, YANG_MODULES "/netconfcentral"), LY_SUCCESS);
    for (const char *module : modules) {
        EXPECT_NE(ly_ctx_load_module(made, module, nullptr, nullptr), nullptr)
            << module;
    }
    for (const char *text : texts) {
        EXPECT_EQ(lys_parse_mem(made, text, LYS_IN_YANG, nullptr), LY_SUCCESS);
    }
    return Context(made);
}

inline host::twin::Tree parse_data(const ly_ctx *context, const std::string &xml,
                                   std::uint32_t validation = LYD_VALIDATE_PRESENT)
{
    lyd_node *tree = nullptr;
    EXPECT_EQ(
        lyd_parse_data_mem(context, xml.c_str(), LYD_XML, LYD_PARSE_STRICT, validation, &tree),
        LY_SUCCESS)
        << xml;
    return host::twin::Tree(tree);
}

inline std::string print(const lyd_node *tree, std::uint32_t options = 0)
{
    char *text = nullptr;
    EXPECT_EQ(
        lyd_print_mem(&text, tree, LYD_XML, LYD_PRINT_SHRINK | LYD_PRINT_WITHSIBLINGS | options),
        LY_SUCCESS);
    const std::string printed = text != nullptr ? text : "";
    free(text);
    return printed;
}

/** The same XML without blanks between elements. */
inline std::string squeezed(const std::string &xml)
{
    return std::regex_replace(xml, std::regex("(^|>)\\s+(<|$)"), "$1$2");
}

} // namespace test_support
