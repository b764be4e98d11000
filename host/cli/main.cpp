#include "checker/process_end.h"
#include "cli/program.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

/** Runs before all else of the program, whose tables need memory before main begins. */
[[gnu::constructor(101)]] void set_up_signals()
{
    host::install_crash_handler();
    // A file that grows beyond its limit is a failed write, here and in the plug-in's process.
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

/**
 * A configuration is tens of megabytes in small pieces, and the process is forked with all of them:
 * large pages make both cheaper. Where there are none, nothing is lost.
 */
void use_large_pages()
{
#ifdef __GLIBC__
    constexpr int kHeap = 256 << 20; // Only what is used takes memory.
    mallopt(M_MMAP_THRESHOLD, 2 * kHeap);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    char *heap = static_cast<char *>(std::malloc(kHeap));
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const char *end = static_cast<char *>(sbrk(0));
    if (heap != nullptr && heap < end) { // It is not that of another allocator.
        char *begin = heap + (page - reinterpret_cast<std::uintptr_t>(heap) % page);
        madvise(begin, static_cast<std::size_t>(end - begin), MADV_HUGEPAGE);
    }
    std::free(heap);
#endif
}

} // namespace

int main(int argc, char **argv)
{
    // libyang loads libraries from the folders that these name; the environment must not bring in
    // code.
    unsetenv("LIBYANG_TYPES_PLUGINS_DIR");
    unsetenv("LIBYANG_EXTENSIONS_PLUGINS_DIR");
    use_large_pages();
    return host::run_program(argc, argv, host::process_console());
}
