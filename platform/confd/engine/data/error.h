/**
 * @file
 * How the engine says that something went wrong.
 */
#pragma once

#include "engine/data/fault.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace engine
{

/** Misuse or failure of a client call: becomes CONFD_ERR, confd_errno and confd_lasterr(). */
class Error : public std::runtime_error
{
public:
    /** @param code  A CONFD_ERR_ number. */
    Error(int code, const std::string &text) : std::runtime_error(text), m_code(code) {}
    int code() const { return m_code; }

private:
    int m_code;
};

/** One fault of a configuration or edit. */
struct Problem {
    Fault fault = Fault::kInternal;
    std::string source; /**< File as the user named it. */
    unsigned line = 0;  /**< 0 when not known. */
    std::string
        path; /**< Where in the data, such as /config/interface/gpon{1 1 3}; may be empty. */
    std::string message; /**< What is wrong. */
    std::string hint;    /**< What would be right; may be empty. */
    unsigned column = 0; /**< In characters, from 1; 0 when not known. */
    /** Name of the attribute that is wrong, or of the node that is missing; else empty. */
    std::string culprit{};
};

/** A message that may hold text of any length: at most a line of it, the rest is an ellipsis. */
std::string shortened(const std::string &text);

/** Invalid input: broken text, data that the model does not allow, an edit that does
 * not fit. */
class InputError : public std::runtime_error
{
public:
    /** @param problems  Of none one is made: there is no failure without a problem. Messages and
     *  paths are shortened. */
    explicit InputError(std::vector<Problem> problems);
    /** At least one. */
    const std::vector<Problem> &problems() const { return m_problems; }

private:
    InputError(std::in_place_t, std::vector<Problem> problems);

    std::vector<Problem> m_problems;
};

} // namespace engine
