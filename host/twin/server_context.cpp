#include "twin/server_context.h"

#include "card_model.h"
#include "twin/server_modules.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace host::twin
{
namespace
{

/** Files of IETF modules have their revision in their names. */
bool is_named(const model::YangText &text, std::string_view name)
{
    return text.name == name ||
           (text.name.substr(0, name.size()) == name && text.name.substr(name.size(), 1) == "@");
}

const model::YangText *find_text(std::string_view name)
{
    for (const auto *texts : {&model::yang_texts(), &model::server_yang_texts()}) {
        for (const auto &text : *texts) {
            if (is_named(text, name)) {
                return &text;
            }
        }
    }
    return nullptr;
}

LY_ERR give_text(const char *module, const char *, const char *submodule, const char *, void *,
                 LYS_INFORMAT *format, const char **data, ly_module_imp_data_free_clb *free_data)
{
    const auto *text = find_text(submodule != nullptr ? submodule : module);
    if (text == nullptr) {
        return LY_ENOTFOUND;
    }
    *format = LYS_IN_YANG;
    *data = text->text.data();
    *free_data = nullptr;
    return LY_SUCCESS;
}

void load(ly_ctx *context, const std::string &name, std::vector<const char *> features = {})
{
    features.push_back(nullptr);
    if (ly_ctx_load_module(context, name.c_str(), nullptr, features.data()) == nullptr) {
        const char *why = ly_errmsg(context);
        throw std::runtime_error("module " + name +
                                 " cannot be loaded: " + (why != nullptr ? why : "not found"));
    }
}

std::string printed(const lys_module *module)
{
    char *text = nullptr;
    lys_print_mem(&text, module, LYS_OUT_YANG, 0);
    const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
    return text != nullptr ? text : "";
}

} // namespace

std::optional<std::string> schema_text(const ly_ctx *context, const std::string &name,
                                       const std::string &revision)
{
    const auto *module = ly_ctx_get_module_latest(context, name.c_str());
    const auto *submodule = ly_ctx_get_submodule_latest(context, name.c_str());
    const char *known = module != nullptr      ? module->revision
                        : submodule != nullptr ? submodule->revs[0].date
                                               : nullptr;
    if (module == nullptr && submodule == nullptr) {
        return std::nullopt;
    }
    if (!revision.empty() && (known == nullptr || revision != known)) {
        return std::nullopt;
    }
    const auto *text = find_text(name); // libyang's own modules are none of ours.
    return text != nullptr ? std::string(text->text) : printed(module);
}

ServerContext make_server_context(bool writable_running)
{
    ly_log_options(LY_LOSTORE); // Whoever asks gets to know; nothing is printed.
    ly_ctx *made = nullptr;
    if (ly_ctx_new(nullptr, LY_CTX_DISABLE_SEARCHDIRS, &made) != LY_SUCCESS) {
        throw std::runtime_error("no libyang context can be made");
    }
    ServerContext context(made);
    ly_ctx_set_module_imp_clb(made, give_text, nullptr);
    std::vector<const char *> features{"candidate",         "confirmed-commit", "validate",
                                       "rollback-on-error", "startup",          "xpath"};
    if (writable_running) {
        features.push_back("writable-running");
    }
    load(made, "ietf-netconf", features);
    for (const char *name :
         {"ietf-netconf-monitoring", "ietf-netconf-with-defaults", "notifications",
          "nc-notifications", "ietf-netconf-notifications", "gpon-twin-confirm",
          "gpon-twin-history", "gpon-twin-reject", "gpon-twin-default"}) {
        load(made, name);
    }
    load(made, std::string(model::kMainModule));
    return context;
}

} // namespace host::twin
