/**
 * @file
 * Who wants to know how far a check has come.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host
{

struct Outcome;

/** Every member does nothing unless it is overridden. */
class CheckListener
{
public:
    virtual ~CheckListener() = default;
    /** Request `number` of `total` is being made. */
    virtual void asking(std::size_t /*number*/, std::size_t /*total*/, const std::string & /*rule*/)
    {
    }
    /** Is called several times a second while the plug-in runs in its own process. */
    virtual void tick() {}
    /** What the plug-in writes to stdout and stderr, traces included, as it comes. */
    virtual void plugin_wrote(std::string_view /*text*/) {}
    /** The plug-in called exit() in this process, which ends when this returns. */
    virtual void process_ends(const Outcome & /*outcome*/) {}
};

} // namespace host
