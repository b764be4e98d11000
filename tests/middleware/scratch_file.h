/** A file of a test's own. */
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

/** Exists as long as the object. */
class ScratchFile
{
public:
    explicit ScratchFile(const std::string &text = "")
    {
        const int descriptor = mkstemp(m_path.data());
        EXPECT_NE(descriptor, -1) << m_path;
        close(descriptor);
        std::ofstream(m_path) << text;
    }
    ~ScratchFile() { std::remove(m_path.c_str()); }
    ScratchFile(const ScratchFile &) = delete;
    ScratchFile &operator=(const ScratchFile &) = delete;

    const std::string &path() const { return m_path; }

    std::string read() const
    {
        std::ostringstream text;
        text << std::ifstream(m_path).rdbuf();
        return text.str();
    }

private:
    std::string m_path = testing::TempDir() + "gpon-test-XXXXXX";
};
