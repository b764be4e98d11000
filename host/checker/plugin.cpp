#include "checker/plugin.h"

#include "engine/data/error.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <typeinfo>

namespace host
{
namespace
{

constexpr const char *kFileName = "libgpon_card_valid.so";

[[noreturn]] void unusable(const std::string &plugin, const std::string &message,
                           const std::string &hint)
{
    throw engine::InputError({{engine::Fault::kUnusablePlugin, plugin, 0, "", message, hint}});
}

std::string default_path()
{
    std::error_code no_link;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", no_link);
    if (no_link) {
        return kFileName;
    }
    const auto prefix = program.parent_path().parent_path();
    for (const char *folder : {GPON_INSTALL_LIBDIR, "lib"}) {
        const auto candidate = prefix / folder / kFileName;
        std::error_code no_file;
        if (std::filesystem::exists(candidate, no_file)) {
            return candidate.string();
        }
    }
    return kFileName;
}

/** The loader's reason without the file name that it begins with: the report names the file. */
std::string loader_reason(const std::string &path)
{
    const char *text = dlerror();
    std::string reason = text != nullptr ? text : "no reason given";
    const std::string prefix = path + ": ";
    if (reason.compare(0, prefix.size(), prefix) == 0) {
        reason.erase(0, prefix.size());
    }
    return reason;
}

/** Type of the exception that is being handled, as a programmer writes it. */
std::string current_exception_type()
{
    const std::type_info *type = abi::__cxa_current_exception_type();
    if (type == nullptr) {
        return "unknown";
    }
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), std::free);
    return status == 0 ? name.get() : type->name();
}

template <typename Call>
auto guarded(const Call &call)
{
    try {
        return call();
    } catch (const std::exception &failure) {
        throw PluginThrew(current_exception_type() + ": " + failure.what());
    } catch (...) {
        throw PluginThrew(current_exception_type());
    }
}

} // namespace

void Plugin::Unload::operator()(void *handle) const
{
    dlclose(handle);
}

std::string plugin_file(const std::string &path)
{
    // A plain name would be looked for on the loader's paths, not where the user is.
    return path.empty() ? default_path() : std::filesystem::absolute(path).string();
}

Plugin::Plugin(const std::string &path) : m_name(path.empty() ? kFileName : path)
{
    const std::string file = plugin_file(path);
    m_handle.reset(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!m_handle) {
        unusable(m_name, "the plug-in cannot be loaded: " + loader_reason(file),
                 "name another one with --plugin");
    }
    m_init = find<int()>("lib_init");
    m_get_validation_point = find<int(char *, size_t)>("get_validation_point");
    m_validate = find<int(confd_trans_ctx *, confd_hkeypath_t *, confd_value_t *)>("validate");
    m_finish = find<int()>("lib_finish");
}

template <typename Function>
Function *Plugin::find(const char *name) const
{
    void *symbol = dlsym(m_handle.get(), name);
    if (symbol == nullptr) {
        unusable(
            m_name, std::string("the plug-in has no entry point ") + name,
            "it needs lib_init, get_validation_point, validate and lib_finish, with C linkage");
    }
    return reinterpret_cast<Function *>(symbol);
}

void Plugin::init()
{
    const int result = guarded([this] { return m_init(); });
    if (result != 0) {
        unusable(m_name, "lib_init failed with result " + std::to_string(result),
                 "see what the plug-in wrote, and the card's capabilities in the file of --card");
    }
}

std::string Plugin::validation_point()
{
    std::array<char, 256> name{};
    const int result = guarded([&] { return m_get_validation_point(name.data(), name.size()); });
    if (result != 0) {
        unusable(m_name, "get_validation_point failed with result " + std::to_string(result), "");
    }
    name.back() = '\0';
    return name.data();
}

int Plugin::validate(confd_trans_ctx *transaction, confd_hkeypath_t *keypath, confd_value_t *value)
{
    return guarded([&] { return m_validate(transaction, keypath, value); });
}

int Plugin::finish()
{
    return guarded([this] { return m_finish(); });
}

} // namespace host
