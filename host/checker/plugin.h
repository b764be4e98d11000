/**
 * @file
 * The plug-in under test: a shared library with four entry points.
 */
#pragma once

#include "confd_lib.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace host
{

/** An exception left an entry point of the plug-in; on the card that would end the process. */
class PluginThrew : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/**
 * File of the plug-in that Plugin loads for this path. A bare name: the loader looks for it.
 */
std::string plugin_file(const std::string &path);

/**
 * The library, loaded for the lifetime of the object.
 *
 * Entry points throw PluginThrew for whatever exception leaves the library. An unusable plug-in
 * (missing, without an entry point, unwilling) is an engine::InputError, so that it is reported
 * like any other invalid input.
 */
class Plugin
{
public:
    /**
     * @param path  Of the library. Empty: the card's own plug-in, in the library folder next to
     *              the program's if it is there, else by the loader's search.
     */
    explicit Plugin(const std::string &path);

    /** As the user gave it. */
    const std::string &name() const { return m_name; }

    /** Calls lib_init. */
    void init();
    /** Name of the validation point that the plug-in serves. */
    std::string validation_point();
    int validate(confd_trans_ctx *transaction, confd_hkeypath_t *keypath, confd_value_t *value);
    /** Calls lib_finish. @return Its answer. */
    int finish();

private:
    struct Unload {
        void operator()(void *handle) const;
    };

    template <typename Function>
    Function *find(const char *name) const;

    std::string m_name;
    std::unique_ptr<void, Unload> m_handle;
    int (*m_init)() = nullptr;
    int (*m_get_validation_point)(char *, size_t) = nullptr;
    int (*m_validate)(confd_trans_ctx *, confd_hkeypath_t *, confd_value_t *) = nullptr;
    int (*m_finish)() = nullptr;
};

} // namespace host
