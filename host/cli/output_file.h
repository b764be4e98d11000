/**
 * @file
 * Files that the program writes: whole or not at all, and never over what it reads.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host
{

/** A file on the command line. */
struct NamedFile {
    std::string role; /**< Such as `--running`. */
    std::string path; /**< Empty: not given. */
};

/**
 * @throws engine::InputError  One of the outputs is the same file as an input, another output, or
 *                             the file that stdout or stderr goes to, whatever name or link leads
 *                             there. Only files count, not devices and pipes.
 */
void require_separate(const std::vector<NamedFile> &outputs, const std::vector<NamedFile> &inputs);

/** @throws engine::InputError  stdout or stderr goes to one of the inputs. */
void require_not_printed_to(const std::vector<NamedFile> &inputs);

/**
 * Is written beside its place and put there when it is whole; until then, and when that never
 * happens, the old file stays. What is no file, such as a pipe, is written directly.
 */
class OutputFile
{
public:
    /** @throws engine::InputError  Naming the file and the reason, as all that is thrown. */
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    /** Where to write, for who opens it again. */
    const std::string &writable_path() const { return m_beside.empty() ? m_path : m_beside; }
    /** @return 0, or the error number. */
    int write(std::string_view text) const;
    /** Puts it into its place. @throws engine::InputError */
    void commit();
    /** @throws engine::InputError  With the text of this error number. */
    [[noreturn]] void fail(int error) const;

private:
    void open_beside(const std::string &target);

    std::string m_path;   /**< As the user gave it. */
    std::string m_target; /**< What it stands for, without links. */
    std::string m_beside; /**< Empty: nothing to put into place. */
    int m_fd = -1;
};

} // namespace host
