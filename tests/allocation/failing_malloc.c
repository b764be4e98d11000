/**
 * Preloaded into a program: one of its allocations fails, or all from that one on.
 *
 * FAIL_AT tells which, counted from 1 over the process and those that it forks; with FAIL_FOR_GOOD
 * all later ones fail as well. With FAIL_COUNT the number of all allocations goes to stderr.
 */
#include <errno.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

/* The C library's own, behind the names that stand here. */
extern void *__libc_malloc(size_t size);
extern void *__libc_calloc(size_t count, size_t size);
extern void *__libc_realloc(void *old, size_t size);

static atomic_ulong *count; /* Shared by all processes; null before the start. */
static unsigned long fail_at;
static int is_for_good;
static pid_t owner;

__attribute__((constructor)) static void start(void)
{
    const char *at = getenv("FAIL_AT");
    fail_at = at != NULL ? strtoul(at, NULL, 10) : 0;
    is_for_good = getenv("FAIL_FOR_GOOD") != NULL;
    owner = getpid();
    void *page =
        mmap(NULL, sizeof(*count), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    count = page != MAP_FAILED ? page : NULL;
}

__attribute__((destructor)) static void finish(void)
{
    if (getenv("FAIL_COUNT") != NULL && getpid() == owner) {
        fprintf(stderr, "%lu\n", atomic_load(count));
    }
}

static int fails(void)
{
    if (count == NULL) {
        return 0;
    }
    const unsigned long number = atomic_fetch_add(count, 1) + 1;
    if (fail_at == 0 || number < fail_at || (number > fail_at && !is_for_good)) {
        return 0;
    }
    errno = ENOMEM;
    return 1;
}

void *malloc(size_t size)
{
    return fails() ? NULL : __libc_malloc(size);
}

void *calloc(size_t number, size_t size)
{
    return fails() ? NULL : __libc_calloc(number, size);
}

void *realloc(void *old, size_t size)
{
    return fails() ? NULL : __libc_realloc(old, size);
}
