/**
 * A plug-in that does as it is told, for tests of the host.
 *
 * The environment variable GPON_TEST_SCRIPT holds acts, each on a line of its own, as WHERE=ACT.
 * WHERE is an entry point or, for validate, a rule's key; ACT is one of those in `act`.
 */
#include "confd_lib.h"

#include <algorithm>
#include <cassert>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/** The act for an entry point or a rule; empty when there is none. */
std::string act_for(const std::string &where)
{
    const char *script = std::getenv("GPON_TEST_SCRIPT");
    std::istringstream lines(script != nullptr ? script : "");
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, where.size() + 1, where + "=") == 0) {
            return line.substr(where.size() + 1);
        }
    }
    return "";
}

/** `name:detail` gives the detail. */
bool takes(const std::string &act, const char *name, std::string &detail)
{
    if (act.compare(0, std::strlen(name), name) != 0) {
        return false;
    }
    const std::size_t colon = act.find(':');
    detail = colon == std::string::npos ? "" : act.substr(colon + 1);
    return true;
}

[[noreturn]] void hang()
{
    for (;;) {
        pause();
    }
}

/** Writes lines, divided by `;`, to every pipe but stdin, stdout and stderr. */
void forge(std::string lines)
{
    std::replace(lines.begin(), lines.end(), ';', '\n');
    constexpr int kMaxDescriptor = 64;
    for (int fd = STDERR_FILENO + 1; fd < kMaxDescriptor; ++fd) {
        struct stat status {
        };
        if (fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode)) {
            static_cast<void>(!write(fd, lines.data(), lines.size()));
        }
    }
}

/** @return The result for the entry point. */
int act(const std::string &act, confd_trans_ctx *transaction)
{
    std::string detail;
    if (takes(act, "reject", detail) || takes(act, "warn", detail)) {
        if (!detail.empty()) {
            confd_trans_seterr(transaction, "%s", detail.c_str());
        }
        return act.front() == 'r' ? CONFD_ERR : CONFD_VALIDATION_WARN;
    }
    if (takes(act, "answer", detail)) {
        return std::stoi(detail);
    }
    if (takes(act, "print", detail)) {
        std::fprintf(stderr, "%s\n", detail.c_str());
        return CONFD_OK;
    }
    if (takes(act, "assert", detail)) {
        const bool is_told_to_fail = true;
        assert(!is_told_to_fail); // NOLINT(cert-dcl03-c,misc-static-assert): it fails at run time.
    }
    if (takes(act, "fault", detail)) {
        std::raise(SIGKILL); // A signal that no sanitizer takes for itself.
    }
    static int times = 0;
    if (takes(act, "once", detail) && ++times > 2) {
        std::raise(SIGKILL); // As if the first check, of two requests, had left something broken.
    }
    if (takes(act, "fork", detail) && fork() != 0) {
        _exit(0); // The copy goes on.
    }
    if (takes(act, "forge", detail)) {
        forge(detail);
        _exit(0);
    }
    if (takes(act, "exit", detail)) {
        std::exit(std::stoi(detail));
    }
    if (takes(act, "throw", detail)) {
        throw std::out_of_range(detail);
    }
    if (takes(act, "hang", detail)) {
        hang();
    }
    return CONFD_OK;
}

} // namespace

extern "C" {

int lib_init(void)
{
    return act(act_for("lib_init"), nullptr);
}

int get_validation_point(char *buf, size_t len)
{
    const std::string name = act_for("name");
    std::snprintf(buf, len, "%s", name.empty() ? "gpon_validation_check" : name.c_str());
    return act(act_for("get_validation_point"), nullptr);
}

int validate(confd_trans_ctx *transaction, confd_hkeypath_t *, confd_value_t *)
{
    return act(act_for(transaction->validate_opaque), transaction);
}

int lib_finish(void)
{
    return act(act_for("lib_finish"), nullptr);
}
}
