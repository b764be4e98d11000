/**
 * Writes base.h: one `#define base_NAME number` for each node name of the model.
 *
 * Usage: generate_base_h MODEL_DIR OUTPUT
 */
#include "card_model.h"
#include "tags.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

namespace
{

using Context = std::unique_ptr<ly_ctx, decltype(&ly_ctx_destroy)>;

LY_ERR collect_name(lysc_node *node, void *names, ly_bool * /*skip_children*/)
{
    if ((node->nodetype & (LYS_CHOICE | LYS_CASE)) == 0) {
        static_cast<std::set<std::string> *>(names)->insert(node->name);
    }
    return LY_SUCCESS;
}

std::set<std::string> node_names(const char *model_dir)
{
    ly_ctx *raw = nullptr;
    if (ly_ctx_new(model_dir, LY_CTX_NO_YANGLIBRARY, &raw) != LY_SUCCESS) {
        throw std::runtime_error(std::string("cannot use the model folder ") + model_dir);
    }
    const Context context(raw, ly_ctx_destroy);
    const std::string main_module(model::kMainModule);
    const lys_module *module = ly_ctx_load_module(raw, main_module.c_str(), nullptr, nullptr);
    if (module == nullptr) {
        throw std::runtime_error("cannot load module " + main_module);
    }
    std::set<std::string> names;
    lysc_module_dfs_full(module, collect_name, &names);
    return names;
}

/** Two names with one number would make the card's library take one node for another. */
void check_for_collisions(const std::set<std::string> &names)
{
    std::map<std::uint32_t, std::string> seen;
    for (const auto &name : names) {
        const auto [place, is_new] = seen.emplace(model::tag_of(name), name);
        if (!is_new) {
            throw std::runtime_error("the names " + place->second + " and " + name +
                                     " have the same tag; rename one of them");
        }
    }
}

void write_header(const std::set<std::string> &names, const char *path)
{
    std::ofstream out(path);
    out << "/* Generated from the data model: do not edit. Tags of the node names. */\n"
           "#pragma once\n\n"
           "#define base__ns "
        << model::kNamespaceTag << "\n\n";
    for (const auto &name : names) {
        std::string macro = name;
        std::replace_if(
            macro.begin(), macro.end(), [](char c) { return c == '-' || c == '.'; }, '_');
        out << "#define base_" << macro << ' ' << model::tag_of(name) << '\n';
    }
    if (!out.flush()) {
        throw std::runtime_error(std::string("cannot write ") + path);
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fputs("usage: generate_base_h MODEL_DIR OUTPUT\n", stderr);
        return 2;
    }
    try {
        const auto names = node_names(argv[1]);
        check_for_collisions(names);
        write_header(names, argv[2]);
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "generate_base_h: %s\n", failure.what());
        return 1;
    }
}
