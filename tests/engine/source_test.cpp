#include "engine/data/source_file.h"

#include "engine/data/error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

using engine::ReadLimits;
using ::testing::HasSubstr;

namespace
{

namespace fs = std::filesystem;

class ReadSource : public testing::Test
{
protected:
    ReadSource()
    {
        fs::create_directory(m_folder);
        std::ofstream(file) << std::string(1000, 'a');
        ::mkfifo(pipe.c_str(), 0600);
    }
    ~ReadSource() override { fs::remove_all(m_folder); }

    /** Why the file cannot be read; empty when it can. */
    static std::string fault(const std::string &path, const ReadLimits &limits = {})
    {
        try {
            engine::read_source(path, limits);
        } catch (const engine::InputError &error) {
            EXPECT_EQ(error.problems().at(0).source, path);
            return error.problems().at(0).message;
        }
        return "";
    }

    const fs::path m_folder =
        fs::path(testing::TempDir()) / ("source-" + std::to_string(::getpid()));
    const std::string file = m_folder / "file";
    const std::string pipe = m_folder / "pipe";
};

TEST_F(ReadSource, SaysWhyAFileCannotBeRead)
{
    EXPECT_EQ(fault(m_folder), "Is a directory");
    EXPECT_EQ(fault(m_folder / "none"), "No such file or directory");
    EXPECT_EQ(fault(""), "No such file or directory");
}

TEST_F(ReadSource, EndsAtItsLimits)
{
    EXPECT_EQ(fault(file, {1000, {}}), "");
    EXPECT_EQ(fault(file, {999, {}}), "Larger than 999 bytes");
    // What tells no size, and has no end.
    EXPECT_THAT(fault("/dev/zero"), HasSubstr("NUL byte"));
    EXPECT_EQ(fault("/proc/self/status", {100, {}}), "Larger than 100 bytes");
}

TEST_F(ReadSource, WaitsForAPipeAsLongAsItIsTold)
{
    using std::chrono::milliseconds;
    EXPECT_EQ(fault(pipe, {1000, milliseconds(1)}), "No data for 0 s");
    std::thread writer([this] { std::ofstream(pipe) << std::string(900, 'b'); });
    EXPECT_EQ(engine::read_source(pipe).text, std::string(900, 'b'));
    writer.join();
}

} // namespace
