/** Runs the program's commands in the test process, with files of their own and a scripted plug-in.
 */
#pragma once

#include "cli/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

/** A card with one PON link, and an edit of it. */
inline constexpr const char *kRunning = R"(<config xmlns="urn:olt:gpon:base">
  <interface>
    <gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id></gpon>
  </interface>
</config>
)";

inline constexpr const char *kFecEdit = R"(<config xmlns="urn:olt:gpon:base">
  <interface>
    <gpon>
      <chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>
      <downstream-fec>true</downstream-fec>
      <upstream-fec>true</upstream-fec>
    </gpon>
  </interface>
</config>
)";

/** What a run of the program left behind. */
struct ProgramRun {
    int code = -1;
    std::string out;
    std::string err;
};

inline std::ostream &operator<<(std::ostream &out, const ProgramRun &run)
{
    return out << "exit code " << run.code << "\n--- stdout\n"
               << run.out << "--- stderr\n"
               << run.err;
}

class ProgramTest : public testing::Test
{
protected:
    ProgramTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "gpon-host-XXXXXX").string();
        m_folder = mkdtemp(name.data());
    }
    ~ProgramTest() override
    {
        unsetenv("GPON_TEST_SCRIPT");
        std::filesystem::remove_all(m_folder);
    }

    std::string path(const std::string &name) const { return m_folder / name; }
    /** Writes a file. @return Its path. */
    std::string file(const std::string &name, const std::string &text) const
    {
        std::ofstream(path(name)) << text;
        return path(name);
    }
    std::string read(const std::string &name) const
    {
        std::ostringstream text;
        text << std::ifstream(path(name)).rdbuf();
        return text.str();
    }

    /** Runs the program. Paths of the test's own folder are cut from what it says. */
    ProgramRun run(std::vector<std::string> words) const
    {
        words.insert(words.begin(), "gpon-validate");
        std::vector<const char *> argv;
        argv.reserve(words.size());
        for (const auto &word : words) {
            argv.push_back(word.c_str());
        }
        std::ostringstream out;
        std::ostringstream err;
        host::Console console{out, err};
        console.ask = ask;
        ProgramRun run;
        run.code = host::run_program(static_cast<int>(argv.size()), argv.data(), console);
        run.out = without_folder(out.str());
        run.err = without_folder(err.str());
        return run;
    }

    /** Runs the program in a process of its own, through a shell. Nobody is asked. */
    ProgramRun run_alone(const std::vector<std::string> &words, const std::string &prefix = "",
                         const std::string &suffix = "") const
    {
        std::string command = prefix;
        for (const auto &list : {std::vector<std::string>{GPON_VALIDATE_WORDS}, words}) {
            for (const auto &word : list) {
                command += " '" + word + "'";
            }
        }
        command += " </dev/null >" + path("stdout") + " 2>" + path("stderr") + " " + suffix;
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, without_folder(read("stdout")),
                without_folder(read("stderr"))};
    }

    /** Runs `check` with the scripted plug-in, if the words name no other. */
    ProgramRun check(const std::string &script, std::vector<std::string> words) const
    {
        setenv("GPON_TEST_SCRIPT", script.c_str(), 1);
        if (std::find(words.begin(), words.end(), "--plugin") == words.end()) {
            words.insert(words.begin(), {"--plugin", kScripted});
        }
        words.insert(words.begin(), "check");
        return run(words);
    }
    /** Checks the FEC edit, about which one rule is asked, once for each of two leaves. */
    ProgramRun check_fec(const std::string &script, std::vector<std::string> words = {}) const
    {
        words.insert(words.end(), {"--running", file("running.xml", kRunning), "--edit",
                                   file("change.xml", kFecEdit)});
        return check(script, words);
    }

    /** The answer of the operator; empty: there is no terminal. */
    std::function<std::optional<bool>()> ask;

    static constexpr const char *kScripted = TEST_PLUGINS "/scripted.so";

private:
    std::string without_folder(std::string text) const
    {
        const std::string prefix = m_folder.string() + "/";
        for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix)) {
            text.erase(at, prefix.size());
        }
        return text;
    }

    std::filesystem::path m_folder;
};
