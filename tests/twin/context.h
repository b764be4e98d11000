/** Trees and XML of the server's context. */
#pragma once

#include "twin/selection.h"
#include "twin/server_context.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <regex>
#include <string>

namespace test_support
{

/** The server's context with further modules. */
inline host::twin::ServerContext make_context(std::initializer_list<const char *> modules = {})
{
    auto context = host::twin::make_server_context(false);
    for (const char *module : modules) {
        EXPECT_EQ(lys_parse_mem(context.get(), module, LYS_IN_YANG, nullptr), LY_SUCCESS);
    }
    return context;
}

inline host::twin::Tree parse_data(const ly_ctx *context, const std::string &xml)
{
    lyd_node *tree = nullptr;
    EXPECT_EQ(lyd_parse_data_mem(context, xml.c_str(), LYD_XML, LYD_PARSE_STRICT,
                                 LYD_VALIDATE_PRESENT, &tree),
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
