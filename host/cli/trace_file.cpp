#include "cli/trace_file.h"

#include <sys/mman.h>

#include <new>

namespace host
{

TraceFile::TraceFile(const std::string &path) : m_file(path)
{
    void *shared =
        mmap(nullptr, sizeof(*m_error), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        throw std::bad_alloc();
    }
    m_error = new (shared) int(0);
}

TraceFile::~TraceFile()
{
    munmap(m_error, sizeof(*m_error));
}

void TraceFile::write(std::string_view line) noexcept
{
    if (*m_error == 0) {
        *m_error = m_file.write(line);
    }
}

void TraceFile::commit()
{
    if (*m_error != 0) {
        m_file.fail(*m_error);
    }
    m_file.commit();
}

} // namespace host
