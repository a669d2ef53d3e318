// corvane-alloc-count.so: preloaded into a process, counts its heap
// allocations (malloc, calloc, realloc and the aligned forms; operator new
// comes through malloc). On SIGUSR1 the count so far is appended as one line
// to the file named by CORVANE_ALLOC_REPORT, so a window's allocations are
// the difference of two lines.
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *pointer, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *pointer);
}

namespace {

unsigned long long allocations = 0;
char report_path[PATH_MAX];

void count_one()
{
    __atomic_add_fetch(&allocations, 1, __ATOMIC_RELAXED);
}

// Only async-signal-safe calls from here on.
void report_count(int)
{
    if (report_path[0] == '\0')
        return;
    char line[24];
    size_t at = sizeof line;
    line[--at] = '\n';
    unsigned long long count = __atomic_load_n(&allocations, __ATOMIC_RELAXED);
    do {
        line[--at] = static_cast<char>('0' + count % 10);
        count /= 10;
    } while (count != 0 && at > 0);
    int fd = open(report_path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    ssize_t ignored = write(fd, line + at, sizeof line - at);
    (void)ignored;
    close(fd);
}

__attribute__((constructor)) void install_reporter()
{
    const char *path = getenv("CORVANE_ALLOC_REPORT");
    if (!path || strlen(path) >= sizeof report_path)
        return;
    strcpy(report_path, path);
    struct sigaction action = {};
    action.sa_handler = report_count;
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
}

} // namespace

extern "C" {

void *malloc(size_t size) noexcept
{
    count_one();
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size) noexcept
{
    count_one();
    return __libc_calloc(count, size);
}

void *realloc(void *pointer, size_t size) noexcept
{
    count_one();
    return __libc_realloc(pointer, size);
}

void *memalign(size_t alignment, size_t size) noexcept
{
    count_one();
    return __libc_memalign(alignment, size);
}

void *aligned_alloc(size_t alignment, size_t size) noexcept
{
    count_one();
    return __libc_memalign(alignment, size);
}

int posix_memalign(void **result, size_t alignment, size_t size) noexcept
{
    count_one();
    void *pointer = __libc_memalign(alignment, size);
    if (!pointer)
        return 12;  // ENOMEM
    *result = pointer;
    return 0;
}

void free(void *pointer) noexcept
{
    __libc_free(pointer);
}

} // extern "C"
